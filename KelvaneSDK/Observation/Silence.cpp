#include <algorithm>
#include <unordered_set>

#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/Observation/RunTally.h"

namespace KelvaneSDK {

namespace {

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

/// "never", "once", "14084 times"
std::string times(std::uint64_t count) {
    if (count == 0) return "never";
    return count == 1 ? "once" : std::to_string(count) + " times";
}

std::string atTime(std::string_view preposition, double time) {
    return std::string(preposition) + " t = " + getValueString(time);
}

std::string since(const std::optional<double>& time) { return time ? ", " + atTime("since", *time) : ""; }

std::string typeName(ValueType type) { return std::string(valueTypeName(type)); }

std::string slotName(const TimestampedVariable& slot) {
    return "input " + (slot.label != nullptr ? quoted(slot.label) : std::to_string(slot.index));
}

const Declaration* declarationOf(const Node& node) {
    const auto* const function = dynamic_cast<const FunctionNode*>(&node);
    return function != nullptr ? function->declaration() : nullptr;
}

/// What came through an input.
struct Feed {
    const TimestampedVariable* slot;
    /// The first that is no constant, or else the first of all; null where nothing is connected.
    const Node* feeder;
    std::uint64_t updates = 0, trues = 0;
    bool isConstant = true;

    std::string name() const {
        return slotName(*slot) + (feeder != nullptr ? ", fed by " + shortName(*feeder) + "," : "");
    }
};

class Explanation {
public:
    Explanation(const Kelvane& diagram, const RunTally& counts)
        : engine(diagram), tally(counts), feeders(diagram) {}

    std::vector<Feed> feedsOf(const Node& node) const {
        std::vector<Feed> feeds;
        for (const auto* slot : node.inputValues()) {
            Feed feed{slot, nullptr};
            for (const auto* feeder : feeders.of(*slot)) {
                const bool isConstant = feeder->category == NodeCategory::Constant;
                if (feed.feeder == nullptr || (feed.isConstant && !isConstant)) feed.feeder = feeder;
                feed.isConstant &= isConstant;
                feed.updates += isConstant ? tally.batches() : tally.of(*feeder).emissions;
                feed.trues += tally.of(*feeder).trues;
            }
            feeds.push_back(feed);
        }
        return feeds;
    }

    /// Whether a node gave as often as its inputs would let it.
    bool isQuiet(const Node& node) const {
        const auto& own = tally.of(node);
        if (node.category == NodeCategory::VariableOutput) return own.emissions == 0;
        if (own.emissions == 0) return true;
        const auto* const declared = declarationOf(node);
        if (declared == nullptr || declared->readiness != Readiness::allInputs) return own.silentRuns() > 0;
        std::uint64_t most = 0;
        for (const auto& feed : feedsOf(node)) most = std::max(most, feed.isConstant ? 0 : feed.updates);
        return own.emissions < most;
    }

    std::vector<SilenceCause> of(const Node& node) {
        chain.clear();
        open.clear();
        follow(node);
        return std::move(chain);
    }

private:
    void end(const Node& node, std::string_view code, std::string text, std::string remedy = {}) {
        chain.push_back({&node, code, std::move(text), std::move(remedy)});
    }

    /// Goes on with who should have fed `feed`.
    void waitFor(const Node& node, const Feed& feed) {
        chain.push_back({&node, "waits", feed.name() + " was never updated", {}});
        follow(*feed.feeder);
    }

    void follow(const Node& node) {
        if (!open.insert(&node).second) {
            return end(node, "no-first-value", "it waits for its own output, which never got a first value",
                       "give the feedback a first value: `--init LABEL=VALUE` for its input stream, or "
                       "\"Pass updated\" "
                       "between the loop and a value that comes once");
        }
        switch (node.category.value_or(NodeCategory::Function)) {
            case NodeCategory::InputStream:
                return followStream(node);
            case NodeCategory::VariableOutput:
                return followOutput(node);
            case NodeCategory::Constant:
                return end(node, "speaks", "it is a constant, new in every batch");
            case NodeCategory::Function:
                return followFunction(node);
        }
    }

