#include "EitherForm.h"

#include "Diagram.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

DiagramInfo readEitherForm(const std::string& name, std::string_view text) {
    if (isTextForm(text)) {
        auto reading = readText(text);
        for (const auto& fault : reading.faults) {
            report(name + ":" + std::to_string(fault.line) + ":" + std::to_string(fault.column) + ": " +
                   printable(withHint(fault.what, fault.remedy)));
        }
        if (reading.data) return std::move(reading.data->info);
    } else {
        if (auto data = DiagramData::decode(text)) return std::move(data->info);
        for (const auto& finding : checkDiagram(text)) report(findingLine(name, finding));
    }
    throw Failure{ExitStatus::failed, "kelvane: " + name + " is no diagram"};
}

}  // namespace kelvane
