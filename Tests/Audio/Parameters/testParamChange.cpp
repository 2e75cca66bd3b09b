// SPDX-License-Identifier: GPL-3.0-or-later
#include "ParamTree.h"
#include "StreamsInMemory.h"

#include <functional>
#include <limits>
#include <thread>

namespace kor::test
{
namespace
{

std::string valuesOf(const CAudioParam& param, int group)
{
    std::string out;
    for (int e = 0; e < param.getElementCount(group); ++e)
        out += (e > 0 ? "," : "") + (param.info().type == CAudioParamType::string
                                         ? param.getText(group, e).toUtf8()
                                         : CStringBuf::fromDouble(param.getValue(group, e)).toUtf8());
    return out;
}

// Writes down what hooks, selection and undo are told, each with the value of element 0 of the changed group.
class CWitness : public CAudioParamChangeHook, public CAudioParamUndoContext, public CAudioParamCollectorHook
{
public:
    void onParamChange(const CAudioParamRequest& request, CAudioParamUndoContext* undo) override
    {
        add("hook", *request.param, request.group, request.firstElement);
        if (undo == this)
            log += "(undo)";
        if (onHook)
            onHook(request);
    }
    void recordOld(CAudioParam& param, const CAudioParamRequest& r) override
    {
        add("old", param, r.group, r.firstElement);
    }
    void recordNew(CAudioParam& param, const CAudioParamRequest& r) override
    {
        add("new", param, r.group, r.firstElement);
    }
    void onParamChanged(CAudioParam& param, int group, int first, int end) override
    {
        add("changed", param, group, first);
        log += "-" + std::to_string(end);
        // Nobody may still hold the parameter: another thread must be able to enter it.
        std::thread([&] { isFree = isFree && param.lock().try_lock() && (param.lock().unlock(), true); }).join();
    }
    void onParamAdded(CAudioParam& param) override { log += " added:" + param.fullName().toUtf8(); }
    void onParamDefined(CAudioParam& param) override { log += " defined:" + param.fullName().toUtf8(); }
    std::string take() { return std::exchange(log, {}); }

