// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <public.sdk/source/vst/vstparameters.h>

#include <atomic>

namespace kor
{

// A parameter as the host sees it, with a value that any thread may store and read; the value that the SDK's class
// keeps for one thread alone stays unused.
class CSharedParameter : public Steinberg::Vst::Parameter
{
public:
    CSharedParameter(const Steinberg::Vst::ParameterInfo& description, Steinberg::Vst::ParamValue start);

    /// What the host's display is to show, 0 to 1. Any thread.
    virtual Steinberg::Vst::ParamValue present() const noexcept { return shown.load(std::memory_order_relaxed); }

    /// Takes a value that the host is told on another way, or made itself. Any thread.
    void store(Steinberg::Vst::ParamValue newValue) noexcept { shown.store(newValue, std::memory_order_relaxed); }

    /// The host's own write: stores it and runs changed(), equal or not. Clamped; false for NaN.
    bool setNormalized(Steinberg::Vst::ParamValue newValue) override;

private:
    std::atomic<Steinberg::Vst::ParamValue> shown;
};

/// A value from a host, brought within 0 to 1; NaN gives 0.
Steinberg::Vst::ParamValue clampNormalized(Steinberg::Vst::ParamValue value) noexcept;

}
