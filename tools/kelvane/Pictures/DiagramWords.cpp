#include "Pictures/DiagramWords.h"

#include <map>

#include "Messages.h"

namespace kelvane {
namespace {

constexpr std::size_t mostNamed = 40;
constexpr std::size_t longestName = 120;

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < mostNamed; ++i)
        text += (i > 0 ? ", " : "") + names[i].substr(0, longestName);
    if (names.size() > mostNamed) text += " and " + std::to_string(names.size() - mostNamed) + " more";
    return text;
}

}  // namespace

std::string describedDiagram(const DrawnDiagram& diagram) {
    std::vector<std::string> streams, outputs, constants, functions, frames;
    std::map<std::string, std::size_t> counts;
    for (const auto& node : diagram.nodes) {
        const auto named = node.detail.empty() ? node.name : node.name + " (" + node.detail + ")";
        if (node.kind == NodeKind::stream) streams.push_back(named);
        if (node.kind == NodeKind::output) outputs.push_back(named);
        if (node.kind == NodeKind::constant) constants.push_back(constantText(node));
        if (node.kind == NodeKind::function) ++counts[node.isLabelled ? node.detail : node.name];
    }
    std::size_t functionCount = 0;
    for (const auto& [name, count] : counts) {
        functionCount += count;
        functions.push_back(count > 1 ? name + " (" + std::to_string(count) + " times)" : name);
    }
    for (const auto& frame : diagram.frames) frames.push_back(frame.title);
    std::string text = "A diagram of " + counted(diagram.nodes.size(), "node") + ".";
    const auto add = [&](const std::string& title, const std::vector<std::string>& names) {
        if (!names.empty()) text += " " + title + ": " + listed(names) + ".";
    };
    add("Input streams", streams);
    add("Results", outputs);
    add(counted(functionCount, "function"), functions);
    add("Constants", constants);
    add("Frames", frames);
    return text;
}

}  // namespace kelvane