    void followStream(const Node& stream) {
        const auto& own = tally.of(stream);
        if (own.refused > 0) {
            return end(stream, "refused-type",
                       "refused " + std::to_string(own.refused) + " of " +
                           std::to_string(own.refused + own.emissions) + " updates" +
                           since(own.firstRefused) + ": they were " + typeName(own.refusedType) +
                           ", and it takes " + std::string(stream.typeString),
                       "make it an input stream of type " + typeName(own.refusedType) +
                           ", or write the recording's values as " + std::string(stream.typeString));
        }
        if (own.emissions > 0) return speak(stream);
        const auto outputs = outputsCalled(stream.label());
        if (outputs.empty()) {
            return end(stream, "never-updated", "no update names it",
                       "name it in the recording, give it a value with `--init`, or rename it to what the "
                       "recording has");
        }
        chain.push_back({&stream,
                         "waits",
                         "no update names it, and the variable output of its label gave it nothing",
                         {}});
        follow(*outputs.front());
    }

    void followOutput(const Node& output) {
        const auto& own = tally.of(output);
        const auto feed = feedsOf(output).front();
        if (feed.feeder == nullptr) return unconnected(output, feed);
        if (own.refused > 0) {
            return end(output, "dropped-type",
                       "dropped " + std::to_string(own.refused) + " values" + since(own.firstRefused) +
                           ": they were " + typeName(own.refusedType) + ", and it takes " +
                           std::string(output.typeString),
                       "make it a variable output of type " + typeName(own.refusedType));
        }
        if (own.emissions == 0) return waitFor(output, feed);
        speak(output);
    }

    void followFunction(const Node& node) {
        const auto feeds = feedsOf(node);
        for (const auto& feed : feeds) {
            if (feed.feeder == nullptr) return unconnected(node, feed);
        }
        const auto* const declared = declarationOf(node);
        const auto readiness = declared != nullptr ? declared->readiness : Readiness::own;
        const auto& own = tally.of(node);
        if (readiness == Readiness::trueTrigger && own.runs == 0 && feeds[0].updates > 0 &&
            feeds[0].trues == 0)
            return neverTrue(node, feeds[0]);
        if (readiness == Readiness::selectedInput && own.runs == 0 && feeds[0].updates > 0)
            return followChosen(node, feeds[0], feeds[feeds[0].trues > 0 ? 1 : 2]);
        if (const auto* const missing = mostMissing(feeds); missing != nullptr && own.runs == 0)
            return waitFor(node, *missing);
        if (own.silentRuns() > 0) return explainSilentRuns(node, feeds);
        if (readiness == Readiness::own && own.runs == 0) {
            return end(node, "own-rule",
                       "it never ran, by a rule of its own class, though every input was updated");
        }
        if (readiness == Readiness::allInputs) return compareRates(node, feeds);
        speak(node);
    }

    void speak(const Node& node) {
        const auto& own = tally.of(node);
        end(node, "speaks",
            "it gave " + std::to_string(own.emissions) + " values" +
                (own.firstEmission ? ", the first " + atTime("at", *own.firstEmission) + ", the latest " +
                                         atTime("at", *own.lastEmission)
                                   : ""));
    }

    void unconnected(const Node& node, const Feed& feed) {
        end(node, "unconnected", slotName(*feed.slot) + " is connected to nothing",
            "connect it, or give it a constant");
    }

    void neverTrue(const Node& node, const Feed& feed) {
        end(node, "never-true", feed.name() + " was updated " + times(feed.updates) + " and never true",
            "see what decides it: `--tap` shows its values");
    }

    void followChosen(const Node& node, const Feed& select, const Feed& chosen) {
        chain.push_back({&node,
                         "waits",
                         slotName(*select.slot) + " was true " + times(select.trues) + " of " +
                             std::to_string(select.updates) + ", and " + chosen.name() + " was never updated",
                         {}});
        follow(*chosen.feeder);
    }

    /// Of the inputs that were never updated, one whose feeder is not being explained already, if there is
    /// one: a loop without a first value is only the reason when nothing else is missing.
    const Feed* mostMissing(const std::vector<Feed>& feeds) const {
        const Feed* missing = nullptr;
        for (const auto& feed : feeds) {
            if (feed.updates > 0) continue;
            if (missing == nullptr || leadsBack(*missing)) missing = &feed;
        }
        return missing;
    }

