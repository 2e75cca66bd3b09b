// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "COptions.h"
#include "Core/CError.h"

#include <span>
#include <utility>

namespace kor
{

/// What a command tells the shell.
enum class CExitCode
{
    done = 0,
    failed = 1,         // the command was understood and could not be carried out
    wrongUsage = 2      // the command line itself is wrong
};

/// How a command ended: a failure in one line for the user, and which of the two kinds it is.
struct COutcome
{
    COutcome() = default;
    COutcome(CError failure) : code(failure ? CExitCode::failed : CExitCode::done), error(std::move(failure)) {}

    static COutcome wrongUsage(CError failure)
    {
        COutcome outcome(std::move(failure));
        outcome.code = CExitCode::wrongUsage;
        return outcome;
    }

    CExitCode code = CExitCode::done;
    CError error;
};

// One command of the program. Its text for --help and its option table are data; run() does the work.
class CCommand
{
public:
    virtual ~CCommand() = default;

    virtual const char* name() const = 0;
    virtual const char* summary() const = 0;            // one line for the list of commands
    virtual const char* usage() const = 0;              // the forms of its command line, and what there is to know
    virtual std::span<const COptionSpec> options() const = 0;
    virtual int maxWords() const { return 0; }
    virtual COutcome run(const COptions& options) = 0;
};

}

/// Runs an expression that yields a CError and ends a command with it as wrong usage.
#define MORVA_USAGE(expression)                                 \
    do                                                          \
    {                                                           \
        if (::kor::CError korWrong = (expression))              \
            return ::kor::COutcome::wrongUsage(std::move(korWrong)); \
    } while (false)
