// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

namespace kor
{

// The untyped half of CTarget: the registrations, and a pointer that is taken away when its object goes.
class CTargetBase
{
public:
    explicit CTargetBase(CObject& listeningObject) : listener(listeningObject) {}
    ~CTargetBase();
    CTargetBase(const CTargetBase&) = delete;
    CTargetBase& operator=(const CTargetBase&) = delete;

    /// Runs `handlerName` of the listener for each `eventName` of the followed object, or of another that comes to
    /// stand under its name.
    void listen(const CStringBuf& eventName, const CStringBuf& handlerName);

    /// Withdraws every registration and follows nobody.
    void clear();

    /// Full name of the followed object, kept when that has gone; empty while nobody is followed.
    const CStringBuf& sourceName() const noexcept { return fullName; }

protected:
    void follow(CObject& object);

    CObject* source = nullptr;
    CObject& listener;

private:
    friend class CObject;

    void leaveSource() noexcept;

    CStringBuf fullName;
    CSet<CStringBuf> events;
    CTargetBase* nextOfSource = nullptr;        // the source's other followers; not used for frozen sources
};

// An object that another follows, with the events it listens to, so that the listener need not remember what it
// subscribed to. It is a member of the listener's class; there is one per followed object. The pointer turns null when the
// followed object goes. The tree's own thread; objects of the shared tree may be followed from any tree.
template <class T>
class CTarget : public CTargetBase
{
public:
    using CTargetBase::CTargetBase;

    /// Follows the object at a path, in place of the former one. Fails as CObject::findObjectChecked and then follows
    /// nobody.
    CError set(const CStringBuf& path)
    {
        clear();
        T* found = nullptr;
        KOR_TRY(listener.template findObjectChecked<T>(found, path));
        set(*found);
        return {};
    }

    /// The same for the path in an attribute of the listener; fails as CObject::findObjectByAttr.
    CError setByAttr(const CStringBuf& attrName)
    {
        clear();
        T* found = nullptr;
        KOR_TRY(listener.template findObjectByAttr<T>(found, attrName));
        set(*found);
        return {};
    }

    void set(T& object)
    {
        clear();
        follow(object);
        target = &object;
    }

    T* get() const noexcept { return source != nullptr ? target : nullptr; }
    T* operator->() const noexcept { return get(); }
    explicit operator bool() const noexcept { return source != nullptr; }

private:
    T* target = nullptr;
};

}
