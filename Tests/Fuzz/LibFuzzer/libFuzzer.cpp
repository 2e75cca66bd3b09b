// SPDX-License-Identifier: GPL-3.0-or-later
// The face of one fuzz target towards libFuzzer. Called as `fuzz_Name --write-seeds DIRECTORY` it writes the seed corpus
// and ends.
#include "Fuzz/FuzzTargets.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace
{

const kor::test::CFuzzTarget& target()
{
    for (const kor::test::CFuzzTarget& candidate : kor::test::fuzzTargets())
        if (std::strcmp(candidate.name, MORVA_FUZZ_TARGET) == 0)
            return candidate;
    std::abort();
}

}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    kor::test::startForFuzzing();
    if (*argc != 3 || std::strcmp((*argv)[1], "--write-seeds") != 0)
        return 0;
    int number = 0;
    for (const std::string& seed : target().seeds())
    {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(seed.data());
        kor::test::require(target().run(bytes, seed.size()) == 1, "seeds are valid");
        std::ofstream(std::string((*argv)[2]) + "/seed" + std::to_string(number++), std::ios::binary) << seed;
    }
    std::exit(0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    target().run(data, size);
    return 0;
}
