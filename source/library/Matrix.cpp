#include "library/Matrix.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

namespace Kvex::Lib {

namespace {

constexpr double kPi = std::numbers::pi;

// Below this sum of two squared elements their atan2 says nothing about an angle.
constexpr double kPoleLimit = 1e-20;

template <class Fixed>
Fixed fixedFrom(const Matrix& m) {
  Fixed result;
  Detail::assign(result, Fixed::rows, Fixed::cols, [&](auto r, auto c) { return m(r, c); });
  return result;
}

// The sine and cosine of an angle.
struct Turn {
  explicit Turn(double angle) : sin(std::sin(angle)), cos(std::cos(angle)) {}

  double sin;
  double cos;
};

double limitedAsin(double sine) {
  if (sine >= 1.0) return kPi / 2;
  if (sine <= -1.0) return -kPi / 2;
  return std::asin(sine);
}

double squares(double a, double b) {
  return a * a + b * b;
}

// Into the range above -pi and up to pi, for an angle less than a turn outside.
double wrapped(double angle) {
  if (angle > kPi) return angle - 2 * kPi;
  if (angle <= -kPi) return angle + 2 * kPi;
  return angle;
}

// An angle as the matrix shows it: the two elements of its sine and cosine.
struct Sighting {
  double sine;
  double cosine;

  double angle() const { return std::atan2(sine, cosine); }
  double strength() const { return squares(sine, cosine); }
};

struct AnglePair {
  double first;
  double second;
};

// Two angles that are not separate: first + sign * second = combined. The one that shows better is taken as it shows.
AnglePair anglesAtPole(const Sighting& first, const Sighting& second, double combined, double sign) {
  if (first.strength() >= second.strength()) {
    if (first.strength() == 0.0) return {combined, 0.0};
    const double angle = first.angle();
    return {angle, wrapped(sign * (combined - angle))};
  }
  const double angle = second.angle();
  return {wrapped(combined - sign * angle), angle};
}

}  // namespace

Status MatAllocR(Matrix& m, std::int32_t maxRows, std::int32_t maxCols) {
  m = {};
  try {
    if (maxRows < 0 || maxCols < 0) throw std::bad_alloc();
    m.data = std::make_unique<double[]>(static_cast<std::size_t>(maxRows) * static_cast<std::size_t>(maxCols));
  } catch (const std::bad_alloc&) {
    report(kOutOfMemory, Severity::Error, __FILE__, __LINE__, __func__, "Unable to allocate memory space for matrix");
    return kOutOfMemory;
  }
  m.maxRows = maxRows;
  m.maxCols = maxCols;
  return kSuccess;
}

Status release(Matrix* m) {
  if (m != nullptr) *m = {};
  return kSuccess;
}

Status copyResized(Matrix& dst, const Matrix& src) {
  if (&dst == &src) return kSuccess;
  if (src.rows > dst.maxRows || src.cols > dst.maxCols) {
    const Status status = MatAllocR(dst, std::max(src.rows, 1), std::max(src.cols, 1));
    if (status != kSuccess) return status;
  }
  return copy(dst, src);
}

Status allocateZeros(Matrix& m, std::int32_t rows, std::int32_t cols, std::int32_t maxRows, std::int32_t maxCols) {
  const Status status = MatAllocR(m, std::max({rows, maxRows, 1}), std::max({cols, maxCols, 1}));
  return status == kSuccess ? fill(m, 0.0, rows, cols) : status;
}

// The three rotations are the products of their elementary rotations, written out.

Matrix3 fullRotation(const Vector3& angles) {
  const Turn h(angles[0]);
  const Turn p(angles[1]);
  const Turn r(angles[2]);
  return {h.cos * p.cos,
          h.cos * p.sin * r.sin - h.sin * r.cos,
          h.cos * p.sin * r.cos + h.sin * r.sin,
          h.sin * p.cos,
          h.sin * p.sin * r.sin + h.cos * r.cos,
          h.sin * p.sin * r.cos - h.cos * r.sin,
          -p.sin,
          p.cos * r.sin,
          p.cos * r.cos};
}

Matrix3 levelRotation(const Vector3& angles) {
  const Turn p(angles[1]);
  const Turn r(angles[2]);
  return {p.cos,  p.sin * r.sin, p.sin * r.cos,  //
          0.0,    r.cos,         -r.sin,         //
          -p.sin, p.cos * r.sin, p.cos * r.cos};
}

Matrix3 headingRotation(const Vector3& angles) {
  const Turn h(angles[0]);
  return {h.cos, -h.sin, 0.0,  //
          h.sin, h.cos,  0.0,  //
          0.0,   0.0,    1.0};
}

Vector3 eulerFromRotation(const Matrix3& rotation) {
  const Matrix3& m = rotation;
  const double pitch = limitedAsin(-m(2, 0));
  const Sighting heading{m(1, 0), m(0, 0)};
  const Sighting roll{m(2, 1), m(2, 2)};
  if (heading.strength() > kPoleLimit || roll.strength() > kPoleLimit) {
    return {heading.angle(), pitch, roll.angle()};
  }
  const bool up = pitch > 0.0;
  const Sighting combined = up ? Sighting{m(1, 2) - m(0, 1), m(0, 2) + m(1, 1)}    // heading - roll
                               : Sighting{-m(1, 2) - m(0, 1), m(1, 1) - m(0, 2)};  // heading + roll
  const AnglePair pair = anglesAtPole(heading, roll, combined.angle(), up ? -1.0 : 1.0);
  return {pair.first, pitch, pair.second};
}

Vector3 eulerFromEuler(const Vector3& angles) {
  return omegaPhiKappa(fullRotation(angles));
}

Vector3 omegaPhiKappa(const Matrix3& rotation) {
  const Matrix3& m = rotation;
  const double phi = limitedAsin(-m(1, 2));
  const Sighting omega{m(0, 2), m(2, 2)};
  const Sighting kappa{-m(1, 0), m(1, 1)};
  if (omega.strength() > kPoleLimit && kappa.strength() > kPoleLimit) return {omega.angle(), phi, kappa.angle()};
  const bool up = phi > 0.0;
  const Sighting combined = up ? Sighting{m(0, 1) - m(2, 0), m(0, 0) + m(2, 1)}    // omega + kappa
                               : Sighting{-m(0, 1) - m(2, 0), m(0, 0) - m(2, 1)};  // omega - kappa
  const AnglePair pair = anglesAtPole(omega, kappa, combined.angle(), up ? 1.0 : -1.0);
  return {pair.first, phi, pair.second};
}

Status fullRotation(Matrix& rotation, const Matrix& angles) {
  return copy(rotation, fullRotation(fixedFrom<Vector3>(angles)));
}

Status levelRotation(Matrix& rotation, const Matrix& angles) {
  return copy(rotation, levelRotation(fixedFrom<Vector3>(angles)));
}

Status headingRotation(Matrix& rotation, const Matrix& angles) {
  return copy(rotation, headingRotation(fixedFrom<Vector3>(angles)));
}

Status eulerFromRotation(Matrix& angles, const Matrix& rotation) {
  return copy(angles, eulerFromRotation(fixedFrom<Matrix3>(rotation)));
}

Status eulerFromEuler(Matrix& out, const Matrix& angles) {
  return copy(out, eulerFromEuler(fixedFrom<Vector3>(angles)));
}

}  // namespace Kvex::Lib
