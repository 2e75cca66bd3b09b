// SPDX-License-Identifier: GPL-3.0-or-later
#include "CNodeBench.h"

#include <algorithm>
#include <cmath>

namespace kor::test
{

namespace
{

CTreeNode switchNode()
{
    return node("audio:modBypass", "switch", {{"is-smooth-update", "true"}},
                {globalParam("enable"), slot("enable", 0), globalParam("solo"),
                 slot("solo", 1, {{"use-all-groups", "true"}})});
}

bool isNoise(const CSignal& signal)
{
    return std::ranges::all_of(signal, [](double x) { return std::abs(x) == 1e-11; });
}

}

TEST(Bypass, TakesWhatItsSwitchesSay)
{
    enum CWhat { wet, dry, muted };
    struct Case
    {
        const char* what;
        double enable, ownSolo, otherSolo;
        CWhat withDry, withoutDry;
    };
    const Case cases[] = {
        {"nothing on", 0.0, 0.0, 0.0, wet, wet},
        {"just below the middle", 0.49, 0.0, 0.49, wet, wet},
        {"bypassed", 0.5, 0.0, 0.0, dry, muted},
        {"in solo", 0.0, 1.0, 0.0, wet, wet},
        {"both in solo", 0.0, 1.0, 0.5, wet, wet},
        {"another in solo", 0.0, 0.0, 1.0, muted, muted},
        {"bypassed, in solo", 1.0, 1.0, 0.0, dry, muted},
        {"bypassed, another in solo", 1.0, 0.0, 1.0, muted, muted},
    };
    for (const Case& c : cases)
        for (const bool hasDry : {false, true})
        {
            CNodeBench bench({echoNode("wet", "1"), switchNode(), link("*", "wet"), link("wet", "switch"),
                              link("switch", "*"), link(hasDry ? "*" : "wet", hasDry ? "switch/1" : "switch")},
                             {});
            bench.start({0});
            bench.set("switch.enable", c.enable);
            bench.run(levels({0.0}, 2000), 500);
            bench.set("switch.solo", c.ownSolo, 0);
            bench.set("switch.solo", c.otherSolo, 7);
            bench.run(levels({0.0}, 2000), 500);
            bench.host.stop();
            const CSignal in = noise(400);
            const CSignal out = bench.run(in, 64);
            const CWhat want = hasDry ? c.withDry : c.withoutDry;
            const bool isRight = want == muted ? isNoise(out) : out == (want == dry ? in : plainEcho(in, 1.0));
            EXPECT_TRUE(isRight) << c.what << (hasDry ? ", with port 1" : ", without port 1");
        }
}

// Muted channels differ, so that nothing behind can cancel the noise.
TEST(Bypass, MutedChannelsHaveTheirOwnNoise)
{
    CNodeBench bench({switchNode()});
    bench.start({0, 0});
    bench.set("switch.enable", 1.0);
    bench.run(levels({0.0, 0.0}, 1000));
    const CSignals out = bench.run(levels({0.0, 0.0}, 200));
    EXPECT_TRUE(isNoise(out[0]) && isNoise(out[1]));
    EXPECT_NE(out[0], out[1]);
}

}
