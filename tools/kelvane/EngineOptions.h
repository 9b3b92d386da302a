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

/// Values that input streams are given once, in the first batch.
class InitialValues {
public:
    /// The batch, or, for the first one, a copy with the values, which is good until the next call; a value
    /// that the batch brings itself counts.
    const KelvaneSDK::KelvaneInput& appliedTo(const KelvaneSDK::KelvaneInput& batch);

private:
    friend InitialValues initialValues(const KelvaneSDK::Kelvane& engine,
                                       const std::vector<std::string>& settings);
    std::vector<std::pair<std::string, KelvaneSDK::Value>> values;
    KelvaneSDK::KelvaneInput first;
};
/// The values that settings "LABEL=TEXT" say; refuses others.
InitialValues initialValues(const KelvaneSDK::Kelvane& engine, const std::vector<std::string>& settings);

/// By what settings name the nodes that they are for, constants or streams of a diagram: by the label, where
/// a node has one of its own, and by the id, as in "#7".
class SettableNodes {
public:
    /// `nodeNoun` is what messages call such a node.
    explicit SettableNodes(std::string_view nodeNoun = "constant") : noun(nodeNoun) {}
    void add(std::string_view label, std::string_view type, std::int64_t id);

    /// Takes "LABEL=TEXT" apart. A label may hold "=" itself. Names that no node has are refused.
    std::pair<std::string, std::string> split(const std::string& option, const std::string& setting) const;
    /// Whether a node goes by the name.
    static bool isNamed(const std::string& name, std::string_view label, std::string_view type,
                        std::int64_t id);

private:
    std::string noun;
    std::vector<std::string> labels, ids;
    /// Of the first node without a label; empty when all have one.
    std::string unlabelled;
};

/// The value of a constant that the text of a setting says; refuses others.
KelvaneSDK::Value constantValue(const std::string& option, KelvaneSDK::ValueClass type,
                                const std::string& text);

}  // namespace kelvane
