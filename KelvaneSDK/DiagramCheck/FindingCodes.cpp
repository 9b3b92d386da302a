#include "KelvaneSDK/DiagramCheck/FindingCodes.h"

#include <array>

namespace KelvaneSDK {

namespace {

using enum Severity;

// The enumeration Code numbers these rows.
constexpr std::array<FindingCode, static_cast<std::size_t>(Code::count)> rows{{
    {"out-of-memory", fatal, fatal, "Memory ran out during the check.", "Check on a larger machine."},
    {"undecodable", error, error, "The text is no diagram document.", "Mend the place that the message names."},
    {"nested-too-deep", error, error, "Arrays and objects nest beyond the limit.", "Nest less."},
    {"unknown-key", warning, warning, "A key that is passed over looks like a misspelt one.",
     "Correct the key, or rename it."},
    {"unknown-class", error, error, "A node's class does not exist, so that the diagram cannot be built.",
     "Use one of the four classes."},
    {"unknown-type", error, error, "A node's type does not exist, so that the diagram cannot be built.",
     "Use a name that `kelvane functions` lists, or a value type's."},
    {"duplicate-id", error, error, "Two nodes have the same id; one of them gets no connections.",
     "Give each node an id of its own."},
    {"id-leaves-no-room", warning, warning,
     "No larger id exists, so that the document cannot be appended to a diagram.", "Use smaller ids."},
    {"unknown-output-type", error, error, "A node's outputType names no value type.",
     "Name a value type, such as \"Float\" or \"Vector array\"."},
    {"output-type-overridden", warning, warning, "A node's outputType has no effect.", "Remove it."},
    {"output-missing", fatal, fatal, "The document uses the output of a node that has none.",
     "Remove the connection, property or outputType."},
    {"building-stops", fatal, fatal, "A node class of the application stops the building.",
     "See what the class asks for."},
    {"node-in-no-subdiagram", error, error, "The document has subdiagrams, and the node is in none.",
     "Add the node to one, or remove the subdiagrams."},
    {"constant-without-value", warning, warning, "A constant that no property sets stands at its default.",
     "Set the property \"OutputValue\"."},
    {"integer-array-constant", warning, warning,
     "An integer array has no text form, so that the diagram cannot be exported.",
     "Let the application set the constant."},
    {"duplicate-label", warning, warning, "Several variable outputs have one label; the last one's value counts.",
     "Give each its own label."},
    {"label-types-differ", warning, warning,
     "An input stream gets values of another type from a stream or an output of its label.",
     "Use one type, or another label."},
    {"type-unresolved", warning, warning, "Nothing gives a node's generic slots a type.",
     "Connect the node, or give it an outputType."},
    {"type-unsupported", warning, error, "A function does not support the type that its slots have.",
     "Convert the values first, or use another function."},
    {"constant-stops", error, error,
     "Constants break what a function demands: it stops, or never ends, as soon as it runs.",
     "Change the constants."},
    {"input-unconnected", warning, warning, "A node never runs because an input is not connected.",
     "Connect the input."},
    {"never-runs", warning, warning, "A node waits for another that never gives a value.",
     "See why the other one does not."},
    {"output-unused", warning, warning, "A node's output feeds nothing.", "Connect it, or remove the node."},
    {"property-unknown-id", warning, warning, "A property is set for a node that does not exist.",
     "Correct the id."},
    {"unknown-property", error, error, "Nodes of this class do not have the property.", "Correct its name."},
    {"property-refused", error, error, "A node class of the application refuses a property.",
     "See what the class asks for."},
    {"boolean-text", warning, warning, "A switch is neither \"true\" nor \"false\", and counts as false.",
     "Write \"true\" or \"false\"."},
    {"unknown-color", warning, warning, "A colour does not exist, and is dropped.", "Use one of the twelve colours."},
    {"value-unparsable", error, error, "A text is no value of the output's type; the earlier value stays.",
     "Write the value in the form that the message names."},
    {"value-ignored", warning, warning, "The output's values have no text form, so that the value is dropped.",
     "Let the application set the constant."},
    {"value-cut", warning, warning, "Only the text before the first comma was read as the value.",
     "Write a decimal point, or a list type."},
    {"connection-unknown-id", fatal, fatal, "A connection names a node that does not exist; building never ends.",
     "Correct the id, or remove the connection."},
    {"input-out-of-range", fatal, fatal, "A connection leads to an input that the node does not have.",
     "Count the inputs from 0."},
    {"node-without-inputs", fatal, fatal, "A connection leads to a node without inputs.",
     "Remove the connection."},
    {"output-refused", error, error, "A connection leads out of a variable output, and is dropped.",
     "Connect what feeds the variable output, or use an input stream of its label."},
    {"self-connection-stops", fatal, fatal, "A node feeds itself before its type is known.",
     "Give the node an outputType."},
    {"type-adoption-stops", fatal, fatal, "Two generic slots cannot take a type from each other.",
     "Give one of the nodes an outputType."},
    {"connection-lost", error, error, "Two generic slots are connected before either has a type: nothing passes.",
     "List the connection later, or give one of the nodes an outputType."},
    {"input-connected-twice", warning, warning, "Several connections feed one input; the value that comes last counts.",
     "Keep one."},
    {"type-mismatch", warning, error, "A connection brings values of another type than its input's.",
     "Convert the values, or use another type; a warning where the receiver passes any value on."},
    {"cycle", error, fatal,
     "Functions wait for one another, and the evaluation never ends; an error where it takes values to begin.",
     "Break the cycle, with a variable output and an input stream of one label."},
    {"endless-cycle", fatal, fatal, "Functions feed one another without end once a value has entered.",
     "Break the ring."},
    {"ring-may-not-end", error, error, "Functions feed one another, perhaps without end, as the values decide.",
     "Break the ring."},
    {"ring", warning, warning, "Functions feed one another, and come to rest in every batch.",
     "See that this is meant."},
    {"position-unknown-id", warning, warning, "A position is given for a node that does not exist.",
     "Correct the id."},
    {"container-unknown-id", error, error, "A container names a node that does not exist.", "Correct the id."},
    {"container-empty", fatal, fatal, "A container holds no node.", "Add nodes, or remove the container."},
    {"container-without-output", fatal, fatal, "The nodes of a container feed only one another.",
     "Add or remove nodes so that one feeds nothing, or a node outside."},
    {"subdiagram-unknown-id", error, error, "A subdiagram names a node that does not exist.", "Correct the id."},
    {"stream-not-recorded", warning, warning, "The recording gives an input stream no values.",
     "Correct the label, of the stream or in the recording."},
    {"stream-unknown", warning, warning, "The recording has values that no input stream takes.",
     "Correct the label, of the stream or in the recording."},
    {"stream-type", error, error, "The recording gives an input stream values of another type.",
     "Use the recording's type."},
    {"more-findings", warning, fatal, "There are more findings than are listed, of this gravity at most.",
     "Mend the listed ones first."},
}};

}  // namespace

std::span<const FindingCode> findingCodes() { return rows; }

const FindingCode& rowOf(Code code) { return rows[static_cast<std::size_t>(code)]; }

std::string_view severityName(Severity severity) {
    return severity == warning ? "warning" : severity == error ? "error" : "fatal";
}

}  // namespace KelvaneSDK