    // Whether what is missing comes from the chain itself, as far as silent nodes lead.
    bool leadsBack(const Feed& feed) const {
        std::unordered_set<const Node*> seen;
        std::vector<const Node*> rest{feed.feeder};
        while (!rest.empty()) {
            const Node& node = *rest.back();
            rest.pop_back();
            if (open.contains(&node)) return true;
            if (!seen.insert(&node).second || tally.of(node).emissions > 0) continue;
            if (node.category == NodeCategory::InputStream) {
                const auto outputs = outputsCalled(node.label());
                rest.insert(rest.end(), outputs.begin(), outputs.end());
            }
            for (const auto& own : feedsOf(node)) {
                if (own.feeder != nullptr && own.updates == 0) rest.push_back(own.feeder);
            }
        }
        return false;
    }

    void explainSilentRuns(const Node& node, const std::vector<Feed>& feeds) {
        const auto& own = tally.of(node);
        std::string text = "ran " + times(own.runs) + " and gave " +
                           (own.emissions == 0 ? "nothing" : std::to_string(own.emissions) + " values");
        char separator = ':';
        for (const auto& [reason, count, first, last] : own.silences) {
            text += separator;
            text +=
                " " + std::string(reason.empty() ? "it gave no reason" : reason) + " (" + times(count) +
                ", " +
                (count == 1 ? atTime("at", first) : atTime("from", first) + " to " + getValueString(last)) +
                ")";
            separator = ',';
        }
        if (own.emissions > 0 && own.silentSince) text += "; nothing " + atTime("since", *own.silentSince);
        for (const auto& feed : feeds) {
            if (feed.slot->valueClass() == ValueClass::BooleanValue && !feed.isConstant) {
                text += "; " + feed.name() + " was true " + times(feed.trues) + " of " +
                        std::to_string(feed.updates);
            }
        }
        const auto* const declared = declarationOf(node);
        end(node, "silent", std::move(text),
            declared != nullptr && !declared->silentWhen.empty()
                ? "it stays silent " + std::string(declared->silentWhen)
                : "");
    }

    void compareRates(const Node& node, const std::vector<Feed>& feeds) {
        const auto isLess = [](const Feed& a, const Feed& b) { return a.updates < b.updates; };
        std::vector<Feed> moving;
        std::copy_if(feeds.begin(), feeds.end(), std::back_inserter(moving),
                     [](const auto& feed) { return !feed.isConstant; });
        if (moving.empty()) return speak(node);
        const auto [slow, fast] = std::minmax_element(moving.begin(), moving.end(), isLess);
        if (slow->updates == fast->updates) return speak(node);
        end(node, "rates-differ",
            "ran " + times(tally.of(node).runs) + ": it needs a new value of every input, and " +
                slow->name() + " was updated " + times(slow->updates) + ", " + fast->name() + " " +
                times(fast->updates),
            "hold the slower one: \"Updated\" of " + shortName(*fast->feeder) +
                " into the trigger of a \"Trigger\" whose value is " + shortName(*slow->feeder));
        // Where the slower one falls behind for a reason of its own, that comes first.
        if (slow->feeder->category != NodeCategory::InputStream && isQuiet(*slow->feeder) &&
            open.insert(slow->feeder).second)
            followFunction(*slow->feeder);
    }

    std::vector<const Node*> outputsCalled(std::string_view label) const {
        std::vector<const Node*> outputs;
        for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
            if (node->label() == label) outputs.push_back(node.get());
        }
        return outputs;
    }

    const Kelvane& engine;
    const RunTally& tally;
    const Feeders feeders;
    std::vector<SilenceCause> chain;
    std::unordered_set<const Node*> open;
};

}  // namespace

std::vector<SilenceCause> whySilent(const Kelvane& engine, const RunTally& tally, const Node& node) {
    return Explanation(engine, tally).of(node);
}

std::vector<const Node*> quietNodes(const Kelvane& engine, const RunTally& tally) {
    const Explanation explanation(engine, tally);
    std::vector<const Node*> quiet;
    for (const auto category : {NodeCategory::VariableOutput, NodeCategory::Function}) {
        for (const auto& node : engine.nodeList(category)) {
            if (explanation.isQuiet(*node)) quiet.push_back(node.get());
        }
    }
    return quiet;
}

std::string shortName(const Node& node) {
    const auto label = node.descriptionString();
    if (label && *label != node.typeString) return quoted(*label);
    return std::string(node.typeString) + (node.id ? " (id " + std::to_string(*node.id) + ")" : "");
}

}  // namespace KelvaneSDK
