// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

namespace kor
{

// Stands in the place of a definition with is-multiband: splits what comes in into as many bands as the count parameter
// asks for, runs a copy of the definition on each and adds the bands up. Band i takes the low-pass of what the bands
// below it left, the next takes its high-pass, and the last takes the rest:
//
//     in --+-- lp 0 -- pre 0 -- mod 0 --+-- out
//          +-- hp 0 --+-- lp 1 -- pre 1 -- mod 1 --+
//                     +-- hp 1 -- pre 2 -- mod 2 --+
//
// Nodes of band i and the filters of crossover i listen to element i of their parameters; the definition remaps the
// filters' own frequency to its multiband-freq-param. The names end in ".mod", ".pre", ".lp" and ".hp", the same for
// all bands. multiband-lp, -hp and -pre name children of the definition, best prototypes; -pre may be left out. The sum
// equals the input as far as the two filters complement each other; it adds no crossfade of its own. Without bands it
// passes. When the count changes, the bands below the change keep their nodes.
class CAudioProcessMB : public CAudioProcessBase
{
public:
    CError init() override;
    void reset() override;
    void update() override;
    void process() override;
    void disconnectAll() override;
    void visitRunning(const CVisitor& visit) const override;

protected:
    void describeOutputs() override;

private:
    using CNode = std::unique_ptr<CAudioProcessBase>;

    struct CBand
    {
        CNode lp; // the crossover below this band; null for the first
        CNode hp;
        CNode pre; // null without multiband-pre
        CNode mod;
    };

    CError findPart(const CAudioProcessDefBase*& part, const char* attribute, const CStringBuf& childName);
    CError makeNode(CNode& out, const CAudioProcessDefBase& nodeDefinition, const char* suffix, int nodeElement);
    CError makeBand(CBand& band, int index);
    void link();

    const CAudioProcessDefBase* preDefinition = nullptr;
    const CAudioProcessDefBase* lpDefinition = nullptr;
    const CAudioProcessDefBase* hpDefinition = nullptr;
    CAudioParamSlot* countSlot = nullptr;
    CAudioOutput start;
    CArray<CBand> bands;
    CArray<CAudioProcessBase*> runList;
    std::unique_ptr<CAudioInputs> end; // adds the bands up
};

}
