// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CCreatorTable.h"
#include "Core/CError.h"
#include "Core/CResourceTable.h"

#include <span>

namespace kor
{

class CObject;

/// What a program hands to the framework at its start: its object types and its embedded resources.
struct CApplicationSetup
{
    std::span<const CCreatorRow> creators;
    const CResourceEntry* resources;                // ended by a null block; may be null
    const char* sharedTree = "SharedData.xml";      // resource name of the shared tree; "" for an empty one
};

// Start and end of the process-wide part: creator table, resource table, shared tree. A marker without state of its
// own. It starts once, under a process lock, and nothing restarts.
class CApplication
{
public:
    /// Starts the process-wide part. A second call does nothing and succeeds; after finishApplication it finds all in
    /// place. A shared tree that does not load is reported, and the start still succeeds: roots then fail with "No
    /// shared object created." Failures go to the standard error stream and the log. Any thread.
    static CError initApplication(const CApplicationSetup& setup);

    /// Ends it: writes "Finalizing application..." and drops the marker. The shared tree goes at process exit.
    static void finishApplication();

    /// True between a successful start and the end.
    static bool exists() noexcept;

    /// "Shared object already exists." on a second call. A tree loaded from a resource is frozen once complete; with
    /// an empty name an empty root is made, which its maker may fill and freeze. On failure there is no shared tree.
    static CError initSharedObject(const CStringBuf& resourceName);

    /// A new root with its own notify server; "No shared object created." without a shared tree. The caller ends it
    /// with destroyRootObject.
    static CError initRootObject(CObject*& root, const CStringBuf& resourceName);
    static void destroyRootObject(CObject* root);

    /// Null before the start and while the process ends.
    static CObject* getSharedRoot() noexcept;

    /// Scale of windows, from the user's setting at the start; 1.0 by default.
    static double uiScale() noexcept;

    /// For tests, which build several trees in one process: destroys the shared tree, so that another can be loaded.
    /// No other tree may be there.
    static void destroySharedObjectForTests();
};

}
