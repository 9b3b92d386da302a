#include "Pictures/NodeSizes.h"

#include <algorithm>

#include "Pictures/DrawnDiagram.h"
#include "Pictures/Markup.h"

namespace kelvane {
namespace {

using Sizes = NodeSizes;

double shownWidth(const std::string& text, double size) {
    // What is longer is cut anyway, and may be very long.
    return std::min(textWidth(std::string_view(text).substr(0, 200), size) + Sizes::slack, Sizes::widestText);
}

void measureFunction(DrawnNode& node) {
    const double head = node.detail.empty() ? Sizes::head : Sizes::tallHead;
    // Names are bold.
    double width =
        std::max(shownWidth(node.name, Sizes::name * Sizes::bold), shownWidth(node.detail, Sizes::detail));
    for (std::size_t i = 0; i < node.inputs.size(); ++i) {
        node.inputs[i].place = {0, head + Sizes::row * (static_cast<double>(i) + 0.5)};
        width = std::max(width, shownWidth(node.inputs[i].label, Sizes::port));
    }
    const auto rows = static_cast<double>(std::max<std::size_t>(node.inputs.size(), 1));
    node.box = {0, 0, std::max(70.0, width + 2 * Sizes::margin), head + rows * Sizes::row + 5};
    if (node.output) node.output->place = {node.box.width, head + rows * Sizes::row / 2};
}

void measureEnd(DrawnNode& node) {
    const double width =
        std::max(shownWidth(node.name, Sizes::name * Sizes::bold), shownWidth(node.detail, Sizes::detail));
    node.box = {0, 0, width + 50, node.detail.empty() ? Sizes::lowEndHeight : Sizes::endHeight};
}

}  // namespace

std::string constantText(const DrawnNode& node) {
    const auto value = node.value.empty() ? "default" : node.value;
    return node.isLabelled ? node.name + " = " + value : value;
}

void measureNodes(DrawnDiagram& diagram) {
    for (auto& node : diagram.nodes) {
        const bool isBeside = node.reader != nothing;
        if (node.kind == NodeKind::function)
            measureFunction(node);
        else if (node.kind == NodeKind::constant)
            node.box = {0, 0,
                        shownWidth(constantText(node), (isBeside ? Sizes::port : Sizes::name) * Sizes::bold) +
                            (isBeside ? 12 : 20),
                        isBeside ? Sizes::besideHeight : Sizes::constantHeight};
        else
            measureEnd(node);
        if (node.kind == NodeKind::function) continue;
        if (node.output) node.output->place = {node.box.width, node.box.height / 2};
        for (auto& port : node.inputs) port.place = {0, node.box.height / 2};
    }
}

}  // namespace kelvane
