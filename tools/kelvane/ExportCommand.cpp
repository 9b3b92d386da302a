#include "Commands.h"
#include "Diagram.h"
#include "Files.h"

namespace kelvane {

int exportDiagram(const ExportOptions& options) {
    LibraryMessages messages;
    const auto diagram = loadDiagram(options.diagram, messages);
    writeToStandardOutput(diagram.engine->createJSON() + "\n");
    return diagram.exitStatus();
}

}  // namespace kelvane
