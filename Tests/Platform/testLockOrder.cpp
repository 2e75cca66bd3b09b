// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/CLock.h"

#include <gtest/gtest.h>

#include <thread>

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

/// Goes through the steps; what the last one was refused for.
std::string walk(CLockOrder& order, const std::vector<CStep>& steps, const char* what)
{
    std::string refusal;
    for (const CStep& step : steps)
    {
        EXPECT_EQ(refusal, "") << what;
        const auto lock = static_cast<std::uint32_t>(step.lock | 0x20);
        if (step.lock < 'a')
        {
            order.leave(lock);
            continue;
        }
        refusal = order.refusal(lock, step.rank);
        order.enter(lock, step.rank);
    }
    return refusal;
}

}

TEST(LockOrder, RefusesWhatLeavesTheStatedOrder)
{
    for (const COrderCase& c : orderCases)
    {
        CLockPairs pairs;
        CLockOrder order(pairs);
        const std::string refusal = walk(order, c.steps, c.what);
        EXPECT_EQ(refusal.empty(), c.fits) << c.what << ": " << refusal;
    }
}

// The chains in which parameters change each other: one thread goes the first way and is through, then another goes the
// second.
TEST(LockOrder, RefusesChainsThatThreadsTakeInOppositeOrders)
{
    constexpr Rank param = Rank::parameter;
    constexpr Rank filter = Rank::parameterFilter;
    const struct
    {
        const char* what;
        std::vector<CStep> first;
        std::vector<CStep> second;
        bool fits;
    } cases[] = {
        {"followers of each other", {{'a', param}, {'b', param}}, {{'b', param}, {'a', param}}, false},
        {"one way for both", {{'a', param}, {'b', param}, {'a', param}}, {{'a', param}, {'b', param}}, true},
        {"two followers of one", {{'a', param}, {'b', param}, {'B'}, {'c', param}},
                                 {{'a', param}, {'c', param}, {'C'}, {'b', param}}, true},
        {"never one under the other", {{'a', param}, {'A'}, {'b', param}}, {{'b', param}, {'a', param}}, true},
        {"filters to and fro", {{'a', param}, {'f', filter}, {'b', param}},
                               {{'b', param}, {'g', filter}, {'a', param}}, false},
        {"back over one more", {{'a', param}, {'f', filter}, {'b', param}, {'c', param}},
                               {{'c', param}, {'a', param}}, false},
        {"filter that changes its source", {{'a', param}, {'f', filter}}, {{'f', filter}, {'a', param}}, false},
    };
    for (const auto& c : cases)
    {
        CLockPairs pairs;
        CLockOrder first(pairs);
        CLockOrder second(pairs);
        EXPECT_EQ(walk(first, c.first, c.what), "");
        const std::string refusal = walk(second, c.second, c.what);
        EXPECT_EQ(refusal.empty(), c.fits) << c.what << ": " << refusal;
    }
}

TEST(LockOrder, NestingBeyondItsRoomIsForgotten)
{
    CLockPairs pairs;
    CLockOrder order(pairs);
    for (int i = 0; i < 100; ++i)
        order.enter(1, Rank::undo);
    for (int i = 0; i < 100; ++i)
        order.leave(1);
    EXPECT_EQ(order.refusal(2, Rank::preset), "");
    order.enter(2, Rank::preset);
    EXPECT_NE(order.refusal(1, Rank::message), "");
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

    CLock one(Rank::parameter);
    CLock other(Rank::parameter);
    std::thread([&]
    {
        const CLockHolder first(one);
        const CLockHolder second(other);
    }).join();
    EXPECT_DEATH(
        {
            const CLockHolder first(other);
            const CLockHolder second(one);
        },
        "and earlier the other way round");
}
#endif

}
