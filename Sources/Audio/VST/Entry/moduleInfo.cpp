// SPDX-License-Identifier: GPL-3.0-or-later

// morva-moduleinfo FILE: writes what the plug-in's factory tells as a bundle's moduleinfo.json, for hosts that list
// plug-ins without loading them.

#include "Audio/VST/CPluginModule.h"

#include <MorvaResources.h>
#include <pluginterfaces/base/ipluginbase.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

using namespace Steinberg;

namespace
{

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::string hexadecimal(const TUID id)
{
    char digits[33];
    FUID::fromTUID(id).toString(digits);
    return digits;
}

/// "Fx|EQ" as a list.
std::string list(std::string_view pieces)
{
    std::string result = "[";
    for (std::size_t end = 0; !pieces.empty(); pieces.remove_prefix(end))
    {
        end = std::min(pieces.find('|'), pieces.size());
        result += (result.size() > 1 ? ", " : "") + quoted(pieces.substr(0, end));
        end = std::min(end + 1, pieces.size());
    }
    return result + "]";
}

const char* truth(bool value)
{
    return value ? "true" : "false";
}

std::string describe(IPluginFactory3& factory)
{
    PFactoryInfo maker;
    PClassInfo2 effect;
    factory.getFactoryInfo(&maker);
    std::string classes;
    for (int32 i = 0; i < factory.countClasses(); ++i)
    {
        factory.getClassInfo2(i, &effect);
        classes += std::string(i > 0 ? ",\n" : "") + "    {\n      \"CID\": " + quoted(hexadecimal(effect.cid)) +
                   ",\n      \"Category\": " + quoted(effect.category) + ",\n      \"Name\": " + quoted(effect.name) +
                   ",\n      \"Vendor\": " + quoted(effect.vendor) + ",\n      \"Version\": " + quoted(effect.version) +
                   ",\n      \"SDKVersion\": " + quoted(effect.sdkVersion) +
                   ",\n      \"Sub Categories\": " + list(effect.subCategories) +
                   ",\n      \"Class Flags\": " + std::to_string(effect.classFlags) +
                   ",\n      \"Cardinality\": " + std::to_string(effect.cardinality) +
                   ",\n      \"Snapshots\": []\n    }";
    }
    return "{\n  \"Name\": " + quoted(effect.name) + ",\n  \"Version\": " + quoted(effect.version) +
           ",\n  \"Factory Info\": {\n    \"Vendor\": " + quoted(maker.vendor) +
           ",\n    \"URL\": " + quoted(maker.url) + ",\n    \"E-Mail\": " + quoted(maker.email) +
           ",\n    \"Flags\": {\n      \"Unicode\": " + truth((maker.flags & PFactoryInfo::kUnicode) != 0) +
           ",\n      \"Classes Discardable\": " + truth((maker.flags & PFactoryInfo::kClassesDiscardable) != 0) +
           ",\n      \"Component Non Discardable\": " +
           truth((maker.flags & PFactoryInfo::kComponentNonDiscardable) != 0) + "\n    }\n  },\n  \"Classes\": [\n" +
           classes + "\n  ]\n}\n";
}

}

int main(int count, char** arguments)
{
    if (count != 2)
    {
        std::fputs("usage: morva-moduleinfo FILE\n", stderr);
        return 2;
    }
    IPluginFactory* const factory = kor::CPluginModule::getFactory(morvaResources);
    FUnknownPtr<IPluginFactory3> told(factory);
    if (!told)
    {
        std::fputs("morva-moduleinfo: the plug-in has no factory\n", stderr);
        return 1;
    }
    std::ofstream file(arguments[1], std::ios::binary);
    file << describe(*told);
    file.close();
    if (!file)
    {
        std::fprintf(stderr, "morva-moduleinfo: cannot write '%s'\n", arguments[1]);
        return 1;
    }
    return 0;
}
