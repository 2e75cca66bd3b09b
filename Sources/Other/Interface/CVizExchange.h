// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CObject.h"
#include "Other/Interface/CAudioInterfaceVizProcessor.h"
#include "Other/Interface/CAudioVizData.h"

#include <cstdint>
#include <utility>

namespace kor
{

class CAudioVizClient;
class CVizListener;

// The window's end of the visualisation (`ui:viz-exchange`): asks for data at its frame rate and hands each object to the
// controls that wait for its slot, at the time that it belongs to, since data may come ahead of the sound. The window's
// thread.
class CVizExchange : public CObject, public CAudioInterfaceVizProcessor
{
public:
    static void initClass(CObjectClassInfo& info);
    CError init() override;
    CError initChilds() override;
    void uninit() override;

    /// source: -1 for this instance, else an export slot's index. groupFilter, channelFilter: -1 for all; data of an export
    /// slot passes any group, data of no channel any channel. A listener has one place for a name: a second call replaces
    /// it. It begins inactive.
    CError addListener(CVizListener& listener, const CStringBuf& name, int source, int groupFilter, int channelFilter);
    CError removeListener(CVizListener& listener, const CStringBuf& name);

    /// Text of each export slot in use, by its index. The event "export-slot-names-changed" tells of new ones.
    const CMap<int, CStringBuf>& exportNames() const noexcept { return names; }

    /// One frame: counts how long nothing came, and asks for more.
    CError onTick();

    void start() override { isRunning = true; }
    void stop() override { isRunning = false; }
    void clear() override;
    CError processVizData(CInputStream& stream) override;
    CError processExportSlotNames(CInputStream& stream) override;
    double getVizFps() const override { return vizFps; }

    /// Objects that wait for their time at most; beyond, the earliest go.
    static constexpr int maxQueued = 4096;

private:
    struct CRecord
    {
        std::uint32_t id = 0;
        int source = -1;
        int groupFilter = -1;
        int channelFilter = -1;
        int idleFrames = 0;
        bool isInactive = true;

        bool wants(const CAudioVizData& data) const noexcept;
    };
    using CListeners = CMap<CVizListener*, CRecord>;

    CRecord* findRecord(const CStringBuf& name, CVizListener* listener);
    template <class Call>
    void forEachRecord(Call&& call);
    void deliver(const CStringBuf& name, const CAudioVizData& data);
    void deliverDue(double time);
    void enqueue(const CStringBuf& name, CAudioVizDataPtr data);

    CAudioVizClient* client = nullptr;
    double vizFps = 30.0;
    int inactiveFrames = 18;
    bool isRunning = false;
    CMap<CStringBuf, CListeners> listeners;
    CMap<double, CArray<std::pair<CStringBuf, CAudioVizDataPtr>>> queue;
    int queuedCount = 0;
    CMap<int, CStringBuf> names;
};

}
