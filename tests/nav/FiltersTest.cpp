#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "nav/BiquadFilter.h"
#include "nav/ButterworthCascade.h"
#include "nav/MovingAverage.h"
#include "nav/RateEstimator.h"

namespace Kvex::Nav {
namespace {

constexpr double kStart = 1000.0;

/// Amplitude of the output when a sine of `frequency` Hz has run through the filter for ten seconds at 100 Hz.
template <class Filter>
double amplitude(Filter& filter, double frequency) {
  double highest = 0.0;
  for (int i = 0; i < 1000; ++i) {
    const double t = i * 0.01;
    filter.step(kStart + t, std::sin(2.0 * std::numbers::pi * frequency * t));
    if (i >= 500) highest = std::max(highest, std::abs(filter.output()));
  }
  return highest;
}

TEST(BiquadFilterTest, StartsOnTheThirdEvenSampleWithTheSeededOutput) {
  BiquadFilter filter;
  filter.configure(10.0, 0.7);
  filter.step(kStart, 1.0);
  filter.step(kStart + 0.01, 3.0);
  EXPECT_FALSE(filter.ready());
  filter.step(kStart + 0.02, 2.0);
  ASSERT_TRUE(filter.ready());

  const double k = std::tan(0.1 * std::numbers::pi);
  const double n = 1.0 + 1.4 * k + k * k;
  const double b = k * k / n;
  const double a1 = 2.0 * (k * k - 1.0) / n;
  const double a2 = (1.0 - 1.4 * k + k * k) / n;
  const double second = b * 3.0 + 3.0 * b * 1.0 - a1 - a2;
  const double third = b * (2.0 + 2.0 * 3.0 + 1.0) - a1 * second - a2;
  EXPECT_NEAR(filter.output(), third, 1e-9);

  filter.step(kStart + 0.5, 2.0);  // the spacing counts for the start only
  EXPECT_TRUE(filter.ready());
}

TEST(BiquadFilterTest, NeedsEvenSpacingAndACutOffBelowHalfTheRate) {
  struct Case {
    const char* what;
    double frequency, second, third;
    bool ready;
  };
  for (const Case& c :
       {Case{"cut-off above half the rate", 60.0, 0.01, 0.02, false},
        Case{"cut-off just below half the rate", 49.0, 0.01, 0.02, true},
        Case{"spacing uneven by 2 %", 10.0, 0.01, 0.0202, false},
        Case{"spacing uneven by half a percent", 10.0, 0.01, 0.02005, true},
        Case{"times that stand", 10.0, 0.0, 0.0, false}, Case{"times that run backwards", 10.0, -0.01, -0.02, false}}) {
    BiquadFilter filter;
    filter.configure(c.frequency, 0.7);
    for (double t : {0.0, c.second, c.third}) filter.step(kStart + t, 1.0);
    EXPECT_EQ(filter.ready(), c.ready) << c.what;
  }
}

TEST(BiquadFilterTest, DesignsFromTheSamplesItHoldsWhenTheParametersComeLater) {
  BiquadFilter filter;
  for (int i = 0; i < 5; ++i) filter.step(kStart + i * 0.01, 4.0);
  filter.configure(0.0, 0.7);
  EXPECT_FALSE(filter.ready());
  filter.configure(5.0, 0.7);
  ASSERT_TRUE(filter.ready());
  EXPECT_NEAR(filter.output(), 4.0, 1e-12);  // a constant passes as it is
}

TEST(ButterworthCascadeTest, HasTheResponseOfItsOrder) {
  // Frequencies that are no simple part of the sample rate, so that the samples meet the peaks of the sine.
  const double cutOff = 5.03;
  for (const std::uint8_t order : {2, 4, 6}) {
    for (const double frequency : {1.01, cutOff, 10.07}) {
      ButterworthCascade filter;
      filter.configure(ButterworthCascade::kButterworth, order, cutOff);
      // The bilinear transform maps frequencies by their tangent.
      const auto mapped = [](double f) { return std::tan(std::numbers::pi * f / 100.0); };
      const double gain = 1.0 / std::sqrt(1.0 + std::pow(mapped(frequency) / mapped(cutOff), 2.0 * order));
      EXPECT_NEAR(amplitude(filter, frequency), gain, 2e-3) << "order " << +order << ", " << frequency << " Hz";
    }
  }
}

TEST(ButterworthCascadeTest, KeepsWhatItIsWhenConfiguredWithNothingUsable) {
  ButterworthCascade filter;
  for (const std::uint8_t order : {0, 3}) filter.configure(ButterworthCascade::kButterworth, order, 5.0);
  filter.configure(ButterworthCascade::kUnknownType, 2, 5.0);
  filter.configure(ButterworthCascade::kInvalidType, 2, 5.0);
  filter.configure(7, 2, 5.0);
  for (int i = 0; i < 5; ++i) filter.step(kStart + i * 0.01, 1.0);
  EXPECT_FALSE(filter.ready());

  filter.configure(ButterworthCascade::kButterworth, 2, 5.0);
  for (int i = 5; i < 9; ++i) filter.step(kStart + i * 0.01, 1.0);
  EXPECT_TRUE(filter.ready());
  filter.configure(ButterworthCascade::kButterworth, 2, 5.0);
  EXPECT_TRUE(filter.ready()) << "the same parameters again change nothing";
  filter.configure(7, 2, 5.0);
  EXPECT_FALSE(filter.ready());
  filter.step(kStart + 0.09, 1.0);
  EXPECT_TRUE(filter.ready()) << "the stages of the known type go on";
}

TEST(RateEstimatorTest, NeedsAPredecessorAtLeastHalfAMillisecondOlder) {
  RateEstimator rate;
  rate.step(kStart, 5.0);
  EXPECT_FALSE(rate.ready());
  rate.step(kStart + 0.5, 6.0);
  ASSERT_TRUE(rate.ready());
  EXPECT_DOUBLE_EQ(rate.rate(), 2.0);
  rate.step(kStart + 0.5004, 9.0);
  EXPECT_FALSE(rate.ready());
  rate.step(kStart + 0.4, 9.0);
  EXPECT_FALSE(rate.ready());
  rate.step(kStart + 0.9, 8.0);
  ASSERT_TRUE(rate.ready());
  EXPECT_NEAR(rate.rate(), -2.0, 1e-9);
}

TEST(MovingAverageTest, IsTheMeanOfItsWindow) {
  MovingAverage average;
  average.step(kStart, 100.0);
  average.step(kStart + 0.01, 100.0);
  EXPECT_FALSE(average.ready()) << "no window yet";
  average.setWindow(0.05);
  for (int i = 2; i < 1000; ++i) {
    average.step(kStart + i * 0.01, i);
    ASSERT_TRUE(average.ready());
    // The six samples from the start of the window to its end, both included.
    if (i >= 7) {
      ASSERT_NEAR(average.mean(), i - 2.5, 1e-9);
    }
  }
  average.setWindow(0.0);
  average.step(kStart + 10.0, 7.0);
  EXPECT_TRUE(average.ready());
  EXPECT_EQ(average.mean(), 7.0);
}

TEST(MovingAverageTest, KeepsItsBoundsWithTimesThatStandOrJump) {
  MovingAverage standing;
  standing.setWindow(1e9);
  for (std::size_t i = 0; i < MovingAverage::kMaxSamples + 3; ++i) standing.step(kStart, i < 3 ? 1e9 : 2.0);
  EXPECT_EQ(standing.mean(), 2.0) << "the oldest samples went";

  MovingAverage backwards;
  backwards.setWindow(0.5);
  backwards.step(kStart, 1.0);
  backwards.step(kStart - 10.0, 1.0);
  backwards.step(kStart + 10.0, 1.0);
  EXPECT_FALSE(backwards.ready()) << "a negative period drops every sample, the newest too";
}

}  // namespace
}  // namespace Kvex::Nav
