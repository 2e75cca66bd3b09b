// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Other/Interface/CExportSlotNameListener.h"
#include "Other/Interface/CParamInterfaceBase.h"

#include <functional>

namespace kor
{

class CAudioVizCollector;

// The interface of an instance (`audio:interface-base`): beside parameters it serves the display, and tells the clients
// what the host has agreed on: channels, groups, rate.
class CAudioInterfaceBase : public CParamInterfaceBase, private CExportSlotNameListener
{
public:
    static void initClass(CObjectClassInfo& info);
    CError init() override;
    void uninit() override;

    // What clients are told, those that are there at once and later ones when they ask. Equal values are told to
    // nobody. Any thread but the audio thread; no lock behind the message lock held.
    void setInternalChannelCount(int count);
    void setGroupCount(int count);
    void setIoChannelCounts(int inputs, int outputs, int sidechain);
    void setSampleRate(double hertz);

    // The display runs / stands still / shows rest. The same threads.
    void startViz();
    void stopViz();
    void clearClients();

    /// Names the parameters' channels after the host's labels; runs within the undo step of "import-channel-labels",
    /// which does nothing without one. Set before clients come.
    using CLabelImport = std::function<void(CAudioParamUndoContext& undo)>;
    void setLabelImport(CLabelImport import) { labelImport = std::move(import); }

    void clientStarted(int clientId) override;
    void clientGone(int clientId) override;

private:
    /// What a client listens to of the display.
    struct CVizListening
    {
        CStringBuf name;
        int source = -1;                            // -1: this instance, else an export slot
    };
    using CVizListenings = CMap<std::uint32_t, CVizListening>;

    CError onListenViz();
    CError onUnlistenViz();
    CError onRequestVizData();
    CError onRequestExportSlotNames();
    CError onRequestInternalChannelCount();
    CError onRequestGroupCount();
    CError onRequestIoChannelCounts();
    CError onRequestSampleRate();
    CError onImportChannelLabels();

    void onExportSlotNames() override;
    CError sendExportSlotNames(int clientId, CSending kind);
    CVizListenings::iterator endViz(CVizListenings::iterator listening);
    CError answerClient(void (CAudioInterfaceBase::*answer)(int, CSending));
    void sendInternalChannelCount(int clientId, CSending kind);
    void sendGroupCount(int clientId, CSending kind);
    void sendIoChannelCounts(int clientId, CSending kind);
    void sendSampleRate(int clientId, CSending kind);
    void sendPlain(const char* command, int clientId);

    CAudioVizCollector* viz = nullptr;              // null in a tree without
    CLabelImport labelImport;

    // Under the message lock.
    CVizListenings vizListenings;
    int internalChannels = 0;
    int groups = 0;
    int inputs = 0;
    int outputs = 0;
    int sidechains = 0;
    double sampleRate = 44100.0;
    std::uint32_t rateChanges = 0;
    bool isVizRunning = false;
};

}
