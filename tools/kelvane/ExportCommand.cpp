#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "Messages.h"

namespace kelvane {

int exportDiagram(const ExportOptions& options) {
    LibraryMessages messages;
    const auto diagram = loadDiagram(options.diagram);
    const auto text = diagram.engine->createJSON();
    if (const auto& failure = diagram.engine->failure()) {
        throw Failure{ExitStatus::failed,
                      "kelvane: " + diagram.name + " cannot be exported: " + printable(failure->text)};
    }
    writeToStandardOutput(text + "\n");
    return diagram.exitStatus();
}

}  // namespace kelvane
