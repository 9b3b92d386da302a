#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

DiagramDocument DiagramDocument::chain(std::string_view function, std::string_view outputType) {
    DiagramDocument document;
    const auto x = document.stream("Float", "x"), node = document.function(function), y = document.output(outputType, "y");
    document.connect(x, node);
    document.connect(node, y);
    return document;
}

std::int64_t DiagramDocument::add(std::string_view classString, std::string_view typeString, std::string_view label) {
    const auto id = static_cast<std::int64_t>(data.info.nodes.size()) + 1;
    data.info.nodes.push_back({id, std::string(classString), std::string(typeString), std::nullopt});
    data.info.positions.push_back({id, 0, 0});
    if (!label.empty()) property(id, "Description", label);
    return id;
}

std::int64_t DiagramDocument::constant(std::string_view type, std::string_view value, std::string_view label) {
    const auto id = add("Constant", type, label);
    property(id, "OutputValue", value);
    return id;
}

std::int64_t DiagramDocument::stream(std::string_view type, std::string_view label) {
    const auto id = add("Input stream", type, label);
    property(id, "Forwarding", "false");
    return id;
}

void DiagramDocument::connect(std::int64_t from, std::int64_t to, std::int64_t inputIndex) {
    data.info.connections.push_back({from, to, inputIndex});
}

void DiagramDocument::property(std::int64_t id, std::string_view name, std::string_view value) {
    data.info.properties.push_back({id, std::string(name), std::string(value)});
}

void DiagramDocument::outputType(std::int64_t id, std::string_view type) {
    data.info.nodes[static_cast<std::size_t>(id) - 1].outputType = std::string(type);
}

CapturedDiagnostics::CapturedDiagnostics() {
    previous = setDiagnosticSink([this](std::string_view line) { lines.emplace_back(line); });
}

CapturedDiagnostics::~CapturedDiagnostics() { setDiagnosticSink(std::move(previous)); }

}  // namespace KelvaneSDK::testing_support
