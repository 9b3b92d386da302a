#pragma once

#include <string>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"
#include "KelvaneSDK/Nodes/InputStreamNode.h"
#include "KelvaneSDK/Nodes/VariableOutputNode.h"

namespace KelvaneSDK::testing_support {

/// The evaluation of a batch as plainly as it can be said, over the nodes of an engine of its own. What the
/// engine does faster must give the same results, order and slots.
class PlainEngine {
public:
    KelvaneOutput evaluate(const KelvaneInput& input);

    /// After the engine read a document: its nodes, in document order.
    void takeNodes();

    Kelvane engine;
    /// The function nodes in evaluation order.
    std::vector<Node*> order;

private:
    void separateSlots();
    void pass(const LabelledValues& values);
    std::map<std::string, std::optional<Value>> sweep();

    std::vector<InputStreamNode*> streams;
    std::vector<VariableOutputNode*> outputs;
    KelvaneOutput output;
    LabelledValues allInputs;
};

/// All nodes, category by category.
std::vector<Node*> nodesOf(const Kelvane& engine);

std::vector<std::int64_t> idsOf(std::span<Node* const> nodes);

/// Every slot's state, as text.
std::string stateOf(const Kelvane& engine);

}  // namespace KelvaneSDK::testing_support
