// SPDX-License-Identifier: GPL-3.0-or-later
#include "COptions.h"

#include "NearNames.h"

#include <charconv>
#include <cmath>

namespace kor
{

namespace
{

std::string numberText(double value)
{
    char buffer[400];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr;
    return {buffer, end};
}

}

COptions::COptions(std::span<const COptionSpec> table, int wordLimit) : specs(table), maxWords(wordLimit) {}

const COptionSpec* COptions::find(std::string_view name) const
{
    for (const COptionSpec& spec : specs)
        if (name == spec.name)
            return &spec;
    return nullptr;
}

CError COptions::parse(std::span<const char* const> arguments)
{
    bool isOptionsEnded = false;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const std::string_view word = arguments[i];
        if (isOptionsEnded || word.size() < 2 || word[0] != '-')
        {
            if (static_cast<int>(rest.size()) >= maxWords)
                return KOR_FAIL("unexpected word '%1'; every input and setting is an option, see --help", word);
            rest.emplace_back(word);
            continue;
        }
        if (word == "--")
        {
            isOptionsEnded = true;
            continue;
        }
        if (word == "--help" || word == "-h")
        {
            isHelpAsked = true;
            continue;
        }

        const std::size_t sign = word.find('=');
        const std::string_view name = word.substr(0, sign);
        const COptionSpec* const spec = find(name);
        if (spec == nullptr)
        {
            std::vector<std::string> names;
            for (const COptionSpec& known : specs)
                names.emplace_back(known.name);
            return KOR_FAIL("unknown option '%1'%2", name, nearNameHint(name, names, "; see --help"));
        }
        if (spec->argument == nullptr && sign != std::string_view::npos)
            return KOR_FAIL("option %1 takes no value", name);
        if (!spec->isRepeated && has(name))
            return KOR_FAIL("option %1 is given twice", name);

        std::string value;
        if (sign != std::string_view::npos)
            value = word.substr(sign + 1);
        else if (spec->argument != nullptr)
        {
            if (i + 1 == arguments.size())
                return KOR_FAIL("option %1 needs a value: %1 %2", name, spec->argument);
            value = arguments[++i];
        }
        given.push_back({spec, std::move(value)});
    }
    return {};
}

bool COptions::has(std::string_view name) const
{
    for (const CGiven& option : given)
        if (name == option.spec->name)
            return true;
    return false;
}

const std::string& COptions::text(std::string_view name) const
{
    static const std::string none;
    for (const CGiven& option : given)
        if (name == option.spec->name)
            return option.value;
    return none;
}

std::vector<std::string> COptions::texts(std::string_view name) const
{
    std::vector<std::string> values;
    for (const CGiven& option : given)
        if (name == option.spec->name)
            values.push_back(option.value);
    return values;
}

bool COptions::parseNumber(std::string_view text, double& value)
{
    double factor = 1.0;
    if (!text.empty() && (text.back() == 'k' || text.back() == 'K'))
    {
        factor = 1000.0;
        text.remove_suffix(1);
    }
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    value *= factor;
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && std::isfinite(value);
}

CError COptions::readNumber(std::string_view name, double low, double high, double& value) const
{
    if (!has(name))
        return {};
    double number = 0.0;
    if (!parseNumber(text(name), number))
        return KOR_FAIL("option %1: '%2' is no number", name, text(name));
    if (number < low || number > high)
        return KOR_FAIL("option %1: %2 is outside %3 to %4", name, text(name), numberText(low), numberText(high));
    value = number;
    return {};
}

CError COptions::readInt(std::string_view name, int low, int high, int& value) const
{
    double number = value;
    KOR_TRY(readNumber(name, low, high, number));
    if (number != std::floor(number))
        return KOR_FAIL("option %1: '%2' is no whole number", name, text(name));
    value = static_cast<int>(number);
    return {};
}

std::string COptions::helpText(std::span<const COptionSpec> specs)
{
    std::size_t width = 0;
    const auto left = [](const COptionSpec& spec)
    { return std::string(spec.name) + (spec.argument != nullptr ? std::string(" ") + spec.argument : std::string()); };
    for (const COptionSpec& spec : specs)
        width = std::max(width, left(spec).size());
    std::string text;
    for (const COptionSpec& spec : specs)
    {
        const std::string name = left(spec);
        text += "  " + name + std::string(width - name.size() + 2, ' ');
        for (const char* c = spec.help; *c != 0; ++c)
        {
            text += *c;
            if (*c == '\n')
                text += std::string(width + 4, ' ');
        }
        text += '\n';
    }
    return text;
}

}
