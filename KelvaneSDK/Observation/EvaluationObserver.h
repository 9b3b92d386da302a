#pragma once

#include <chrono>
#include <string_view>

#include "KelvaneSDK/Node.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Sees what an engine does with each batch: an application derives from it and gives it to
/// Kelvane::observe(). RunTally is one that counts, and explains from its counts why nodes stay silent.
///
///     class Printer final : public EvaluationObserver {
///         void nodeRan(const NodeRun& run) override {
///             std::cout << run.node.nameInMessages() << (run.emitted ? " emitted" : " stayed silent") <<
///             "\n";
///         }
///     };
///
/// Calls come on the thread that evaluates, in the order of what happens, within the batch: references and
/// pointers are good during the call only. An observer looks at nodes and input slots, and neither changes
/// anything nor calls the engine; outputs are read by what the calls bring. It may throw nothing but
/// std::bad_alloc. An engine that is observed gives the same results, more slowly.
class EvaluationObserver {
public:
    using Clock = std::chrono::steady_clock;

    /// A value on its way into an input stream.
    struct StreamUpdate {
        const Node& stream;
        /// As it came, of whatever type.
        const Value& value;
        /// False for a value of another type than the stream's, which is reported and dropped.
        bool isTaken;
        /// It came from a variable output of the stream's label, not from the batch.
        bool isFedBack;
    };
    /// A function node that was ready and ran.
    struct NodeRun {
        const Node& node;
        /// What it gave, or null.
        const Value* emitted = nullptr;
        /// Why it gave nothing, in the function's own words ("the gate is closed"); empty where it did, or
        /// does not say. Static text.
        std::string_view silence = {};
        /// When it ran, for an observer that takesTimes().
        Clock::time_point begin = {}, end = {};
    };

    virtual ~EvaluationObserver() = default;

    /// A batch begins, with its timestamp in seconds.
    virtual void batchBegan(double timestamp) { static_cast<void>(timestamp); }
    /// A stream was given a value, before any function runs in this pass.
    virtual void streamUpdated(const StreamUpdate& update) { static_cast<void>(update); }
    /// A function ran, after all that it waited for.
    virtual void nodeRan(const NodeRun& run) { static_cast<void>(run); }
    /// A variable output took what arrived at its input: null where that was of another type than the
    /// output's.
    virtual void outputWritten(const Node& output, const Value* value) {
        static_cast<void>(output), static_cast<void>(value);
    }
    /// The batch has come to its end; not called for one that stopped.
    virtual void batchEnded() {}

    /// Whether the clock is read before and after every run.
    virtual bool takesTimes() const { return false; }
};

}  // namespace KelvaneSDK
