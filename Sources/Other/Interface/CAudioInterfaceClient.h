// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CAudioVizClient.h"
#include "Other/Interface/CGroupNamesParamListener.h"
#include "Other/Interface/CParamInterfaceClient.h"

namespace kor
{

// A window's end of the interface to an instance (`audio:interface-client`): beside parameters it carries what the
// display shows, and keeps what the host has agreed on with the instance. The attribute `group-names-param` names the
// parameter that names the channel groups; it may be left out.
class CAudioInterfaceClient : public CParamInterfaceClient, public CAudioVizClient
{
public:
    static void initClass(CObjectClassInfo& info);
    CError init() override;

    // As last told; 0 before. Events: "channel-counts-changed" for the first three, "sample-rate-changed".
    int internalChannelCount() const noexcept { return internalChannels; }
    int groupCount() const noexcept { return groups; }
    int inputCount() const noexcept { return inputs; }
    int outputCount() const noexcept { return outputs; }
    int sidechainCount() const noexcept { return sidechains; }
    double sampleRate() const noexcept { return rate; }

    /// Rises with each rate that the instance has told to all.
    std::uint32_t sampleRateChanges() const noexcept { return rateChanges; }

    /// Empty for a group without. Event: "group-names-changed".
    const CStringBuf& groupName(int group) const noexcept { return groupNames.values().getText(0, group); }

    /// The names of the host's channels become those of the instance's, as a step of undo.
    CError importChannelLabels();

    CError listenViz(std::uint32_t& listenerId, const CStringBuf& name, std::int32_t source) override;
    CError unlistenViz(std::uint32_t listenerId) override;
    CError requestVizData() override;
    CError requestExportSlotNames() override;
    void setVizProcessor(CAudioInterfaceVizProcessor* next) override { processor = next; }

    CError askForEverything() override;

protected:
    bool isIdInUse(std::uint32_t anyId) const override;

private:
    struct CVizEntry
    {
        CStringBuf name;
        std::int32_t source;
    };

    CError onStartViz();
    CError onStopViz();
    CError onClearClient();
    CError onVizData();
    CError onExportSlotNames();
    CError onUpdateInternalChannelCount();
    CError onUpdateGroupCount();
    CError onUpdateIoChannelCounts();
    CError onUpdateSampleRate();
    CError askForCounts();
    CError sendListenViz(std::uint32_t listenerId, const CVizEntry& entry);

    CAudioInterfaceVizProcessor* processor = nullptr;
    CMap<std::uint32_t, CVizEntry> vizEntries;
    CGroupNamesParamListener groupNames{*this};
    int internalChannels = 0;
    int groups = 0;
    int inputs = 0;
    int outputs = 0;
    int sidechains = 0;
    double rate = 0.0;
    std::uint32_t rateChanges = 0;
};

}
