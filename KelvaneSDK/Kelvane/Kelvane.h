#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/ContainerNode/ContainerNode.h"
#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/InputStreamNode.h"
#include "KelvaneSDK/Kelvane/KelvaneRecords.h"
#include "KelvaneSDK/Kelvane/MainQueue.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/VariableOutputNode.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// A variable output as an application lists it.
struct VariableOutputDescription {
    std::string label;
    std::string typeString;

    friend bool operator==(const VariableOutputDescription&, const VariableOutputDescription&) = default;
};

/// A constant as an application lists it.
struct ConstantDescription {
    std::string label;
    Value value;

    friend bool operator==(const ConstantDescription&, const ConstantDescription&) = default;
};

/// A named group of nodes, without behaviour of its own. The engine owns the nodes; `description` is the
/// application's to change.
class Subdiagram {
public:
    explicit Subdiagram(std::string name, std::vector<Node*> members = {})
        : description(std::move(name)), nodes(std::move(members)) {}

    std::string description;
    std::vector<Node*> nodes;
};

/// Names the input streams of a label, without the text of the label. Good until the diagram is replaced.
class InputStreamHandle {
    friend class Kelvane;
    explicit InputStreamHandle(std::uint32_t place) : index(place) {}
    std::uint32_t index;
};

/// Names the variable outputs of a label. Good until the diagram is replaced.
class VariableOutputHandle {
    friend class Kelvane;
    explicit VariableOutputHandle(std::uint32_t place) : index(place) {}
    std::uint32_t index;
};

/// What load() made of a document.
struct LoadResult {
    /// Everything that is wrong or suspicious in the document, as checkDiagram() returns it.
    std::vector<Finding> findings;
    /// The diagram was built.
    bool isBuilt = false;
};

class [[gnu::visibility("hidden")]] Evaluation;

/// The nodes of an engine, as its evaluation needs them.
struct DiagramNodes {
    std::vector<Node*> constants;
    std::vector<InputStreamNode*> streams;
    /// In the order of evaluation, which settles.
    std::vector<Node*> functions;
    std::vector<VariableOutputNode*> outputs;
};

/// What an application sets by a handle, as its evaluation needs it.
struct alignas(64) HandleEntry {
    Value value = 0.0;
    /// The round of evaluateSet() for which the value is set.
    std::uint64_t setFor = 0;
    /// Where the label stands in the present evaluation.
    std::uint32_t place = 0;
};

/// The diagram engine: one object per diagram. Load a document with load() or read(), then hand it batches of
/// input values; the results go to the receiver, or are returned.
///
/// Not synchronised: call an engine from one thread at a time, and not at all between processAllUpdates() and
/// the delivery of its results. Different engines are independent.
///
/// No operation throws, though making an engine may throw std::bad_alloc: failures are diagnostic lines and a
/// false or empty result. A broken invariant (an integer that overflows, a value of the wrong type) ends the
/// program, or, where the application asks for it with setStopBehavior(), the operation. Memory that runs out
/// always is such a failure of the operation, with the line "ERROR: out of memory!".
class Kelvane {
public:
    /// An engine with an empty diagram. The receiver is held weakly and may be missing. Results of background
    /// runs are posted to `mainQueue`, or to DrainedMainQueue::standard() when there is none.
    explicit Kelvane(std::weak_ptr<VariableOutputUpdatesReceiver> variableOutputUpdatesReceiver = {},
                     std::shared_ptr<MainQueue> mainQueue = nullptr);
    /// Waits for a background run in progress. Results that have been posted are still delivered if the
    /// receiver lives then.
    virtual ~Kelvane();
    Kelvane(const Kelvane&) = delete;
    Kelvane& operator=(const Kelvane&) = delete;

