// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Processes/CModLatencyUniformerDef.h"

#include "Audio/Processes/CModLatencyUniformer.h"

#include <algorithm>
#include <cmath>

namespace kor
{

namespace
{

constexpr int longestSamples = 1 << 20;

}

CError CModLatencyUniformerDef::init()
{
    KOR_TRY(CAudioProcessDefBase::init());
    entries.clear();
    CArray<CStringBuf> items;
    getAttrString("latencies").split(items, u';', true);
    for (const CStringBuf& raw : items)
    {
        const CStringBuf item = raw.trimmed();
        if (item.isEmpty())
            continue;
        const int equals = item.findChar(u'=');
        bool isRate = false;
        bool isCount = false;
        CEntry entry{};
        if (equals > 0)
        {
            entry.rateHz = item.substr(0, equals).trimmed().toInt(isRate);
            entry.samples = item.substr(equals + 1).trimmed().toInt(isCount);
        }
        if (!isRate || !isCount || entry.samples < 0 || entry.samples > longestSamples)
            return KOR_FAIL("Invalid item '%1' in 'latencies'.", item);
        if (!entries.empty() && entry.rateHz <= entries.back().rateHz)
            return KOR_FAIL("The rates in 'latencies' do not rise at '%1'.", item);
        entries.push_back(entry);
    }
    return {};
}

std::unique_ptr<CAudioProcessBase> CModLatencyUniformerDef::createObject() const
{
    return std::make_unique<CModLatencyUniformer>();
}

int CModLatencyUniformerDef::samplesAt(double rateHz) const noexcept
{
    const double rate = std::nearbyint(rateHz);
    const auto found = std::ranges::find_if(entries, [rate](const CEntry& entry) { return entry.rateHz >= rate; });
    return found != entries.end() ? found->samples : -1;
}

}
