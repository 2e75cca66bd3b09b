// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Graph/CAudioModule.h"

#include "Audio/Graph/CAudioProcessTerminalBase.h"

#include <algorithm>
#include <cstdio>

namespace kor
{

void CAudioModule::process(const double* in, double* out, int count)
{
    if (in != out)
        std::copy_n(in, count, out);
}

void CAudioModule::processPorts(std::span<const double* const> in, double* out, int count)
{
    process(in[0], out, count);
}

void CAudioModule::processChannels(std::span<const double* const> in, std::span<double* const> out, int count)
{
    for (std::size_t c = 0; c < in.size(); ++c)
        process(in[c], out[c], count);
}

bool CAudioModule::hasSameSettings(const CAudioModule&) const
{
    return false;
}

const CAudioParamStorage* CAudioModule::registerParam(int slot)
{
    const CAudioParamSlot* found = owner->findSlot(slot);
    if (found != nullptr)
        return &found->values;

    char message[64];
    std::snprintf(message, sizeof message, "regModuleParam error %i", slot);
    const auto errorContext = [this]() -> const CStringBuf& { return owner->name(); };
    report(KOR_FAIL(message));
    return nullptr;
}

double CAudioModule::paramValue(const CAudioParamStorage* slot, double fallback) const
{
    return slot != nullptr ? slot->getValue(group, element) : fallback;
}

bool CAudioModule::hasArrived(int slot) const
{
    const CAudioParamSlot* found = owner->findSlot(slot);
    const std::uint32_t ownGroup = 1u << (static_cast<unsigned>(group) & 31u);
    return found != nullptr && (found->changeMask & (found->useAllGroups() ? ~0u : ownGroup)) != 0;
}

const CStringBuf& CAudioModule::nodeName() const
{
    return owner->name();
}

CAudioGraphContext& CAudioModule::context() const
{
    return owner->context();
}

bool CAudioModule::isPortConnected(int port) const
{
    const std::size_t index = static_cast<std::size_t>(port);
    return index < owner->inputs().portCount() && owner->inputs().port(index).isConnected();
}

const CAudioProcessDefBase& CAudioModule::definition() const
{
    return owner->definition();
}

void CAudioModule::report(CError error) const
{
    owner->report(std::move(error));
}

}
