// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CGlobalParam.h"

namespace kor
{

CGlobalParam::CGlobalParam(CAudioParam& param, const CStringBuf& key)
    : parameter(param), name(key), bridge(*this, &CGlobalParam::onStoreWritten)
{
}

CGlobalParam::~CGlobalParam()
{
    bridge.detach();
    if (isFollowing)
        parameter.removeHook(*this);
}

void CGlobalParam::start(std::function<void()> onStale)
{
    tellStale = std::move(onStale);
    bridge.attach(CGlobalData::instance(), name);
    take();
    parameter.addHook(*this);
    isFollowing = true;
}

void CGlobalParam::update()
{
    if (isStale.exchange(false))
        take();
}

CError CGlobalParam::onStoreWritten(const CStringBuf&)
{
    isStale = true;
    tellStale();
    return {};
}

void CGlobalParam::take()
{
    bool isNumber = false;
    const double value = CGlobalData::instance().readText(name).value_or(CStringBuf()).toDouble(isNumber);
    if (isNumber && value != parameter.getValue(0, 0))
        parameter.setValue(0, 0, value);
}

void CGlobalParam::onParamChange(const CAudioParamRequest&, CAudioParamUndoContext*)
{
    CAudioParamChangeScope::defer([this] { write(); });
}

// Comparing with the setting keeps two instances from telling each other the same value for ever.
void CGlobalParam::write()
{
    CApplicationData& store = CGlobalData::instance();
    const double value = parameter.getValue(0, 0);
    bool isNumber = false;
    const double stored = store.readText(name).value_or(CStringBuf()).toDouble(isNumber);
    if (!isNumber || stored != value)
        store.writeText(name, CStringBuf::fromDouble(value), &bridge);
}

}
