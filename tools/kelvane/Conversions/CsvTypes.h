#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "KelvaneSDK/Value.h"

namespace kelvane {

/// What an option says of the types of streams, "LABEL=TYPE".
class CsvTypes {
public:
    /// Refuses what does not have this form, and types that do not exist.
    explicit CsvTypes(const std::vector<std::string>& settings);

    std::optional<KelvaneSDK::ValueType> find(const std::string& label) const;
    const std::map<std::string, KelvaneSDK::ValueType>& all() const { return types; }

private:
    std::map<std::string, KelvaneSDK::ValueType> types;
};

/// That of the option; '\0' when none was given.
char separatorOf(const ConvertOptions& options);

}  // namespace kelvane
