// This file contains the distribution functions that the model tests need: normal, Student t and
// F, built on the regularized incomplete beta function.
#pragma once

namespace engine::model {

// Regularized incomplete beta I_x(a, b) for a, b > 0 and 0 <= x <= 1, by the continued fraction
// of the incomplete beta, using the symmetry I_x(a,b) = 1 - I_{1-x}(b,a) where
// the fraction converges slowly. NaN for arguments outside the domain.
double RegularizedIncompleteBeta(double a, double b, double x);

// Standard normal distribution function Phi(x).
double NormalCdf(double x);
// Its inverse for 0 < p < 1 (rational approximation refined by one third-order Newton step, about
// 1e-15 relative); -inf at 0, +inf at 1, NaN outside [0, 1].
double NormalQuantile(double p);

// Student t distribution function with `df` > 0 degrees of freedom; NaN for df <= 0.
double StudentTCdf(double t, double df);
// Two-sided p value of a t statistic: P(|T| >= |t|).
double StudentTTwoSided(double t, double df);

// F distribution function with (df1, df2) degrees of freedom, and its upper tail P(F >= f)
// computed directly (not as 1 - cdf) so that small p values keep their precision.
double FCdf(double f, double df1, double df2);
double FUpperTail(double f, double df1, double df2);

} // namespace engine::model
