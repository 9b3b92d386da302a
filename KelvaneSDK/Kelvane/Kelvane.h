#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/Kelvane/LabelledValues.h"
#include "KelvaneSDK/NodeClass.h"
#include "KelvaneSDK/Observation/EvaluationObserver.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Takes an engine's results. The application implements it; the engine holds it weakly.
class VariableOutputUpdatesReceiver {
public:
    virtual ~VariableOutputUpdatesReceiver() = default;
    /// One batch's results, on the thread that called Kelvane::updateInputStreams() and before that returns.
    /// It may give the engine its next batch. A skipped batch gives an empty output.
    virtual void newVariableOutputUpdates(const KelvaneOutput& output) = 0;
    /// Every non-empty result of one Kelvane::processAllUpdates(), in the order of the batches, on the thread
    /// that runs the main queue.
    virtual void allUpdatesProcessed(const std::vector<KelvaneOutput>& outputs) = 0;
};

/// Where an engine posts the results of a background run: the application's main thread. An application with
/// an event loop of its own implements this and hands it to its engines.
///
///     class EventLoopQueue final : public MainQueue {
///         void post(std::function<void()> task) override { eventLoop.callLater(std::move(task)); }
///     };
class MainQueue {
public:
    virtual ~MainQueue() = default;
    /// Takes a task to be run later on the main thread, in the order of posting. Called from any thread; must
    /// not run the task itself. A task holds what it needs; it may be dropped unrun.
    virtual void post(std::function<void()> task) = 0;
};

/// A main queue for an application without an event loop, which drains it by calls from its main thread.
///
///     engine.processAllUpdates(readKelvaneInputs(text));
///     DrainedMainQueue::standard()->runNext(std::chrono::steady_clock::now() + 10s);   // delivers the
///     results
///
/// post() may be called from any thread at any time, the others from one thread at a time.
class DrainedMainQueue final : public MainQueue {
public:
    DrainedMainQueue();
    ~DrainedMainQueue() override;
    /// The queue that engines use which were given none.
    static const std::shared_ptr<DrainedMainQueue>& standard();

    void post(std::function<void()> task) override;
    /// Runs the next task, if there is one. Returns whether it did.
    bool runOnce();
    /// Runs tasks, also those posted meanwhile, until there is none. Returns how many.
    std::size_t runUntilEmpty();
    /// Waits for a task until the deadline and runs it. Returns whether it did.
    bool runNext(std::chrono::steady_clock::time_point deadline);

private:
    class Tasks;
    const std::unique_ptr<Tasks> tasks;
};

/// A variable output as an application lists it: its label, and the type of its values as documents name it
/// ("Float", "Vector array").
struct VariableOutputDescription {
    std::string label, typeString;

    friend bool operator==(const VariableOutputDescription&, const VariableOutputDescription&) = default;
};

/// A constant as an application lists it. The value is the present one, by Kelvane::setConstant() or from the
/// document: what a form of settings shows, and writes back.
struct ConstantDescription {
    std::string label;
    Value value;

    friend bool operator==(const ConstantDescription&, const ConstantDescription&) = default;
};

/// A named group of nodes, without behaviour of its own; a diagram without any has one with all its nodes,
/// "[0]". The engine owns the nodes; `description` is the application's to change, and createJSON() writes
/// it.
struct Subdiagram {
    std::string description;
    std::vector<Node*> nodes;
};

/// Names the input streams of a label, without the text of the label. Good until the diagram is replaced:
/// after that, setting a value by it does nothing, or names another label of the new diagram.
class InputStreamHandle {
    friend class Kelvane;
    explicit InputStreamHandle(std::uint32_t place) : index(place) {}
    std::uint32_t index;
};

/// Names the variable outputs of a label in the same way, and for as long. Both are copied like numbers.
class VariableOutputHandle {
    friend class Kelvane;
    explicit VariableOutputHandle(std::uint32_t place) : index(place) {}
    std::uint32_t index;
};

/// What load() made of a document.
struct LoadResult {
    /// Everything that is wrong or suspicious in the document, as checkDiagram() returns it.
    std::vector<Finding> findings;
    /// The diagram was built, in spite of findings milder than those to be refused.
    bool isBuilt = false;
};

struct [[gnu::visibility("hidden")]] EngineState;

