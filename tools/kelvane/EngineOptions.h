#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Commands.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Prepares an engine as the options of a run say. Throws a `Failure` for an option that does not fit the
/// diagram.
void applyOptions(KelvaneSDK::Kelvane& engine, const RunOptions& options);

/// By what settings name the constants of a diagram: by the label, where a constant has one of its own, and
/// by the id, as in "#7".
class ConstantNames {
public:
    void add(std::string_view label, std::string_view type, std::int64_t id);

    /// Takes "LABEL=TEXT" apart. A label may hold "=" itself. Names that no constant has are refused.
    std::pair<std::string, std::string> split(const std::string& option, const std::string& setting) const;
    /// Whether a constant goes by the name.
    static bool isNamed(const std::string& name, std::string_view label, std::string_view type,
                        std::int64_t id);

private:
    std::vector<std::string> labels, ids;
    /// Of the first constant without a label; empty when all have one.
    std::string unlabelled;
};

/// The value of a constant that the text of a setting says; refuses others.
KelvaneSDK::Value constantValue(const std::string& option, KelvaneSDK::ValueClass type,
                                const std::string& text);

}  // namespace kelvane
