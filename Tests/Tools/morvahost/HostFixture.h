// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "RunProgram.h"
#include "SoundFiles.h"
#include "Support/CFreshDataFolders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kor::test
{

// A fresh folder for the files of one test, which the programs it runs see as the user's home too.
class HostTest : public ::testing::Test
{
protected:
    HostTest() { std::filesystem::create_directory(folder); }

    std::string path(const std::string& name) const { return folder + name; }

    /// "--set" and KEY[g,e]=TEXT for a parameter of a band.
    static std::vector<std::string> band(const std::string& name, int element, const std::string& text, int group = 0)
    {
        return {"--set", "modMorvaEQ.eq-params." + name + "[" + std::to_string(group) + "," +
                             std::to_string(element) + "]=" + text};
    }

    static std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> lists)
    {
        std::vector<std::string> all;
        for (const std::vector<std::string>& list : lists)
            all.insert(all.end(), list.begin(), list.end());
        return all;
    }

    /// Leaves out the noise that keeps the filters' memories from running dry, so that samples can be compared exactly.
    static std::vector<std::string> withoutNoise() { return {"--set", "denorm-enable=0"}; }

    /// Five bands of different kinds, each doing something that is easy to hear.
    static std::vector<std::string> fiveBands()
    {
        return joined({band("mode", 0, "Hi-pass 24"), band("freq", 0, "60"), band("mode", 1, "lo-shlf"),
                       band("gain", 1, "6"), band("mode", 2, "Peaking"), band("gain", 2, "-12"), band("freq", 2, "1k"),
                       band("mode", 3, "Notch 4"), band("bw", 3, "0.1"), band("mode", 4, "Lo-pass 6")});
    }

    CFreshDataFolders data;
    std::string folder = data.root() + "files/";
};

}