/// The diagram engine: one object per diagram. Load a document with load() or read(), then hand it batches of
/// input values; the results go to the receiver, or are returned.
///
///     Kelvane engine;
///     if (!engine.load(text, true, Severity::error).isBuilt) return;
///     const auto result = engine.evaluate({0.01, {{"acceleration", Vector{3, 0, 4}}}});
///     const Value& magnitude = result.outputs.at("magnitude");
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

    // Documents.

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
    /// The diagram as a document. Renumbers the nodes from 0: constants, input streams, functions, variable
    /// outputs, each in list order. A filled integer-array constant, which has no text form, stops the
    /// program.
    virtual std::string createJSON();

    // What the engine does when something is wrong.

    /// Takes the engine's diagnostics from now on, instead of the common sink; an empty function gives them
    /// back to that one. Called on the thread that runs the operation.
    void setDiagnosticSink(DiagnosticSink sink);
    /// What a stop does from now on; at first it ends the program.
    void setStopBehavior(StopBehavior behavior);
    /// Why an operation failed: the reason of a stop, or that memory ran out. The engine then gives empty
    /// results until it is reset or reads another diagram, which also clears this.
    const std::optional<StopReason>& failure() const;
    /// Limits what evaluation may use up, from the next batch on; none at first.
    void setLimits(const EvaluationLimits& limits);
    /// Lets an observer see what becomes of each batch from the next one on, until null takes its place. It
    /// must outlive that.
    void observe(EvaluationObserver* observer);

    // What a diagram offers.

    /// The labels of the input streams, in document order; one that several streams bear stands as often.
    virtual std::vector<std::string> getInputStreams() const;
    /// The variable outputs, hidden ones included, in document order.
    virtual std::vector<VariableOutputDescription> getVariableOutputs() const;
    /// The free-text lines of the document.
    virtual std::vector<std::string> getManualLines() const;
    /// The constants with their present values, in document order.
    virtual std::vector<ConstantDescription> getConstants() const;
    /// Gives every constant with this label a new value, effective from the next batch on; constants of
    /// another type, and a label that no constant bears, are passed over in silence.
    virtual void setConstant(std::string_view label, const Value& newValue);
    /// Leaves the variable outputs with this label out of the results, or takes them in again. They are
    /// evaluated all the same.
    virtual void setVariableOutputHidden(std::string_view label, bool hidden);
    /// Takes the values of the input streams with this label into the results, or leaves them out.
    virtual void setInputStreamForwarding(std::string_view label, bool forwarding);

    // Evaluation with labels. An update without a value for a stream leaves that stream as it is; functions
    // run when their inputs have news, in the order that their connections ask for, and constants are news in
    // every batch. Outputs whose labels name input streams are fed back within the batch.

    /// Evaluates one batch on the calling thread and delivers at most one output to the receiver; an empty
    /// result is not delivered. A batch that follows the previous one (by timestamps) sooner than that one
    /// took to evaluate is skipped and gives an empty output, so that a live feed faster than the
    /// engine drops batches instead of queueing them; the batch after a skipped one is always evaluated.
    /// Values of a wrong type are reported and ignored, and so, silently, are labels without an input stream.
    virtual void updateInputStreams(const KelvaneInput& input);
    /// Batches skipped since timestamps last stopped increasing.
    std::int64_t getFramesSkipped() const;
    /// Evaluates a whole list of batches on the shared background worker, without skipping, and posts one
    /// call of allUpdatesProcessed() with every non-empty result to the main queue. Returns at once. A
    /// receiver that is gone when the results arrive stops the program. When memory runs out, the results of
    /// the batches before are posted, or nothing where there is no memory for that either.
    virtual void processAllUpdates(std::vector<KelvaneInput> diagramInputs);
    /// Evaluates one batch on the calling thread, without the clock and without the receiver: never skips,
    /// and returns the result, which may be empty. The body that both entry points above share.
    KelvaneOutput evaluate(const KelvaneInput& input);
    /// The same into a result of the caller's. One that is filled again and again, like an input that is
    /// reused, makes batches of scalars that allocate nothing.
    void evaluateInto(const KelvaneInput& input, KelvaneOutput& output);
    /// Returns every node to the state before any input arrived. Constants, flags and the timing stay. After
    /// a failure the engine evaluates again.
    virtual void reset();

    // Evaluation with handles: the fastest way, for an application that gives the same labels every time.
    //
    //     const auto in = engine.inputStream("x");
    //     const auto out = engine.variableOutput("y");
    //     engine.set(*in, 1.5);
    //     engine.evaluateSet(0.01);
    //     if (const Value* y = engine.result(*out)) use(y->as<double>());

    /// A handle on the input streams, or the variable outputs, of a label; absent when there are none.
    std::optional<InputStreamHandle> inputStream(std::string_view label);
    std::optional<VariableOutputHandle> variableOutput(std::string_view label);
    /// Gives a value to the streams of a handle, in the batch that evaluateSet() evaluates next. The value
    /// that is set last counts.
    void set(InputStreamHandle streams, const Value& value);
    /// Evaluates the values set since the last time as one batch at `timestamp` (seconds), like evaluate()
    /// but without any text.
    void evaluateSet(double timestamp);
    /// What the latest batch gave for a label, hidden or not; null when it gave nothing. Valid until the next
    /// operation.
    const Value* result(VariableOutputHandle outputs) const;

    // Node classes and nodes.

    /// Makes an application's own node classes known to this engine, in the same way as the library's. A
    /// class under a name that is taken replaces the earlier one for documents read from now on; nodes that
    /// exist stay what they are.
    void registerNodes(const NodeFamily& family);
    /// The classes that documents can name in this engine. Valid until registerNodes() is called.
    const NodeRegistry& nodeTypes() const;
    /// The nodes of a category, in document order; owned by the engine until the diagram is replaced.
    std::span<const std::unique_ptr<Node>> nodeList(NodeCategory category) const;
    /// The function nodes in evaluation order, which evaluation settles; before the first batch, in that of
    /// the document.
    std::span<Node* const> getFunctionNodes() const;
    /// The nodes made by the last appending read(), in document order; absent after a replacing one.
    const std::optional<std::vector<Node*>>& getAddedNodes() const;
    /// The groups of the document, in its order. An appending read() leaves them as they are.
    std::span<Subdiagram> getSubdiagrams();

private:
    friend struct EngineState;
    const std::unique_ptr<EngineState> engine;
};

}  // namespace KelvaneSDK
