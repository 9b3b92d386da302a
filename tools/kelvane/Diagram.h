#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "DataFile.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

/// Takes the library's lines while it lives and passes each on to standard error.
class LibraryMessages {
public:
    LibraryMessages();
    ~LibraryMessages();
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    bool hasErrors() const { return errors; }
    /// Passes each line on to somebody else, too, from now on; must stay as long.
    void passTo(std::function<void(std::string_view)> other) { listener = std::move(other); }
    void take(std::string_view line);

private:
    KelvaneSDK::DiagnosticSink previous;
    std::function<void(std::string_view)> listener;
    bool errors = false;
};

/// A line of the library says that something is wrong.
bool isError(std::string_view line);

/// A diagram in an engine.
struct Diagram {
    /// As messages name it.
    std::string name;
    std::unique_ptr<KelvaneSDK::Kelvane> engine;
    /// The document has errors, which have been reported; the engine does without what is wrong.
    bool hasErrors = false;
    /// As it was read, in either form.
    std::string text = {};

    int exitStatus() const;
    /// Why the engine stopped, with the place of the node where the diagram is in the text form.
    std::string stopText(const KelvaneSDK::StopReason& reason) const;
};

/// Reads, checks and builds a diagram of either form ("-" is standard input), and reports the document's
/// errors to `messages`, once, line by line. A document with a fatal error, or one that cannot be built, is
/// refused with a `Failure`. From any thread.
Diagram loadDiagram(const std::string& path,
                    const std::function<void(const std::string&)>& messages = report);
/// The same of a text, as readWholeFile() reads it; `name` is for messages.
Diagram buildDiagram(const std::string& name, std::string text,
                     const std::function<void(const std::string&)>& messages = report);

/// Whether a file is empty, or begins as a recording does and not as a diagram. Nothing of it is taken.
bool isRecording(DataFile& file);

/// The diagram of either form in a text, whatever may be found in it. A text that is none has its faults
/// reported and is refused with a `Failure`.
KelvaneSDK::DiagramData readUnchecked(const std::string& name, std::string_view text);

/// One more engine of a diagram that has been loaded. Reports nothing.
std::unique_ptr<KelvaneSDK::Kelvane> anotherEngine(const Diagram& diagram);

/// `walk.json:12:`: the place of a finding; of a text, `walk.diagram:12:5:`.
std::string placeOf(const std::string& fileName, const KelvaneSDK::Finding& finding);
/// `walk.json:12: nodes[4]: ...`: a finding behind the name of its file; of a text, `walk.diagram:12:5: ...`.
std::string findingLine(const std::string& fileName, const KelvaneSDK::Finding& finding);

/// Whether the node has the property with this text.
bool hasProperty(const KelvaneSDK::Node& node, const KelvaneSDK::Property& property);

/// The labels of the nodes of a category, in document order.
std::vector<std::string> labels(const KelvaneSDK::Kelvane& engine, KelvaneSDK::NodeCategory category);

}  // namespace kelvane