    /// Builds the diagram of a document, JSON or in the text form, in place of the present one or, with
    /// `replace` false, beside it (its nodes are then renumbered above the document's, and the document's
    /// subdiagrams are passed over). True when the diagram was built, warnings or not; false when the text is
    /// no document or names an unknown node type, and then the nodes created so far stay. Memory that runs
    /// out leaves an empty diagram, or the present one where the text could not even be decoded.
    ///
    /// The document is trusted: a connection that names an unknown id is retried for ever, and one that names
    /// an input that the node does not have stops. For a document from elsewhere there is load().
    virtual bool read(std::string_view text, bool replace);
    /// Checks a document first, by the node classes of this engine, and builds it as read() does unless a
    /// finding is of severity `refuseFrom` or graver, or a node's class or type is unknown. The text is
    /// decoded once. A document that is refused, or is none, leaves the present diagram as it is and prints
    /// nothing: the findings say why.
    LoadResult load(std::string_view text, bool replace, Severity refuseFrom = Severity::fatal);

    /// Takes the engine's diagnostics from now on, instead of the common sink; an empty function gives them
    /// back to that one. Called on the thread that runs the operation.
    void setDiagnosticSink(DiagnosticSink sink) { diagnosticSink = std::move(sink); }
    /// What a stop does; the program ends at first.
    void setStopBehavior(StopBehavior behavior) { stopBehavior = behavior; }
    /// Why an operation failed: the reason of a stop, or that memory ran out. The engine then gives empty
    /// results until it is reset or reads another diagram, which also clears this.
    const std::optional<StopReason>& failure() const { return failed; }

    /// The labels of the input streams, in document order.
    virtual std::vector<std::string> getInputStreams() const;
    virtual std::vector<VariableOutputDescription> getVariableOutputs() const;
    /// The free-text lines of the document.
    virtual std::vector<std::string> getManualLines() const;
    /// The diagram as a document. Renumbers the nodes from 0: constants, input streams, functions, variable
    /// outputs, each in list order. A filled integer-array constant, which has no text form, stops the
    /// program.
    virtual std::string createJSON();
    virtual std::vector<ConstantDescription> getConstants() const;
    /// Gives every constant with this label a new value, effective from the next batch on; constants of
    /// another type stay as they are.
    virtual void setConstant(std::string_view label, const Value& newValue);

    /// Evaluates one batch on the calling thread and delivers at most one output to the receiver; an empty
    /// result is not delivered. A batch that follows the previous one (by timestamps) sooner than that one
    /// took to evaluate is skipped and gives an empty output, so that a live feed faster than the
    /// engine drops batches instead of queueing them; the batch after a skipped one is always evaluated.
    /// Values of a wrong type are reported and ignored, and so, silently, are labels without an input stream.
    virtual void updateInputStreams(const KelvaneInput& input);
    /// Returns every node to the state before any input arrived. Constants, flags and the timing stay.
    virtual void reset();
    /// Leaves the variable outputs with this label out of the results, or takes them in again.
    virtual void setVariableOutputHidden(std::string_view label, bool hidden);
    /// Takes the values of the input streams with this label into the results, or leaves them out.
    virtual void setInputStreamForwarding(std::string_view label, bool forwarding);
    /// Evaluates a whole list of batches on the shared background worker, without skipping, and posts one
    /// call of allUpdatesProcessed() with every non-empty result to the main queue. Returns at once. A
    /// receiver that is gone when the results arrive stops the program. When memory runs out, the results of
    /// the batches before are posted, or nothing where there is no memory for that either.
    virtual void processAllUpdates(std::vector<KelvaneInput> diagramInputs);

    /// Evaluates one batch on the calling thread, without the clock and without the receiver: never skips,
    /// and returns the result, which may be empty. The body that both entry points share.
    KelvaneOutput evaluate(const KelvaneInput& input);
    /// The same into a result of the caller's. One that is filled again and again, like an input that is
    /// reused, makes batches of scalars that allocate nothing.
    void evaluateInto(const KelvaneInput& input, KelvaneOutput& output);

