#include "KelvaneSDK/NodeClass.h"

#include <array>

#include "KelvaneSDK/Values/ArrayVariables.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t allValueClasses = static_cast<std::size_t>(ValueClass::SequenceArrayVariable) + 1;
constexpr std::size_t allSlotOperations = static_cast<std::size_t>(SlotOperation::writeJson) + 1;

// Whether the class overrides the operation, asked with a value on which no operation stops.
template <class Operation>
bool has(ValueClass valueClass, Operation operation) {
    const auto slot = makeSlot(valueClass, true);
    if (valueClass == ValueClass::IntegerValue) slot->setValue(Value(1));
    return operation(*slot).has_value();
}

bool findSupport(ValueClass valueClass, SlotOperation operation) {
    using Slot = TimestampedVariable;
    if (isGeneric(valueClass)) return true;
    switch (operation) {
        case SlotOperation::none:
            return true;
        case SlotOperation::add:
            return has(valueClass, [](const Slot& slot) { return slot.add(slot); });
        case SlotOperation::subtract:
            return has(valueClass, [](const Slot& slot) { return slot.subtract(slot); });
        case SlotOperation::multiply:
            return has(valueClass, [](const Slot& slot) { return slot.multiply(slot); });
        case SlotOperation::divide:
            return has(valueClass, [](const Slot& slot) { return slot.divide(slot); });
        case SlotOperation::scale:
            return has(valueClass, [](const Slot& slot) { return slot.scale(1); });
        case SlotOperation::negate:
            return has(valueClass, [](const Slot& slot) { return slot.negate(); });
        case SlotOperation::isEqual:
            return has(valueClass, [](const Slot& slot) { return slot.isEqual(slot); });
        case SlotOperation::isLarger:
            return has(valueClass, [](const Slot& slot) { return slot.isLarger(slot); });
        case SlotOperation::isSmaller:
            return has(valueClass, [](const Slot& slot) { return slot.isSmaller(slot); });
        case SlotOperation::isSmallerOrEqual:
            return has(valueClass, [](const Slot& slot) { return slot.isSmallerOrEqual(slot); });
        case SlotOperation::isLargerOrEqual:
            return has(valueClass, [](const Slot& slot) { return slot.isLargerOrEqual(slot); });
        case SlotOperation::sum:
            return has(valueClass, [](const Slot& slot) -> std::optional<Value> {
                const auto* list = dynamic_cast<const ArrayVariable*>(&slot);
                return list != nullptr ? list->sum() : std::nullopt;
            });
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
