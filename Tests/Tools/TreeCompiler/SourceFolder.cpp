// SPDX-License-Identifier: GPL-3.0-or-later
#include "SourceFolder.h"

#include "TreeDecoder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kor
{

CSourceFolder::CSourceFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "morva-tree-XXXXXX").string();
    folder = mkdtemp(pattern.data());
    write("types.txt", "# types of the tests\nx\ny\nz   # the last letter\n\nns:deep\n");
}

CSourceFolder::~CSourceFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void CSourceFolder::write(const std::string& name, const std::string& text) const
{
    std::filesystem::create_directories((folder / name).parent_path());
    std::ofstream(folder / name, std::ios::binary) << text;
}

std::string CSourceFolder::read(const std::string& name) const
{
    std::ifstream in(folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string CSourceFolder::compile() const
{
    CCompiledTree tree;
    if (const CMistake mistake = compileTree(path("main.xml"), path("types.txt"), tree))
    {
        EXPECT_EQ(mistake.text().find('\n'), std::string::npos) << "a mistake is one line";
        std::string text = mistake.text();
        for (std::size_t at; (at = text.find(path(""))) != std::string::npos;)
            text.erase(at, path("").size());
        return text;
    }
    return decodeTree(tree.bytes);
}

std::string CSourceFolder::compile(const std::string& inside) const
{
    write("main.xml", "<tree>" + inside + "</tree>");
    return compile();
}

}
