#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

#include "library/Matrix.h"

namespace Kvex::Lib {
namespace {

constexpr double kPi = std::numbers::pi;

template <class A, class B>
void expectNear(const A& a, const B& b, double tolerance) {
  ASSERT_EQ(a.rows, b.rows);
  ASSERT_EQ(a.cols, b.cols);
  for (int r = 0; r < a.rows; ++r) {
    for (int c = 0; c < a.cols; ++c) EXPECT_NEAR(a(r, c), b(r, c), tolerance) << r << ' ' << c;
  }
}

Matrix withCapacity(int maxRows, int maxCols) {
  Matrix m;
  EXPECT_EQ(MatAllocR(m, maxRows, maxCols), kSuccess);
  return m;
}

// The same operations on matrices that fill their storage, on some that leave columns unused, and on fixed ones.
TEST(MatrixTest, OperationsOnBothKinds) {
  Matrix a = withCapacity(2, 3);
  Matrix b = withCapacity(4, 5);
  Matrix c = withCapacity(4, 4);
  set(a, 2, 3, 1, 2, 3, 4, 5, 6);
  set(b, 3, 2, 7, 8, 9, 10, 11, 12);
  const FixedMatrix<2, 3> fixedA{1, 2, 3, 4, 5, 6};
  const FixedMatrix<3, 2> fixedB{7, 8, 9, 10, 11, 12};

  multiply(c, a, b);
  expectNear(c, FixedMatrix<2, 2>{58, 64, 139, 154}, 0);
  expectNear(c, fixedA * fixedB, 0);
  multiplyTransposed(c, a, a);
  expectNear(c, FixedMatrix<2, 2>{14, 32, 32, 77}, 0);
  expectNear(c, multiplyTransposed(fixedA, fixedA), 0);
  transposedMultiply(c, b, b);
  expectNear(c, FixedMatrix<2, 2>{251, 278, 278, 308}, 0);
  expectNear(c, transposedMultiply(fixedB, fixedB), 0);

  subtract(c, c, FixedMatrix<2, 2>{251, 278, 278, 300});
  scale(c, 0.5, c);
  add(c, c, c);
  expectNear(c, FixedMatrix<2, 2>{0, 0, 0, 8}, 0);
  fill(c, 3.0, 1, 4);
  expectNear(c, FixedMatrix<1, 4>{3, 3, 3, 3}, 0);
  cross(c, Vector3{1, 2, 3}, Vector3{-4, 6, 5});
  expectNear(c, Vector3{-8, -17, 14}, 0);
  expectNear(2.0 * Vector3{1, 2, 3} + Vector3{1, 1, 1} - Vector3{0, 1, 0}, Vector3{3, 4, 7}, 0);
}

TEST(MatrixTest, StorageGrowsOnlyWhenAsked) {
  Matrix small = withCapacity(1, 9);
  const double* const before = small.data.get();
  Matrix source;
  ASSERT_EQ(allocateZeros(source, 1, 2, 3, 1), kSuccess);
  EXPECT_EQ(std::tuple(source.maxRows, source.maxCols), std::tuple(3, 2));
  EXPECT_EQ(copyResized(small, source), kSuccess);
  EXPECT_EQ(small.data.get(), before);

  set(source, 3, 1, 1, 2, 3);
  EXPECT_EQ(copyResized(small, source), kSuccess);
  EXPECT_EQ(std::tuple(small.maxRows, small.maxCols), std::tuple(3, 1));
  expectNear(small, Vector3{1, 2, 3}, 0);
  EXPECT_EQ(copyResized(small, small), kSuccess);
  expectNear(small, Vector3{1, 2, 3}, 0);

  release(&small);
  release(&small);
  release(nullptr);
  EXPECT_EQ(small.data, nullptr);
}

TEST(MatrixTest, RefusedMemoryIsReported) {
  constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();
  for (const std::int32_t maxRows : {kHuge, -1}) {
    Matrix m = withCapacity(1, 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(MatAllocR(m, maxRows, kHuge), kOutOfMemory);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("--> Unable to allocate memory space for matrix\n"),
              std::string::npos);
    EXPECT_EQ(m.data, nullptr);
  }
}

TEST(MatrixTest, RotationsTurnAsNavigationDoes) {
  const Vector3 forward{1, 0, 0};
  const Vector3 right{0, 1, 0};
  expectNear(headingRotation({kPi / 2, 1.0, 1.0}) * forward, right, 1e-15);
  expectNear(levelRotation({1.0, kPi / 2, 0}) * forward, Vector3{0, 0, -1}, 1e-15);
  expectNear(levelRotation({1.0, 0, kPi / 2}) * right, Vector3{0, 0, 1}, 1e-15);

  const Vector3 angles{0.3, -0.2, 2.5};
  expectNear(fullRotation(angles), headingRotation(angles) * levelRotation(angles), 1e-15);
  Matrix e = withCapacity(3, 1);
  Matrix rotation = withCapacity(3, 3);
  set(e, 3, 1, 0.3, -0.2, 2.5);
  fullRotation(rotation, e);
  expectNear(rotation, fullRotation(angles), 0);
  eulerFromRotation(e, rotation);
  expectNear(e, angles, 1e-15);
}

Matrix3 rotationOfOmegaPhiKappa(const Vector3& w) {
  return levelRotation({0, w[0], 0}) * levelRotation({0, 0, w[1]}) * headingRotation({-w[2], 0, 0});
}

TEST(MatrixTest, EulerAnglesLeadBackToTheirRotation) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> turn(-kPi, kPi);
  for (int i = 0; i < 500; ++i) {
    const Vector3 angles{turn(random), 0.999 * turn(random) / 2, turn(random)};
    expectNear(eulerFromRotation(fullRotation(angles)), angles, 1e-11);
    expectNear(rotationOfOmegaPhiKappa(eulerFromEuler(angles)), fullRotation(angles), 1e-11);
  }
}

TEST(MatrixTest, EulerAnglesAtThePoles) {
  for (const double pole : {kPi / 2, -kPi / 2}) {
    for (const double heading : {-3.0, -1.0, 0.0, 1.0, 3.0}) {
      for (const double roll : {-2.5, 0.0, 2.5}) {
        const Matrix3 rotation = fullRotation({heading, pole, roll});
        Matrix3 headingUnseen = rotation;
        headingUnseen(0, 0) = headingUnseen(1, 0) = 0.0;
        for (const Vector3& back : {eulerFromRotation(rotation), eulerFromRotation(headingUnseen)}) {
          EXPECT_EQ(back[1], pole);
          EXPECT_LE(std::abs(back[0]), kPi);
          EXPECT_LE(std::abs(back[2]), kPi);
          expectNear(fullRotation(back), rotation, 1e-15);
        }
      }
      // Neither heading nor roll can be seen: roll is then 0.
      const double sine = std::sin(heading);
      const double cosine = std::cos(heading);
      const double s = pole > 0 ? 1.0 : -1.0;
      expectNear(eulerFromRotation({0, -sine, s * cosine, 0, cosine, s * sine, -s, 0, 0}), Vector3{heading, pole, 0},
                 1e-15);

      // A pole of phi: roll 90 degrees at heading 0, and pitch 90 degrees where heading and roll differ by, or add up
      // to, 90.
      for (const Vector3& angles : {Vector3{0, heading / 2, pole}, Vector3{heading, pole, s * heading + kPi / 2},
                                    Vector3{heading, pole, s * heading - kPi / 2}}) {
        const Vector3 omegaPhiKappa = eulerFromEuler(angles);
        constexpr double kNearPole = 1e-7;  // The arc sine of a number that rounding keeps just below 1.
        EXPECT_NEAR(std::abs(omegaPhiKappa[1]), kPi / 2, kNearPole);
        expectNear(rotationOfOmegaPhiKappa(omegaPhiKappa), fullRotation(angles), kNearPole);
      }
    }
  }
}

}  // namespace
}  // namespace Kvex::Lib
