#pragma once

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

// Rotations as quaternions. Products are Hamilton products, a unit quaternion q turns a vector v into q v
// q^-1, and q and -q are the same rotation. Nothing checks for unit length: other inputs follow the
// arithmetic.

/// The quaternion scaled to unit length; the identity for zero.
Orientation normalized(const Orientation& q);

/// The rotation about z by `angles.x`, then about the turned y by `angles.y` and the turned x by `angles.z`,
/// all in degrees; and back, with the y angle between -90 and 90. From "Representing Attitude: Euler Angles,
/// Unit Quaternions, and Rotation Vectors" (Stanford University, 2006), sequence (3, 2, 1).
Orientation quaternionFromEuler(const Vector& angles);
Vector eulerFromQuaternion(const Orientation& q);

/// The rotation by `angle` in radians about `axis`, which should be of unit length and is taken as it is.
Orientation quaternionFromAxis(double angle, const Vector& axis);
/// The rotation's axis at unit length (NaN without a rotation) and its angle in radians, from 0 to 2 pi.
Vector rotationAxis(const Orientation& q);
double rotationAngle(const Orientation& q);

/// The rotation v' = M v of a rotation matrix given by its rows. The component that leads is w while the
/// trace is positive and else the one of the largest diagonal element, so that no divisor is small:
/// "Quaternion from Rotation Matrix", Journal of Guidance and Control 1 (3), 1978.
Orientation quaternionFromMatrix(const Vector& row0, const Vector& row1, const Vector& row2);

/// Half the rotation vector (axis times half the angle in radians) of the rotation from 0 to 2 pi that q
/// stands for, and the unit quaternion of such a vector: the logarithm and exponential of "Quaternion
/// Calculus and Fast Animation" (SIGGRAPH course notes, 1987).
Vector quaternionLogarithm(const Orientation& q);
Orientation quaternionExponential(const Vector& halfRotation);

/// The rotation at a fraction of the way from a to b along the shorter arc, at constant angular speed:
/// spherical linear interpolation, "Animating Rotation with Quaternion Curves" (SIGGRAPH 1985). The angle
/// between a and b is 2 atan2(|a - b|, |a + b|), exact also for close orientations: "How Futile are Mindless
/// Assessments of Roundoff in Floating-Point Computation?" (2006), on mangled angles.
Orientation slerp(const Orientation& a, const Orientation& b, double fraction);

/// The rotation at a fraction of the way from a to b on a smooth curve through `before`, a, b and `after`:
/// the spherical quadrangle of "Quaternion Calculus and Fast Animation" (SIGGRAPH course notes, 1987).
Orientation quaternionSpline(const Orientation& before, const Orientation& a, const Orientation& b,
                             const Orientation& after, double fraction);

}  // namespace KelvaneSDK
