// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CError.h"

#include <memory>

namespace kor
{

// The application with the product's embedded content and one instance of the equalizer, for the length of a command.
class CHostSession
{
public:
    CHostSession() = default;
    ~CHostSession();
    CHostSession(const CHostSession&) = delete;
    CHostSession& operator=(const CHostSession&) = delete;

    CError start();

    CAudioInstance& instance() const noexcept { return *equalizer; }

private:
    std::unique_ptr<CAudioInstance> equalizer;
};

}
