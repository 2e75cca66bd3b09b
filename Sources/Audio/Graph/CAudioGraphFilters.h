// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"
#include "Core/CStringBuf.h"

#include <memory>

namespace kor
{

class CAudioGraphContext;
class CAudioParam;
class CAudioParamFilter;
class CAudioProcessDefBase;

// The running parameter filters of a graph. They belong to the whole definition tree, not to its nodes: a bypass state
// has to follow its sources while the node that it keeps out does not exist. Off the audio thread.
class CAudioGraphFilters
{
public:
    CAudioGraphFilters();
    ~CAudioGraphFilters();

    /// Makes and starts the filters of a definition and of everything below it as if its node had this full name.
    /// After enterDefinitions, so that names mean what they mean for the nodes. On failure none of them runs.
    CError make(const CAudioProcessDefBase& definition, const CStringBuf& nodeName, CAudioGraphContext& context);

private:
    using CFilters = CArray<std::unique_ptr<CAudioParamFilter>>;
    static CError collect(CFilters& made, const CAudioProcessDefBase& definition, const CStringBuf& nodeName,
                          CAudioGraphContext& context);
    static CError checkForRings(const CFilters& all);

    CFilters filters;
};

}
