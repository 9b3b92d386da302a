#include "KelvaneSDK/DiagramCheck/ConstantText.h"

namespace KelvaneSDK {

std::string_view textFormOf(ValueClass valueClass) {
    switch (valueClass) {
        case ValueClass::FloatValue:
            return "a number";
        case ValueClass::IntegerValue:
            return "a whole number of 64 bits";
        case ValueClass::BooleanValue:
            return "\"true\" or \"false\"";
        case ValueClass::VectorValue:
            return "three numbers between commas";
        case ValueClass::OrientationValue:
            return "four numbers between commas";
        case ValueClass::SequenceValue:
            return "pairs of numbers between commas";
        case ValueClass::FloatArrayVariable:
            return "numbers between commas";
        case ValueClass::IntegerArrayVariable:
            return "whole numbers of 64 bits between commas";
        case ValueClass::BooleanArrayVariable:
            return "\"true\" and \"false\" between commas";
        case ValueClass::VectorArrayVariable:
            return "groups of three numbers between commas";
        default:  // orientation arrays: the classes left read any text, or none
            return "groups of four numbers between commas";
    }
}

}  // namespace KelvaneSDK
