// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// Definition of a process switch (`audio:modProcessSwitch`): which process definition each value of `index` stands for,
// as "index:path" items of `process-list` between semicolons. A path that begins with "." leads down from here; others
// may lead anywhere that stands before this definition, but not to one that holds it.
class CModProcessSwitchDef : public CAudioProcessDefBase
{
public:
    CError init() override;

    /// "No index delimiter ':' found in item #%1.", "Invalid index value '%1' in item #%2.",
    /// "Duplicate index value '%1' used in item #%2.", "No process definition found at '%1' in item #%2.",
    /// "Process definition '%1' in item #%2 contains the switch itself."; items count from 1.
    CError initChilds() override;

    std::unique_ptr<CAudioProcessBase> createObject() const override;
    void visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const override;

    /// What an index stands for, else what `def-index` stands for; null when neither is listed.
    const CAudioProcessDefBase* find(int index) const noexcept;

    /// Full name of the children of a node of this name. Without a `def-child-name` they carry the node's own, so that
    /// the remaps and slots of the node fit them.
    CStringBuf childName(const CStringBuf& nodeName) const;

    /// The switch makes a series of `count` - element - 1 children, not one.
    bool isAllpassBank() const noexcept { return makesBank; }

private:
    CError readItem(const CStringBuf& item, int number);

    CMap<int, const CAudioProcessDefBase*> listed;
    int defIndex = 0;
    CStringBuf defChildName;
    bool makesBank = false;
};

}
