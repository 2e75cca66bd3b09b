// SPDX-License-Identifier: GPL-3.0-or-later
#include "CTreeCommand.h"

#include "CTreeListing.h"
#include "MorvaResources.h"

#include "Core/CFileReader.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace kor
{

namespace
{

constexpr std::int64_t largestTree = 64 << 20;      // far above what 65,536 strings and their nodes need

std::span<const unsigned char> embeddedTree()
{
    for (const CResourceEntry* entry = morvaResources; entry->block != nullptr; ++entry)
        if (std::strcmp(entry->name, "SharedData.xml") == 0)
        {
            const unsigned char* const b = entry->block;
            const std::size_t size = b[0] | std::size_t(b[1]) << 8 | std::size_t(b[2]) << 16 | std::size_t(b[3]) << 24;
            return {b + 4, size};
        }
    return {};
}

CError readFile(const std::string& path, std::vector<unsigned char>& bytes)
{
    CFileReader reader;
    KOR_TRY(reader.open(CStringBuf::fromUtf8(path)));
    std::int64_t size = 0;
    KOR_TRY(reader.getSize(size));
    if (size > largestTree)
        return KOR_FAIL("'%1' is too large for a compiled tree", path);
    bytes.resize(static_cast<std::size_t>(size));
    return reader.read(bytes.data(), size);
}

}

const char* CTreeCommand::usage() const
{
    return "morvahost tree [PATH]            the shared tree of this program, or the object at PATH in it\n"
           "  morvahost tree FILE [PATH]       a compiled tree in a file\n"
           "\n"
           "One object a line: type, name, attributes; children are indented. Templates and expressions in braces\n"
           "stand as they were written. Example: morvahost tree audio.morvafilters\n";
}

COutcome CTreeCommand::run(const COptions& options)
{
    const std::vector<std::string>& words = options.words();
    std::vector<unsigned char> bytes;
    std::span<const unsigned char> tree;
    std::string path = words.empty() ? std::string() : words[0];
    struct stat found = {};
    const bool isFile = !words.empty() && (words.size() == 2 || words[0].find('/') != std::string::npos ||
                                           ::stat(words[0].c_str(), &found) == 0);
    if (isFile)
    {
        KOR_TRY(readFile(words[0], bytes));
        tree = bytes;
        path = words.size() == 2 ? words[1] : std::string();
    }
    else
        tree = embeddedTree();
    if (path.rfind("shared::", 0) == 0)
        path.erase(0, 8);

    CTreeListing listing;
    std::string text;
    CError failure = listing.open(tree);
    if (!failure)
        failure = listing.list(text, path);
    if (failure)
        return isFile ? KOR_FAIL("'%1': %2", words[0], failure.message()) : std::move(failure);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

}
