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
    const auto [label, text] = splitSetting(option, setting, labels(engine, NodeCategory::Constant));
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        if (node->label() != label) continue;
        engine.setConstant(label, constantValue(option, node->outputValue()->valueClass(), text));
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
    for (const auto& setting : settings) {
        const std::string option = "--init " + setting;
        const auto [label, text] =
            splitSetting(option, setting, labels(engine, NodeCategory::InputStream), "input stream");
        for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
            if (node->label() != label) continue;
            const auto type = concreteClassNamed(node->typeString);
            initial.values.emplace_back(label, constantValue(option, *type, text));
            break;
        }
    }
    return initial;
}

void InitialValues::addTo(KelvaneInput& batch) {
    for (auto& [label, value] : values) batch.updates.try_emplace(label, std::move(value));
    values.clear();
}

std::pair<std::string, std::string> splitSetting(const std::string& option, const std::string& setting,
                                                 const std::vector<std::string>& known,
                                                 std::string_view noun) {
    for (auto end = setting.find('='); end != std::string::npos; end = setting.find('=', end + 1)) {
        const auto label = setting.substr(0, end);
        if (std::find(known.begin(), known.end(), label) != known.end())
            return {label, setting.substr(end + 1)};
    }
    const auto equals = setting.find('=');
    if (equals == std::string::npos) refuseOption(option, "LABEL=TEXT was expected");
    const auto label = setting.substr(0, equals);
    refuseOption(option, withHint("no " + std::string(noun) + " is called " + inQuotes(label),
                                  nearestNameHint(label, known)));
}

Value constantValue(const std::string& option, ValueClass type, const std::string& text) {
    auto value = valueFromText(type, text);
    if (!value) refuseOption(option, inQuotes(text) + " does not read as " + std::string(typeString(type)));
    return std::move(*value);
}

}  // namespace kelvane
