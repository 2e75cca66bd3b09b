// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamFilter.h"
#include "Audio/Parameters/CAudioParamFilterBypassGroupSolo.h"
#include "Audio/Parameters/CAudioParamFilterBypassMS.h"
#include "Audio/Parameters/CAudioParamFilterBypassOS.h"
#include "Audio/Parameters/CAudioParamFilterDef.h"
#include "ParamTree.h"

#include <barrier>
#include <chrono>
#include <future>
#include <thread>

namespace kor::test
{
namespace
{

/// By the default process: d = a + 100 b, and e = the negative of that.
class CSumFilter : public CAudioParamFilter
{
public:
    std::size_t getSrcCount() const override { return 2; }
    std::size_t getDstCount() const override { return 2; }
    void calc(std::span<double> values) const override
    {
        values[2] = values[0] + 100.0 * values[1];
        if (pause.count() > 0)
            std::this_thread::sleep_for(pause);
        values[3] = 0.0 - values[2];
    }

    std::chrono::microseconds pause{0}; // between reading and writing, so that other threads come between
};

const char* const soloType = "audio:param-filter-bypass-group-solo";
const char* const msType = "audio:param-filter-bypass-ms";
const char* const osType = "audio:param-filter-bypass-os";
const char* const sumType = "test:sum";

CTreeNode filterNode(const char* type, const char* src, const char* dst)
{
    addTestType(creatorRow<CAudioParamFilterDefOf<CSumFilter>>(sumType));
    return {type, "filter", {{"src", src}, {"dst", dst}}, {}, {}};
}

// Sources a and b and destinations d and e, and a filter between some of them.
struct CFilterBench : CParamFixture
{
    CFilterBench(const char* type, const char* src, const char* dst, const CAttrs& changes = {})
        : CParamFixture(CNodes::list, {paramNode("a", changes), paramNode("b", changes), paramNode("d", changes),
                                       paramNode("e", changes), filterNode(type, src, dst),
                                       paramNode("next-a", {{"def-values", "4 5"}, {"is-global", "true"}})})
    {
    }

    static CTreeNode paramNode(const char* name, const CAttrs& changes)
    {
        CAttrs attrs = {{"min-values", "-1000"}, {"max-values", "1000"}, {"def-values", "0"}};
        attrs.insert(attrs.end(), changes.begin(), changes.end());
        return {"audio:param", name, paramAttrs(attrs), {}, {}};
    }

    CError make()
    {
        const auto& def = dynamic_cast<const CAudioParamFilterDef&>((*tree).at("filter"));
        filter = def.createFilter();
        return filter->init(def,
                            [this](const CStringBuf& name) -> CAudioParam& { return param(name.toUtf8().c_str()); });
    }

    void start()
    {
        ASSERT_TRUE(succeeded(make()));
        filter->start();
    }

    /// Replaces the list of a group.
    void setList(const char* name, int group, const std::vector<double>& values)
    {
        CAudioParamRequest request;
        request.group = group;
        request.elementCount = static_cast<int>(values.size());
        request.cut = true;
        request.values = values.data();
        param(name).change(request);
    }

    std::vector<double> list(const char* name, int group)
    {
        std::vector<double> out;
        for (int e = 0; e < param(name).getElementCount(group); ++e)
            out.push_back(param(name).getValue(group, e));
        return out;
    }

