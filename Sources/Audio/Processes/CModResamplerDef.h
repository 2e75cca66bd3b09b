// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessDefBase.h"

namespace kor
{

// Definition of one end of the oversampled part (`audio:modResampler`): the node of each stage and the filters beside
// it, which both ends share the definitions of. They stand in the shared tree before whatever uses them.
class CModResamplerDef : public CAudioProcessDefBase
{
public:
    /// "The process definition '%1' was not found."
    CError init() override;

    std::unique_ptr<CAudioProcessBase> createObject() const override;
    void visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const override;

    bool isUpsampler() const noexcept { return samplesUp; }

    const CAudioProcessDefBase& stage() const noexcept { return *stageDef; }

    /// Filter of stage `index`, counted from the base rate: the first needs the steep one.
    const CAudioProcessDefBase& filter(int index) const noexcept { return index == 0 ? *steepDef : *softDef; }

    static CStringBuf stageName(const CStringBuf& nodeName) { return nodeName + ".modInterpDecim"; }
    static CStringBuf filterName(const CStringBuf& nodeName) { return nodeName + ".modFilter"; }

private:
    CError find(const CAudioProcessDefBase*& out, const char* path);

    bool samplesUp = false;
    const CAudioProcessDefBase* stageDef = nullptr;     // these are set once init has succeeded
    const CAudioProcessDefBase* steepDef = nullptr;
    const CAudioProcessDefBase* softDef = nullptr;
};

}
