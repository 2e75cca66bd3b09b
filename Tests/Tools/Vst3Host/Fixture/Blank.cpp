// SPDX-License-Identifier: GPL-3.0-or-later
// A library in a bundle that is no plug-in.
extern "C" __attribute__((visibility("default"))) int blank()
{
    return 0;
}
