// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"

#include "pluginterfaces/vst/ivstparameterchanges.h"

#include <vector>

namespace kor
{

// The points of one parameter within a block, by time. Its room is made beforehand, so that adding a point never
// allocates; one thread at a time.
class CParamValueQueue : public CHostObject<Steinberg::Vst::IParamValueQueue>
{
public:
    /// Room for that many points. Not while processing.
    void reserve(std::size_t count) { points.reserve(count); }

    void begin(Steinberg::Vst::ParamID paramId) noexcept;

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return id; }
    Steinberg::int32 PLUGIN_API getPointCount() override { return static_cast<Steinberg::int32>(points.size()); }
    Steinberg::tresult PLUGIN_API getPoint(Steinberg::int32 index, Steinberg::int32& offset,
                                           Steinberg::Vst::ParamValue& value) override;

    /// A second point at an offset replaces the first. Refused when there is no room left.
    Steinberg::tresult PLUGIN_API addPoint(Steinberg::int32 offset, Steinberg::Vst::ParamValue value,
                                           Steinberg::int32& index) override;

private:
    struct CPoint
    {
        Steinberg::int32 offset;
        double value;
    };

    Steinberg::Vst::ParamID id = 0;
    std::vector<CPoint> points;
};

}
