// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "pluginterfaces/base/funknown.h"

#include <atomic>

namespace kor
{

// The interfaces are bases without virtual destructors: objects go by release() or by their maker.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// An object that the host hands to a plug-in under the given interfaces. It counts references, of which its maker holds
// the first. By default the maker lends it and destroys it when the plug-in is gone; CHostCounted is for objects that a
// plug-in may keep as long as it likes. Counting is for any thread.
template <class First, class... Others>
class CHostObject : public First, public Others...
{
public:
    CHostObject() = default;
    virtual ~CHostObject() = default;
    CHostObject(const CHostObject&) = delete;
    CHostObject& operator=(const CHostObject&) = delete;

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted, void** object) override
    {
        if (object == nullptr)
            return Steinberg::kInvalidArgument;
        *object = nullptr;
        if (Steinberg::FUnknownPrivate::iidEqual(wanted, Steinberg::FUnknown::iid))
            *object = static_cast<First*>(this);
        offer<First>(wanted, object);
        (offer<Others>(wanted, object), ...);
        if (*object == nullptr)
            return Steinberg::kNoInterface;
        addRef();
        return Steinberg::kResultOk;
    }

    Steinberg::uint32 PLUGIN_API addRef() override { return ++references; }
    Steinberg::uint32 PLUGIN_API release() override { return --references; }

    /// How many references others than the maker hold.
    int foreignReferences() const noexcept { return static_cast<int>(references.load()) - 1; }

private:
    template <class Interface>
    void offer(const Steinberg::TUID wanted, void** object)
    {
        if (*object == nullptr && Steinberg::FUnknownPrivate::iidEqual(wanted, Interface::iid))
            *object = static_cast<Interface*>(this);
    }

    std::atomic<Steinberg::uint32> references{1};
};

#pragma GCC diagnostic pop

/// One that goes with its last reference.
template <class Interface>
class CHostCounted : public CHostObject<Interface>
{
public:
    Steinberg::uint32 PLUGIN_API release() override
    {
        const Steinberg::uint32 left = CHostObject<Interface>::release();
        if (left == 0)
            delete this;
        return left;
    }
};

}
