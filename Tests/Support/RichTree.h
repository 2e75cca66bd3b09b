// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Support/CTreeBytes.h"

namespace kor::test
{

/// Every feature of the format of compiled trees in few bytes.
inline CTreeNode richTree()
{
    CTreeNode root;
    root.attrs = {{"a", "1"}, {"e", ""}};
    root.children = {
        {"core:object", "x", {{"v", "{a}{/^ a}"}, {"l", "{*y w}"}}, {{"core:object", "x"}, {"core:object", "x"}}},
        {"template", "small", {{"t", "1"}}, {}, "core:object"},
        {"template", "big", {{"t1", "1"}, {"t2", "2"}, {"t3", "3"}, {"t4", "{full-name}"}},
         {{"core:object", "kid", {{"k", "{?d}"}, {"j", "{*kid k}"}}},
          {"template", "nested", {{"n", "1"}}, {{"core:object", "leaf"}}, "core:object"}}, "core:object"},
        {"core:object", "y", {{"w", "false"}, {"u", "\xC3\xA9\xE2\x82\xAC"}}},
        {"core:shortcut", "s", {}, {{"core:object", "to", {{"target", "x.x#"}}}}},
    };
    return root;
}

}
