// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioPresetNameList.h"

#include "Core/CLog.h"
#include "Core/CMemoryReader.h"

namespace kor
{

namespace
{

CError readFirstBank(const CByteArray& bytes, std::shared_ptr<const CAudioPresetBank>& bank)
{
    CMemoryReader reader(bytes);
    std::uint32_t count = 0;
    KOR_TRY(reader.readU32(count));
    if (count == 0)
        return {};
    auto found = std::make_shared<CAudioPresetBank>();
    KOR_TRY(found->load(reader));
    bank = std::move(found);
    return {};
}

std::shared_ptr<const CAudioPresetBank> parseList(const CByteArray& bytes, const CStringBuf& reporter)
{
    std::shared_ptr<const CAudioPresetBank> bank;
    if (bytes.empty())
        return bank;
    if (CError error = readFirstBank(bytes, bank))
    {
        CLog::write("The list of presets does not parse.", reporter);
        CLog::writeError(std::move(error));
    }
    return bank;
}

}

std::shared_ptr<const CAudioPresetBank> readPresetList(CApplicationData& store, const CStringBuf& name,
                                                       const CStringBuf& reporter)
{
    CByteArray bytes;
    store.read(name, bytes, CAudioPresetBank::listId);
    return parseList(bytes, reporter);
}

CAudioPresetNameList::CAudioPresetNameList(const CStringBuf& storeName) : name(storeName) {}

CArray<CAudioParamStateName> CAudioPresetNameList::stateNames() const
{
    CByteArray bytes;
    CLocalData::instance().read(name, bytes, CAudioPresetBank::listId);
    {
        const CLockHolder hold(lock);
        if (bytes == readFrom)
            return titles;
    }
    CArray<CAudioParamStateName> fresh;
    if (const std::shared_ptr<const CAudioPresetBank> bank = parseList(bytes, name))
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
