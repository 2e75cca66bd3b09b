// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPresetNameList.h"

#include "Core/CLog.h"
#include "Core/CMemoryReader.h"

namespace kor
{

namespace
{

std::shared_ptr<const CAudioPresetBank> firstBank(const CByteArray& bytes, const CStringBuf& reporter)
{
    if (bytes.empty())
        return nullptr;
    CMemoryReader reader(bytes);
    CArray<CAudioPresetBank> banks;
    if (CError error = CAudioPresetBank::loadList(reader, banks))
    {
        CLog::write("The list of presets does not parse.", reporter);
        CLog::writeError(std::move(error));
    }
    return banks.empty() ? nullptr : std::make_shared<const CAudioPresetBank>(std::move(banks.front()));
}

}

std::shared_ptr<const CAudioPresetBank> readPresetList(CApplicationData& store, const CStringBuf& name,
                                                       const CStringBuf& reporter)
{
    CByteArray bytes;
    store.read(name, bytes, CAudioPresetBank::listFormat());
    return firstBank(bytes, reporter);
}

CAudioPresetNameList::CAudioPresetNameList(const CStringBuf& storeName) : name(storeName) {}

CArray<CAudioParamStateName> CAudioPresetNameList::stateNames() const
{
    CByteArray bytes;
    CLocalData::instance().read(name, bytes, CAudioPresetBank::listFormat());
    {
        const CLockHolder hold(lock);
        if (bytes == readFrom)
            return titles;
    }
    CArray<CAudioParamStateName> fresh;
    if (const std::shared_ptr<const CAudioPresetBank> bank = firstBank(bytes, name))
        for (std::size_t i = 0; i < bank->size(); ++i)
            fresh.push_back({CAudioPreset::titleOf(bank->preset(i).name()), {}});
    const CLockHolder hold(lock);
    readFrom = std::move(bytes);
    titles = fresh;
    return fresh;
}

const CAudioParamNameList* CAudioPresetNameList::find(const CStringBuf& storeName)
{
    if (storeName.isEmpty() || storeName.findChar(u'/') >= 0)
        return nullptr;
    // Never destroyed: definitions of the shared tree point into it.
    static CLock& lock = *new CLock;
    static auto& lists = *new CMap<CStringBuf, std::unique_ptr<CAudioPresetNameList>>;
    const CLockHolder hold(lock);
    std::unique_ptr<CAudioPresetNameList>& list = lists[storeName];
    if (list == nullptr)
        list = std::make_unique<CAudioPresetNameList>(storeName);
    return list.get();
}

}
