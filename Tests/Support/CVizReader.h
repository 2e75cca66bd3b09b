// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"
#include "Support/CTestTree.h"

#include <map>
#include <string>
#include <vector>

namespace kor::test
{

// A display without a window: listens to slots of a collector and keeps what has come, by slot.
class CVizReader
{
public:
    CAudioVizCollector* collector = nullptr;

    void listen(const std::string& slot) { collector->addLocalListener(collector->getSlot(slotName(slot))); }
    void unlisten(const std::string& slot) { collector->removeLocalListener(collector->getSlot(slotName(slot))); }

    /// Fetches what waits.
    void read()
    {
        CWriteSeqBuffer written;
        ASSERT_TRUE(succeeded(collector->writeVizData(written)));
        const CByteArray bytes = written.getContents();
        CMemoryReader stream(bytes);
        double now = 0.0;
        ASSERT_TRUE(succeeded(stream.readDouble(now)));
        for (std::int32_t count = 0; succeeded(stream.readInt(count)) && count > 0;)
        {
            CStringBuf name;
            ASSERT_TRUE(succeeded(stream.readString(name)));
            for (; count > 0; --count)
            {
                CAudioVizDataPtr data;
                ASSERT_TRUE(succeeded(CAudioVizData::readAny(stream, data)));
                all[name.toUtf8()].push_back(std::move(data));
            }
        }
    }

    /// All that a slot has brought of one channel and band, or of all (-1), oldest first; nobody else's data.
    template <class Data>
    std::vector<const Data*> of(const std::string& slot, int channel = -1, int element = -1, int group = -1) const
    {
        std::vector<const Data*> found;
        const auto list = all.find(slotName(slot).toUtf8());
        if (list == all.end())
            return found;
        for (const CAudioVizDataPtr& data : list->second)
        {
            const auto* one = data.as<Data>();
            EXPECT_NE(one, nullptr);
            if (one == nullptr)
                continue;
            const bool isChannel = channel < 0 || one->channel == channel;
            const bool isElement = element < 0 || one->element == element;
            if (isChannel && isElement && (group < 0 || one->group == group))
                found.push_back(one);
        }
        return found;
    }
    std::vector<const CAudioVizDataMeter*> meters(const std::string& slot, int channel = -1, int element = -1,
                                                  int group = -1) const
    {
        return of<CAudioVizDataMeter>(slot, channel, element, group);
    }
    std::vector<const CAudioVizDataSpectrum*> spectra(const std::string& slot, int channel = -1) const
    {
        return of<CAudioVizDataSpectrum>(slot, channel);
    }
    void forget() { all.clear(); }

    /// What slots are called below.
    std::string prefix;

private:
    CStringBuf slotName(const std::string& slot) const { return CStringBuf(prefix + slot); }

    std::map<std::string, std::vector<CAudioVizDataPtr>> all;
};

}
