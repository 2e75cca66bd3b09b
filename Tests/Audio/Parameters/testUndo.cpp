// SPDX-License-Identifier: GPL-3.0-or-later
#include "ParamTree.h"
#include "StreamsInMemory.h"

#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioParamUndo.h"

#include <functional>
#include <random>
#include <thread>

namespace kor::test
{
namespace
{

const CAttrs kept = {{"is-storable", "true"}};
const char* const keptNames[] = {"bands", "pair", "single", "text", "data"};

CTreeNode paramNode(const char* name, CAttrs attrs, const CAttrs& more)
{
    attrs.insert(attrs.end(), more.begin(), more.end());
    return {"audio:param", name, paramAttrs(attrs)};
}

// Parameters of every form, and a history over them.
class CUndoFixture : public CParamFixture
{
public:
    explicit CUndoFixture(int capacity = 32)
        : CParamFixture(CNodes::list,
                        {paramNode("bands", kept, {{"def-values", "3 4 5"}}),
                         paramNode("pair", kept, {{"element-size", "2"}, {"def-values", "1,2"},
                                                  {"converter2", "shared::audio.paramcvt.real"},
                                                  {"min-values", "0 0"}, {"max-values", "10 10"}}),
                         paramNode("single", {{"is-persistent", "true"}},
                                   {{"is-single-group", "true"}, {"is-single-element", "true"}}),
                         paramNode("text", kept, {{"data-type", "string"}, {"def-values", "L,R"},
                                                  {"converter", "shared::audio.paramcvt.text"}}),
                         paramNode("data", kept, {{"data-type", "raw"}, {"def-values", "0"}}),
                         paramNode("transient", {{"is-global", "true"}}, {})})
    {
        undo.setUp(collector, capacity);
        for (const char* name : {"bands", "pair", "single", "text", "data", "transient"})
            param(name);
    }

    using CAction = std::function<void(CAudioParamUndoContext*)>;
    void act(const CAction& action, const char* label = "", bool isMergeable = false, int key = -1)
    {
        std::unique_ptr<CAudioParamUndoRecord> record = undo.createRecord(CStringBuf(label), isMergeable, key);
        action(record.get());
        undo.submit(std::move(record));
    }
    void set(double value)
    {
        act([&](CAudioParamUndoContext* context) { param("bands").setValue(0, 0, value, context); });
    }

    /// "||label*|label|": the lines between bars, the first without its text, a star behind the one in effect.
    std::string history() const
    {
        CArray<CStringBuf> labels;
        int position = 0;
        undo.getHistory(labels, position);
        EXPECT_EQ(labels[0], "Undo history start"_s);
        std::string out = "|";
        for (std::size_t i = 0; i < labels.size(); ++i)
            out += (i > 0 ? labels[i].toUtf8() : "") + (static_cast<int>(i) == position ? "*" : "") + "|";
        return out;
    }

    CByteArray blockOf(const char* name)
    {
        CMemoryOut out;
        EXPECT_TRUE(succeeded(param(name).save(out, ""_s, everyIndex)));
        return out.bytes;
    }

    /// All that is kept, as it would be stored.
    CByteArray state()
    {
        CByteArray all;
        for (const char* name : keptNames)
        {
            const CByteArray block = blockOf(name);
            all.insert(all.end(), block.begin(), block.end());
        }
        return all;
    }

