#pragma once

#include <string>
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
    /// Adds them to the first batch that it is shown; a value that the batch brings itself counts.
    void addTo(KelvaneSDK::KelvaneInput& batch);
    bool empty() const { return values.empty(); }

private:
    friend InitialValues initialValues(const KelvaneSDK::Kelvane& engine,
                                       const std::vector<std::string>& settings);
    std::vector<std::pair<std::string, KelvaneSDK::Value>> values;
};
/// The values that settings "LABEL=TEXT" say; refuses others.
InitialValues initialValues(const KelvaneSDK::Kelvane& engine, const std::vector<std::string>& settings);

/// Takes "LABEL=TEXT" apart. A label may hold "=" itself: `known` are those that there are, each a `noun`,
/// and others are refused.
std::pair<std::string, std::string> splitSetting(const std::string& option, const std::string& setting,
                                                 const std::vector<std::string>& known,
                                                 std::string_view noun = "constant");

/// The value of a constant that the text of a setting says; refuses others.
KelvaneSDK::Value constantValue(const std::string& option, KelvaneSDK::ValueClass type,
                                const std::string& text);

}  // namespace kelvane
