// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CApplicationDataBridge.h"
#include "Core/CBridgedHandler.h"
#include "Core/CObject.h"

namespace kor
{

// An attribute whose value lives in a data store: all instances of the process follow each other, and later sessions
// find it again. Attributes: `attribute`, the name of the one that is shared; `data-name`, the data file, by default the
// object's own name; `is-global`, for all plug-ins of the family or for this one; `def-value` until one is stored. The
// event "update" is sent when another instance has changed the value. A tree without an event bridge has the value of
// its start. The tree's own thread.
class CSharedAttribute : public CObject
{
public:
    static void initClass(CObjectClassInfo& info);

    /// "No attached attribute name specified."
    CError init() override;
    void uninit() override;

    /// Takes the value of the store, or `def-value`, into the attribute. A stored value that cannot be read counts as
    /// none, and the log tells.
    virtual CError load();

    /// Gives the attribute the value and stores it for all others, unless it is the stored one already.
    CError save(const CStringBuf& value);

private:
    CError onStoreChanged(const CStringBuf& fileName);
    CError onUpdate();
    CStringBuf readStore();

    CApplicationData* store = nullptr;
    CStringBuf attribute;
    CStringBuf fileName;
    CBridgedHandler update;
    CApplicationDataBridge<CSharedAttribute> storeBridge{*this, &CSharedAttribute::onStoreChanged};
};

}
