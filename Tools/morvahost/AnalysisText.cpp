// SPDX-License-Identifier: GPL-3.0-or-later
#include "CAnalysis.h"
#include "JsonText.h"

#include <cmath>

namespace kor
{

namespace
{

// Four decimals: a hundred times finer than anybody hears, at half the length.
std::string decibels(double magnitude)
{
    return magnitude > 0.0 ? jsonNumber(std::round(20.0 * std::log10(magnitude) * 1e4) / 1e4) : "null";
}

std::string plain(double value)
{
    return jsonNumber(value);
}

template <class Text>
std::string list(const std::vector<double>& values, Text&& text)
{
    std::string out = "[";
    for (std::size_t i = 0; i < values.size(); ++i)
        out += (i == 0 ? "" : ",") + text(values[i]);
    return out + "]";
}

/// keyName: what the element of a meter is called; null for meters of channels.
std::string metersText(const CAnalysis::CMeters& meters, const char* elementName)
{
    std::string out = "[";
    const char* separator = "\n    ";
    for (const auto& [key, history] : meters)
    {
        out += separator;
        separator = ",\n    ";
        if (elementName != nullptr)
            out += "{\"" + std::string(elementName) + "\": " + std::to_string(key.element) + ", \"channel\": ";
        else
            out += "{\"channel\": ";
        out += std::to_string(key.channel) + ", \"seconds\": " + list(history.times, plain) + ",\n     \"level\": " +
               list(history.levels, decibels) + ",\n     \"peak\": " + list(history.peaks, decibels) + "}";
    }
    return out + "]";
}

}

std::string analysisAsJson(const CAnalysis& analysis)
{
    std::string out = "{\n  \"rate\": " + jsonNumber(analysis.sampleRate) + ",\n  \"seconds\": " +
                      jsonNumber(analysis.seconds) + ",\n  \"group\": " + std::to_string(analysis.group) +
                      ",\n  \"slope\": " + jsonNumber(analysis.slope) + ",\n  \"spectra\": [";
    const char* separator = "\n    ";
    for (const CSpectrumFrame& frame : analysis.spectra())
    {
        out += separator;
        separator = ",\n    ";
        out += "{\"seconds\": " + jsonNumber(frame.time) + ", \"channel\": " + std::to_string(frame.channel) +
               ", \"second\": " + (frame.isSecond ? "true" : "false") + ", \"type\": " +
               jsonText(spectrumTypeName(frame.type)) + ", \"average\": " + jsonNumber(frame.averageTime) +
               ",\n     \"block\": " + std::to_string(frame.blockSize) + ", \"step\": " +
               jsonNumber(frame.rate / frame.blockSize) + ", \"db\": " + list(frame.magnitudes, decibels) + "}";
    }
    return out + "],\n  \"output\": " + metersText(analysis.outputs(), nullptr) + ",\n  \"change\": " +
           metersText(analysis.changes(), nullptr) + ",\n  \"bands\": " + metersText(analysis.bands(), "band") + "\n}\n";
}

}
