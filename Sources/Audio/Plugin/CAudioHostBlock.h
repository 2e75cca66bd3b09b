// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

enum class CAudioSampleFormat
{
    float32,
    float64
};

/// Channels that a host has on its side.
struct CAudioHostChannels
{
    int inputs = 2;
    int outputs = 2;
    int sidechain = 0;

    friend bool operator==(const CAudioHostChannels&, const CAudioHostChannels&) = default;
};

/// One block of a host: `frames` samples (0 or more) of each channel. `inputs` has the main channels and then those of
/// the side chain; a null pointer in it is silence, one in `outputs` nowhere. The two may share memory.
struct CAudioHostBlock
{
    const void* const* inputs = nullptr;
    void* const* outputs = nullptr;
    int inputCount = 0;                         // the side chain's included
    int sidechainCount = 0;
    int outputCount = 0;
    int frames = 0;
    CAudioSampleFormat format = CAudioSampleFormat::float32;
};

}
