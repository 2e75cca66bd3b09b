// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/COutputFile.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace
{

const char* const usage =
    "Usage: morva-embed OUT.cpp NAME=FILE...\n"
    "\n"
    "Writes a C++ source that holds the files, under those names, as the table morvaResources.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage.\n";

int failUsage(const std::string& text)
{
    std::cerr << "morva-embed: " << text << " (try --help)\n";
    return 2;
}

/// Bytes as pieces of a C++ string literal. Compilers read these ten times as fast as lists of numbers; octal escapes
/// end after three digits, so that no byte runs into the next.
std::string literal(const std::string& bytes)
{
    constexpr std::size_t bytesPerLine = 28;
    std::string result;
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        if (i % bytesPerLine == 0)
            result += i == 0 ? "    \"" : "\"\n    \"";
        const auto byte = static_cast<unsigned char>(bytes[i]);
        for (const int shift : {6, 3, 0})
        {
            if (shift == 6)
                result += '\\';
            result += static_cast<char>('0' + (byte >> shift & 7));
        }
    }
    return result + "\"";
}

bool readFile(const std::string& path, std::string& bytes, std::string& reason)
{
    std::error_code ignored;
    std::ifstream in(path, std::ios::binary);
    if (std::filesystem::is_directory(path, ignored))
        reason = "it is a directory";
    else if (!in)
        reason = std::strerror(errno);
    else
    {
        bytes.assign(std::istreambuf_iterator<char>(in), {});
        if (in.bad())
            reason = "it ends in a read error";
        else if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
            reason = "it is larger than 4 GB";
    }
    return reason.empty();
}

}

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "--help")
    {
        std::cout << usage;
        return 0;
    }
    if (args.empty() || args[0].empty() || args[0][0] == '-')
        return failUsage("the output is missing");

    std::string blocks;
    std::string entries;
    std::set<std::string> names;
    for (std::size_t i = 1; i < args.size(); ++i)
    {
        const std::size_t split = args[i].find('=');
        const std::string name = args[i].substr(0, split);
        if (split == std::string::npos || name.empty() || name.find_first_of("\"\\\n") != std::string::npos)
            return failUsage("'" + args[i] + "' is not of the form NAME=FILE");
        if (!names.insert(name).second)
            return failUsage("the name '" + name + "' is given twice");

        const std::string path = args[i].substr(split + 1);
        std::string bytes;
        std::string reason;
        if (!readFile(path, bytes, reason))
        {
            std::cerr << path << ": cannot be embedded (" << reason << ")\n";
            return 1;
        }
        std::string block;
        for (int shift = 0; shift < 32; shift += 8)
            block += static_cast<char>(bytes.size() >> shift & 0xFF);
        block += bytes;
        const std::string array = "block" + std::to_string(i);
        blocks += "// " + name + ", " + std::to_string(bytes.size()) + " bytes\nalignas(16) const unsigned char " +
                  array + "[] =\n" + literal(block) + ";\n\n";
        entries += "    {" + array + ", \"" + name + "\"},\n";
    }

    const std::string source = "// Made by morva-embed; changes here are lost with the next build.\n"
                               "#include \"MorvaResources.h\"\n\nnamespace\n{\n\n" +
                               blocks + "}\n\nconst kor::CResourceEntry morvaResources[] = {\n" + entries +
                               "    {nullptr, nullptr},\n};\n";
    std::string reason;
    if (!kor::writeOutputFile(args[0], source.data(), source.size(), reason))
    {
        std::cerr << args[0] << ": cannot be written (" << reason << ")\n";
        return 1;
    }
    return 0;
}
