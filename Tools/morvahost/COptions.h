// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kor
{

/// One option of a command: "--name", with a value if `argument` names one.
struct COptionSpec
{
    const char* name;               // with its dashes
    const char* argument;           // "FILE"; null for a switch
    const char* help;
    bool isRepeated = false;        // may be given more than once
};

// The words behind a command, sorted into options and the rest. "--name value" and "--name=value" are the same; "--"
// ends the options. Every mistake gives one line that says which word is wrong and what would be right.
class COptions
{
public:
    /// `specs` must outlive the object. maxWords: how many words without dashes the command takes.
    COptions(std::span<const COptionSpec> specs, int maxWords);

    CError parse(std::span<const char* const> arguments);

    bool has(std::string_view name) const;
    bool wantsHelp() const noexcept { return isHelpAsked; }

    /// The value of an option, empty when it was not given.
    const std::string& text(std::string_view name) const;

    /// All values of a repeated option, in order.
    std::vector<std::string> texts(std::string_view name) const;

    const std::vector<std::string>& words() const noexcept { return rest; }

    /// Leaves `value` alone when the option was not given; fails when it is no number or outside [low, high].
    CError readInt(std::string_view name, int low, int high, int& value) const;
    CError readNumber(std::string_view name, double low, double high, double& value) const;

    /// Reads a decimal number, "k" behind it for thousands.
    static bool parseNumber(std::string_view text, double& value);

    /// The option table as lines for --help.
    static std::string helpText(std::span<const COptionSpec> specs);

private:
    const COptionSpec* find(std::string_view name) const;

    struct CGiven
    {
        const COptionSpec* spec;
        std::string value;
    };

    std::span<const COptionSpec> specs;
    int maxWords;
    std::vector<CGiven> given;
    std::vector<std::string> rest;
    bool isHelpAsked = false;
};

}
