#pragma once

// The arithmetic of single payloads, shared by the scalar slots and, element by element, by the array slots.

#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

inline Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vector operator*(const Vector& a, const Vector& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
inline Vector operator/(const Vector& a, const Vector& b) { return {a.x / b.x, a.y / b.y, a.z / b.z}; }
inline Vector operator*(const Vector& a, double factor) { return {a.x * factor, a.y * factor, a.z * factor}; }
inline Vector operator-(const Vector& a) { return {-a.x, -a.y, -a.z}; }

inline Orientation operator+(const Orientation& a, const Orientation& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
}
inline Orientation operator-(const Orientation& a, const Orientation& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
}
inline Orientation operator*(const Orientation& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor, a.w * factor};
}
inline Orientation operator-(const Orientation& a) { return {-a.x, -a.y, -a.z, -a.w}; }

/// The Hamilton product a × b.
inline Orientation operator*(const Orientation& a, const Orientation& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,  //
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,  //
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w,  //
            a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

inline double squaredLength(const Orientation& q) { return q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w; }

/// The conjugate divided by the squared length.
inline Orientation inverse(const Orientation& q) {
    const double m = squaredLength(q);
    return {-q.x / m, -q.y / m, -q.z / m, q.w / m};
}

inline Orientation operator/(const Orientation& a, const Orientation& b) { return a * inverse(b); }

/// The text a followed by the text b.
inline String operator+(const String& a, const String& b) {
    ListBuilder<char> both(a.view().size() + b.view().size());
    both.append(std::span<const char>(a.view()));
    both.append(std::span<const char>(b.view()));
    return String(both.finish().shared());
}

/// A double truncated toward zero, or absent when that is no 64-bit integer (NaN and infinities included).
inline std::optional<std::int64_t> truncatedInteger(double x) {
    // Both bounds are exact doubles; 2^63 itself does not fit.
    if (!(x > -9223372036854777856.0 && x < 9223372036854775808.0)) return std::nullopt;
    return static_cast<std::int64_t>(x);
}

inline std::optional<std::int64_t> checkedSum(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    return __builtin_add_overflow(a, b, &result) ? std::nullopt : std::optional(result);
}
inline std::optional<std::int64_t> checkedDifference(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    return __builtin_sub_overflow(a, b, &result) ? std::nullopt : std::optional(result);
}
inline std::optional<std::int64_t> checkedProduct(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    return __builtin_mul_overflow(a, b, &result) ? std::nullopt : std::optional(result);
}
/// Truncates toward zero; absent for a zero divisor and for the one quotient that overflows.
inline std::optional<std::int64_t> checkedQuotient(std::int64_t a, std::int64_t b) {
    if (b == 0 || (b == -1 && a == INT64_MIN)) return std::nullopt;
    return a / b;
}

/// Negative, zero or positive as text a sorts before, with or after text b: by Unicode scalar values after
/// canonical composition (NFC, Unicode Standard Annex 15). Text that is not UTF-8 compares by its bytes.
int compareTexts(std::string_view a, std::string_view b);

}  // namespace KelvaneSDK
