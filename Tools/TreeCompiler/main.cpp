// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/COutputFile.h"
#include "TreeCompiler/CTreeCompiler.h"

#include <iostream>
#include <string>
#include <vector>

namespace
{

const char* const usage =
    "Usage: morva-tree --types FILE [--depfile FILE] SOURCE.xml OUT\n"
    "\n"
    "Compiles a source tree to the form that the program loads.\n"
    "\n"
    "  --types FILE    object types that elements may have, one a line\n"
    "  --depfile FILE  also write, as a make rule, which files OUT was made from\n"
    "  --help          print this text\n"
    "\n"
    "A mistake in the source is printed as FILE:LINE: TEXT and leaves OUT untouched.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage.\n";

int failUsage(const std::string& text)
{
    std::cerr << "morva-tree: " << text << " (try --help)\n";
    return 2;
}

/// A file name as make and ninja read it in a rule.
std::string escaped(const std::string& path)
{
    std::string result;
    for (const char c : path)
    {
        if (c == ' ' || c == '#' || c == '\\')
            result += '\\';
        if (c == '$')
            result += '$';
        result += c;
    }
    return result;
}

bool write(const std::string& path, const void* bytes, std::size_t size)
{
    std::string reason;
    if (kor::writeOutputFile(path, bytes, size, reason))
        return true;
    std::cerr << path << ": cannot be written (" << reason << ")\n";
    return false;
}

}

int main(int argc, char** argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    std::string types;
    std::string depfile;
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < args.size(); ++i)
    {
        if (args[i] == "--help")
        {
            std::cout << usage;
            return 0;
        }
        if (args[i] == "--types" || args[i] == "--depfile")
        {
            if (i + 1 == args.size())
                return failUsage(args[i] + " needs a file");
            (args[i] == "--types" ? types : depfile) = args[i + 1];
            ++i;
        }
        else if (args[i].size() > 1 && args[i][0] == '-')
            return failUsage("unknown option '" + args[i] + "'");
        else
            paths.push_back(args[i]);
    }
    if (types.empty())
        return failUsage("--types is missing");
    if (paths.size() != 2)
        return failUsage("one source and one output expected, not " + std::to_string(paths.size()) + " names");

    kor::CCompiledTree tree;
    if (const kor::CMistake mistake = kor::compileTree(paths[0], types, tree))
    {
        std::cerr << mistake.text() << '\n';
        return 1;
    }
    if (!write(paths[1], tree.bytes.data(), tree.bytes.size()))
        return 1;
    if (!depfile.empty())
    {
        std::string rule = escaped(paths[1]) + ":";
        for (const std::string& file : tree.files)
            rule += " \\\n  " + escaped(file);
        rule += '\n';
        if (!write(depfile, rule.data(), rule.size()))
            return 1;
    }
    return 0;
}