    /// A handle on the input streams, or the variable outputs, of a label; absent when there are none.
    std::optional<InputStreamHandle> inputStream(std::string_view label);
    std::optional<VariableOutputHandle> variableOutput(std::string_view label);
    /// Gives a value to the streams of a handle, in the batch that evaluateSet() evaluates next. The value
    /// that is set last counts.
    void set(InputStreamHandle streams, const Value& value);
    /// Evaluates the values set since the last time as one batch, like evaluate() but without any text.
    void evaluateSet(double timestamp);
    /// What the latest batch gave for a label, hidden or not; null when it gave nothing. Valid until the next
    /// operation.
    const Value* result(VariableOutputHandle outputs) const;

    /// Limits what evaluation may use up, from the next batch on; none at first.
    void setLimits(const EvaluationLimits& limits) { state.budget.setLimits(limits); }

    /// Makes an application's own node classes known to this engine, in the same way as the library's. A
    /// class under a name that is taken replaces the earlier one for documents read from now on. Classes of
    /// the categories "Input stream" and "Variable output" must derive from InputStreamNode and
    /// VariableOutputNode.
    void registerNodes(const NodeFamily& family);

    const NodeRegistry& nodeTypes() const { return *registry; }
    /// The nodes of a category, in document order; owned by the engine until the diagram is replaced.
    std::span<const std::unique_ptr<Node>> nodeList(NodeCategory category) const {
        return nodeLists[static_cast<std::size_t>(category)];
    }
    std::span<const std::unique_ptr<Container>> getContainers() const { return containers; }
    std::span<Subdiagram> getSubdiagrams() { return subdiagrams; }
    /// The function nodes in evaluation order, which evaluation settles.
    std::span<Node* const> getFunctionNodes() const { return nodes.functions; }
    /// The nodes made by the last appending read(), in document order; absent after a replacing one.
    const std::optional<std::vector<Node*>>& getAddedNodes() const { return addedNodes; }
    /// Batches skipped since timestamps last stopped increasing.
    std::int64_t getFramesSkipped() const { return framesSkipped; }

private:
    friend class DiagramBuilder;
    struct BackgroundRuns;

    std::vector<std::unique_ptr<Node>>& listOf(NodeCategory category) {
        return nodeLists[static_cast<std::size_t>(category)];
    }
    template <class Work>
    bool perform(const Work& work) const;
    template <class Work>
    void performReading(const Work& work);
    bool build(const DiagramInfo& info, bool replace);
    Node* addNode(NodeCategory category, std::unique_ptr<Node> node);
    void orderAsInDocument();
    DiagramInfo describe() const;
    void discardDiagram();

    Evaluation& plan();
    Evaluation& compile();
    void processInBackground(const std::vector<KelvaneInput>& inputs);
    std::uint32_t handleOn(std::string_view label);

    DiagramState state;
    DiagnosticSink diagnosticSink;
    StopBehavior stopBehavior = StopBehavior::endProgram;
    mutable std::optional<StopReason> failed;
    std::weak_ptr<VariableOutputUpdatesReceiver> updatesReceiver;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<const NodeRegistry> registry;
    std::array<std::vector<std::unique_ptr<Node>>, allNodeCategories.size()> nodeLists;
    // The same nodes as in the lists, with their type.
    DiagramNodes nodes;
    std::vector<std::unique_ptr<Container>> containers;
    std::vector<std::string> manualLines;
    std::vector<Subdiagram> subdiagrams;
    std::unique_ptr<Evaluation> evaluation;
    KelvaneOutput diagramOutput;
    // The labels that handles were given for.
    std::vector<std::string> handleLabels;
    std::vector<HandleEntry> handles;
    // Those that are set for the next round stand first; it has space for all.
    std::vector<std::uint32_t> handlesSet;
    std::size_t handlesSetCount = 0;
    std::uint64_t handleRound = 1;
    double previousTimestamp = 0;
    double lastProcessTime = 0;
    std::int64_t framesSkipped = 0;
    std::optional<std::vector<Node*>> addedNodes;
    std::shared_ptr<BackgroundRuns> backgroundRuns;
};

}  // namespace KelvaneSDK
