// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CTypeList.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace kor
{

CMistake CTypeList::read(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        return {path, std::string("cannot be read (") + std::strerror(errno) + ")"};
    std::set<std::string> found;
    std::string text;
    for (int line = 1; std::getline(in, text); ++line)
    {
        std::istringstream words(text.substr(0, text.find('#')));
        std::string type;
        std::string more;
        if (!(words >> type))
            continue;
        if (words >> more)
            return {path, line, "'" + more + "' behind '" + type + "': a line holds one object type"};
        if (!found.insert(type).second)
            return {path, line, "object type '" + type + "' is listed twice"};
    }
    if (in.bad() || found.empty())
        return {path, "holds no object types"};
    types = std::move(found);
    return {};
}

}
