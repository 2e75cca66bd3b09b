// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace kor
{

/// A parameter of every instance that has one value for all, which the global store keeps as the setting `key`.
struct CSharedSetting
{
    const char* param;                          // name below the main process
    const char* key;
};

inline constexpr CSharedSetting sharedSettings[] = {{"lp-oversampling-enable", "lp-oversampling-enable"},
                                                    {"meter-rmstime", "integration-time"},
                                                    {"meter-releasetime", "release-time"},
                                                    {"meter-peaktime", "peak-level-hold-time"},
                                                    {"denorm-enable", "denorm-enable"}};

}
