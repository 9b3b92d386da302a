#pragma once

// What TimestampedVariable.h needs to be compiled into an application.

#include <span>

#include "KelvaneSDK/TimestampedVariable.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

template <class T>
inline T TimestampedVariable::as() const {
    return required(PayloadType<T>::value).template unchecked<T>();
}

template <class Item>
inline std::span<const Item> TimestampedVariable::items(ValueType type) const {
    return required(type).template items<Item>();
}

}  // namespace KelvaneSDK
