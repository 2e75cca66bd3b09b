// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Vst3Host/CHostObject.h"
#include "Vst3Host/CHostRunLoop.h"

#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstunits.h"

#include <mutex>
#include <vector>

namespace kor
{

/// What a plug-in's own side (its window, a preset of its own) did to a parameter.
struct CHostEdit
{
    enum class Kind
    {
        begin,
        perform,
        end
    };

    Kind kind = Kind::perform;
    Steinberg::Vst::ParamID id = 0;
    double value = 0.0;                 // normalised; of `perform` only

    friend bool operator==(const CHostEdit&, const CHostEdit&) = default;
};

// The host's ear for one plug-in: records its edits and its wishes to be looked at anew. The plug-in may call from any
// thread; the host takes what came from its own.
class CComponentHandler : public CHostObject<Steinberg::Vst::IComponentHandler, Steinberg::Vst::IComponentHandler2,
                                             Steinberg::Vst::IUnitHandler>
{
public:
    /// The loop is offered to the plug-in too, as hosts do; it must outlive the handler.
    explicit CComponentHandler(CHostRunLoop& runLoop) : loop(runLoop) {}

    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID wanted, void** object) override;

    Steinberg::tresult PLUGIN_API beginEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API performEdit(Steinberg::Vst::ParamID id, Steinberg::Vst::ParamValue value) override;
    Steinberg::tresult PLUGIN_API endEdit(Steinberg::Vst::ParamID id) override;
    Steinberg::tresult PLUGIN_API restartComponent(Steinberg::int32 flags) override;

    Steinberg::tresult PLUGIN_API setDirty(Steinberg::TBool state) override;
    Steinberg::tresult PLUGIN_API requestOpenEditor(Steinberg::FIDString name) override;
    Steinberg::tresult PLUGIN_API startGroupEdit() override { return Steinberg::kResultOk; }
    Steinberg::tresult PLUGIN_API finishGroupEdit() override { return Steinberg::kResultOk; }

    Steinberg::tresult PLUGIN_API notifyUnitSelection(Steinberg::Vst::UnitID unit) override;
    Steinberg::tresult PLUGIN_API notifyProgramListChange(Steinberg::Vst::ProgramListID list,
                                                          Steinberg::int32 program) override;

    /// The edits since the last call, in order.
    std::vector<CHostEdit> takeEdits();

    /// Flags of restartComponent since the last call, joined.
    int takeRestarts();

    /// Whether programs or their names changed since the last call.
    bool takeProgramListChange();

private:
    void record(const CHostEdit& edit);

    CHostRunLoop& loop;
    std::mutex lock;                    // all below
    std::vector<CHostEdit> edits;
    int restarts = 0;
    bool isProgramListChanged = false;
};

}
