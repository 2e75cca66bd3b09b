// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Core/CStringBuf.h"

namespace kor
{

// One step of the undo history: what the changes of one user action did to the parameters. Of every group that was
// touched it keeps the whole list before the first change and after the last, texts and bytes included, so that going
// back and forth needs nothing from the parameters, and a drag of a thousand moves takes the room of one. Belongs to
// one thread while it is open; closed, it never changes.
class CAudioParamUndoRecord : public CAudioParamUndoContext
{
public:
    /// mergeKey: -1 for none, which equals itself.
    CAudioParamUndoRecord(const CStringBuf& label, bool isMergeable, int mergeKey);

    /// A record that nobody closed is over now.
    ~CAudioParamUndoRecord() override { close(); }

    const CStringBuf& label() const noexcept { return title; }
    void setLabel(const CStringBuf& label) { title = label; }

    /// Changes of different extent, over all parameters. One extent counts once, however often it changed.
    int changeCount() const noexcept;

    /// Who changes the same values as the record in effect before him, as the next moves of one gesture do.
    bool mergesWith(const CAudioParamUndoRecord& earlier) const;

    /// Makes this record the way from before `earlier` to after this one, under the earlier label. They must merge.
    void prepend(const CAudioParamUndoRecord& earlier);

    /// Puts all lists back as they were before or are after the step, through the parameters' change operation.
    /// Parameters that do not exist are created; a list of another layout than its parameter has by now is left out.
    enum class CDirection
    {
        back,
        forward
    };
    void replay(CAudioParamCollector& collector, CDirection direction) const;

    /// True if the step restores a group (allGroups: any) of the parameter of this name.
    bool restores(const CStringBuf& fullName, int group) const;

    void recordOld(CAudioParam& param, const CAudioParamRequest& request) override;
    void recordNew(CAudioParam& param, const CAudioParamRequest& request) override;
    bool callWhenClosed(std::function<void()> call) override;

    /// The action is over: makes the calls that wait for it, behind the thread's scope of changes if one is open.
    void close();

private:
    /// The extent of a change within its group.
    struct CExtent
    {
        int firstElement;
        int elementCount;
        bool cut;

        friend bool operator==(const CExtent&, const CExtent&) = default;
    };
    /// A group's whole list.
    struct CList
    {
        CArray<double> values;
        CAudioParamData items;

        void take(const CAudioParamStorage& from, int group);
    };
    struct CGroup
    {
        int group;
        int elementSize;
        CAudioParamType type;
        bool isSingleGroup;
        bool isSingleElement;
        CArray<CExtent> extents;            // without repeats, in the order of their first change
        CList before;
        CList after;

        bool hasLayoutOf(const CAudioParamRequest& request) const noexcept;
    };
    using CGroups = CArray<CGroup>;         // in the order of their first change
    static CGroup* findGroup(CGroups& groups, int group, const CAudioParamRequest& request) noexcept;
    static bool isSameExtent(const CGroups& a, const CGroups& b) noexcept;
    static void put(CAudioParam& param, const CGroup& group, const CList& list, CAudioParamUndoContext& context);

    CStringBuf title;
    bool isMergeable;
    int mergeKey;
    CArray<std::function<void()>> closingCalls;
    CMap<CStringBuf, CGroups> params;       // by full name
};

}
