#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "library/Status.h"

namespace Kvex::Lib {

/// A dense row-major matrix of doubles whose size is known when it is compiled: what the decoders rotate with. It lives
/// where it stands, without allocation.
template <std::int32_t Rows, std::int32_t Cols>
struct FixedMatrix {
  static constexpr std::int32_t rows = Rows;
  static constexpr std::int32_t cols = Cols;

  std::array<double, static_cast<std::size_t>(Rows* Cols)> data{};

  constexpr double& operator()(std::int32_t r, std::int32_t c) { return data[static_cast<std::size_t>(r * Cols + c)]; }
  constexpr double operator()(std::int32_t r, std::int32_t c) const {
    return data[static_cast<std::size_t>(r * Cols + c)];
  }

  /// Element of a column vector.
  constexpr double& operator[](std::size_t r) requires(Cols == 1) { return data[r]; }
  constexpr double operator[](std::size_t r) const requires(Cols == 1) { return data[r]; }

  constexpr bool operator==(const FixedMatrix&) const = default;
};

/// A 3 by 1 vector, for instance `Vector3{heading, pitch, roll}`.
using Vector3 = FixedMatrix<3, 1>;
using Matrix3 = FixedMatrix<3, 3>;

/// A dense row-major matrix of doubles with a capacity that is allocated once (`MatAllocR`) and a size within it that
/// each operation sets. Nothing checks a size against the capacity: allocate each matrix for the largest size that it
/// will hold. One thread at a time.
struct Matrix {
  std::unique_ptr<double[]> data;  ///< `maxRows` times `maxCols` doubles; null before `MatAllocR`.
  std::int32_t rows = 0;           ///< Rows in use.
  std::int32_t cols = 0;           ///< Columns in use.
  std::int32_t maxRows = 0;        ///< Capacity in rows.
  std::int32_t maxCols = 0;        ///< Capacity in columns, and the stride between rows.

  double& operator()(std::int32_t r, std::int32_t c) { return data[std::ptrdiff_t{r} * maxCols + c]; }
  double operator()(std::int32_t r, std::int32_t c) const { return data[std::ptrdiff_t{r} * maxCols + c]; }
};

/// Either of the two kinds of matrix.
template <class M>
concept AnyMatrix = requires(const M& m) {
  { m.rows } -> std::convertible_to<std::int32_t>;
  { m.cols } -> std::convertible_to<std::int32_t>;
  { m(0, 0) } -> std::convertible_to<double>;
};

// Every operation gives 0, except for the three that allocate. A result matrix must not be an operand of a product.

/// Allocates `m` for `maxRows` by `maxCols` elements, its size being 0 by 0. When the memory runs out, or a capacity is
/// negative, reports and gives 1, and `m` is empty.
Status MatAllocR(Matrix& m, std::int32_t maxRows, std::int32_t maxCols);

/// Frees the storage. `m` may be null or empty.
Status release(Matrix* m);

/// `dst = src` with its size. If `src` exceeds the capacity of `dst`, `dst` is first allocated anew, for at least one
/// element; gives 1 when the memory for that runs out.
Status copyResized(Matrix& dst, const Matrix& src);

/// `MatAllocR` for the larger of size and capacity, at least 1 by 1; then `rows` by `cols` zeros.
Status allocateZeros(Matrix& m, std::int32_t rows, std::int32_t cols, std::int32_t maxRows, std::int32_t maxCols);

namespace Detail {

inline void setSize(Matrix& m, std::int32_t rows, std::int32_t cols) {
  m.rows = rows;
  m.cols = cols;
}

template <std::int32_t Rows, std::int32_t Cols>
constexpr void setSize(FixedMatrix<Rows, Cols>&, std::int32_t, std::int32_t) {}

// Sets the size of `m` and each element to `value(r, c)`.
template <AnyMatrix M, class Value>
constexpr Status assign(M& m, std::int32_t rows, std::int32_t cols, Value&& value) {
  setSize(m, rows, cols);
  for (std::int32_t r = 0; r < rows; ++r) {
    for (std::int32_t c = 0; c < cols; ++c) m(r, c) = value(r, c);
  }
  return kSuccess;
}

// A sum of products, from the first one on: every product of matrices is summed in this order.
template <class Product>
constexpr double sumOf(std::int32_t count, Product&& product) {
  double sum = 0.0;
  for (std::int32_t k = 0; k < count; ++k) sum += product(k);
  return sum;
}

}  // namespace Detail

/// `dst = src` with its size.
template <AnyMatrix D, AnyMatrix S>
constexpr Status copy(D& dst, const S& src) {
  return Detail::assign(dst, src.rows, src.cols, [&](auto r, auto c) { return src(r, c); });
}

/// Sets the size and every element.
template <AnyMatrix M>
constexpr Status fill(M& m, double value, std::int32_t rows, std::int32_t cols) {
  return Detail::assign(m, rows, cols, [&](auto, auto) { return value; });
}

/// Sets the size and the elements, row by row. REQUIRES: `rows` times `cols` values.
template <AnyMatrix M, std::convertible_to<double>... Values>
constexpr Status set(M& m, std::int32_t rows, std::int32_t cols, Values... values) {
  const std::array<double, sizeof...(Values)> list{static_cast<double>(values)...};
  return Detail::assign(m, rows, cols, [&](auto r, auto c) { return list[static_cast<std::size_t>(r * cols + c)]; });
}

/// `c = a + b`.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status add(C& c, const A& a, const B& b) {
  return Detail::assign(c, a.rows, a.cols, [&](auto row, auto col) { return a(row, col) + b(row, col); });
}

