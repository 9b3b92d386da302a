#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneSDK::testing_support {

/// Puts a document together node by node. Every adding call returns the new node's id.
class DiagramDocument {
public:
    /// A float stream "x" (id 1), a function (2) and an output "y" (3) in a row.
    static DiagramDocument chain(std::string_view function, std::string_view outputType = "Float");

    std::int64_t add(std::string_view classString, std::string_view typeString, std::string_view label = {});
    std::int64_t function(std::string_view name, std::string_view label = {}) { return add("Function", name, label); }
    std::int64_t constant(std::string_view type, std::string_view value, std::string_view label = {});
    std::int64_t stream(std::string_view type, std::string_view label);
    std::int64_t output(std::string_view type, std::string_view label) { return add("Variable output", type, label); }
    void connect(std::int64_t from, std::int64_t to, std::int64_t inputIndex = 0);
    void property(std::int64_t id, std::string_view name, std::string_view value);
    void outputType(std::int64_t id, std::string_view type);

    std::string text() const { return data.encode(); }

    DiagramData data;
};

/// Takes an engine's deliveries.
class Results final : public VariableOutputUpdatesReceiver {
public:
    void newVariableOutputUpdates(const KelvaneOutput& output) override { outputs.push_back(output); }
    void allUpdatesProcessed(const std::vector<KelvaneOutput>& all) override { runs.push_back(all); }

    std::vector<KelvaneOutput> outputs;
    std::vector<std::vector<KelvaneOutput>> runs;
};

/// Collects the library's diagnostic lines while it lives.
class CapturedDiagnostics {
public:
    CapturedDiagnostics();
    ~CapturedDiagnostics();
    std::vector<std::string> lines;

private:
    DiagnosticSink previous;
};

}  // namespace KelvaneSDK::testing_support
