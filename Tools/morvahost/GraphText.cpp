// SPDX-License-Identifier: GPL-3.0-or-later
#include "CGraphView.h"

#include "JsonText.h"

namespace kor
{

namespace
{

std::string sourceText(const CGraphNode& container, const CGraphSource& source)
{
    std::string text = source.node < 0 ? "input" : container.nodes[static_cast<std::size_t>(source.node)].name;
    if (source.delay > 0.0)
        text += " delayed " + numberText(source.delay);
    return text;
}

std::string nodeText(const CGraphNode& container, const CGraphNode& node)
{
    std::string text = node.name;
    if (node.addedLatency != 0.0)
        text += " (" + std::string(node.addedLatency > 0.0 ? "+" : "") + numberText(node.addedLatency) + ")";
    if (node.ports.size() < 2 && (node.ports.empty() || node.ports[0].sources.size() < 2))
        return text;
    const char* separator = " [";
    for (const CGraphPort& port : node.ports)
    {
        text += separator + std::to_string(port.index) + ": ";
        separator = ", ";
        for (std::size_t i = 0; i < port.sources.size(); ++i)
            text += (i == 0 ? "" : " + ") + sourceText(container, port.sources[i]);
    }
    return text + "]";
}

std::string indented(int depth, const std::string& text)
{
    return std::string(static_cast<std::size_t>(depth) * 2, ' ') + text + '\n';
}

std::string innerLines(const CGraphNode& node, const std::string& heading, int depth);

std::string linesOfAll(const CGraphNode& container, int depth)
{
    std::string text;
    for (const CGraphNode& node : container.nodes)
        text += innerLines(node, node.name, depth);
    return text;
}

// A node that has been named on a line above, and what runs inside it; nothing for one that has no more to tell.
std::string innerLines(const CGraphNode& node, const std::string& heading, int depth)
{
    const CGraphNode& inner = node.innermost();
    if (inner.nodes.empty())
        return {};
    if (inner.copies == CGraphCopies::none)
        return indented(depth, heading + ": " + nodeList(inner)) + linesOfAll(inner, depth + 1);

    std::string text;
    if (inner.copies == CGraphCopies::perGroup)
    {
        for (const CGraphNode& copy : inner.nodes)
            text += innerLines(copy, heading + ", " + copy.label, depth);
        return text;
    }
    text = indented(depth, heading);
    for (const CGraphNode& copy : inner.nodes)
    {
        const CGraphNode& band = copy.innermost();
        text += indented(depth + 1, copy.label + ": " + (band.nodes.empty() ? band.name : nodeList(band)));
        text += linesOfAll(band, depth + 2);
    }
    return text;
}

}

std::string nodeList(const CGraphNode& container)
{
    std::string text;
    for (const CGraphNode& node : container.nodes)
        text += (text.empty() ? "" : ", ") + nodeText(container, node);
    return text;
}

std::string graphAsText(const CGraphNode& root)
{
    return indented(1, nodeList(root)) + linesOfAll(root, 2);
}

std::string graphAsJson(const CGraphNode& root, int indent)
{
    const std::string margin(static_cast<std::size_t>(indent), ' ');
    std::string text = "[";
    const char* separator = "\n";
    for (const CGraphNode& node : root.nodes)
    {
        text += separator + margin + "  {\"name\": " + jsonText(node.name) + ", \"path\": " + jsonText(node.path) +
                ", \"type\": " + jsonText(node.type) + ", \"group\": " + std::to_string(node.group) +
                ", \"element\": " + std::to_string(node.element) + ",\n" + margin +
                "   \"channels\": " + std::to_string(node.channelCount) + ", \"rate\": " + jsonNumber(node.sampleRate) +
                ", \"addedLatency\": " + jsonNumber(node.addedLatency) +
                ", \"feedsOutput\": " + (node.feedsOutput ? "true" : "false") + ", \"inputs\": [";
        separator = "";
        for (const CGraphPort& port : node.ports)
            for (const CGraphSource& source : port.sources)
            {
                text += separator + ("{\"port\": " + std::to_string(port.index)) + ", \"from\": " +
                        (source.node < 0 ? "null" : std::to_string(source.node)) + ", \"delay\": " +
                        jsonNumber(source.delay) + "}";
                separator = ", ";
            }
        text += "],\n" + margin + "   \"nodes\": " + graphAsJson(node, indent + 3) + "}";
        separator = ",\n";
    }
    return text + (root.nodes.empty() ? "]" : "\n" + margin + "]");
}

}
