// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace kor
{

class CAudioProcessBase;

/// What feeds a port of a node.
struct CGraphSource
{
    int node = -1;                      // index among the nodes of the same container; -1: the container's own input
    double delay = 0.0;                 // alignment, in samples of the host's rate
};

struct CGraphPort
{
    int index = 0;
    std::vector<CGraphSource> sources;  // one or more
};

/// Whether a container runs copies of one definition.
enum class CGraphCopies
{
    none,
    perGroup,                           // one for each channel group
    perBand                             // in series, as many as the group has bands
};

/// A node of the running graph as it stands now, and what runs inside it.
struct CGraphNode
{
    std::string name;                   // the last step of its name, without "mod": "LevelerIn"
    std::string path;                   // its name in full
    std::string type;                   // "audio:modLeveler"
    int group = 0;                      // whose parameter values it reads
    int element = 0;
    int channelCount = 0;               // that it puts out
    std::vector<int> groups;            // of these channels, rising
    double addedLatency = 0.0;          // in samples of the host's rate
    double sampleRate = 0.0;            // that it puts out, in hertz
    std::vector<CGraphPort> ports;      // the connected ones
    std::vector<CGraphNode> nodes;      // in run order
    bool feedsOutput = false;           // the container's output takes what it puts out
    CGraphCopies copies = CGraphCopies::none;   // what its nodes are
    std::string label;                  // of a copy: "group 1", "band 0"; else empty

    /// Nodes without inner nodes: those that touch samples.
    int leafCount() const;

    /// Itself, or what runs inside it as long as that is one single node: a process switch runs one process, the copies
    /// for one group are one. A band is never passed over.
    const CGraphNode& innermost() const;
};

/// Looks at a graph that has been primed. hostRate: hertz.
CGraphNode viewOfGraph(CAudioProcessBase& root, double hostRate);

/// The nodes that run inside a container, in run order, on one line. In brackets what feeds a node with more than one
/// source, as "port: source"; in parentheses the latency that a node adds.
std::string nodeList(const CGraphNode& container);

/// Lines for all that runs inside, each container below the line that names it.
std::string graphAsText(const CGraphNode& root);

std::string graphAsJson(const CGraphNode& root, int indent);

/// A Graphviz picture. title: what stands above it.
std::string graphAsDot(const CGraphNode& root, const std::string& title);

}
