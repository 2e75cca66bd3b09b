// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CParamValueQueue.h"

#include <algorithm>

namespace kor
{

using namespace Steinberg;

void CParamValueQueue::begin(Vst::ParamID paramId) noexcept
{
    id = paramId;
    points.clear();
}

tresult CParamValueQueue::getPoint(int32 index, int32& offset, Vst::ParamValue& value)
{
    if (index < 0 || index >= getPointCount())
        return kInvalidArgument;
    const CPoint& point = points[static_cast<std::size_t>(index)];
    offset = point.offset;
    value = point.value;
    return kResultOk;
}

tresult CParamValueQueue::addPoint(int32 offset, Vst::ParamValue value, int32& index)
{
    const auto place = std::lower_bound(points.begin(), points.end(), offset,
                                        [](const CPoint& point, int32 wanted) { return point.offset < wanted; });
    index = static_cast<int32>(place - points.begin());
    if (place != points.end() && place->offset == offset)
        place->value = value;
    else if (points.size() == points.capacity())
        return kOutOfMemory;
    else
        points.insert(place, {offset, value});
    return kResultOk;
}

}
