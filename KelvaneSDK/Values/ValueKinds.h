#pragma once

// The fourteen types of values that constants, input streams and variable outputs come in.

/// Expands `KIND(name, slot class, description of one value)` for every type, in the order of the
/// documentation.
#define KELVANE_VALUE_KINDS(KIND)                                                \
    KIND(Float, FloatValue, "a number")                                          \
    KIND(Integer, IntegerValue, "a whole number")                                \
    KIND(Boolean, BooleanValue, "true or false")                                 \
    KIND(Vector, VectorValue, "three numbers x, y, z")                           \
    KIND(Orientation, OrientationValue, "a rotation as a quaternion x, y, z, w") \
    KIND(Sequence, SequenceValue, "a time series of samples (t, f)")             \
    KIND(String, StringValue, "a text")                                          \
    KIND(FloatArray, FloatArrayVariable, "a list of numbers")                    \
    KIND(IntegerArray, IntegerArrayVariable, "a list of whole numbers")          \
    KIND(BooleanArray, BooleanArrayVariable, "a list of true and false")         \
    KIND(VectorArray, VectorArrayVariable, "a list of vectors")                  \
    KIND(OrientationArray, OrientationArrayVariable, "a list of rotations")      \
    KIND(StringArray, StringArrayVariable, "a list of texts")                    \
    KIND(SequenceArray, SequenceArrayVariable, "a list of time series")
