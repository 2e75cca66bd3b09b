// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CObjectClassInfo.h"

namespace kor
{

/// Makes an object of one type; / fills the type's handler tables.
using CObjectCreator = CObject* (*)();
using CClassInit = void (*)(CObjectClassInfo& info);

/// One row of the creator table.
struct CCreatorRow
{
    const char* tag;
    CObjectCreator creator;
    CClassInit classInit;
};

/// Row for a class that has a default constructor and a static `initClass(CObjectClassInfo&)` (inherited or own).
template <class T>
CCreatorRow creatorRow(const char* tag)
{
    return {tag, []() -> CObject* { return new T; }, &T::initClass};
}

// The process-wide table from object type to class. Filled once at the application's start, read-only from then on.
class CCreatorTable
{
public:
    struct CEntry
    {
        CObjectCreator creator;
        CObjectClassInfo* info;
    };

    /// Fails with "Creator for '%1' has already been registered."
    static CError registerCreator(const CStringBuf& tag, CObjectCreator creator, CClassInit classInit);

    /// Null when the type has no creator.
    static const CEntry* find(const CStringBuf& tag);

    /// What roots and objects of a type without creator react to. Any thread.
    static const CObjectClassInfo& plainObjectInfo();
};

}
