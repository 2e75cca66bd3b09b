// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamRequest.h"
#include "Core/CStream.h"

#include <atomic>

namespace kor
{

// What an element of a text or byte parameter refers to. Never changes once it is in a table, so that current values,
// undo history and changes on their way share one item by its reference count, whatever thread they live on.
class CAudioParamDataItem
{
public:
    CAudioParamDataItem() = default;
    CAudioParamDataItem(const CAudioParamDataItem&) noexcept {}     // a copy is referred to by nobody yet
    CAudioParamDataItem& operator=(const CAudioParamDataItem&) = delete;
    virtual ~CAudioParamDataItem() = default;

    /// A separate item of the same content, not yet referred to.
    virtual CAudioParamDataItem* clone() const = 0;

    /// Content alone, without id and type code.
    virtual CError save(COutputStream& stream) const = 0;

    /// Replaces the content; on failure it is untouched. Only while nobody else holds the item.
    virtual CError load(CInputStream& stream) = 0;

    virtual CAudioParamType type() const noexcept = 0;

    /// Counts references; the last release frees the item. Any thread.
    void retain() const noexcept { references.fetch_add(1, std::memory_order_relaxed); }
    void release() const noexcept;

private:
    mutable std::atomic<int> references{0};
};

}
