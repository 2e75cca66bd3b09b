// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fuzz/CFuzzRun.h"

#include <algorithm>
#include <chrono>
#include <memory>

namespace kor::test
{

CFuzzRun::CFuzzRun(const CFuzzTarget& fuzzTarget, unsigned seed)
    : target(fuzzTarget), random(seed), seeds(fuzzTarget.seeds())
{
}

std::string CFuzzRun::changed()
{
    std::string bytes = seeds[below(seeds.size())];
    const auto randomByte = [this] { return static_cast<char>(below(3) == 0 ? random() : below(24)); };
    if (below(20) == 0)
        std::generate(bytes.begin(), bytes.end(), randomByte);
    for (std::size_t changes = 1 + below(6); changes > 0 && !bytes.empty(); --changes)
    {
        const std::size_t place = below(bytes.size());
        const std::size_t length = std::min(bytes.size() - place, 1 + below(below(4) == 0 ? 400 : 8));
        switch (below(8))
        {
        case 0:
            bytes.resize(place);
            break;
        case 1:
            bytes.insert(place, 1, randomByte());
            break;
        case 2:
            bytes[place] = static_cast<char>(bytes[place] + (below(2) == 0 ? 1 : -1));
            break;
        case 3:
            bytes[place] = static_cast<char>(bytes[place] ^ 1 << below(8));
            break;
        case 4:
            bytes.erase(place, length);
            break;
        case 5:
            bytes.insert(below(bytes.size()), bytes.substr(place, length));
            break;
        case 6:
        {
            const std::string& other = seeds[below(seeds.size())];
            bytes.replace(place, length, other.substr(std::min(place, other.size()), length));
            break;
        }
        default:
            bytes[place] = randomByte();
        }
    }
    return bytes;
}

CFuzzRun::CResult CFuzzRun::run(double seconds)
{
    using CClock = std::chrono::steady_clock;
    const auto since = [](CClock::time_point start)
    {
        return std::chrono::duration<double>(CClock::now() - start).count();
    };
    CResult result;
    for (const std::string& seed : seeds)
        require(target.run(reinterpret_cast<const unsigned char*>(seed.data()), seed.size()) == 1, "seeds are valid");
    const CClock::time_point start = CClock::now();
    do
    {
        const std::string bytes = changed();
        const CClock::time_point begin = CClock::now();
        result.accepted += target.run(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        result.slowestSeconds = std::max(result.slowestSeconds, since(begin));
        ++result.runs;
    } while (since(start) < seconds);
    return result;
}

}