/// `c = a - b`.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status subtract(C& c, const A& a, const B& b) {
  return Detail::assign(c, a.rows, a.cols, [&](auto row, auto col) { return a(row, col) - b(row, col); });
}

/// `c = factor * a`.
template <AnyMatrix C, AnyMatrix A>
constexpr Status scale(C& c, double factor, const A& a) {
  return Detail::assign(c, a.rows, a.cols, [&](auto row, auto col) { return factor * a(row, col); });
}

/// `c = a * b`.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status multiply(C& c, const A& a, const B& b) {
  return Detail::assign(c, a.rows, b.cols, [&](auto row, auto col) {
    return Detail::sumOf(a.cols, [&](auto k) { return a(row, k) * b(k, col); });
  });
}

/// `c = a * transpose(b)`.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status multiplyTransposed(C& c, const A& a, const B& b) {
  return Detail::assign(c, a.rows, b.rows, [&](auto row, auto col) {
    return Detail::sumOf(a.cols, [&](auto k) { return a(row, k) * b(col, k); });
  });
}

/// `c = transpose(a) * b`.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status transposedMultiply(C& c, const A& a, const B& b) {
  return Detail::assign(c, a.cols, b.cols, [&](auto row, auto col) {
    return Detail::sumOf(a.rows, [&](auto k) { return a(k, row) * b(k, col); });
  });
}

/// `c = a x b`, the cross product of 3 by 1 vectors.
template <AnyMatrix C, AnyMatrix A, AnyMatrix B>
constexpr Status cross(C& c, const A& a, const B& b) {
  return set(c, 3, 1, a(1, 0) * b(2, 0) - a(2, 0) * b(1, 0), a(2, 0) * b(0, 0) - a(0, 0) * b(2, 0),
             a(0, 0) * b(1, 0) - a(1, 0) * b(0, 0));
}

// The same on matrices of fixed size, as expressions.

template <std::int32_t R, std::int32_t C>
constexpr FixedMatrix<R, C> operator+(const FixedMatrix<R, C>& a, const FixedMatrix<R, C>& b) {
  FixedMatrix<R, C> result;
  add(result, a, b);
  return result;
}

template <std::int32_t R, std::int32_t C>
constexpr FixedMatrix<R, C> operator-(const FixedMatrix<R, C>& a, const FixedMatrix<R, C>& b) {
  FixedMatrix<R, C> result;
  subtract(result, a, b);
  return result;
}

template <std::int32_t R, std::int32_t C>
constexpr FixedMatrix<R, C> operator*(double factor, const FixedMatrix<R, C>& a) {
  FixedMatrix<R, C> result;
  scale(result, factor, a);
  return result;
}

template <std::int32_t R, std::int32_t K, std::int32_t C>
constexpr FixedMatrix<R, C> operator*(const FixedMatrix<R, K>& a, const FixedMatrix<K, C>& b) {
  FixedMatrix<R, C> result;
  multiply(result, a, b);
  return result;
}

/// `a * transpose(b)`.
template <std::int32_t R, std::int32_t K, std::int32_t C>
constexpr FixedMatrix<R, C> multiplyTransposed(const FixedMatrix<R, K>& a, const FixedMatrix<C, K>& b) {
  FixedMatrix<R, C> result;
  multiplyTransposed(result, a, b);
  return result;
}

/// `transpose(a) * b`.
template <std::int32_t K, std::int32_t R, std::int32_t C>
constexpr FixedMatrix<R, C> transposedMultiply(const FixedMatrix<K, R>& a, const FixedMatrix<K, C>& b) {
  FixedMatrix<R, C> result;
  transposedMultiply(result, a, b);
  return result;
}

constexpr Vector3 cross(const Vector3& a, const Vector3& b) {
  Vector3 result;
  cross(result, a, b);
  return result;
}

// Rotations. Angles are in radians; a vector of Euler angles is (heading, pitch, roll).

/// `Rz(heading) * Ry(pitch) * Rx(roll)`: from the body's axes to north, east, down.
Matrix3 fullRotation(const Vector3& angles);
/// `Ry(pitch) * Rx(roll)`: from the body's axes to forward, lateral, down. The heading is not read.
Matrix3 levelRotation(const Vector3& angles);
/// `Rz(heading)`. Pitch and roll are not read.
Matrix3 headingRotation(const Vector3& angles);

/// The Euler angles of a full rotation, pitch from -pi/2 to pi/2. With the pitch at a pole only the difference (+pi/2)
/// or sum (-pi/2) of heading and roll is determined; the better conditioned of the two is then read off the matrix and
/// the other follows, or roll is 0 where neither can be read.
Vector3 eulerFromRotation(const Matrix3& rotation);

/// The full rotation of Euler angles as the angles omega, phi, kappa of `Ry(omega) * Rx(phi) * Rz(-kappa)`, phi from
/// -pi/2 to pi/2. With phi at a pole omega and kappa are found as heading and roll are in `eulerFromRotation`.
Vector3 eulerFromEuler(const Vector3& angles);
/// The same, of the full rotation itself.
Vector3 omegaPhiKappa(const Matrix3& rotation);

// The same on matrices of any size.

Status fullRotation(Matrix& rotation, const Matrix& angles);
Status levelRotation(Matrix& rotation, const Matrix& angles);
Status headingRotation(Matrix& rotation, const Matrix& angles);
Status eulerFromRotation(Matrix& angles, const Matrix& rotation);
Status eulerFromEuler(Matrix& out, const Matrix& angles);

}  // namespace Kvex::Lib
