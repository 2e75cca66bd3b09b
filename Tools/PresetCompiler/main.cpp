// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "MorvaResources.h"
#include "PresetText/CPresetTextReader.h"
#include "Support/COutputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace kor
{

namespace
{

const char* const usage =
    "Usage: morva-preset SOURCE.txt OUT\n"
    "\n"
    "Compiles presets in their text form to the file that the program reads.\n"
    "A mistake in the source is printed as FILE:LINE: TEXT and leaves OUT untouched.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage.\n";

int failUsage(const std::string& text)
{
    std::cerr << "morva-preset: " << text << " (try --help)\n";
    return 2;
}

int fail(const std::string& line)
{
    std::cerr << line << '\n';
    return 1;
}

/// The units and states of the parameters that presets name are in the shared tree.
CError startApplication()
{
    CApplicationSetup setup;
    setup.creators = allCreators();
    setup.resources = morvaResources;
    KOR_TRY(CApplication::initApplication(setup));
    if (CApplication::getSharedRoot() == nullptr)
        return KOR_FAIL("the shared tree does not load");
    return {};
}

}

}

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "--help")
    {
        std::cout << kor::usage;
        return 0;
    }
    for (const std::string& arg : args)
        if (arg.size() > 1 && arg[0] == '-')
            return kor::failUsage("unknown option '" + arg + "'");
    if (args.size() != 2)
        return kor::failUsage("one source and one output expected, not " + std::to_string(args.size()) + " names");

    std::error_code ignored;
    if (std::filesystem::is_directory(args[0], ignored))
        return kor::fail(args[0] + ": cannot be read (it is a directory)");
    std::ifstream in(args[0], std::ios::binary);
    if (!in)
        return kor::fail(args[0] + ": cannot be read (" + std::strerror(errno) + ")");
    const std::string text(std::istreambuf_iterator<char>(in), {});

    if (const kor::CError error = kor::startApplication())
        return kor::fail("morva-preset: " + error.message());
    kor::CPresetFile file;
    if (const kor::CError mistake = kor::CPresetTextReader(args[0], text).read(file))
        return kor::fail(mistake.message());
    kor::CByteArray bytes;
    if (const kor::CError error = file.write(bytes))
        return kor::fail(args[0] + ": " + error.message());
    std::string reason;
    if (!kor::writeOutputFile(args[1], bytes.data(), bytes.size(), reason))
        return kor::fail(args[1] + ": cannot be written (" + reason + ")");
    kor::CApplication::finishApplication();
    return 0;
}