    std::function<void(const CAudioParamRequest&)> onHook;
    bool isFree = true;

private:
    void add(const char* what, const CAudioParam& param, int group, int element)
    {
        log += std::string(" ") + what + ":" + std::to_string(group) + "," + std::to_string(element) + "=" +
               CStringBuf::fromDouble(param.getValue(group, element)).toUtf8();
    }
    std::string log;
};

const CAttrs bands = {{"def-values", "3 4 5"}, {"is-storable", "true"}};

}

TEST(ParamChange, ClampsEveryWrite)
{
    CParamFixture up({});
    struct Case
    {
        double written, stored;
    };
    for (const Case& c : {Case{5, 5}, {-1, 0}, {11, 10}, {std::numeric_limits<double>::infinity(), 10},
                          {std::numeric_limits<double>::quiet_NaN(), 0}})
    {
        up.param().setValue(0, 0, c.written);
        EXPECT_EQ(up.param().getValue(0, 0), c.stored) << c.written;
    }
}

TEST(ParamChange, ListsHaveNoHoles)
{
    CParamFixture f({{"def-values", "3 4 5 6 7"}, {"is-storable", "true"}});
    CWitness witness;
    f.param().setValue(1, 7, 9.0, &witness);
    EXPECT_EQ(valuesOf(f.param(), 1), "3,4,5,6,7,3,3,9");
    EXPECT_EQ(witness.take(), " old:1,7=3 new:1,7=9");      // the gap is part of the one action
    f.param().setValue(allGroups, 9, 2.0);
    EXPECT_EQ(valuesOf(f.param(), 1), "3,4,5,6,7,3,3,9,3,2");
    EXPECT_EQ(valuesOf(f.param(), 2), "3,4,5,6,7,3,3,3,3,2");
}

TEST(ParamChange, LeavesOutWhatDoesNotFit)
{
    CParamFixture f(bands);
    CAudioParam& bare = f.collector.getParam("bare");
    bare.setValue(0, 0, 5.0);
    EXPECT_EQ(bare.getValue(0, 0), 0.0);
    EXPECT_EQ(bare.getElementCount(0), 0);

    CAudioParam& param = f.param();
    for (const int group : {-1, 4, 9998})
        param.setValue(group, 0, 9.0);
    param.setValue(0, -1, 9.0);
    param.setValue(0, 70000, 9.0);
    param.setLocked(true);
    param.setValue(0, 0, 9.0);
    param.reset(0, everyIndex);
    param.setLocked(false);
    for (int g = 0; g < 4; ++g)
        EXPECT_EQ(valuesOf(param, g), "3,4,5");
}

TEST(ParamChange, TellsInOrderAndOffTheLocks)
{
    CParamFixture f(CNodes::list, {{"audio:param", "p", paramAttrs(bands)}, {"audio:param", "q", paramAttrs({})}});
    CAudioParam& param = f.param();
    CAudioParam& derived = f.param("q");
    CWitness witness, second, selection, all;
    f.collector.addHook(all);
    param.addHook(witness);
    param.addHook(second);
    param.setSelectionHook(&selection);
    std::string order;
    selection.onHook = [&](const CAudioParamRequest&) { order += "s"; };
    witness.onHook = [&](const CAudioParamRequest& request)
    {
        order += "1";
        derived.setValue(request.group, 0, 2.0, nullptr);
        CAudioParamChangeScope::defer([&] { order += "d"; });
    };
    second.onHook = [&](const CAudioParamRequest&) { order += "2"; };
    param.setValue(1, 2, 9.0, &witness);
    EXPECT_EQ(order, "s12d");
    EXPECT_EQ(witness.take(), " old:1,2=5 new:1,2=9 hook:1,2=9(undo)");
    EXPECT_EQ(all.take(), " changed:1,2=9-3 changed:1,0=2-1");
    EXPECT_TRUE(all.isFree);

    {
        CAudioParamChangeScope scope;               // a caller that holds the lock itself
        CLockHolder hold(param.lock());
        param.setValue(0, 0, 1.0);
        EXPECT_EQ(all.take(), "");
    }
    EXPECT_EQ(all.take(), " changed:0,0=1-1 changed:0,0=2-1");
    EXPECT_TRUE(all.isFree);
    param.removeHook(witness);
    param.setSelectionHook(nullptr);
    order.clear();
    param.setValue(0, 0, 1.0);
    EXPECT_EQ(order, "2");
}

TEST(ParamChange, UndoSeesOnlyWhatIsKept)
{
    for (const char* flag : {"is-storable", "is-persistent", "is-global"})
    {
        CParamFixture f(CAttrs{{flag, "true"}});
        CWitness undo;
        f.param().setValue(0, 0, 2.0, &undo);
        EXPECT_EQ(undo.take().empty(), std::string(flag) == "is-global") << flag;
    }
}

TEST(ParamChange, ResetCopiesTheDefaultStore)
{
    CParamFixture f(bands);
    CAudioParam& param = f.param();
    const double values[5] = {9, 8, 7, 6, 5};
    CAudioParamRequest request;
    request.group = allGroups;
    request.elementCount = 5;
    request.values = values;
    param.change(request);
    param.reset(0, 1);
    EXPECT_EQ(valuesOf(param, 0), "9,4,7,6,5");
    param.reset(0, 2, nullptr, true);
    EXPECT_EQ(valuesOf(param, 0), "9,4,5");
    param.reset(1, everyIndex);
    EXPECT_EQ(valuesOf(param, 1), "3,4,5");
    param.reset(allGroups, everyIndex);
    EXPECT_EQ(valuesOf(param, 3), "3,4,5");
}

TEST(ParamChange, LoadsBlocksWhereTheyAreTold)
{
    CParamFixture f(bands);
    CAudioParam& param = f.param();
    param.setValue(0, 0, 9.0);
    param.setValue(1, 4, 8.0);
    CMemoryOut out, one;
    ASSERT_TRUE(succeeded(param.save(out, "audio.other.p", everyIndex)));
    ASSERT_TRUE(succeeded(param.save(one, "p", 1)));
    const std::string group1 = valuesOf(param, 1);
    struct Case
    {
        const CMemoryOut& block;
        CAudioParamLoadTarget target;
        const char* groups;                         // 0;1;2 afterwards, from 3,4,5 everywhere
        const char* defaults;                       // of group 0 after a reset
    };
    const Case cases[] = {
        {out, {}, "9,4,5;3,4,5,3,8;3,4,5", "3,4,5"},
        {one, {}, "3,4,5,3,8;;", "3,4,5"},          // a block of one group leaves the others empty
        {one, {false, 2}, "3,4,5;3,4,5;3,4,5,3,8", "3,4,5"},
        {out, {false, 2, 1}, "3,4,5;3,4,5;3,9,5", "3,4,5"},
        {out, {false, 2, 1, true}, "3,4,5;3,4,5;3,9", "3,4,5"},
        {out, {false, allGroups, 2}, "3,4,5;3,4,5;3,4,5", "3,4,5"},         // not the next free element
        {out, {false, allGroups, 3}, "3,4,5,9;3,4,5,9;3,4,5,9", "3,4,5"},
        {out, {true}, "3,4,5;3,4,5;3,4,5", "9,4,5"},
    };
    for (const Case& c : cases)
    {
        param.reset(allGroups, everyIndex);
        CMemoryIn in(c.block.bytes);
        ASSERT_TRUE(succeeded(param.load(in, c.target)));
        EXPECT_EQ(valuesOf(param, 0) + ";" + valuesOf(param, 1) + ";" + valuesOf(param, 2), c.groups);
        param.reset(0, everyIndex);
        EXPECT_EQ(valuesOf(param, 0), c.defaults);
    }
    CByteArray half(out.bytes.begin(), out.bytes.end() - 1);
    CMemoryIn in(half);
    param.setValue(0, 0, 2.0);
    EXPECT_TRUE(param.load(in, {}));
    EXPECT_EQ(valuesOf(param, 0), "2,4,5");
}

TEST(ParamCollector, KnowsParametersByNameAndDefinition)
{
    CParamFixture f(CNodes::list, {{"audio:param", "p", paramAttrs({})},
                                   {"audio:param", "same", paramAttrs({})},
                                   {"audio:param", "global", paramAttrs({{"is-global", "true"}, {"max-values", "5"}})},
                                   {"audio:param", "text", paramAttrs({{"is-global", "true"}, {"data-type", "str"}})}});
    CWitness witness;
    f.collector.addHook(witness);
    CAudioParam& early = f.collector.getParam("a.b");
    EXPECT_EQ(f.collector.findParam("a.b"), &early);
    EXPECT_EQ(f.collector.findParam("a.c"), nullptr);
    CAudioParam& first = f.collector.defineParam("a.b", f.tree.def("p"));
    EXPECT_EQ(&first, &early);
    EXPECT_EQ(first.definition(), &f.tree.def("p"));
    CAudioParam& other = f.collector.defineParam("a.b", f.tree.def("same"));
    EXPECT_NE(&first, &other);
    EXPECT_EQ(&f.collector.defineParam("a.b", f.tree.def("same")), &other);
    EXPECT_EQ(&f.collector.defineParam("a.b", f.tree.def("p")), &first);
    EXPECT_EQ(f.collector.findParam("a.b"), &first);
    EXPECT_EQ(witness.take(), " added:a.b defined:a.b added:a.b defined:a.b");

    CAudioParam& global = f.collector.defineParam("g", f.tree.def("global"));
    global.setValue(0, 0, 4.0);
    EXPECT_EQ(&f.collector.defineParam("g", f.tree.def("global")), &global);
    EXPECT_EQ(global.getValue(0, 0), 4.0);          // an identical definition keeps the values
    EXPECT_EQ(&f.collector.defineParam("g", f.tree.def("text")), &global);
    EXPECT_EQ(global.getText(0, 0), "1");           // another one brings its own
    int count = 0;
    f.collector.forEachParam([&](CAudioParam&) { ++count; });
    EXPECT_EQ(count, 3);
}

}
