// Any text as a value of every class: what parses is shown in a text that parses to the same value.

#include <cmath>

#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/Values/SlotClasses.h"
#include "support.h"

using namespace KelvaneSDK;

namespace {

void checkSlot(ValueClass slotClass, std::string_view text) {
    const auto slot = makeSlot(slotClass);
    slot->setValueFromString(text);
    if (!slot->hasValue()) return;
    // Filled integer arrays have no text form, and a float shows six digits only.
    const bool hasExactText =
        slotClass != ValueClass::FloatValue && slotClass != ValueClass::IntegerArrayVariable;
    if (!hasExactText) return;
    const auto again = makeSlot(slotClass);
    again->setValueFromString(slot->stringValue());
    KelvaneFuzz::require(again->hasValue(), "a value's text parses");
    KelvaneFuzz::require(again->stringValue() == slot->stringValue(), "a value's text gives the same value");
    KelvaneFuzz::require(!getValueString(*slot->value()).empty() || slotClass == ValueClass::StringValue,
                         "every value has a description");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    KelvaneFuzz::prepare();
    const auto text = KelvaneFuzz::textOf(data, size);
    for (int i = 0; i <= static_cast<int>(ValueClass::SequenceArrayVariable); ++i) {
        if (!isGeneric(static_cast<ValueClass>(i))) checkSlot(static_cast<ValueClass>(i), text);
    }
    if (const auto number = parseDouble(text)) {
        const auto again = parseDouble(doubleText(*number));
        KelvaneFuzz::require(again && (*again == *number || (std::isnan(*again) && std::isnan(*number))),
                             "a number's text gives the same number");
    }
    if (const auto vector = Vector::fromText(text)) {
        KelvaneFuzz::require(Vector::fromText(vector->description()).has_value(),
                             "a vector's description parses");
    }
    if (const auto list = doublesFromText(text)) {
        KelvaneFuzz::require(doublesFromText(description(*list)).has_value(), "a list's description parses");
    }
    std::string json;
    JsonWriter writer(json);
    writer.value(text);
    KelvaneFuzz::require(json.size() >= 2 && json.front() == '"' && json.back() == '"',
                         "any bytes make a JSON string");
    return 0;
}
