#include "EngineOptions.h"

#include <algorithm>

#include "Diagram.h"
#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Where the label of "LABEL=TEXT" ends: a label may contain "=" itself.
std::size_t endOfLabel(std::string_view setting, const std::vector<std::string>& known) {
    for (auto end = setting.find('='); end != std::string_view::npos; end = setting.find('=', end + 1)) {
        if (std::find(known.begin(), known.end(), setting.substr(0, end)) != known.end()) return end;
    }
    return std::string_view::npos;
}

void setConstant(Kelvane& engine, const std::string& setting) {
    const std::string option = "--set " + setting;
    const auto known = labels(engine, NodeCategory::Constant);
    const auto end = endOfLabel(setting, known);
    if (end == std::string::npos) {
        const auto equals = setting.find('=');
        if (equals == std::string::npos) refuseOption(option, "LABEL=TEXT was expected");
        const auto label = setting.substr(0, equals);
        refuseOption(option,
                     withHint("no constant is called " + inQuotes(label), nearestNameHint(label, known)));
    }
    const auto label = setting.substr(0, end), text = setting.substr(end + 1);
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        if (node->label() != label) continue;
        const auto value = valueFromText(node->outputValue()->valueClass(), text);
        if (!value)
            refuseOption(option, inQuotes(text) + " does not read as " + std::string(node->typeString));
        engine.setConstant(label, *value);
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

}  // namespace kelvane
