// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioEnv.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Core/CObject.h"

#include <functional>

namespace kor
{

class CAudioParamDef;

// The owner of all parameters of an instance (`audio:param-collector`). Knows them by full dotted name and carries
// changes from whichever thread made them to the audio thread, which takes them by flush between slices.
class CAudioParamCollector : public CObject
{
public:
    CAudioParamCollector();
    ~CAudioParamCollector() override;
    static void initClass(CObjectClassInfo& info);

    /// The environment whose lock and processing flag rule the pending list; set before the first change.
    void setEnvironment(CAudioEnv& environment);
    CAudioEnv* environment() const noexcept;

    /// Groups of every parameter that is not single-group; 1 to 16. Set before parameters exist.
    void setGroupCount(int count);
    int groupCount() const noexcept;

    /// The parameter of a name, null when there is none yet. Any thread.
    CAudioParam* findParam(const CStringBuf& fullName) const;

    /// Creates or finds a parameter by name without giving it an info.
    CAudioParam& getParam(const CStringBuf& fullName);

    /// Creates or finds a parameter and gives it the info of a definition if its own is still empty or identical. A
    /// parameter that is not global is keyed by name and definition, so that two definitions under one name never
    /// share it.
    CAudioParam& defineParam(const CStringBuf& fullName, const CAudioParamDef& definition);

    /// All parameters in the order of their creation.
    void forEachParam(const std::function<void(CAudioParam&)>& visit) const;

    /// Takes all pending changes and puts them on the queues of the listeners they match. Audio thread, at the start
    /// of a slice; allocates nothing in the steady state. True when anything was delivered.
    bool flush();

private:
    friend class CAudioParam;
    friend class CAudioParamListener;
    struct CImplementation;
    std::unique_ptr<CImplementation> impl;
};

}
