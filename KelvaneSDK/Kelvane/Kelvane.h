#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/ContainerNode/ContainerNode.h"
#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/InputStreamNode.h"
#include "KelvaneSDK/Kelvane/KelvaneRecords.h"
#include "KelvaneSDK/Kelvane/MainQueue.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/Subdiagram.h"
#include "KelvaneSDK/VariableOutputNode.h"

namespace KelvaneSDK {

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

/// The diagram engine: one object per diagram. Load a document with read(), then hand it batches of input
/// values; the results go to the receiver.
///
/// Not synchronised: call an engine from one thread at a time, and not at all between processAllUpdates() and
/// the delivery of its results. Different engines are independent.
///
/// No operation throws, though making an engine may throw std::bad_alloc: failures are diagnostic lines and a
/// false or empty result, and a broken invariant stops the program. Memory that runs out is such a failure,
/// with the line "ERROR: out of memory!".
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

    /// Builds the diagram of a document, in place of the present one or, with `replace` false, beside it (its
    /// nodes are then renumbered above the document's, and the document's subdiagrams are passed over). True
    /// when the diagram was built, warnings or not; false when the text is no document or names an unknown
    /// node type, and then the nodes created so far stay. Memory that runs out leaves an empty
    /// diagram, or the present one where the text could not even be decoded.
    ///
    /// The document is trusted: a connection that names an unknown id is retried for ever, and one that names
    /// an input that the node does not have stops the program.
    virtual bool read(std::string_view text, bool replace);

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
    /// took to evaluate is skipped and answered with an empty output, so that a live feed faster than the
    /// engine drops batches instead of queueing them; the batch after a skipped one is always evaluated.
    /// Values of a wrong type are reported and ignored, and so, silently, are labels without an input stream.
    virtual void updateInputStreams(const KelvaneInput& input);
    /// Returns every node to the state before any input arrived. Constants, flags and the timing stay.
    virtual void reset();
    /// Memory ran out while a batch was evaluated, which left the nodes halfway: that batch and those that
    /// follow are answered with empty results until the engine is reset or reads another diagram.
    bool isOutOfMemory() const { return outOfMemory; }
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
    /// and answers the result, which may be empty. The body that both entry points share.
    KelvaneOutput evaluate(const KelvaneInput& input);

    /// Limits what evaluation may use up, from the next batch on; none at first.
    void setLimits(const EvaluationLimits& limits) { budget.setLimits(limits); }

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
    std::span<Node* const> getFunctionNodes() const { return functionNodes; }
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
    bool build(std::string_view text, bool replace);
    Node* addNode(NodeCategory category, std::unique_ptr<Node> node);
    void orderAsInDocument();
    DiagramInfo describe() const;
    void discardDiagram();

    void evaluateBatch(double timestamp, const LabelledValues& updates);
    void processInBackground(const std::vector<KelvaneInput>& inputs);
    void evaluatePasses(double timestamp, const LabelledValues& updates);
    bool needsPass(const LabelledValues& fed) const;
    void pushConstants();
    void setInputStreams(const LabelledValues& values, double timestamp);
    void sweepFunctionNodes();
    bool visit(Node& node);
    using CollectedOutputs = std::map<std::string, std::optional<Value>, std::less<>>;
    CollectedOutputs collectVariableOutputs();
    void clearChecked();
    void removeUnwantedOutputs();

    EvaluationBudget budget;
    std::weak_ptr<VariableOutputUpdatesReceiver> updatesReceiver;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<const NodeRegistry> registry;
    std::array<std::vector<std::unique_ptr<Node>>, allNodeCategories.size()> nodeLists;
    // The same nodes as in the lists, with their type.
    std::vector<InputStreamNode*> inputStreams;
    std::vector<VariableOutputNode*> variableOutputs;
    std::vector<std::unique_ptr<Container>> containers;
    std::vector<std::string> manualLines;
    std::vector<Subdiagram> subdiagrams;
    KelvaneOutput diagramOutput;
    LabelledValues allInputValues;
    double previousTimestamp = 0;
    double lastProcessTime = 0;
    std::int64_t framesSkipped = 0;
    bool outOfMemory = false;
    std::optional<std::vector<Node*>> addedNodes;
    std::vector<Node*> functionNodes;
    std::shared_ptr<BackgroundRuns> backgroundRuns;
};

}  // namespace KelvaneSDK
