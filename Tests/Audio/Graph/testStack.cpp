// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioGraphContext.h"
#include "GraphTestKit.h"

#include <array>
#include <map>
#include <random>

namespace kor::test
{

namespace
{

/// A container with a stack of test:memory called "stack", as long as the parameter `count` says.
CTreeNode stackTree(CAttrs attrs = {}, double count = 1.0)
{
    attrs.insert(attrs.end(), {{"is-stacked", "true"}, {"stack-param", "^count"}});
    return autoProcess("main", {globalParam("count", count), memory("stack", 0.0, attrs)});
}

// Feeds the graph block by block with channels that come, go and change their groups while it runs.
class CLiveBench : public CGraphBench
{
public:
    explicit CLiveBench(CTreeNode main) : CGraphBench(std::move(main))
    {
        start({0});
        process().inputs().port(0).setSources(std::array<CAudioOutput*, 1>{&source});
        sink.port(0).connect(process().output());
    }

    /// One block: the samples of every channel by number, with the channels' groups.
    std::map<int, CSignal> runBlock(const std::map<int, CSignal>& in, const std::map<int, int>& groups)
    {
        collector.flush();
        std::vector<CAudioChannel> channels;
        for (const auto& [number, samples] : in)
            channels.push_back({number, groups.at(number), 0});
        source.configure(channels, 48000.0, 512);
        const int count = static_cast<int>(in.begin()->second.size());
        std::size_t index = 0;
        for (const auto& [number, samples] : in)
        {
            CAudioBufferRef buffer = host.context().pool.take(512);
            std::copy(samples.begin(), samples.end(), buffer.samples());
            source.buffer(index++) = std::move(buffer);
        }
        source.blockLength = count;
        source.deliver();
        process().process();
        sink.refresh();
        sink.mix();
        std::map<int, CSignal> out;
        for (CAudioPortChannel& channel : sink.port(0).channels())
        {
            const double* samples = channel.buffer.samples();
            out[channel.channel.number] = CSignal(samples, samples + count);
            EXPECT_EQ(channel.channel.group, groups.at(channel.channel.number));
        }
        sink.releaseBuffers();
        return out;
    }

    /// Groups and elements of the nodes that the stack runs, in their order.
    std::vector<std::pair<int, int>> running()
    {
        std::vector<std::pair<int, int>> nodes;
        find("stack")->visitRunning([&](CAudioProcessBase& node) { nodes.emplace_back(node.group(), node.element()); });
        return nodes;
    }

private:
    CAudioOutput source;
    CAudioInputs sink{host.context().pool};
};

/// What the stack should make of a channel: y = x + f y' in a row, a memory per level.
struct CPlainChannel
{
    int group = -1;
    std::vector<double> memories;

