// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"
#include "Vst3Host/CParamValueQueue.h"

#include <memory>

namespace kor
{

// The parameter changes of one block, a queue a parameter. All room is made beforehand; what does not fit is refused.
// One thread at a time.
class CParameterChanges : public CHostObject<Steinberg::Vst::IParameterChanges>
{
public:
    /// Points of one parameter in one block. Plug-ins may thin out a denser queue, so a host that wants each point
    /// heard keeps below.
    static constexpr int pointsPerQueue = 32;

    /// Room for the changes of that many parameters; forgets what is there. Not while processing.
    void reserve(int parameterCount);

    void clear() noexcept { used = 0; }
    bool isEmpty() const noexcept { return used == 0; }

    /// Adds a point; offset: a sample of the block, value: normalised. False when there is no room.
    bool add(Steinberg::Vst::ParamID id, int offset, double value);

    /// Points that a parameter has so far.
    int pointCount(Steinberg::Vst::ParamID id) const noexcept;

    Steinberg::int32 PLUGIN_API getParameterCount() override { return used; }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(Steinberg::int32 index) override;
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                  Steinberg::int32& index) override;

private:
    int indexOf(Steinberg::Vst::ParamID id) const noexcept;

    std::unique_ptr<CParamValueQueue[]> queues;
    int capacity = 0;
    int used = 0;
};

}