    CAudioParamUndo undo;
};

std::string valuesOf(const CAudioParam& param, int group = 0)
{
    std::string out;
    for (int e = 0; e < param.getElementCount(group); ++e)
        out += (e > 0 ? "," : "") + CStringBuf::fromDouble(param.getValue(group, e)).toUtf8();
    return out;
}

TEST(Undo, HistoryKeepsTheNewestStepsAndThePosition)
{
    CUndoFixture f(3);
    const auto step = [&](const char* label)
    { f.act([&](auto* context) { f.param("bands").setValue(0, 0, 9.0, context); }, label); };
    EXPECT_EQ(f.history(), "|*|");
    f.undo.setPosition(0);
    EXPECT_EQ(f.history(), "|*|");
    step("a");
    step("b");
    f.undo.setPosition(1);
    f.undo.setPosition(-1);
    f.undo.setPosition(3);
    EXPECT_EQ(f.history(), "||a*|b|");
    f.act([](auto*) {}, "nothing");
    f.act([&](auto* context) { f.param("transient").setValue(0, 0, 2.0, context); }, "not kept");
    f.param("bands").setValue(0, 0, 1.0);
    EXPECT_EQ(f.history(), "||a*|b|");                          // redo is still there
    step("c");
    EXPECT_EQ(f.history(), "||a|c*|");
    step("d");
    step("e");
    EXPECT_EQ(f.history(), "||c|d|e*|");
}

TEST(Undo, MergesWhatOneGestureChanged)
{
    struct CRow
    {
        const char* what;
        CUndoFixture::CAction first, second;
        bool isMergeable;
        int firstKey, secondKey;
        int records;
    };
    CUndoFixture* f = nullptr;
    const auto bands = [&](int group, int element, std::vector<double> moves)
    {
        return [&f, group, element, moves](CAudioParamUndoContext* context)
        {
            for (const double value : moves)
                f->param("bands").setValue(group, element, value, context);
        };
    };
    const auto both = [&](double value)
    {
        return [&f, value](CAudioParamUndoContext* context)
        {
            f->param("bands").setValue(0, 0, value, context);
            f->param("single").setValue(0, 0, value, context);
        };
    };
    const auto cut = [&](CAudioParamUndoContext* context)
    {
        CAudioParamRequest request;
        const double value = 6;
        request.values = &value;
        request.cut = true;
        f->param("bands").change(request, context);
    };
    const CRow rows[] = {
        {"a drag and its wheel notch", bands(0, 0, {7, 8, 9}), bands(0, 0, {6}), true, 5, 5, 1},
        {"without keys", bands(0, 0, {7}), bands(0, 0, {6}), true, -1, -1, 1},
        {"several parameters", both(7), both(6), true, 5, 5, 1},
        {"not meant to", bands(0, 0, {7}), bands(0, 0, {6}), false, 5, 5, 2},
        {"other key", bands(0, 0, {7}), bands(0, 0, {6}), true, 5, 6, 2},
        {"other element", bands(0, 0, {7}), bands(0, 1, {6}), true, 5, 5, 2},
        {"other group", bands(0, 0, {7}), bands(1, 0, {6}), true, 5, 5, 2},
        {"all groups", bands(0, 0, {7}), bands(allGroups, 0, {6}), true, 5, 5, 2},
        {"a cut", bands(0, 0, {7}), cut, true, 5, 5, 2},
        {"a parameter less", both(7), bands(0, 0, {6}), true, 5, 5, 2},
    };
    for (const CRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        CUndoFixture fixture;
        f = &fixture;
        fixture.param("bands").setValue(0, 0, 2.0);
        const CByteArray start = fixture.state();
        fixture.act(row.first, "x", row.isMergeable, row.firstKey);
        const std::unique_ptr<CAudioParamUndo::CHistory> apart = fixture.undo.cloneHistory();
        fixture.set(1.0);
        fixture.undo.setPosition(1);                            // a step to redo, which a merge drops too
        fixture.act(row.second, "y", row.isMergeable, row.secondKey);
        const CByteArray end = fixture.state();
        EXPECT_EQ(fixture.history(), row.records == 1 ? "||x*|" : "||x|y*|");
        fixture.undo.setPosition(0);
        EXPECT_EQ(fixture.state(), start);
        fixture.undo.setPosition(row.records);
        EXPECT_EQ(fixture.state(), end);

        // What a program put aside earlier has not changed with it.
        fixture.undo.swapHistory(std::make_unique<CAudioParamUndo::CHistory>(*apart));
        fixture.undo.setPosition(0);
        fixture.undo.setPosition(1);
        EXPECT_EQ(fixture.param("bands").getValue(0, 0), row.what == std::string("a drag and its wheel notch") ? 9 : 7);
    }
}

// One random change, of any kind that a user's action can make.
void edit(CUndoFixture& f, std::mt19937& random, CAudioParamUndoContext* context)
{
    const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    const char* const name = keptNames[below(5)];
    CAudioParam& param = f.param(name);
    const int group = below(5) < 4 ? below(4) : allGroups;
    const int kind = below(8);
    if (kind == 0)
        return param.reset(group, below(2) == 0 ? everyIndex : below(6), context, below(2) == 0);
    if (kind == 1)                                              // a preset that holds what is there already, or was
    {
        CMemoryIn stored(f.blockOf(name));
        param.reset(allGroups, everyIndex, context);
        const CAudioParamLoadTarget target{.group = below(2) == 0 ? everyIndex : group};
        return (void)succeeded(param.load(stored, target, context));
    }
    CAudioParamData table;
    double values[8];
    for (double& value : values)
    {
        const CByteArray bytes(static_cast<std::size_t>(below(80)), static_cast<unsigned char>(below(256)));
        value = below(11);
        if (param.info().type == CAudioParamType::string)
            value = table.add(new CAudioParamDataItemString(CStringBuf::fromInt(below(1000))));
        else if (param.info().type == CAudioParamType::raw)
            value = below(4) == 0 ? 0 : table.add(new CAudioParamDataItemRaw(bytes));
    }
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = below(7);
    request.elementSize = param.info().elementSize;
    request.type = param.info().type;
    request.elementCount = below(5);
    request.cut = below(3) == 0;
    request.values = values;
    request.items = &table;
    param.change(request, context);
}

TEST(Undo, EveryStateComesBackToTheByte)
{
    const int runs = std::getenv("MORVA_LONG") != nullptr ? 300 : 6;
    for (int run = 0; run < runs; ++run)
    {
        SCOPED_TRACE("seed " + std::to_string(run));
        std::mt19937 random(static_cast<unsigned>(run));
        CUndoFixture f(1000);
        std::vector<CByteArray> states = {f.state()};
        const auto position = [&] { return static_cast<int>(states.size()) - 1; };
        for (int i = 0; i < 200; ++i)
        {
            if (random() % 16 == 0)
            {
                states.resize(1 + random() % states.size());
                f.undo.setPosition(position());
                ASSERT_EQ(f.state(), states.back());
            }
            f.act(
                [&](CAudioParamUndoContext* context)
                {
                    for (unsigned n = 1 + random() % 3; n > 0; --n)
                        edit(f, random, context);
                },
                "", random() % 2 == 0, static_cast<int>(random() % 2));
            if (const std::string lines = f.history(); std::ranges::count(lines, '|') == std::ssize(states) + 1)
                states.pop_back();                              // merged
            states.push_back(f.state());
            f.param("transient").setValue(0, 0, static_cast<double>(i % 10));
        }
        for (int p = position(); p >= 0; --p)
        {
            f.undo.setPosition(p);
            ASSERT_EQ(f.state(), states[static_cast<std::size_t>(p)]) << "back to " << p;
        }
        for (int i = 0; i < 10; ++i)
        {
            const int p = static_cast<int>(random() % states.size());
            f.undo.setPosition(p);
            ASSERT_EQ(f.state(), states[static_cast<std::size_t>(p)]) << "jump to " << p;
        }
        f.undo.setPosition(position());
        ASSERT_EQ(f.state(), states.back());
    }
}

TEST(Undo, AStepReachesTheAudioSideInOneFlush)
{
    class CNosyHook : public CAudioParamChangeHook
    {
    public:
        void onParamChange(const CAudioParamRequest&, CAudioParamUndoContext*) override
        {
            isHalfHeard = isHalfHeard || collector->flush();    // as the audio thread may at any moment
            CAudioParamChangeScope::defer(
                [this] {
                    std::thread([&] { isFree = isFree && undo->lock().try_lock() && (undo->lock().unlock(), true); }).join();
                });
        }
        CAudioParamCollector* collector = nullptr;
        CAudioParamUndo* undo = nullptr;
        bool isHalfHeard = false;
        bool isFree = true;
    };
    CUndoFixture f;
    f.env.isProcessing = true;
    CFollower follower;
    follower.bind(f.param("bands"), everyIndex, everyIndex);
    for (const double value : {7.0, 8.0, 9.0})
        f.act(
            [&](CAudioParamUndoContext* context)
            {
                f.param("bands").setValue(allGroups, 5, value, context);
                f.param("pair").reset(0, everyIndex, context);
                f.param("single").setValue(0, 0, value, context);
            });
    f.collector.flush();
    CNosyHook hook;
    hook.collector = &f.collector;
    hook.undo = &f.undo;
    for (const char* name : {"bands", "pair", "single"})
        f.param(name).addHook(hook);
    for (const int position : {0, 3, 1})
    {
        f.undo.setPosition(position);
        EXPECT_FALSE(hook.isHalfHeard) << position;
        EXPECT_TRUE(hook.isFree) << position;
        EXPECT_TRUE(f.collector.flush());
        follower.take();
        for (int g = 0; g < 4; ++g)
        {
            EXPECT_EQ(follower.storage.elementCount(g), f.param("bands").getElementCount(g));
            EXPECT_EQ(follower.storage.getValue(g, 5), f.param("bands").getValue(g, 5));
        }
    }
}

TEST(Undo, AReplayTellsWhatItRestoresByItself)
{
    // Takes "bands" from "single", as a registry does from the parameter that selects its presets.
    class CSelector : public CAudioParamChangeHook
    {
    public:
        void onParamChange(const CAudioParamRequest&, CAudioParamUndoContext* undo) override
        {
            sawReplay = undo != nullptr && undo->isReplay();
            for (int g = 0; g < 4; ++g)
                if (!sawReplay || !undo->holds(*selected, g))
                    selected->setValue(g, 0, 10.0, undo);
            EXPECT_FALSE(sawReplay && undo->holds(*other, allGroups));
        }
        CAudioParam* selected = nullptr;
        CAudioParam* other = nullptr;
        bool sawReplay = false;
    };
    CUndoFixture f;
    CSelector selector;
    selector.selected = &f.param("bands");
    selector.other = &f.param("pair");
    f.act(
        [&](CAudioParamUndoContext* context)
        {
            f.param("single").setValue(0, 0, 5.0, context);
            f.param("bands").setValue(1, 0, 2.0, context);
        });
    f.param("single").setSelectionHook(&selector);
    f.undo.setPosition(0);
    EXPECT_TRUE(selector.sawReplay);
    EXPECT_EQ(valuesOf(f.param("bands"), 1), "3,4,5");
    EXPECT_EQ(valuesOf(f.param("bands"), 2), "10,4,5");
    f.undo.setPosition(1);
    EXPECT_EQ(valuesOf(f.param("bands"), 1), "2,4,5");
    f.param("single").setValue(0, 0, 1.0);
    EXPECT_FALSE(selector.sawReplay);
    EXPECT_EQ(valuesOf(f.param("bands"), 1), "10,4,5");
}

TEST(Undo, ProgramsExchangeTheirHistories)
{
    CUndoFixture f;
    f.set(7.0);
    f.set(8.0);
    f.undo.setPosition(1);
    std::unique_ptr<CAudioParamUndo::CHistory> first = f.undo.swapHistory(nullptr);
    EXPECT_EQ(f.history(), "|*|");
    f.set(9.0);
    EXPECT_EQ(f.history(), "||*|");
    first = f.undo.swapHistory(std::move(first));
    EXPECT_EQ(first->position, 1);
    EXPECT_EQ(f.history(), "||*||");
    f.undo.setPosition(2);
    EXPECT_EQ(f.param("bands").getValue(0, 0), 8.0);
}

TEST(Undo, ThreadsEditAndStepWhileAudioRuns)
{
    CUndoFixture f;
    f.env.isProcessing = true;
    CFollower follower;
    follower.bind(f.param("bands"), everyIndex, everyIndex);
    std::atomic<bool> isDone = false;
    const auto worker = [&](unsigned seed, bool steps)
    {
        std::mt19937 random(seed);
        for (int i = 0; i < 150; ++i)
        {
            if (steps && i % 3 == 0)
                f.undo.setPosition(static_cast<int>(random() % 33));
            else if (steps)
                (void)f.history();
            else
                f.act([&](auto* context) { edit(f, random, context); }, "", true, 1);
        }
    };
    std::thread audio(
        [&]
        {
            while (!isDone)
                if (f.collector.flush())
                    follower.take();
        });
    std::thread user(worker, 1u, false);
    std::thread other(worker, 2u, false);
    worker(3u, true);
    user.join();
    other.join();
    isDone = true;
    audio.join();
    f.collector.flush();
    follower.take();
    for (int g = 0; g < 4; ++g)
        EXPECT_TRUE(std::ranges::equal(follower.storage.values(g), f.param("bands").values().values(g))) << g;
}

}
}
