// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParamDef.h"
#include "Audio/Parameters/ParameterCreators.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/Interface/CAudioVizCollector.h"
#include "Support/CRealtimeGuard.h"
#include "Support/CTestTree.h"

#include <memory>
#include <string>
#include <vector>

namespace kor::test
{

inline const CStringBuf spectrumName = "plugin.modMain.modSpectrum";
inline const CStringBuf meterName = "plugin.modMain.modMeterOut";

// A shared tree with the parameter definitions that a collector of visualisation data knows of.
class CVizTree
{
public:
    CVizTree();
    CTestTree& operator*() { return *tree; }
    CObject& root() { return tree->root(); }
    CAudioParamDef& def(const char* name);

private:
    std::unique_ptr<CTestTree> tree;
};

// What a stream of data held.
struct CVizContent
{
    struct CItem
    {
        std::string name;
        CAudioVizDataPtr data;
    };
    double time = 0.0;
    std::vector<CItem> items;

    double value(std::size_t i) const;              // of a meter, or of a spectrum's first bin
};

// The audio side of one instance as far as visualisation goes: eight groups, names and export slots.
class CVizInstance
{
public:
    explicit CVizInstance(CVizTree& tree, const char* name);
    ~CVizInstance();

    /// Lets audio time pass, then starts a block.
    void run(double seconds = 0.0);
    void set(const char* param, int group, int element, double value);
    void postMeter(double value, int group = 0, const CStringBuf& slot = meterName);
    void postSpectrum(double value, int group = 0, int valueCount = 129, const CStringBuf& slot = spectrumName);
    /// Whether a node that is made now takes a slot's module in, -1 for a slot without a parameter for it.
    double enabled(const CStringBuf& slot);

    /// What the interface would get.
    CVizContent fetch();
    std::string exportNames();

    CAudioEnv* env = nullptr;
    CAudioParamCollector* params = nullptr;
    CAudioVizCollector* viz = nullptr;

private:
    CObject* parent = nullptr;
};

/// Reads a whole stream; a failure fails the test.
CVizContent readVizStream(const CByteArray& bytes);

}
