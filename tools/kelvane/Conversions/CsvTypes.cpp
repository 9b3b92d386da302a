#include "CsvTypes.h"

#include "Messages.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

CsvTypes::CsvTypes(const std::vector<std::string>& settings) {
    for (const auto& setting : settings) {
        const auto equals = setting.rfind('=');
        const std::string option = "--types " + setting;
        if (equals == std::string::npos) refuseOption(option, "LABEL=TYPE was expected");
        const auto name = setting.substr(equals + 1);
        const auto type = typeNamed(name);
        if (!type) {
            std::vector<std::string> names;
            for (auto i = ValueType::Float; i < ValueType::SampleArray;
                 i = static_cast<ValueType>(static_cast<int>(i) + 1))
                names.emplace_back(valueTypeName(i));
            refuseOption(option,
                         withHint("no type is called " + inQuotes(name), "there are " + joined(names)));
        }
        types[setting.substr(0, equals)] = *type;
    }
}

std::optional<ValueType> CsvTypes::find(const std::string& label) const {
    const auto type = types.find(label);
    return type == types.end() ? std::nullopt : std::optional(type->second);
}

char separatorOf(const ConvertOptions& options) {
    if (options.separator.empty()) return '\0';
    if (options.separator == "tab") return '\t';
    if (options.separator.size() == 1) return options.separator.front();
    refuseOption("--separator " + options.separator, "one character or the word tab was expected");
}

}  // namespace kelvane
