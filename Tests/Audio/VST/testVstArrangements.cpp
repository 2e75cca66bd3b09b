// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include "Audio/VST/Arrangements.h"

#include <pluginterfaces/vst/vstspeaker.h>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace kor::test
{

namespace
{

SpeakerArrangement channels(int count)
{
    return (SpeakerArrangement{1} << count) - 1;
}

struct CLayoutCase
{
    std::vector<int> inputs;
    std::vector<int> outputs;
    bool isAccepted;
    int sidechain = 0;
};

// Of a product with a side chain and 8 channels inside.
const CLayoutCase withSidechain[] = {
    {{2, 2}, {2}, true, 2}, {{2, 1}, {2}, true, 1}, {{2, 0}, {2}, true, 0},
    {{2}, {2}, true, 0},    {{2, 3}, {2}, false}, // more than two on the side
    {{6, 2}, {6}, true, 2}, {{7, 2}, {7}, false}, // together more than there are
    {{8, 2}, {8}, false},   {{8, 0}, {8}, true, 0},
};

// Of the product, which has none: whatever a host says of a second input, the first counts.
const CLayoutCase plain[] = {
    {{1}, {1}, true},  {{2}, {2}, true},  {{1}, {2}, true},  {{4}, {2}, true},  {{8}, {2}, true},
    {{1}, {8}, true},  {{8}, {8}, true},  {{3}, {3}, true},  {{2}, {1}, false}, {{5}, {3}, false},
    {{2}, {4}, false}, {{0}, {2}, false}, {{2}, {0}, false}, {{1}, {0}, false}, {{9}, {9}, false},
    {{9}, {2}, false}, {{1}, {9}, false}, {{}, {2}, false},  {{2}, {}, false},  {{2, 2}, {2}, true},
};

std::vector<SpeakerArrangement> arrangements(const std::vector<int>& counts)
{
    std::vector<SpeakerArrangement> result;
    for (const int count : counts)
        result.push_back(channels(count));
    return result;
}

}

TEST(VstArrangements, CountTheSideChainWithinTheChannelsInside)
{
    for (const CLayoutCase& row : withSidechain)
    {
        CAudioHostChannels found;
        SCOPED_TRACE(::testing::PrintToString(row.inputs) + " to " + ::testing::PrintToString(row.outputs));
        ASSERT_EQ(acceptArrangements(arrangements(row.inputs), arrangements(row.outputs), {8, true}, found),
                  row.isAccepted);
        EXPECT_EQ(row.isAccepted ? found.sidechain : row.sidechain, row.sidechain);
    }
}

TEST(VstArrangements, NameSpeakersInTheOrderOfChannels)
{
    CArray<CStringBuf> names;
    appendSpeakerNames(SpeakerArr::k51, names);
    appendSpeakerNames(kSpeakerM | SpeakerArrangement{1} << 28, names);
    CArray<CStringBuf> expected;
    for (const char* const name : {"L", "R", "C", "Lfe", "Ls", "Rs", "M", ""})
        expected.emplace_back(name);
    EXPECT_EQ(names, expected);
}

TEST(VstArrangements, AreTakenOrRefusedByTheEffectAndShownByItsBusses)
{
    CTestEffect effect;
    EXPECT_EQ(effect.component().getBusCount(kEvent, kInput), 1);
    EXPECT_EQ(effect.component().getBusCount(kEvent, kOutput), 0);
    EXPECT_EQ(effect.component().getBusCount(kAudio, kInput), 1);
    for (const CLayoutCase& row : plain)
    {
        SCOPED_TRACE(::testing::PrintToString(row.inputs) + " to " + ::testing::PrintToString(row.outputs));
        ASSERT_TRUE(effect.setLayout({2}, {2}));
        ASSERT_EQ(effect.setLayout(row.inputs, row.outputs), row.isAccepted);
        const int in = row.isAccepted ? row.inputs[0] : 2;
        const int out = row.isAccepted ? row.outputs[0] : 2;
        SpeakerArrangement shown = 0;
        BusInfo info{};
        EXPECT_EQ(effect.processor().getBusArrangement(kInput, 0, shown), kResultOk);
        EXPECT_EQ(shown, channels(in));
        ASSERT_EQ(effect.component().getBusInfo(kAudio, kOutput, 0, info), kResultOk);
        EXPECT_EQ(info.channelCount, out);
        EXPECT_EQ(info.busType, kMain);
        EXPECT_EQ(info.flags, uint32{BusInfo::kDefaultActive});
        EXPECT_EQ(effect.component().getBusCount(kAudio, kInput), 1);
        if (!row.isAccepted)
            continue;
        effect.setup(48000.0);
        effect.start();
        CTestBlock block(in, out, 64);
        block.fill(1);
        EXPECT_EQ(effect.processor().process(block.data), kResultOk);
        effect.stop();
    }
    EXPECT_EQ(effect.processor().setBusArrangements(nullptr, 1, nullptr, 1), kResultFalse);
    BusInfo info{};
    for (const int index : {-1, 1, 1000})
    {
        SpeakerArrangement shown = 0;
        EXPECT_NE(effect.component().getBusInfo(kAudio, kInput, index, info), kResultOk);
        EXPECT_NE(effect.component().activateBus(kAudio, kOutput, index, true), kResultOk);
        EXPECT_NE(effect.processor().getBusArrangement(kInput, index, shown), kResultOk);
    }
    EXPECT_EQ(effect.component().getBusCount(7, 9), 0);
}

}
