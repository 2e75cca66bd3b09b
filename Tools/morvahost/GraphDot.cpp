// SPDX-License-Identifier: GPL-3.0-or-later
#include "CGraphView.h"

#include "JsonText.h"

namespace kor
{

namespace
{

/// Where samples come from: a drawn node, and the delay on the way.
struct CDotSource
{
    std::string id;
    double delay = 0.0;
};

using CDotSources = std::vector<CDotSource>;

// Writes containers as clusters. Their borders are no nodes: a link goes from the node that makes the samples to the one
// that takes them, however many borders it crosses.
class CDotWriter
{
public:
    std::string text;

    /// Draws what runs inside and returns what its output takes. input: what the container takes.
    CDotSources drawInside(const CGraphNode& container, const CDotSources& input, int depth)
    {
        std::vector<CDotSources> results;
        CDotSources output;
        for (const CGraphNode& node : container.nodes)
        {
            const auto sourcesOf = [&](const CGraphPort& port)
            {
                CDotSources list;
                for (const CGraphSource& source : port.sources)
                    for (CDotSource one : source.node < 0 ? input : results[static_cast<std::size_t>(source.node)])
                    {
                        one.delay += source.delay;
                        list.push_back(std::move(one));
                    }
                return list;
            };
            results.push_back(drawNode(container, node, sourcesOf, depth));
            if (node.feedsOutput)
                output.insert(output.end(), results.back().begin(), results.back().end());
        }
        return container.nodes.empty() ? input : output;
    }

    void drawEdges(const CDotSources& sources, const std::string& target, const std::string& port)
    {
        for (const CDotSource& source : sources)
        {
            edges += "  " + source.id + " -> " + target;
            const std::string delay = source.delay > 0.0 ? "delayed " + numberText(source.delay) : "";
            if (!delay.empty() || !port.empty())
                edges += " [" + (port.empty() ? "" : "headlabel=" + jsonText(port)) +
                         (!port.empty() && !delay.empty() ? ", " : "") +
                         (delay.empty() ? "" : "label=" + jsonText(delay)) + "]";
            edges += ";\n";
        }
    }

    std::string edges;

private:
    template<typename CSourcesOf>
    CDotSources drawNode(const CGraphNode& container, const CGraphNode& node, const CSourcesOf& sourcesOf, int depth)
    {
        const std::string margin(static_cast<std::size_t>(depth) * 2, ' ');
        const std::string id = "n" + std::to_string(++count);
        const CGraphNode& inner = node.innermost();
        std::string label = container.copies == CGraphCopies::none ? node.name : node.label;
        if (inner.nodes.empty())
        {
            if (container.copies == CGraphCopies::perBand)
                label += ": " + inner.name;
            if (node.addedLatency != 0.0)
                label += "\n+" + numberText(node.addedLatency);
            text += margin + id + " [label=" + quoted(label) + "];\n";
            for (const CGraphPort& port : node.ports)
                drawEdges(sourcesOf(port), id, node.ports.size() > 1 ? std::to_string(port.index) : "");
            return {{id, 0.0}};
        }
        CDotSources input;
        for (const CGraphPort& port : node.ports)
        {
            const CDotSources sources = sourcesOf(port);
            input.insert(input.end(), sources.begin(), sources.end());
        }
        if (node.addedLatency != 0.0)
            label += "  +" + numberText(node.addedLatency);
        text += margin + "subgraph cluster_" + id + " {\n" + margin + "  label=" + quoted(label) + ";\n";
        const CDotSources output = drawInside(inner, input, depth + 1);
        text += margin + "}\n";
        return output;
    }

    // Graphviz reads \n in a text as an end of line.
    static std::string quoted(std::string label)
    {
        const std::size_t end = label.find('\n');
        if (end == std::string::npos)
            return jsonText(label);
        const std::string first = jsonText(label.substr(0, end));
        return first.substr(0, first.size() - 1) + "\\n" + jsonText(label.substr(end + 1)).substr(1);
    }

    int count = 0;
};

}

std::string graphAsDot(const CGraphNode& root, const std::string& title)
{
    CDotWriter writer;
    const CDotSources output = writer.drawInside(root, {{"input", 0.0}}, 1);
    writer.drawEdges(output, "output", "");
    return "digraph morvaeq {\n"
           "  graph [fontname=\"sans-serif\", fontsize=11, labeljust=l, bgcolor=white, color=gray60,\n"
           "         nodesep=0.2, ranksep=0.3, labelloc=t, label=" + jsonText(title) + "];\n"
           "  node [shape=box, style=\"rounded,filled\", fillcolor=\"#e8f0f8\", color=\"#4a6a8a\", fontname=\"sans-serif\",\n"
           "        fontsize=11, height=0.3, margin=\"0.1,0.04\"];\n"
           "  edge [color=\"#4a6a8a\", fontname=\"sans-serif\", fontsize=9, arrowsize=0.6];\n"
           "  input [shape=plaintext, style=\"\"];\n" + writer.text +
           "  output [shape=plaintext, style=\"\"];\n" + writer.edges + "}\n";
}

}
