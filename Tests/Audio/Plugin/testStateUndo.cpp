// SPDX-License-Identifier: GPL-3.0-or-later
// The history of a whole equalizer: whatever a user did, in whatever order, every state that was left comes back.
#include "StateTestKit.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace kor::test
{
namespace
{

struct CShownHistory
{
    CArray<CStringBuf> labels;
    int position = 0;
};

CShownHistory shown(const CAudioParamUndo& undo)
{
    CShownHistory history;
    undo.getHistory(history.labels, history.position);
    return history;
}

// An equalizer and, beside it, every state that its histories should hold.
class CUser
{
public:
    explicit CUser(unsigned seed) : random(seed)
    {
        params = editableParams(eq.instance, CSnapshotOf::presets);
        routing = builtInList(CGlobalData::instance(), "routing-presets-sys");
        tracks.resize(static_cast<std::size_t>(master().getProgramCount()));
        tracks[0].emplace().states.push_back(now());
    }

    void act()
    {
        switch (below(60))
        {
        case 0:
            switchTo(below(3));
            break;
        case 1:
            exchange();
            break;
        case 2:
            master().updateShadowPreset();
            shadow = track();
            break;
        case 3:
            step(below(static_cast<int>(track().states.size())));
            break;
        case 4:
        case 5:
            step(std::max(track().position - 1 - below(3), 0));
            break;
        case 6:
            step(static_cast<int>(track().states.size()) - 1);
            break;
        case 7:
            master().activateFactoryPreset(below(11));
            expectStep();
            break;
        case 8:
            activateRouting();
            break;
        case 9:
            master().renamePreset(master().getCurrentProgram(), CStringBuf("Name ") + CStringBuf::fromInt(below(1000)));
            expectStep();
            break;
        case 10:
            master().activateDefaultPreset();
            expectStep();
            break;
        default:
            edit();
        }
        expectState();
    }

    /// Every step of every program's history back, forth and in jumps.
    void walkAll()
    {
        for (int p = 0; p < static_cast<int>(tracks.size()); ++p)
        {
            if (!tracks[static_cast<std::size_t>(p)])
                continue;
            switchTo(p);
            const int newest = static_cast<int>(track().states.size()) - 1;
            for (int to = newest; to >= 0; --to)
                step(to);
            for (int to = 0; to <= newest; ++to)
                step(to);
            step(0);
            step(newest);
        }
    }

    int merges = 0;
    int dropped = 0;

private:
    /// A program's history as it should be.
    struct CTrack
    {
        std::vector<CStateSnapshot> states;
        int position = 0;
    };

    CAudioParamRegistry& master() { return eq.instance.registry(); }
    CAudioParamUndo& undo() { return historyOf(eq.instance); }
    CTrack& track() { return *tracks[static_cast<std::size_t>(master().getCurrentProgram())]; }
    CStateSnapshot now() { return snapshot(eq.instance, CSnapshotOf::presets); }
    int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }

    // Half of what may merge goes on with the last edit, as a drag does.
    void edit()
    {
        const bool goesOn = below(2) == 0 && !last.empty();
        if (!goesOn)
        {
            last.clear();
            for (int n = 1 + below(3); n > 0; --n)
            {
                CAudioParamRequest request;
                request.param = params[static_cast<std::size_t>(below(static_cast<int>(params.size())))];
                request.group = below(5) == 0 ? allGroups : below(8);
                request.firstElement = below(6);
                request.elementCount = 1 + below(3);
                request.cut = below(4) == 0;
                last.push_back(request);
            }
        }
        const CStringBuf label = CStringBuf::fromInt(++edits);
        auto record = undo().createRecord(label, goesOn || below(2) == 0, 3);
        for (const CAudioParamRequest& request : last)
            changeAtRandom(*request.param, request, random, record.get());
        undo().submit(std::move(record));
        const CShownHistory history = shown(undo());
        if (history.labels.back() == label)
            expectStep();
        else
        {
            ++merges;
            CTrack& mine = track();
            ASSERT_GT(mine.position, 0);
            mine.states.resize(static_cast<std::size_t>(mine.position));
            mine.states.push_back(now());
        }
    }

    void activateRouting()
    {
        const CAudioPreset& preset = routing.preset(static_cast<std::size_t>(below(static_cast<int>(routing.size()))));
        ASSERT_EQ(activate(*eq.instance.findRegistry("KRIO"), bodyOf(preset), everyIndex, CAudioPresetScope::storable,
                           CAudioPresetUndo::recorded),
                  "");
        expectStep();
    }

    void expectStep()
    {
        CTrack& mine = track();
        mine.states.resize(static_cast<std::size_t>(mine.position) + 1);
        mine.states.push_back(now());
        if (mine.states.size() > 33)
        {
            mine.states.erase(mine.states.begin());
            ++dropped;
        }
        mine.position = static_cast<int>(mine.states.size()) - 1;
    }

    void switchTo(int program)
    {
        master().setCurrentProgram(program);
        if (!tracks[static_cast<std::size_t>(program)])
            tracks[static_cast<std::size_t>(program)].emplace().states.push_back(now());
        expectState();
    }

    void exchange()
    {
        master().exchangeShadowPreset();
        if (!shadow)
            shadow = track();
        std::swap(*shadow, track());
    }

    void step(int to)
    {
        undo().setPosition(to);
        track().position = to;
        expectState();
    }

    void expectState()
    {
        const CTrack& mine = track();
        const CShownHistory history = shown(undo());
        ASSERT_EQ(history.labels.size(), mine.states.size());
        ASSERT_EQ(history.position, mine.position);
        ASSERT_EQ(differences(now(), mine.states[static_cast<std::size_t>(mine.position)]), "") << "at " << mine.position;
    }

    CTestEqualizer eq;
    std::mt19937 random;
    std::vector<CAudioParam*> params;
    CAudioPresetBank routing;
    std::vector<std::optional<CTrack>> tracks;      // by program
    std::optional<CTrack> shadow;
    std::vector<CAudioParamRequest> last;
    int edits = 0;
};

TEST(StateUndo, EveryStateOfEveryProgramComesBack)
{
    const unsigned runs = std::getenv("MORVA_LONG") != nullptr ? 40 : 3;
    int merges = 0;
    int dropped = 0;
    for (unsigned seed = 1; seed <= runs; ++seed)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        CUser user(seed);
        for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i)
        {
            SCOPED_TRACE("action " + std::to_string(i));
            user.act();
        }
        user.walkAll();
        merges += user.merges;
        dropped += user.dropped;
        if (testing::Test::HasFailure())
            break;
    }
    EXPECT_GT(merges, 10);
    EXPECT_GT(dropped, 0) << "the capacity was never reached";
}

