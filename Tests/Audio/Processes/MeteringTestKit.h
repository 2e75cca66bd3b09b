// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Processes/CMeterBallistics.h"
#include "Audio/Processes/CSpectrumAnalyser.h"
#include "Support/ReferenceCases.h"
#include "Support/Signals.h"

namespace kor::test
{

// The reference cases of meters and spectra, for the bare classes and for the nodes around them.

struct CMeterCase
{
    CMeterKind kind;
    CMeterSettings settings;
    double rateHz;
    double framesPerSecond;
    CSignal input;
    CSignal input2; // empty without
};
CMeterCase meterCase(const nlohmann::json& testCase);

struct CMeterPost
{
    double time, value, peak;
};
void expectPosts(const nlohmann::json& testCase, const std::vector<CMeterPost>& got, const nlohmann::json& want);

struct CSpectrumCase
{
    CSpectrumSettings settings;
    double rateHz;
    double framesPerSecond;
    CSignal input;
};
CSpectrumCase spectrumCase(const nlohmann::json& testCase);

struct CSpectrumPost
{
    double time;
    int type;
    double averageTime;
    CSignal values;
};
void expectPosts(const nlohmann::json& testCase, const std::vector<CSpectrumPost>& first,
                 const std::vector<CSpectrumPost>& second);

}
