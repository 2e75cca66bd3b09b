// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CCommand.h"

#include <string>
#include <vector>

namespace kor
{

class CVst3Plugin;
struct CVst3Parameter;

/// The parameter of a name; fails with the near names.
CError findHostParameter(const CVst3Plugin& plugin, const std::string& name, const CVst3Parameter*& parameter);

// The --ext options of a command line: values of parameters as hosts see them, by name. Everything that is wrong with
// one is a failure in one line.
class CExtAssignments
{
public:
    static constexpr COptionSpec option = {"--ext", "NAME=TEXT",
                                           "give a host parameter a value; any number of times, `morvahost params` lists them",
                                           true};

    /// Reads the forms; knows of no plug-in yet.
    CError parse(const std::vector<std::string>& texts);

    /// Checks all names and lets the plug-in read all texts, without changing it.
    CError resolve(const CVst3Plugin& plugin);

    /// One more behind the others, checked at once.
    CError add(const CVst3Plugin& plugin, const std::string& name, const std::string& text);

    /// Gives the resolved values, in order.
    void give(CVst3Plugin& plugin) const;

    bool isEmpty() const noexcept { return list.empty(); }

private:
    struct CAssignment
    {
        std::string name;
        std::string text;
        const CVst3Parameter* parameter = nullptr;
        double value = 0.0;

        CError resolve(const CVst3Plugin& plugin);
    };

    std::vector<CAssignment> list;
};

}
