// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLock.h"

#include <gtest/gtest.h>

#include <array>

namespace kor
{
namespace
{

using Rank = CLockRank;

struct CStep
{
    char lock;                                      // a letter each, a capital leaves it
    Rank rank = Rank::leaf;
};

struct COrderCase
{
    const char* what;
    std::vector<CStep> steps;                       // all fit but the last
    bool fits;
};

const COrderCase orderCases[] = {
    {"whole way down", {{'a', Rank::command}, {'b', Rank::message}, {'c', Rank::preset}, {'d', Rank::undo},
                        {'e', Rank::registryParams}, {'f', Rank::parameter}, {'g', Rank::environment}}, true},
    {"places left out", {{'a', Rank::command}, {'b', Rank::parameter}, {'c', Rank::leaf}}, true},
    {"back up", {{'a', Rank::undo}, {'b', Rank::preset}}, false},
    {"back up behind a fitting one", {{'a', Rank::undo}, {'b', Rank::leaf}, {'B'}, {'c', Rank::message}}, false},
    {"a gap in the row still counts", {{'a', Rank::command}, {'b', Rank::undo}, {'A'}, {'c', Rank::preset}}, false},
    {"what was left counts no more", {{'a', Rank::undo}, {'b', Rank::store}, {'A'}, {'B'}, {'c', Rank::preset}}, true},
    {"two of a rank", {{'a', Rank::preset}, {'b', Rank::preset}}, false},
    {"the same again", {{'a', Rank::preset}, {'b', Rank::leaf}, {'a', Rank::preset}}, true},
    {"nested once more than left", {{'a', Rank::undo}, {'a', Rank::undo}, {'A'}, {'b', Rank::preset}}, false},
    {"leaf under leaf", {{'a'}, {'b'}}, false},
    {"leaf under the environment's", {{'a', Rank::environment}, {'b'}}, false},
    {"a parameter's follower", {{'a', Rank::parameter}, {'b', Rank::parameter}}, true},
    {"filter's target", {{'a', Rank::parameter}, {'f', Rank::parameterFilter}, {'b', Rank::parameter}}, true},
    {"chain of filters", {{'a', Rank::parameter}, {'f', Rank::parameterFilter}, {'b', Rank::parameter},
                          {'g', Rank::parameterFilter}, {'c', Rank::parameter}, {'d', Rank::environment}}, true},
    {"follower of a filter's target", {{'f', Rank::parameterFilter}, {'b', Rank::parameter},
                                       {'c', Rank::parameter}}, true},
    {"filter under a filter", {{'f', Rank::parameterFilter}, {'g', Rank::parameterFilter}}, false},
    {"filter's target under the environment's", {{'f', Rank::parameterFilter}, {'e', Rank::environment},
                                                 {'a', Rank::parameter}}, false},
};

}

TEST(LockOrder, RefusesWhatLeavesTheStatedOrder)
{
    for (const COrderCase& c : orderCases)
    {
        CLockOrder order;
        const std::array<char, 128> locks{};
        const auto address = [&](char letter) { return &locks[static_cast<std::size_t>(letter | 0x20)]; };
        std::string refusal;
        for (const CStep& step : c.steps)
        {
            EXPECT_EQ(refusal, "") << c.what;
            if (step.lock < 'a')
            {
                order.leave(address(step.lock));
                continue;
            }
            refusal = order.refusal(address(step.lock), step.rank);
            order.enter(address(step.lock), step.rank);
        }
        EXPECT_EQ(refusal.empty(), c.fits) << c.what << ": " << refusal;
    }
}

TEST(LockOrder, NestingBeyondItsRoomIsForgotten)
{
    CLockOrder order;
    const int locks[2] = {};
    for (int i = 0; i < 100; ++i)
        order.enter(&locks[0], Rank::undo);
    for (int i = 0; i < 100; ++i)
        order.leave(&locks[0]);
    EXPECT_EQ(order.refusal(&locks[1], Rank::preset), "");
    order.enter(&locks[1], Rank::preset);
    EXPECT_NE(order.refusal(&locks[0], Rank::message), "");
}

#ifndef NDEBUG
TEST(LockOrder, WrongOrderEndsTheProcessWithBothNames)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    CLock outer(Rank::preset);
    CLock inner(Rank::undo);
    {
        const CLockHolder first(outer);
        const CLockHolder second(inner);
    }
    EXPECT_DEATH(
        {
            const CLockHolder first(inner);
            const CLockHolder second(outer);
        },
        "'preset' was taken with the lock 'undo' held");
}
#endif

}
