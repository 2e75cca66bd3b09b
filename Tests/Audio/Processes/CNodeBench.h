// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ProcessTestKit.h"
#include "Support/GraphNodes.h"

namespace kor::test
{

/// A definition with an `audio:param` and a slot for each name and list of defaults, single-group, all elements.
CTreeNode routingNode(const char* tag, const char* name, CAttrs attrs, CAttrs params);
CTreeNode routerNode(const char* name, bool isOutput, const char* routing, const char* grouping = "0");
CTreeNode coderNode(const char* name, const char* pairs, int mode);

/// y = gain x + y' / 2, with a parameter `gain` of its own per group and element ("test:echo").
CTreeNode echoNode(const char* name, const char* gains, CAttrs attrs = {});

/// What test:echo makes of a signal, from rest.
CSignal plainEcho(const CSignal& in, double gain);

// A running graph of one test: the container `main`, chained in document order unless the attributes say otherwise.
class CNodeBench : public CRunningGraph
{
public:
    explicit CNodeBench(std::vector<CTreeNode> nodes, CAttrs attrs = {{"is-auto-links", "true"}});
};

}
