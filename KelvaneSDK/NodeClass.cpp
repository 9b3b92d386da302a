#include "KelvaneSDK/NodeClass.h"

#include <array>

#include "KelvaneSDK/Values/ArrayVariables.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t allValueClasses = static_cast<std::size_t>(ValueClass::SequenceArrayVariable) + 1;
constexpr std::size_t allSlotOperations = static_cast<std::size_t>(SlotOperation::writeJson) + 1;

// Whether the class overrides the operation, asked with a value on which no operation stops.
bool findSupport(ValueClass valueClass, SlotOperation operation) {
    if (isGeneric(valueClass)) return true;
    const auto made = makeSlot(valueClass, true);
    if (valueClass == ValueClass::IntegerValue) made->setValue(Value(1));
    const TimestampedVariable& slot = *made;
    switch (operation) {
        case SlotOperation::none:
            return true;
        case SlotOperation::add:
            return slot.add(slot).has_value();
        case SlotOperation::subtract:
            return slot.subtract(slot).has_value();
        case SlotOperation::multiply:
            return slot.multiply(slot).has_value();
        case SlotOperation::divide:
            return slot.divide(slot).has_value();
        case SlotOperation::scale:
            return slot.scale(1).has_value();
        case SlotOperation::negate:
            return slot.negate().has_value();
        case SlotOperation::isEqual:
            return slot.isEqual(slot).has_value();
        case SlotOperation::isLarger:
            return slot.isLarger(slot).has_value();
        case SlotOperation::isSmaller:
            return slot.isSmaller(slot).has_value();
        case SlotOperation::isSmallerOrEqual:
            return slot.isSmallerOrEqual(slot).has_value();
        case SlotOperation::isLargerOrEqual:
            return slot.isLargerOrEqual(slot).has_value();
        case SlotOperation::sum:
            return isArray(valueClass) && static_cast<const ArrayVariable&>(slot).sum().has_value();
        case SlotOperation::writeJson:
            return !isArray(valueClass) || valueClass == ValueClass::FloatArrayVariable;
        case SlotOperation::sort:
            return isArray(valueClass) && valueClass != ValueClass::VectorArrayVariable &&
                   valueClass != ValueClass::OrientationArrayVariable &&
                   valueClass != ValueClass::SequenceArrayVariable;
    }
    return true;
}

}  // namespace

bool supports(ValueClass valueClass, SlotOperation operation) {
    static const auto table = [] {
        std::array<std::array<bool, allSlotOperations>, allValueClasses> supported{};
        for (std::size_t c = 0; c < allValueClasses; ++c) {
            for (std::size_t o = 0; o < allSlotOperations; ++o) {
                supported[c][o] = findSupport(static_cast<ValueClass>(c), static_cast<SlotOperation>(o));
            }
        }
        return supported;
    }();
    return table[static_cast<std::size_t>(valueClass)][static_cast<std::size_t>(operation)];
}

}  // namespace KelvaneSDK
