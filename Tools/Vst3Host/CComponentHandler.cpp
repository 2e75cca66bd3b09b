// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CComponentHandler.h"

#include <utility>

namespace kor
{

using namespace Steinberg;

tresult CComponentHandler::queryInterface(const TUID wanted, void** object)
{
    const tresult found = CHostObject::queryInterface(wanted, object);
    return found == kNoInterface ? loop.queryInterface(wanted, object) : found;
}

void CComponentHandler::record(const CHostEdit& edit)
{
    const std::lock_guard<std::mutex> hold(lock);
    edits.push_back(edit);
}

tresult CComponentHandler::beginEdit(Vst::ParamID id)
{
    record({CHostEdit::Kind::begin, id, 0.0});
    return kResultOk;
}

tresult CComponentHandler::performEdit(Vst::ParamID id, Vst::ParamValue value)
{
    record({CHostEdit::Kind::perform, id, value});
    return kResultOk;
}

tresult CComponentHandler::endEdit(Vst::ParamID id)
{
    record({CHostEdit::Kind::end, id, 0.0});
    return kResultOk;
}

tresult CComponentHandler::restartComponent(int32 flags)
{
    const std::lock_guard<std::mutex> hold(lock);
    restarts |= flags;
    return kResultOk;
}

tresult CComponentHandler::setDirty(TBool)
{
    return kResultOk;
}

tresult CComponentHandler::requestOpenEditor(FIDString)
{
    return kResultFalse;                            // there are no windows here
}

tresult CComponentHandler::notifyUnitSelection(Vst::UnitID)
{
    return kResultOk;
}

tresult CComponentHandler::notifyProgramListChange(Vst::ProgramListID, int32)
{
    const std::lock_guard<std::mutex> hold(lock);
    isProgramListChanged = true;
    return kResultOk;
}

std::vector<CHostEdit> CComponentHandler::takeEdits()
{
    const std::lock_guard<std::mutex> hold(lock);
    return std::exchange(edits, {});
}

int CComponentHandler::takeRestarts()
{
    const std::lock_guard<std::mutex> hold(lock);
    return std::exchange(restarts, 0);
}

bool CComponentHandler::takeProgramListChange()
{
    const std::lock_guard<std::mutex> hold(lock);
    return std::exchange(isProgramListChanged, false);
}

}