    CSignal process(const CSignal& in, const std::vector<double>& factors)
    {
        CSignal out;
        for (double x : in)
        {
            for (std::size_t level = 0; level < memories.size(); ++level)
                x = memories[level] = x + factors[level] * memories[level];
            out.push_back(x);
        }
        return out;
    }
};

using CPairs = std::vector<std::pair<int, int>>;

}

// Counts, values, channels and their groups change at random between blocks; every channel hears what a plain series
// of its own would give, from rest where its group or level is new.
TEST(Stack, ComputesWhatAPlainSeriesWould)
{
    constexpr int channelCount = 5;
    constexpr int groupCount = 4;
    constexpr int maxLevel = 4;
    for (const char* isChannelStack : {"false", "true"})
    {
        for (unsigned seed = 1; seed <= 20; ++seed)
        {
            CLiveBench bench(stackTree({{"is-channel-stack", isChannelStack}}));
            std::mt19937 random(seed);
            const auto pick = [&random](int count)
            { return static_cast<int>(random() % static_cast<unsigned>(count)); };
            std::vector<int> counts(8, 1);
            std::vector<std::vector<double>> factors(8, std::vector<double>(maxLevel, 0.0));
            std::map<int, int> groups = {{0, 0}};
            std::map<int, CPlainChannel> plain;
            for (int block = 0; block < 60; ++block)
            {
                const int group = pick(groupCount);
                const int channel = pick(channelCount);
                switch (pick(6))
                {
                case 0:
                    counts[static_cast<std::size_t>(group)] = pick(maxLevel + 1);
                    bench.set("count", counts[static_cast<std::size_t>(group)], group);
                    break;
                case 1:
                {
                    const int level = pick(maxLevel);
                    const bool isForAll = pick(3) == 0;
                    const double factor = pick(8) / 16.0;
                    for (int g = 0; g < 8; ++g)
                        if (isForAll || g == group)
                            factors[static_cast<std::size_t>(g)][static_cast<std::size_t>(level)] = factor;
                    bench.set("stack.gain", factor, isForAll ? allGroups : group, level);
                    break;
                }
                case 2:
                    groups[channel] = group;
                    break;
                case 3:
                    if (groups.size() > 1)
                        groups.erase(channel);
                    break;
                default:
                    break;
                }
                std::map<int, CSignal> in;
                std::map<int, CSignal> wanted;
                std::erase_if(plain, [&](const auto& entry) { return !groups.contains(entry.first); });
                const int length = 1 + pick(30);
                for (const auto& [number, ownGroup] : groups)
                {
                    CPlainChannel& own = plain[number];
                    if (own.group != ownGroup)
                        own = {ownGroup, {}};
                    own.memories.resize(static_cast<std::size_t>(counts[static_cast<std::size_t>(ownGroup)]));
                    in[number] = noise(length, seed * 1000 + static_cast<unsigned>(block * 10 + number));
                    wanted[number] = own.process(in[number], factors[static_cast<std::size_t>(ownGroup)]);
                }
                ASSERT_EQ(bench.runBlock(in, groups), wanted) << "seed " << seed << " block " << block;
                // The host's own end has got the outputs too and holds them.
                ASSERT_EQ(bench.host.buffersInUse(), static_cast<int>(groups.size())) << "seed " << seed;
            }
        }
    }
}

TEST(Stack, HasANodePerLevelAndGroup)
{
    CLiveBench bench(stackTree({}, 2.0));
    const CSignal some = {1.0};
    bench.runBlock({{0, some}, {1, some}}, {{0, 3}, {1, 3}});
    EXPECT_EQ(bench.running(), (CPairs{{3, 0}, {3, 1}}));
    // Groups stand in the order of their coming, those of one block in rising number.
    bench.runBlock({{0, some}, {1, some}, {2, some}}, {{0, 5}, {1, 3}, {2, 1}});
    EXPECT_EQ(bench.running(), (CPairs{{3, 0}, {3, 1}, {1, 0}, {1, 1}, {5, 0}, {5, 1}}));
    bench.set("count", 0.0, 1);
    bench.set("count", 1.4, 5);
    bench.runBlock({{0, some}, {2, some}}, {{0, 5}, {2, 1}});
    EXPECT_EQ(bench.running(), (CPairs{{5, 0}}));
    bench.set("count", -7.0, 5);
    bench.runBlock({{0, some}, {2, some}}, {{0, 5}, {2, 1}});
    EXPECT_EQ(bench.running(), CPairs());
}

TEST(Stack, HasANodePerChannelIfAsked)
{
    CLiveBench bench(stackTree({{"is-channel-stack", "true"}}, 2.0));
    const CSignal some = {1.0};
    bench.runBlock({{0, some}, {1, some}, {2, some}}, {{0, 1}, {1, 1}, {2, 0}});
    EXPECT_EQ(bench.running(), (CPairs{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {1, 0}, {1, 1}}));
}

TEST(Stack, ShiftsTheElements)
{
    CLiveBench bench(stackTree({{"stack-index-shift", "1"}}, 2.0));
    bench.set("stack.gain", 0.5, 0, 0); // nobody's
    bench.set("stack.gain", 0.25, 0, 1);
    bench.set("stack.gain", 0.125, 0, 2);
    CPlainChannel plain{0, {0.0, 0.0}};
    const CSignal in = noise(20, 1);
    EXPECT_EQ(bench.runBlock({{0, in}}, {{0, 0}}).at(0), plain.process(in, {0.25, 0.125}));
    EXPECT_EQ(bench.running(), (CPairs{{0, 1}, {0, 2}}));
}

TEST(Stack, HasOneNodeWithoutAParameter)
{
    CLiveBench bench(autoProcess("main", {memory("stack", 0.5, {{"is-stacked", "true"}})}));
    CPlainChannel plain{2, {0.0}};
    const CSignal in = noise(20, 1);
    EXPECT_EQ(bench.runBlock({{0, in}}, {{0, 2}}).at(0), plain.process(in, {0.5}));
    EXPECT_EQ(bench.running(), (CPairs{{2, 0}}));
}

TEST(Stack, WakesOnlyWhomAChangeConcerns)
{
    CLiveBench bench(stackTree({}, 2.0));
    const CSignal some = {1.0};
    const std::map<int, CSignal> in = {{0, some}, {1, some}, {2, some}};
    const std::map<int, int> groups = {{0, 3}, {1, 3}, {2, 0}};
    bench.set("stack.gain", 0.0, allGroups, 2); // a list that grows counts as changed where it has grown
    bench.runBlock(in, groups);
    const auto updatesAfter = [&](double value, int group, int element)
    {
        bench.set("stack.gain", value, group, element);
        moduleLog().clear();
        bench.runBlock(in, groups);
        EXPECT_EQ(moduleLog().made, 0);
        return moduleLog().updates;
    };
    EXPECT_EQ(updatesAfter(0.1, 3, 0), 2); // both channels of the group, in one of its two levels
    EXPECT_EQ(updatesAfter(0.2, 0, 1), 1);
    EXPECT_EQ(updatesAfter(0.3, 4, 0), 0); // a group that is not there
    EXPECT_EQ(updatesAfter(0.4, 3, 2), 0); // a level that is not there
    EXPECT_EQ(updatesAfter(0.5, allGroups, 0), 3);
}

}
