// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CPluginProject.h"

#include "Core/CObject.h"

#include <algorithm>

namespace kor
{

namespace
{

constexpr int mostChannels = 16;
constexpr double usualTail = 0.4;
constexpr double longestTail = 3600.0;

CError readCount(int& count, CObject& project, const char* attribute)
{
    const int value = project.getAttrInt(attribute);
    if (value <= 0 || value > mostChannels)
        return KOR_FAIL("Invalid '%1' attribute value.", attribute);
    count = value;
    return {};
}

CError checkVersion(const CStringBuf& version)
{
    CArray<CStringBuf> pieces;
    version.split(pieces, '.', false);
    bool ok = !pieces.empty();
    for (const CStringBuf& piece : pieces)
    {
        bool isNumber = false;
        ok = piece.toInt(isNumber) >= 0 && isNumber && ok;
    }
    if (!ok)
        return KOR_FAIL("Invalid version specification in string '%1'.", version);
    return {};
}

CError readGrouping(std::vector<int>& grouping, const CStringBuf& text, int groups)
{
    CArray<CStringBuf> pieces;
    text.split(pieces, ',', true);
    for (const CStringBuf& piece : pieces)
    {
        bool ok = false;
        const int group = piece.trimmed().toInt(ok);
        if (!ok || group < 0 || group >= groups)
            return KOR_FAIL("Invalid 'def-grouping' attribute value.");
        grouping.push_back(group);
    }
    return {};
}

}

CError CPluginProject::read(CObject& project)
{
    name = project.getAttrString("app-name");
    if (name.isEmpty())
        return KOR_FAIL("Plug-in name is empty.");
    vendor = project.getAttrString("app-vendor");
    if (vendor.isEmpty())
        return KOR_FAIL("Vendor name is empty.");
    KOR_TRY(readCount(channels, project, "plugin-intchannel-count"));
    KOR_TRY(readCount(groups, project, "plugin-group-count"));
    KOR_TRY(readGrouping(grouping, project.getAttrString("def-grouping"), groups));
    if (const CStringBuf code = project.getAttrString("plugin-code"); code.length() != 4)
        return KOR_FAIL("Invalid plug-in code in string '%1'.", code);
    version = project.getAttrString("app-version");
    KOR_TRY(checkVersion(version));
    bool isNumber = false;
    const double tail = project.getAttrString("plugin-tail").toDouble(isNumber);
    tailSeconds = isNumber && tail >= 0.0 && tail <= longestTail ? tail : usualTail;

    vendorUrl = project.getAttrString("app-vendor-url");
    vendorEmail = project.getAttrString("app-vendor-email");
    uuid = project.getAttrString("plugin-uuid");
    category = project.getAttrString("plugin-category-vst3");
    realtimeOversampling = std::clamp(project.getAttrInt("auto-oversampling-rtmode") - 1, 0, 3);
    windowWidth = project.getAttrInt("window-width");
    windowHeight = project.getAttrInt("window-height");
    minWindowWidth = project.getAttrInt("min-window-width");
    minWindowHeight = project.getAttrInt("min-window-height");
    isVizAlwaysActive = project.getAttrBool("is-viz-always-active");
    usesRouting = project.getAttrBool("use-routing");
    usesMidSide = project.getAttrBool("use-mid-side");
    usesSidechain = project.getAttrBool("use-sidechain");
    usesWindowResizing = project.getAttrBool("use-window-resizing");
    return {};
}

}
