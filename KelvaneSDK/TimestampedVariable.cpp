#include "KelvaneSDK/TimestampedVariable.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/ValueParsing.h"
#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

ValueClass TimestampedVariable::adoptedType(const TimestampedVariable& source) const {
    const auto companion = [&](std::optional<ValueClass> companionClass) {
        if (!companionClass) {
            stop("a slot of type \"" + std::string(typeString()) +
                 "\" cannot adopt a type from one of type \"" + std::string(source.typeString()) + "\"");
        }
        return *companionClass;
    };
    switch (valueClass()) {
        case ValueClass::ArrayVariable:
            return isArray(source.valueClass()) ? source.valueClass() : companion(source.arrayType());
        case ValueClass::ValueVariable:
            return isArray(source.valueClass()) ? companion(source.baseType()) : source.valueClass();
        default:
            return source.valueClass();
    }
}

std::string TimestampedVariable::stringValue() const { return "<NO STRING CONVERSION>"; }

void TimestampedVariable::setValueFromString(std::string_view text) {
    if (!readsText(valueClass())) return;
    if (auto parsed = valueFromText(valueClass(), text)) {
        setValue(std::move(*parsed));
    } else {
        reportConversionError(text);
    }
}

void TimestampedVariable::reportConversionError(std::string_view text) const {
    printDiagnostic("ERROR: converting " + std::string(text) + " to " + std::string(typeString()) +
                    " failed!");
}

std::optional<Value> TimestampedVariable::add(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::subtract(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::multiply(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::divide(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::scale(double) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isEqual(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isLarger(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isSmaller(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isSmallerOrEqual(const TimestampedVariable&) const {
    return std::nullopt;
}
std::optional<bool> TimestampedVariable::isLargerOrEqual(const TimestampedVariable&) const {
    return std::nullopt;
}
std::optional<Value> TimestampedVariable::negate() const { return std::nullopt; }

void TimestampedVariable::stop(std::string_view reason) const {
    if (owner != nullptr) owner->stop(reason);
    stopProgram(reason);
}

void TimestampedVariable::stopOnPayload(ValueType wanted) const {
    const std::string name = label != nullptr ? "input \"" + std::string(label) + "\"" : "a slot";
    const std::string found =
        present ? "a value of type " + std::string(valueTypeName(stored.type())) : "no value";
    stop(name + " holds " + found + " where " + std::string(valueTypeName(wanted)) + " is needed");
}

}  // namespace KelvaneSDK
