// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CHostAttributeList.h"

#include <algorithm>

namespace kor
{

using namespace Steinberg;

template <class Value>
const Value* CHostAttributeList::find(AttrID id) const
{
    const auto found = id != nullptr ? values.find(id) : values.end();
    return found != values.end() ? std::get_if<Value>(&found->second) : nullptr;
}

tresult CHostAttributeList::setInt(AttrID id, int64 value)
{
    if (id == nullptr)
        return kInvalidArgument;
    values[id] = value;
    return kResultOk;
}

tresult CHostAttributeList::getInt(AttrID id, int64& value)
{
    const int64* const found = find<int64>(id);
    if (found == nullptr)
        return kResultFalse;
    value = *found;
    return kResultOk;
}

tresult CHostAttributeList::setFloat(AttrID id, double value)
{
    if (id == nullptr)
        return kInvalidArgument;
    values[id] = value;
    return kResultOk;
}

tresult CHostAttributeList::getFloat(AttrID id, double& value)
{
    const double* const found = find<double>(id);
    if (found == nullptr)
        return kResultFalse;
    value = *found;
    return kResultOk;
}

tresult CHostAttributeList::setString(AttrID id, const Vst::TChar* text)
{
    if (id == nullptr || text == nullptr)
        return kInvalidArgument;
    values[id] = std::u16string(text);
    return kResultOk;
}

tresult CHostAttributeList::getString(AttrID id, Vst::TChar* text, uint32 bytes)
{
    const std::u16string* const found = find<std::u16string>(id);
    const std::size_t room = bytes / sizeof(Vst::TChar);
    if (found == nullptr || text == nullptr || room == 0)
        return kResultFalse;
    const std::size_t count = std::min(found->size(), room - 1);
    std::copy_n(found->begin(), count, text);
    text[count] = 0;
    return kResultOk;
}

tresult CHostAttributeList::setBinary(AttrID id, const void* data, uint32 bytes)
{
    if (id == nullptr || (data == nullptr && bytes > 0))
        return kInvalidArgument;
    const char* const first = static_cast<const char*>(data);
    values[id] = std::vector<char>(first, first + bytes);
    return kResultOk;
}

tresult CHostAttributeList::getBinary(AttrID id, const void*& data, uint32& bytes)
{
    const std::vector<char>* const found = find<std::vector<char>>(id);
    bytes = 0;
    if (found == nullptr)
        return kResultFalse;
    data = found->data();
    bytes = static_cast<uint32>(found->size());
    return kResultOk;
}

}
