// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioExtParamList.h"
#include "Audio/Plugin/CAudioWrapper.h"
#include "EqualizerTestKit.h"

#include <string>
#include <vector>

namespace kor::test
{

/// A host's parameter write at a sample of the whole run.
struct CHostWrite
{
    int at;
    const char* row;
    double value;
};

// The plug-in under a host that only takes notes.
class CNotedPlugin : public CAudioWrapper
{
public:
    /// Built, set to a rate and to as many channels in as out, and active.
    explicit CNotedPlugin(int channels = 2, double rate = 48000.0);

    /// Index of a row by its short name.
    int row(const std::string& name) const;
    double value(const std::string& name) const;

    /// Processes in blocks of the sizes that `nextSize` gives; writes go with the block that they fall into.
    template <class Sample, class NextSize>
    std::vector<std::vector<Sample>> run(const std::vector<std::vector<Sample>>& in, NextSize&& nextSize,
                                         const std::vector<CHostWrite>& writes = {});

    /// What the host was told, one word after the other: "begin 5", "value 5 0.25", "end 5", "show 5 0.25".
    std::vector<std::string> notes;

protected:
    void sendValue(int index, double normalized) override;
    void showValue(int index, double normalized) override;
    void beginEdit(int index) override;
    void endEdit(int index) override;
    void programChanged(bool isByHost) override;
};

template <class Sample, class NextSize>
std::vector<std::vector<Sample>> CNotedPlugin::run(const std::vector<std::vector<Sample>>& in, NextSize&& nextSize,
                                                   const std::vector<CHostWrite>& writes)
{
    const int total = static_cast<int>(in[0].size());
    std::vector<std::vector<Sample>> out(in.size(), std::vector<Sample>(in[0].size(), Sample(7)));
    for (int position = 0; position < total;)
    {
        const int count = std::min<int>(nextSize(), total - position);
        CAudioHostBlock block;
        std::vector<const void*> from;
        std::vector<void*> to;
        for (std::size_t c = 0; c < in.size(); ++c)
        {
            from.push_back(in[c].data() + position);
            to.push_back(out[c].data() + position);
        }
        block.inputs = from.data();
        block.outputs = to.data();
        block.inputCount = block.outputCount = static_cast<int>(in.size());
        block.frames = count;
        block.format = sizeof(Sample) == sizeof(double) ? CAudioSampleFormat::float64 : CAudioSampleFormat::float32;
        for (const CHostWrite& write : writes)
            if (write.at >= position && write.at < position + count)
                addEvent(write.at - position, row(write.row), write.value);
        process(block);
        position += count;
    }
    return out;
}

}
