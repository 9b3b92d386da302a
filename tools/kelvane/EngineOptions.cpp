#include "EngineOptions.h"

#include <algorithm>

#include "Diagram.h"
#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

void setConstant(Kelvane& engine, const std::string& setting) {
    const std::string option = "--set " + setting;
    const auto constants = engine.nodeList(NodeCategory::Constant);
    SettableNodes names;
    for (const auto& node : constants) names.add(node->label(), node->typeString, node->id.value_or(-1));
    const auto [name, text] = names.split(option, setting);
    for (const auto& node : constants) {
        if (!SettableNodes::isNamed(name, node->label(), node->typeString, node->id.value_or(-1))) continue;
        auto& output = node->output();
        output.setValue(constantValue(option, output.valueClass(), text));
    }
}

void hide(Kelvane& engine, const std::string& label) {
    auto known = labels(engine, NodeCategory::VariableOutput);
    const auto streams = labels(engine, NodeCategory::InputStream);
    known.insert(known.end(), streams.begin(), streams.end());
    if (std::find(known.begin(), known.end(), label) == known.end()) {
        refuseOption("--hide " + label,
                     withHint("no variable output or input stream is called " + inQuotes(label),
                              nearestNameHint(label, known)));
    }
    engine.setVariableOutputHidden(label, true);
    engine.setInputStreamForwarding(label, false);
}

}  // namespace

void applyOptions(Kelvane& engine, const RunOptions& options) {
    for (const auto& setting : options.constants) setConstant(engine, setting);
    for (const auto& label : options.hidden) hide(engine, label);
    engine.setLimits(
        {static_cast<std::size_t>(options.maxElements), options.maxBatchSeconds, &interrupted()});
    if (!options.withoutInputs) return;
    for (const auto& label : engine.getInputStreams()) engine.setInputStreamForwarding(label, false);
}

InitialValues initialValues(const Kelvane& engine, const std::vector<std::string>& settings) {
    InitialValues initial;
    const auto nodes = engine.nodeList(NodeCategory::InputStream);
    SettableNodes streams("input stream");
    for (const auto& node : nodes) streams.add(node->label(), node->typeString, *node->id);
    for (const auto& setting : settings) {
        const std::string option = "--init " + setting;
        const auto [name, text] = streams.split(option, setting);
        for (const auto& node : nodes) {
            if (!SettableNodes::isNamed(name, node->label(), node->typeString, *node->id)) continue;
            const auto type = concreteClassNamed(node->typeString);
            initial.values.emplace_back(node->label(), constantValue(option, *type, text));
            break;
        }
    }
    return initial;
}

const KelvaneInput& InitialValues::appliedTo(const KelvaneInput& batch) {
    if (values.empty()) return batch;
    first = batch;
    for (auto& [label, value] : values) first.updates.try_emplace(label, std::move(value));
    values.clear();
    return first;
}

void SettableNodes::add(std::string_view label, std::string_view type, std::int64_t id) {
    ids.push_back("#" + std::to_string(id));
    if (label != type) {
        labels.emplace_back(label);
    } else if (unlabelled.empty()) {
        unlabelled = ids.back();
    }
}

std::pair<std::string, std::string> SettableNodes::split(const std::string& option,
                                                         const std::string& setting) const {
    const auto isKnown = [](const std::vector<std::string>& known, const std::string& name) {
        return std::find(known.begin(), known.end(), name) != known.end();
    };
    for (auto end = setting.find('='); end != std::string::npos; end = setting.find('=', end + 1)) {
        const auto name = setting.substr(0, end);
        if (isKnown(ids, name) || isKnown(labels, name)) return {name, setting.substr(end + 1)};
    }
    const auto equals = setting.find('=');
    if (equals == std::string::npos) refuseOption(option, "LABEL=TEXT was expected");
    const auto name = setting.substr(0, equals);
    auto hint = nearestNameHint(name, labels);
    if (hint.empty() && !unlabelled.empty())
        hint = noun + "s without a label go by their id, as in " + unlabelled + "=TEXT";
    refuseOption(option, withHint("no " + noun + " is called " + inQuotes(name), hint));
}

bool SettableNodes::isNamed(const std::string& name, std::string_view label, std::string_view type,
                            std::int64_t id) {
    return name == "#" + std::to_string(id) || (label == name && label != type);
}

Value constantValue(const std::string& option, ValueClass type, const std::string& text) {
    auto value = valueFromText(type, text);
    if (!value) refuseOption(option, inQuotes(text) + " does not read as " + std::string(typeString(type)));
    return std::move(*value);
}

}  // namespace kelvane
