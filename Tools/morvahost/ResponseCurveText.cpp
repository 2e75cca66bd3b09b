// SPDX-License-Identifier: GPL-3.0-or-later
#include "CResponseCurve.h"

#include "JsonText.h"

namespace kor
{

namespace
{

std::string jsonList(const std::vector<double>& values)
{
    std::string list = "[";
    for (std::size_t i = 0; i < values.size(); ++i)
        list += (i == 0 ? "" : ", ") + jsonNumber(values[i]);
    return list + "]";
}

}

std::string curveAsJson(const CResponseCurve& curve)
{
    std::string text = "{\n  \"rate\": " + numberText(curve.sampleRate) + ",\n  \"group\": " + std::to_string(curve.group) +
                       ",\n  \"freq\": " + jsonList(curve.frequenciesHz) + ",\n  \"db\": " + jsonList(curve.db) +
                       ",\n  \"bands\": [";
    for (std::size_t i = 0; i < curve.bands.size(); ++i)
    {
        const CResponseBand& band = curve.bands[i];
        text += (i == 0 ? "\n" : ",\n");
        text += "    {\"element\": " + std::to_string(band.element) + ", \"mode\": " + jsonText(band.type) +
                ", \"freq\": " + jsonNumber(band.frequencyHz) + ", \"bw\": " + jsonNumber(band.bandwidthOctaves) +
                ", \"gain\": " + jsonNumber(band.gainDb) + ",\n     \"db\": " + jsonList(band.db) + "}";
    }
    return text + (curve.bands.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

std::string curveAsCsv(const CResponseCurve& curve)
{
    std::string text = "freq,db";
    for (const CResponseBand& band : curve.bands)
        text += ",band" + std::to_string(band.element);
    text += '\n';
    for (std::size_t i = 0; i < curve.frequenciesHz.size(); ++i)
    {
        text += numberText(curve.frequenciesHz[i]) + ',' + numberText(curve.db[i]);
        for (const CResponseBand& band : curve.bands)
            text += ',' + numberText(band.db[i]);
        text += '\n';
    }
    return text;
}

}
