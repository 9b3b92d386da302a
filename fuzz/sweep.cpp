// The engine's evaluation against the plain one: results, lines, settled order and every slot are the same
// after every batch, whatever is hidden, fed back, fed twice, run by rules of its own, or changed in between.

#include "AnyDiagram.h"
#include "support.h"
#include "support/PlainEngine.h"

using namespace KelvaneSDK;
using namespace KelvaneSDK::testing_support;
using KelvaneFuzz::require;

namespace {

// Runs at every second sweep that finds its input new.
class EverySecondFunction final : public FunctionNode {
public:
    bool allInputsUpdated() const override { return FunctionNode::allInputsUpdated() && ++found % 2 == 0; }
    void process() override { finish(real(0)); }

private:
    mutable int found = 0;
};

// Forwards its input and the absence of a value in turn, and says nothing about its slots.
class ErasingFunction final : public FunctionNode {
public:
    void createInputs() override { appendInput(ValueClass::FloatValue, "x"); }
    void createOutput() override { makeOutput(ValueClass::FloatValue); }
    void setTypeString() override { typeString = "Sine"; }
    void process() override {
        isErasing = !isErasing;
        if (!isErasing) return finish(real(0));
        consumeInputs();
        output().clearValue();
        forwardOutput();
    }

private:
    bool isErasing = false;
};

/// Functions of one number are replaced by classes of an application's own.
void registerOwnNodes(Kelvane& engine) {
    NodeFamily family = functionFamily("Own", {entry<ErasingFunction>("")});
    for (const auto* name : {"Absolute", "Cosine", "Tangent"}) {
        Declaration declaration{.name = name, .inputs = {{"x", ValueClass::FloatValue}}};
        declaration.output = ValueClass::FloatValue;
        declaration.readiness = Readiness::own;
        family.classes.push_back(NodeClass::declared(declaration, [](const Declaration& own) {
            auto node = std::make_unique<EverySecondFunction>();
            node->declare(own);
            node->initialize();
            return std::unique_ptr<Node>(std::move(node));
        }));
    }
    engine.registerNodes(family);
}

bool isFatal(const std::string& document) {
    const auto findings = checkDiagram(document);
    return std::any_of(findings.begin(), findings.end(),
                       [](const auto& finding) { return finding.severity == Severity::fatal; });
}

// A slot that the node may feed, mostly one that makes no cycle; null when there is none.
TimestampedVariable* anyReaderOf(const Node& node, KelvaneFuzz::Choices& choices, const Kelvane& engine) {
    std::vector<TimestampedVariable*> slots;
    const bool mayCycle = choices.oneIn(8);
    for (const auto* reader : nodesOf(engine)) {
        if (!mayCycle && *reader->id <= *node.id) continue;
        for (auto* slot : reader->inputValues()) {
            if (isGeneric(slot->valueClass()) || slot->valueClass() == node.output().valueClass())
                slots.push_back(slot);
        }
    }
    return slots.empty() ? nullptr : choices.oneOf(slots);
}

/// Makes a change between batches. True when the engine has read a document.
bool change(KelvaneFuzz::Choices choices, Kelvane& engine) {
    const auto nodes = nodesOf(engine);
    Node& node = *choices.oneOf(nodes);
    const auto fed = node.connectedInputValues();
    switch (choices.between(0, 8)) {
        case 0:
            engine.reset();
            break;
        case 1:
            node.reset();
            break;
        case 2:
            KelvaneFuzz::setAnyConstants(choices, engine);
            break;
        case 3:
        case 4:
            if (auto* slot = anyReaderOf(node, choices, engine)) node.connectOutput(*slot);
            break;
        case 5:
            if (!fed.empty()) node.disconnect(*choices.oneOf(fed));
            break;
        case 6:
            node.setProperty("Description", std::string(1, choices.between('a', 'f')));
            break;
        case 7: {
            const auto* const name = choices.flag()   ? "Hidden"
                                     : choices.flag() ? "Forwarding"
                                                      : "OutputValue";
            node.setProperty(name, choices.flag() ? "true" : "false");
            break;
        }
        default:
            const std::string added = DiagramData{KelvaneFuzz::anyDiagram(choices, false)}.encode();
            return !isFatal(added) && engine.read(added, false);
    }
    return false;
}

struct Observed {
    std::string stop, lines;
    bool operator==(const Observed&) const = default;
};

template <class Step>
Observed observe(Step step) {
    Observed observed;
    setDiagnosticSink([&](std::string_view line) { (observed.lines += line) += '\n'; });
    observed.stop = KelvaneFuzz::stopReason(step);
    KelvaneFuzz::prepare();
    return observed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::prepare();
    KelvaneFuzz::Choices choices(bytes, size);
    const std::string document = DiagramData{KelvaneFuzz::anyDiagram(choices, choices.oneIn(4))}.encode();
    if (isFatal(document)) return 0;
    const bool hasOwnNodes = choices.oneIn(4);
    Kelvane engine;
    PlainEngine plain;
    for (auto* each : {&engine, &plain.engine}) {
        if (hasOwnNodes) registerOwnNodes(*each);
        require(each->read(document, true), "a sound diagram builds");
    }
    plain.takeNodes();
    engine.setLimits(KelvaneFuzz::limits);
    // Without a time limit, which only the engine itself can keep; it goes first.
    plain.engine.setLimits({KelvaneFuzz::limits.maxElements});
    require(idsOf(engine.getFunctionNodes()) == idsOf(plain.order), "the order is the document's at first");
    // To look at an output makes a difference to the engine.
    const bool looksLate = size % 2 == 0;
    EvaluationObserver observer;
    if (size % 3 == 0) engine.observe(&observer);
    for (int round = choices.between(1, 4); round > 0; --round) {
        for (const auto& batch : KelvaneFuzz::anyBatches(choices, engine)) {
            KelvaneOutput output, plainOutput;
            const auto evaluated = observe([&] { output = engine.evaluate(batch); });
            // What only the engine itself can survive.
            if (KelvaneFuzz::wasOutOfTime(evaluated.stop) || evaluated.lines.ends_with("out of memory!\n"))
                return 0;
            require(evaluated == observe([&] { plainOutput = plain.evaluate(batch); }),
                    "the lines and the reason of a stop are the same");
            if (!evaluated.stop.empty()) return 0;
            require(KelvaneFuzz::textOf(output) == KelvaneFuzz::textOf(plainOutput),
                    "the results are the same");
            require(idsOf(engine.getFunctionNodes()) == idsOf(plain.order), "the settled order is the same");
            if (!looksLate) require(stateOf(engine) == stateOf(plain.engine), "every slot is the same");
        }
        for (int count = choices.between(1, 4); count > 0; --count) {
            const auto changed = observe([&] { change(choices, engine); });
            require(changed == observe([&] {
                        if (change(choices, plain.engine)) plain.takeNodes();
                    }),
                    "both take the change alike");
            if (!changed.stop.empty()) return 0;
            choices.text(64);
        }
        if (round == 1) require(stateOf(engine) == stateOf(plain.engine), "every slot is the same");
    }
    return 0;
}
