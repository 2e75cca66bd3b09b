// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace kor
{

class CStringBuf;
struct CErrorLine;

// The result of every operation that can fail: a pointer-sized, move-only handle. Empty is success; otherwise it owns
// a chain of text lines, the deepest failure first and one line for every caller that passed it on, so that the chain
// reads as a trace. Whoever handles a failure for good writes it to the log or shows it, and drops the handle.
class [[nodiscard]] CError
{
public:
    CError() noexcept = default;
    CError(CError&& other) noexcept : chain(other.chain) { other.chain = nullptr; }
    CError& operator=(CError&& other) noexcept;
    ~CError();

    CError(const CError&) = delete;
    CError& operator=(const CError&) = delete;

    /// True when the operation failed.
    explicit operator bool() const noexcept { return chain != nullptr; }

    /// The message of the deepest failure alone, as UTF-8, for a one-line report to a user; empty on success.
    std::string message() const;

    /// Number of lines, 0 on success.
    int lineCount() const noexcept;

    /// Line `index` in full: "file( line ) // context message". Index 0 is the deepest failure.
    std::string line(int index) const;

    /// All lines, each ended by "\n".
    std::string text() const;

    /// Drops the failure on purpose, where going on without the result is right.
    void ignore() noexcept;

private:
    friend void reportError(CError&, const char*, int, const CStringBuf&, std::string_view,
                            std::initializer_list<std::string>);
    CErrorLine* chain = nullptr;    // newest line first
};

/// Adds a line to `handle`, which becomes a failure if it was success. `message` may begin with a key that starts with
/// "@korstr_" and ends at a blank; the key is cut off. "%1" to "%5" are replaced by the arguments (UTF-8).
void reportError(CError& handle, const char* sourceFile, int line, const CStringBuf& context,
                 std::string_view message, std::initializer_list<std::string> arguments);

/// Context of an error line outside of any object; CObject hides it by a member that gives the object's full name.
const CStringBuf& errorContext() noexcept;

namespace detail
{
std::string errorArgument(const CStringBuf& value);
std::string errorArgument(std::string_view value);
std::string errorArgument(const char* value);
std::string errorArgument(int value);
std::string errorArgument(unsigned value);
std::string errorArgument(long value);
std::string errorArgument(unsigned long value);
std::string errorArgument(long long value);
std::string errorArgument(unsigned long long value);
std::string errorArgument(double value);

template <class... Arguments>
CError makeError(const char* file, int line, const CStringBuf& context, std::string_view message,
                 const Arguments&... arguments)
{
    CError result;
    reportError(result, file, line, context, message, {errorArgument(arguments)...});
    return result;
}
}

}

/// A new failure: `return KOR_FAIL("Invalid element size %1 specified.", size);`
#define KOR_FAIL(...) ::kor::detail::makeError(__FILE__, __LINE__, errorContext(), __VA_ARGS__)

/// Runs an expression that yields a CError and passes a failure on, with a line for this place.
#define KOR_TRY(expression)                                                             \
    do                                                                                  \
    {                                                                                   \
        if (::kor::CError korTried = (expression))                                      \
        {                                                                               \
            ::kor::reportError(korTried, __FILE__, __LINE__, errorContext(), "", {});   \
            return korTried;                                                            \
        }                                                                               \
    } while (false)
