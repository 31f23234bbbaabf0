// Tests of the distribution functions against closed forms and tabulated quantiles.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "engine/model/distributions.h"

namespace engine::model {
namespace {

TEST(Distributions, IncompleteBetaMatchesClosedForms) {
  for (double x : {0.0, 0.01, 0.3, 0.5, 0.77, 0.999, 1.0}) {
    EXPECT_NEAR(RegularizedIncompleteBeta(1, 1, x), x, 1e-14);
    EXPECT_NEAR(RegularizedIncompleteBeta(3.5, 1, x), std::pow(x, 3.5), 1e-14);
    // I_x(2,3) = sum_{j=2..4} C(4,j) x^j (1-x)^(4-j).
    const double expected =
        6 * x * x * std::pow(1 - x, 2) + 4 * std::pow(x, 3) * (1 - x) + std::pow(x, 4);
    EXPECT_NEAR(RegularizedIncompleteBeta(2, 3, x), expected, 1e-14);
  }
  EXPECT_NEAR(RegularizedIncompleteBeta(40, 40, 0.5), 0.5, 1e-13);
  EXPECT_NEAR(RegularizedIncompleteBeta(500, 300, 0.6) + RegularizedIncompleteBeta(300, 500, 0.4),
              1.0, 1e-12);
  EXPECT_TRUE(std::isnan(RegularizedIncompleteBeta(0, 1, 0.5)));
  EXPECT_TRUE(std::isnan(RegularizedIncompleteBeta(1, 1, 1.5)));
}

TEST(Distributions, NormalAgainstTabulatedValues) {
  EXPECT_NEAR(NormalCdf(1.96), 0.9750021048517795, 1e-15);
  EXPECT_NEAR(NormalCdf(-1), 0.15865525393145707, 1e-15);
  EXPECT_NEAR(NormalQuantile(0.975), 1.959963984540054, 1e-13);
  EXPECT_NEAR(NormalQuantile(0.5), 0.0, 1e-15);
  EXPECT_NEAR(NormalQuantile(1e-10), -6.361340902404056, 1e-10);
  EXPECT_NEAR(NormalQuantile(0.9999), 3.719016485455709, 1e-11);
  for (double p : {1e-6, 0.01, 0.2, 0.6, 0.99})
    EXPECT_NEAR(NormalCdf(NormalQuantile(p)), p, p * 1e-12);
  EXPECT_TRUE(std::isinf(NormalQuantile(1.0)));
  EXPECT_TRUE(std::isnan(NormalQuantile(-0.1)));
}

TEST(Distributions, StudentTAgainstClosedFormsAndTables) {
  for (double t : {-5.0, -1.0, 0.0, 0.3, 2.0, 40.0}) {
    // One degree of freedom is the Cauchy law, two have a closed form too.
    EXPECT_NEAR(StudentTCdf(t, 1), 0.5 + std::atan(t) / std::numbers::pi, 1e-14);
    EXPECT_NEAR(StudentTCdf(t, 2), 0.5 + t / (2 * std::sqrt(2 + t * t)), 1e-14);
  }
  EXPECT_NEAR(StudentTCdf(2.2281388519649385, 10), 0.975, 1e-10);
  EXPECT_NEAR(StudentTCdf(4.032142983557, 5), 0.995, 1e-10);
  EXPECT_NEAR(StudentTTwoSided(-2.2281388519649385, 10), 0.05, 1e-10);
  EXPECT_NEAR(StudentTCdf(1.959963984540054, 1e7), 0.975, 1e-6);
  EXPECT_TRUE(std::isnan(StudentTCdf(1, 0)));
}

TEST(Distributions, FAgainstTablesAndTheTRelation) {
  EXPECT_NEAR(FCdf(3.098391212407, 3, 20), 0.95, 1e-9);
  EXPECT_NEAR(FUpperTail(5.636326, 5, 10), 0.01, 1e-7);
  // With two numerator d.f. the tail is (1 + 2f/d2)^(-d2/2).
  for (double f : {0.1, 1.0, 7.5, 100.0}) {
    EXPECT_NEAR(FUpperTail(f, 2, 17), std::pow(1 + 2 * f / 17, -8.5), 1e-14);
  }
  // F(1, v) is the square of t(v); small tails keep their relative precision.
  for (double t : {0.5, 2.0, 9.0}) {
    const double tail = StudentTTwoSided(t, 30);
    EXPECT_NEAR(FUpperTail(t * t, 1, 30), tail, tail * 1e-10);
  }
  EXPECT_NEAR(FCdf(2.0, 4, 9) + FUpperTail(2.0, 4, 9), 1.0, 1e-14);
  EXPECT_EQ(FUpperTail(0, 3, 3), 1.0);
}

} // namespace
} // namespace engine::model
