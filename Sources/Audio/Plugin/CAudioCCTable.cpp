// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioCCTable.h"

#include "Core/CApplicationData.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"

namespace kor
{

void CAudioCCTable::initClass(CObjectClassInfo& info)
{
    CObject::initClass(info);
}

CError CAudioCCTable::initChilds()
{
    KOR_TRY(CObject::initChilds());
    if (parent() == nullptr)
        return {};
    for (CObject* sibling : parent()->children())
        if (collector == nullptr)
            collector = dynamic_cast<CAudioParamCollector*>(sibling);
    if (collector != nullptr)
        collector->addHook(*this);
    return {};
}

void CAudioCCTable::uninit()
{
    if (collector != nullptr)
        collector->removeHook(*this);
    collector = nullptr;
    CObject::uninit();
}

void CAudioCCTable::load()
{
    CByteArray bytes;
    CLocalData::instance().read("ccmap", bytes, dataId);
    CSlots found{};
    CMemoryReader reader(bytes);
    CError error = bytes.empty() ? CError() : read(reader, found);
    {
        CLockHolder hold(lock);
        slots = found;
    }
    if (!error)
        return;
    CLog::write("The table of MIDI controllers does not parse.", fullName());
    CLog::writeError(std::move(error));
}

CError CAudioCCTable::read(CInputStream& stream, CSlots& found) const
{
    std::uint32_t count = 0;
    KOR_TRY(stream.readU32(count));
    for (std::uint32_t i = 0; i < count; ++i)
    {
        std::uint32_t controller = 0;
        CStringBuf path;
        KOR_TRY(stream.readU32(controller));
        KOR_TRY(stream.readString(path));
        if (controller >= found.size())
            return KOR_FAIL("Invalid controller number %1.", controller);
        found[controller] = collector != nullptr ? collector->findParam(path) : nullptr;
    }
    return {};
}

CAudioParam* CAudioCCTable::param(int controller) const
{
    if (controller < 0 || controller >= controllerCount)
        return nullptr;
    CLockHolder hold(lock);
    return slots[static_cast<std::size_t>(controller)];
}

}