    std::unique_ptr<CAudioParamFilter> filter; // goes ahead of the collector
};

using CList = std::vector<double>;

}

TEST(ParamFilter, RefusesWrongCountsOfParameters)
{
    struct Case
    {
        const char* type;
        const char* src;
        const char* dst;
        const char* failure;
    };
    const Case cases[] = {
        {msType, "", "d", "No source parameters defined."},
        {msType, " , ", "d", "No source parameters defined."},
        {msType, "a", "", "No destination parameters defined."},
        {osType, "a", "d", "Not enough source parameters 1 defined in the param filter (required 2)."},
        {osType, "a,b,b", "d", "Too many source parameters 3 defined in the param filter."},
        {msType, "a,b", "d", "Too many source parameters 2 defined in the param filter."},
        {soloType, "a", "d,e", "Too many destination parameters 2 defined in the param filter."},
        {sumType, "a,b", "d", "Not enough destination parameters 1 defined in the param filter (required 2)."},
        {osType, " a , b ", "d", ""},
        {soloType, "a", "d", ""},
    };
    for (const Case& c : cases)
    {
        std::string failure;
        {
            const CParamTree loaded(CNodes::list, {filterNode(c.type, c.src, c.dst)});
            failure = loaded.failure();
        }
        if (failure.empty())
            failure = CFilterBench(c.type, c.src, c.dst).make().message();
        if (*c.failure == '\0')
            EXPECT_EQ(failure, "") << c.type << " " << c.src;
        else
            EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
    }
}

TEST(ParamFilter, BypassesMidSideUnlessAPairIsComplete)
{
    struct Case
    {
        CList pairs;
        double bypass;
    };
    for (const Case& c : {Case{{}, 1},
                          {{0, 0, 0}, 1},
                          {{1, 1, 0}, 0},
                          {{1, 2, 0}, 1},
                          {{2, 0, 1, 4, 2}, 0},
                          {{1.4, 0.6}, 0},
                          {{0.5, 0.4}, 1},
                          {{-1, -1}, 1},
                          {{63, 63}, 0}})
    {
        CFilterBench f(msType, "a", "d", {{"is-single-group", "true"}});
        f.start();
        EXPECT_EQ(f.list("d", 0), CList{1});
        f.setList("a", 0, c.pairs);
        EXPECT_EQ(f.list("d", 0), CList{c.bypass}) << ::testing::PrintToString(c.pairs);
        f.setList("a", allGroups, {0});
        EXPECT_EQ(f.list("d", 0), CList{1});
    }
}

TEST(ParamFilter, BypassesOversamplingInMode1x)
{
    // Rows: the user's choice, 0 "Auto" to 4 "8x"; columns: the host's mode, 0 "1x" to 3.
    const double expected[5][4] = {{1, 0, 0, 0}, {1, 1, 1, 1}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};
    CFilterBench f(osType, "a,b", "d");
    f.start();
    EXPECT_EQ(f.list("d", 3), CList{1});
    for (int own = 0; own < 5; ++own)
    {
        for (int host = 0; host < 4; ++host)
        {
            f.param("a").setValue(0, 0, own);
            f.param("b").setValue(allGroups, 0, host + 0.3);
            EXPECT_EQ(f.list("d", 0), CList{expected[own][host]}) << own << " " << host;
        }
    }
    f.param("d").setValue(allGroups, 0, 7);
    f.param("a").setValue(2, 0, 1);
    EXPECT_EQ(f.list("d", 2), CList{7}) << "only group 0 matters";
}

TEST(ParamFilter, BypassesSoloUntilAGroupIsSoloed)
{
    CFilterBench f(soloType, "a", "d");
    f.start();
    EXPECT_EQ(f.list("d", 2), CList{1});
    f.param("a").setValue(2, 0, 0.5);
    EXPECT_EQ(f.list("d", 2), CList{0}) << "in the group of the change";
    EXPECT_EQ(f.list("d", 0), CList{1});
    f.param("a").setValue(0, 0, 0.4);
    EXPECT_EQ(f.list("d", 0), CList{0});
    f.setList("a", 2, {});
    EXPECT_EQ(f.list("d", 2), CList{1}) << "a group without an element is not soloed";
    f.setList("a", 1, {0, 1});
    EXPECT_EQ(f.list("d", 1), CList{1}) << "only the first element counts";
    f.setList("a", allGroups, {1});
    for (int g = 0; g < 4; ++g)
        EXPECT_EQ(f.list("d", g), CList{0}) << g;
}

TEST(ParamFilter, ComputesTheElementsThatChanged)
{
    CFilterBench f(sumType, "a,b", "d,e");
    f.setList("b", 0, {1, 2, 3});
    f.start();
    for (int g = 0; g < 4; ++g)
        EXPECT_EQ(f.list("d", g), (CList{100, 200, 300})) << "all groups take group 0's values, group " << g;

    f.setList("b", 1, {1, 1, 1, 1});
    f.setList("a", 1, {5, 6});
    EXPECT_EQ(f.list("d", 1), (CList{105, 106, 100, 100})) << "a cut reaches over the longest source";
    f.setList("b", 1, {2});
    EXPECT_EQ(f.list("d", 1), (CList{205, 6})) << "and makes the destination as short";
    f.param("a").setValue(1, 1, 9);
    EXPECT_EQ(f.list("d", 1), (CList{205, 9}));
    EXPECT_EQ(f.list("e", 1), (CList{-205, -9}));
    f.param("a").setValue(1, 3, 4);
    EXPECT_EQ(f.list("d", 1), (CList{205, 9, 0, 4})) << "fillers of a gap come through";
    EXPECT_EQ(f.list("d", 2), (CList{100, 200, 300}));
}

TEST(ParamFilter, OneParameterMayBeBothSources)
{
    CFilterBench f(sumType, "a,a", "d,e");
    f.start();
    f.param("a").setValue(0, 0, 3);
    EXPECT_EQ(f.list("d", 0), CList{303});
}

TEST(ParamFilter, ReadsASourceAnewWhenItIsDefinedAnew)
{
    CFilterBench f(sumType, "a,b", "d,e", {{"is-global", "true"}});
    f.start();
    f.collector.defineParam("a", f.tree.def("next-a"));
    EXPECT_EQ(f.list("d", 0), (CList{4, 5}));
    CAudioParamRequest nothing;
    nothing.elementCount = 0;
    nothing.cut = true;
    f.collector.findParam("a")->change(nothing);
    f.param("b").setValue(0, 0, 1);
    EXPECT_EQ(f.list("d", 0), CList{104}) << "an empty list reads as the new default";
}

TEST(ParamFilter, WritesUnderTheUndoOfTheChange)
{
    class CRecorder : public CAudioParamUndoContext
    {
    public:
        void recordOld(CAudioParam& param, const CAudioParamRequest&) override
        {
            log += param.fullName().toUtf8() + ":" + CStringBuf::fromDouble(param.getValue(0, 0)).toUtf8();
        }
        void recordNew(CAudioParam& param, const CAudioParamRequest&) override
        {
            log += ">" + CStringBuf::fromDouble(param.getValue(0, 0)).toUtf8() + " ";
        }
        std::string log;
    };
    CFilterBench f(sumType, "a,b", "d,e", {{"is-storable", "true"}});
    f.start();
    CRecorder undo;
    f.param("a").setValue(0, 0, 2, &undo);
    f.param("a").setValue(0, 0, 3);
    EXPECT_EQ(undo.log, "a:0>2 d:0>2 e:0>-2 ");
}

TEST(ParamFilter, DoesNotTakeTheOtherSourcesLock)
{
    CFilterBench f(sumType, "a,b", "d,e");
    f.start();
    f.param("b").lock().lock();
    auto change = std::async(std::launch::async, [&, &a = f.param("a")] { a.setValue(0, 0, 2); });
    EXPECT_EQ(change.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    f.param("b").lock().unlock();
    change.get();
    EXPECT_EQ(f.list("d", 0), CList{2});
}

// Whoever writes the destination last has seen the last values of both sources. Groups 1 to 3 hear what concerns all.
TEST(ParamFilter, ThreadsThatChangeBothSourcesAgreeOnTheDestination)
{
    CFilterBench f(sumType, "a,b", "d,e");
    f.start();
    static_cast<CSumFilter&>(*f.filter).pause = std::chrono::microseconds(20);
    constexpr int rounds = 400;
    std::barrier gate(3);
    const auto change = [&](CAudioParam& source, int step)
    {
        for (int round = 1; round <= rounds; ++round)
        {
            gate.arrive_and_wait();
            source.setValue(0, 0, (round * step) % 7);
            gate.arrive_and_wait();
        }
    };
    CAudioParam& a = f.param("a");
    CAudioParam& b = f.param("b");
    CAudioParam& d = f.param("d");
    std::thread first(change, std::ref(a), 3);
    std::thread second(change, std::ref(b), 5);
    int wrong = 0;
    for (int round = 1; round <= rounds; ++round)
    {
        gate.arrive_and_wait();
        gate.arrive_and_wait();
        wrong += d.getValue(0, 0) != (round * 3) % 7 + 100.0 * ((round * 5) % 7);
    }
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0) << "of " << rounds << " rounds";
}

// Starting and stopping while others change: what counts in the end is the last state of the sources.
TEST(ParamFilter, ThreadsMayChangeSourcesDuringStartAndStop)
{
    CFilterBench f(sumType, "a,b", "d,e");
    std::atomic<bool> ends = false;
    const auto change = [&](CAudioParam& source)
    {
        for (int i = 0; !ends; ++i)
            source.setValue(0, i % 3, i % 9);
    };
    std::thread first(change, std::ref(f.param("a")));
    std::thread second(change, std::ref(f.param("b")));
    for (int i = 0; i < 200; ++i)
    {
        ASSERT_TRUE(succeeded(f.make()));
        f.filter->start();
        std::this_thread::yield();
        f.filter->stop();
    }
    f.filter->start();
    ends = true;
    first.join();
    second.join();
    for (int e = 0; e < 3; ++e)
        EXPECT_EQ(f.param("d").getValue(0, e), f.param("a").getValue(0, e) + 100.0 * f.param("b").getValue(0, e)) << e;
}

}
