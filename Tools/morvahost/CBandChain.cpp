// SPDX-License-Identifier: GPL-3.0-or-later
#include "CBandChain.h"

#include "ParamText.h"

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterMagnitude.h"
#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CApplication.h"

#include <algorithm>
#include <cmath>

namespace kor
{

CError CBandChain::open(const CAudioInstance& instance, int group, double sampleRate)
{
    rate = sampleRate;
    groupNumber = group;
    KOR_TRY(CApplication::getSharedRoot()->findObjectChecked(generators, "audio.morvafilters"));
    for (const char* name : {"freq", "gain", "bw"})
        names.add(name);

    const auto find = [&](const char* key, CAudioParam*& param)
    {
        param = instance.findParam(key);
        return param != nullptr ? CError() : KOR_FAIL("there is no parameter '%1'", key);
    };
    CAudioParam* mode = nullptr;
    CAudioParam* frequency = nullptr;
    CAudioParam* gain = nullptr;
    CAudioParam* bandwidth = nullptr;
    KOR_TRY(find("modMorvaEQ.eq-params.mode", mode));
    KOR_TRY(find("modMorvaEQ.eq-params.freq", frequency));
    KOR_TRY(find("modMorvaEQ.eq-params.gain", gain));
    KOR_TRY(find("modMorvaEQ.eq-params.bw", bandwidth));

    for (int element = 0; element < instance.bandCount(group); ++element)
    {
        CBand band;
        band.mode = static_cast<int>(std::lround(mode->getValue(group, element)));
        if (band.mode == 0)
            continue;
        band.frequencyHz = frequency->getValue(group, element);
        band.gain = gain->getValue(group, element);
        band.bandwidthOctaves = bandwidth->getValue(group, element);
        band.drawn.element = element;
        band.drawn.type = shownValue(mode->info(), band.mode);
        band.drawn.frequencyHz = band.frequencyHz;
        band.drawn.bandwidthOctaves = band.bandwidthOctaves;
        band.drawn.gainDb = 20.0 * std::log10(band.gain);
        // Only what the type listens to is worth reading beside its curve.
        band.drawn.text = band.drawn.type + " \u00b7 " + shownValue(frequency->info(), band.frequencyHz);
        CBand changed = band;
        changed.gain = band.gain * 1.5;
        if (!isSameDesign(band, changed))
            band.drawn.text += " \u00b7 " + shownValue(gain->info(), band.gain);
        changed = band;
        changed.bandwidthOctaves = band.bandwidthOctaves * 1.5;
        if (!isSameDesign(band, changed))
            band.drawn.text += " \u00b7 " + shownValue(bandwidth->info(), band.bandwidthOctaves);
        bands.push_back(std::move(band));
    }
    return {};
}

CAudioFilterSpec CBandChain::design(const CBand& band) const
{
    CAudioFilterSpec spec;
    const double values[] = {band.frequencyHz, band.gain, band.bandwidthOctaves};
    if (const CAudioFilterGen* generator = generators->getItem(band.mode))
        generator->generate(spec, rate, {names, values}, nullptr);
    return spec;
}

bool CBandChain::isSameDesign(const CBand& a, const CBand& b) const
{
    const CAudioFilterSpec first = design(a);
    const CAudioFilterSpec second = design(b);
    return std::equal(first.stages().begin(), first.stages().end(), second.stages().begin(), second.stages().end(),
                      [](const CAudioFilterStage& left, const CAudioFilterStage& right)
                      { return left.numerator == right.numerator && left.denominator == right.denominator; });
}

std::vector<double> CBandChain::drawnFrequencies(double lowHz, double highHz, int points) const
{
    std::vector<double> list;
    for (int i = 0; i < points; ++i)
        list.push_back(lowHz * std::pow(highHz / lowHz, i / (points - 1.0)));
    list.back() = highHz;
    // A comb repeats its filter at whole multiples, a section for each.
    for (const CBand& band : bands)
        for (std::size_t multiple = 1; multiple <= design(band).stages().size(); ++multiple)
            for (int step = -16; step <= 16; ++step)
            {
                const double hz = static_cast<double>(multiple) * band.frequencyHz *
                                  std::exp2(band.bandwidthOctaves * step / 8.0);
                if (hz > lowHz && hz < highHz)
                    list.push_back(hz);
            }
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

CResponseCurve CBandChain::response(const std::vector<double>& frequenciesHz) const
{
    CResponseCurve curve;
    curve.sampleRate = rate;
    curve.group = groupNumber;
    curve.frequenciesHz = frequenciesHz;
    curve.db.assign(frequenciesHz.size(), 0.0);
    for (const CBand& band : bands)
    {
        const CAudioFilterSpec spec = design(band);
        CResponseBand drawn = band.drawn;
        for (std::size_t i = 0; i < frequenciesHz.size(); ++i)
        {
            drawn.db.push_back(filterMagnitudeDb(spec, frequenciesHz[i], rate));
            curve.db[i] += drawn.db[i];
        }
        drawn.markDb = band.frequencyHz <= 0.5 * rate ? filterMagnitudeDb(spec, band.frequencyHz, rate) : 0.0;
        curve.bands.push_back(std::move(drawn));
    }
    return curve;
}

}
