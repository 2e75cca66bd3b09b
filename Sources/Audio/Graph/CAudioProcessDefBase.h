// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"

#include <functional>
#include <memory>

namespace kor
{

class CAudioParamAllocDef;
class CAudioParamDef;
class CAudioParamFilterDef;
class CAudioParamRemapDef;
class CAudioProcessBase;
class CAudioProcessBypassStateDef;
class CAudioProcessLinkDef;

/// What every process definition says about its nodes, with the value of an absent attribute.
struct CAudioProcessTraits
{
    bool isSmoothUpdate = false; // every parameter change is crossfaded
    bool isMultiband = false;
    CStringBuf multibandFreqParam;
    CStringBuf multibandCountParam;
    CStringBuf multibandPre;
    CStringBuf multibandLp;
    CStringBuf multibandHp;
    bool isStacked = false;
    CStringBuf stackParam; // number of instances per group; empty: one
    int stackIndexShift = 0; // added to the stack index; 0 or more
    bool isChannelStack = false;
    bool isTerminalWhole = false; // one module for all channels
    bool isPrototype = false; // makes no node in its parent
    bool isOutOfOrder = false; // wired by links only
    int bypassStateId = -1; // -1: none
    bool isWeightedInput = false; // several sources are averaged, not summed
    bool isCompInput = false; // alignment delays start filled with the first sample
    double xfadeLength = 0.015; // seconds, as written; see fadeSamples
};

// What a running node is made from: its traits and the definitions below it, sorted by kind. Immutable once its tree
// has loaded, shared by all instances of the process and readable from any thread.
class CAudioProcessDefBase : public CObject
{
public:
    CError init() override;
    CError initChilds() override;

    /// A new running node of this definition, not yet set up; the caller of createProcess gets it ready.
    virtual std::unique_ptr<CAudioProcessBase> createObject() const = 0;

    /// A name as it stands in a definition, in full: "/" absolute, "^" strips a component of `basePath`, else appended.
    CStringBuf expandName(const CStringBuf& name, const CStringBuf& basePath) const;

    /// Visits the definitions of the nodes that a node called `nodeName` may make directly below itself, with the full
    /// names these will have. Default: the child definitions that are no prototypes, as nodeName.child.
    using CChildVisitor = std::function<void(const CAudioProcessDefBase& definition, const CStringBuf& name)>;
    virtual void visitChildDefs(const CStringBuf& nodeName, const CChildVisitor& visit) const;

    /// Visits this definition as a node called `nodeName` and all that may run below it, likewise. A multiband
    /// definition is visited twice, as the wrapper and as the copies in it. What lies deeper than 64 is left out.
    void visitSubtree(const CStringBuf& nodeName, const CChildVisitor& visit) const;

    /// The definition of a child process with this name, null when there is none.
    const CAudioProcessDefBase* findProcessDef(const CStringBuf& name) const;

    /// True for a definition whose nodes exist only in the wiring: consumers link past them.
    virtual bool isJunction() const { return false; }

    /// Length of a module crossfade at a rate: at least one sample.
    int fadeSamples(double sampleRate) const;

    const CAudioProcessTraits& traits() const noexcept { return settings; }

    /// A parameter definition with its name relative to the node: "gain", "eq-params.freq".
    struct CNamedParam
    {
        CStringBuf name;
        const CAudioParamDef* definition;
    };

    // All in document order.
    const CArray<const CAudioProcessDefBase*>& processDefs() const noexcept { return processes; }
    const CArray<CNamedParam>& paramDefs() const noexcept { return params; }
    const CArray<const CAudioParamAllocDef*>& paramAllocs() const noexcept { return allocs; }
    const CArray<const CAudioParamRemapDef*>& paramRemaps() const noexcept { return remaps; }
    const CArray<const CAudioProcessLinkDef*>& links() const noexcept { return linkDefs; }
    const CArray<const CAudioProcessBypassStateDef*>& bypassStates() const noexcept { return bypassStateDefs; }
    const CArray<const CAudioParamFilterDef*>& paramFilters() const noexcept { return filterDefs; }

private:
    void visitSubtree(const CStringBuf& nodeName, const CChildVisitor& visit, bool isInMultiband, int depth) const;
    void collectFolder(const CObject& folder, const CStringBuf& prefix);

    CAudioProcessTraits settings;
    CArray<const CAudioProcessDefBase*> processes;
    CArray<CNamedParam> params;
    CArray<const CAudioParamAllocDef*> allocs;
    CArray<const CAudioParamRemapDef*> remaps;
    CArray<const CAudioProcessLinkDef*> linkDefs;
    CArray<const CAudioProcessBypassStateDef*> bypassStateDefs;
    CArray<const CAudioParamFilterDef*> filterDefs;
};

}
