// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <functional>

namespace kor
{

class CAudioProcessDef;
class CAudioProcessDefBase;
class CAudioProcessLinkDef;

// The plan of a container: which node takes its input from where, and in which order they run, for a given set of
// bypass states. Knows definitions only; the running nodes follow it. Junctions exist in the plan alone: whoever would
// take its input from one takes the junction's own inputs.
class CAudioProcessWiring
{
public:
    /// As a source: the container's input.
    static constexpr int containerInput = -1;

    struct CInput
    {
        int source; // entry index or containerInput
        int sourcePort;
        int port; // of the target

        friend bool operator==(const CInput&, const CInput&) = default;
    };

    struct CEntry
    {
        CStringBuf name; // full
        const CAudioProcessDefBase* definition = nullptr;
        bool isJunction = false;
        bool isAbsent = false; // could not be made or is part of a ring; until the next rebuild
        CArray<CInput> inputs;

        /// Junctions never live; everything else lives while it has an input.
        bool isLive() const noexcept { return !isJunction && !isAbsent && !inputs.empty(); }
    };

    /// One entry per child that is no prototype. "Duplicate audio process name '%1'."
    CError init(const CAudioProcessDef& definition, const CStringBuf& containerName);

    /// Makes the plan anew. isBypassed says whether a bypass state is true; lingers, whether a node stays in the chain
    /// although its own is. "process seq err" when links form a ring; the plan then holds what can run without it.
    using CStateTest = std::function<bool(int bypassStateId)>;
    using CEntryTest = std::function<bool(std::size_t entry)>;
    CError rebuild(const CStateTest& isBypassed, const CEntryTest& lingers);

    /// Takes an entry that could not be made out of the plan, and whatever hung on it alone.
    void dropEntry(std::size_t index);

    CArray<CEntry>& entries() noexcept { return list; }
    const CArray<CEntry>& entries() const noexcept { return list; }

    /// What feeds the container's output; `port` is the output's number.
    const CArray<CInput>& outputInputs() const noexcept { return end; }

    /// Live entries, sources before their consumers; among those that are ready, in the order of definition.
    const CArray<std::size_t>& runOrder() const noexcept { return order; }

    /// Ports that links name on the container itself: number of inputs, number of outputs. At least 1 each.
    int inputPortCount() const noexcept { return inputPorts; }
    int outputPortCount() const noexcept { return outputPorts; }

private:
    struct CLink
    {
        const CAudioProcessLinkDef* definition;
        int source; // entry, containerInput, or missing
        int target; // entry, containerOutput, or missing
    };

    struct CVisit
    {
        int junction;
        int port;
        bool isOpen; // what lies behind it is still being followed
    };

    static constexpr int missing = -2;
    static constexpr int containerOutput = -3;

    CArray<CInput>& inputsOf(int target);
    void addInput(int target, const CInput& input);
    void addFrom(int source, int sourcePort, int target, int port);
    void addPast(int source, int sourcePort, int target, int port, CArray<CVisit>& visited);
    void findChain(const CStateTest& isBypassed, const CEntryTest& lingers);
    void addChain(bool toJunctions);
    void addLinks(const CStateTest& isBypassed, bool toJunctions);
    void dropDeadSources();
    bool sort();

    CArray<CEntry> list;
    CArray<CLink> links;
    CArray<std::size_t> chain; // the entries that are linked by their order
    CArray<CInput> end;
    CArray<std::size_t> order;
    CStringBuf context;
    bool isAutoLinks = false;
    bool hasJunctionRing = false;
    int inputPorts = 1;
    int outputPorts = 1;

    const CStringBuf& errorContext() const noexcept { return context; }
};

}
