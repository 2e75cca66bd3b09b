// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/CError.h"

#include "Core/CStringBuf.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kor
{

struct CErrorLine
{
    std::string file;
    int line = 0;
    std::string context;
    std::string message;
    CErrorLine* older = nullptr;
};

namespace
{

std::string withArguments(std::string_view message, std::initializer_list<std::string> arguments)
{
    std::string text;
    for (std::size_t i = 0; i < message.size(); ++i)
    {
        if (message[i] == '%' && i + 1 < message.size() && message[i + 1] >= '1' && message[i + 1] <= '5')
        {
            const auto index = static_cast<std::size_t>(message[i + 1] - '1');
            if (index < arguments.size())
            {
                text += arguments.begin()[index];
                ++i;
                continue;
            }
        }
        text += message[i];
    }
    return text;
}

const CErrorLine* oldest(const CErrorLine* chain) noexcept
{
    while (chain != nullptr && chain->older != nullptr)
        chain = chain->older;
    return chain;
}

}

CError& CError::operator=(CError&& other) noexcept
{
    if (this != &other)
    {
        ignore();
        chain = std::exchange(other.chain, nullptr);
    }
    return *this;
}

CError::~CError()
{
    ignore();
}

void CError::ignore() noexcept
{
    while (chain != nullptr)
        delete std::exchange(chain, chain->older);
}

std::string CError::message() const
{
    const CErrorLine* deepest = oldest(chain);
    return deepest != nullptr ? deepest->message : std::string();
}

int CError::lineCount() const noexcept
{
    int count = 0;
    for (const CErrorLine* line = chain; line != nullptr; line = line->older)
        ++count;
    return count;
}

std::string CError::line(int index) const
{
    const CErrorLine* at = chain;
    for (int steps = lineCount() - 1 - index; steps > 0 && at != nullptr; --steps)
        at = at->older;
    if (at == nullptr || index < 0 || index >= lineCount())
        return {};
    std::string text = at->file + "( " + std::to_string(at->line) + " ) // " + at->context;
    if (!at->context.empty() && !at->message.empty())
        text += ' ';
    return text + at->message;
}

std::string CError::text() const
{
    std::string all;
    for (int i = 0, count = lineCount(); i < count; ++i)
        all += line(i) + "\n";
    return all;
}

void reportError(CError& handle, const char* sourceFile, int line, const CStringBuf& context,
                 std::string_view message, std::initializer_list<std::string> arguments)
{
    constexpr std::string_view keyStart = "@korstr_";
    if (message.substr(0, keyStart.size()) == keyStart)
        message.remove_prefix(std::min(message.find(' '), message.size() - 1) + 1);
    const char* name = std::strrchr(sourceFile, '/');
    handle.chain = new CErrorLine{name != nullptr ? name + 1 : sourceFile, line, context.toUtf8(),
                                  withArguments(message, arguments), handle.chain};
}

const CStringBuf& errorContext() noexcept
{
    return gEmptyString;
}

namespace detail
{

std::string errorArgument(const CStringBuf& value)
{
    return value.toUtf8();
}

std::string errorArgument(std::string_view value)
{
    return std::string(value);
}

std::string errorArgument(const char* value)
{
    return value != nullptr ? value : "";
}

std::string errorArgument(int value)
{
    return std::to_string(value);
}

std::string errorArgument(unsigned value)
{
    return std::to_string(value);
}

std::string errorArgument(long value)
{
    return std::to_string(value);
}

std::string errorArgument(unsigned long value)
{
    return std::to_string(value);
}

std::string errorArgument(long long value)
{
    return std::to_string(value);
}

std::string errorArgument(unsigned long long value)
{
    return std::to_string(value);
}

std::string errorArgument(double value)
{
    return CStringBuf::fromDouble(value).toUtf8();
}

}

}