// What follows a parameter by itself is no step of its own and comes back with it.
TEST(StateUndo, WhatFollowsComesBackWithItsSource)
{
    CTestEqualizer eq;
    CAudioParamUndo& undo = historyOf(eq.instance);
    const auto value = [&](const char* key, int group = 0)
    { return eq.instance.findParam(CStringBuf(key))->getValue(group, 0); };
    const auto change = [&](const char* key, int group, int element, double to)
    {
        auto record = undo.createRecord(CStringBuf(key));
        eq.instance.findParam(CStringBuf(key))->setValue(group, element, to, record.get());
        undo.submit(std::move(record));
    };
    change("io-params.ms-pairs", 0, 0, 1);
    EXPECT_EQ(value("mid-side-bypass"), 1.0);
    change("io-params.ms-pairs", 0, 1, 1);
    EXPECT_EQ(value("mid-side-bypass"), 0.0);
    change("io-params.channel-group-solo", 2, 0, 1);            // passing: no step
    EXPECT_EQ(value("group-solo-bypass"), 0.0);
    change("modMorvaEQ.dynmode", 4, 0, 2);
    EXPECT_EQ(value("modMorvaEQ.dyn-params.attack", 4), 0.01);
    EXPECT_EQ(shown(undo).position, 3);

    undo.setPosition(2);
    EXPECT_EQ(value("modMorvaEQ.dyn-params.attack", 4), 0.005);
    undo.setPosition(1);
    EXPECT_EQ(value("mid-side-bypass"), 1.0);
    undo.setPosition(3);
    EXPECT_EQ(value("mid-side-bypass"), 0.0);
    EXPECT_EQ(value("modMorvaEQ.dyn-params.attack", 4), 0.01);
    EXPECT_EQ(value("group-solo-bypass"), 0.0);
}

}
}
