#pragma once

#include <cstdint>

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// What a node last gave to the slots that it feeds. It stands once, at the node; the slots read it there,
/// and each remembers what it has consumed of it, so that giving a value costs the same however many slots it
/// feeds.
struct GivenValue {
    /// What the node's own output slot shows of it.
    enum OutputState : std::uint8_t { holdsValue = 1, isUpdated = 2, isStamped = 4, isCurrent = 7 };
    /// Why giving a value takes more than writing it here.
    enum Special : std::uint8_t {
        isCopied = 1,        ///< some slot keeps a copy, because something else writes to it as well
        isHandWritten = 2,   ///< the output slot holds a value that was written to it and not given yet
        hasSharedClock = 4,  ///< `clock` is the engine's
    };
    static constexpr std::uint8_t absent = 0xff;

    GivenValue() = default;
    GivenValue(const GivenValue&) = delete;
    GivenValue& operator=(const GivenValue&) = delete;

    bool hasValue() const { return kind != absent; }
    template <Payload T>
    bool holds() const {
        return kind == static_cast<std::uint8_t>(PayloadType<T>::value);
    }

    void set(const Value& newValue) {
        value = newValue;
        kind = static_cast<std::uint8_t>(value.type());
    }
    void set(Value&& newValue) {
        value = std::move(newValue);
        kind = static_cast<std::uint8_t>(value.type());
    }
    template <Payload T>
    void set(T payload) {
        if constexpr (PayloadType<T>::value < ValueType::String) {
            if (holds<T>()) return value.replace(payload);
        }
        set(Value(std::move(payload)));
    }
    void clear() {
        value = Value(0.0);
        kind = absent;
    }
    /// What was set counts from now on, as produced at `newTimestamp`.
    void publish(double newTimestamp) {
        timestamp = newTimestamp;
        outputState = isCurrent;
        ++stamp;
    }

    [[no_unique_address]] Value value = Value(0.0);
    /// The type of the value, or absent.
    std::uint8_t kind = absent;
    std::uint8_t outputState = 0;
    bool isConstant = false;
    std::uint8_t special = 0;
    double timestamp = 0;
    /// Counts what was given. Slots compare `*clock`: constants, which are new in every batch, share the
    /// engine's count of batches.
    std::uint64_t stamp = 0;
    const std::uint64_t* clock = &stamp;
};

class TimestampedVariable;

/// An input slot as a compiled diagram reads it. While there is one, the slot keeps what it has consumed
/// here.
struct StepInput {
    /// As `consumed`: the input is consumed together with others, and `clock` is where it stands what.
    static constexpr std::uint64_t together = ~std::uint64_t{0};

    const GivenValue* source;
    const std::uint64_t* clock;
    /// What has been consumed, by the clock.
    std::uint64_t consumed;
    /// The slot; null once it is gone.
    TimestampedVariable* slot;

    bool hasNews() const { return *clock > consumed; }
    void consume() { consumed = *clock; }
    bool isTogether() const { return consumed == together; }
    std::uint64_t consumedSoFar() const { return isTogether() ? *clock : consumed; }
};

}  // namespace KelvaneSDK
