#include "KelvaneSDK/FunctionNode.h"

#include "KelvaneSDK/ElementArithmetic.h"

namespace KelvaneSDK {

void FunctionNode::initialize() {
    createInputs();
    createOutput();
    classString = classStringOf(NodeCategory::Function);
    setTypeString();
    descriptionString = typeString;
}

const ArrayVariable& FunctionNode::arrayInput(std::size_t index) const {
    const auto* array = dynamic_cast<const ArrayVariable*>(&input(index));
    if (array == nullptr) stop("input " + std::to_string(index) + " is no array slot");
    return *array;
}

const Value& FunctionNode::value(std::size_t index) const {
    const Value* payload = input(index).payload();
    if (payload == nullptr) stop("input " + std::to_string(index) + " holds no value");
    return *payload;
}

std::string_view FunctionNode::text(std::size_t index) const {
    const auto characters = input(index).items<char>(ValueType::String);
    return {characters.data(), characters.size()};
}

void FunctionNode::endWithoutOutput() {
    for (auto* slot : inputValues()) slot->updated = false;
}

void FunctionNode::emit(Value newOutput) {
    outputValue()->setValue(std::move(newOutput));
    publishOutput();
}

std::int64_t FunctionNode::checkedAdd(std::int64_t a, std::int64_t b) const {
    const auto sum = checkedSum(a, b);
    if (!sum) stop("an integer count overflows 64 bits");
    return *sum;
}

}  // namespace KelvaneSDK
