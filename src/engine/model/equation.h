// This file contains one target's model: the selection of its inputs by group orthogonal
// matching pursuit and the final least-squares fit with its tests and fit statistics.
#pragma once

#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "engine/model/lagged_design.h"
#include "support/result.h"

namespace engine::model {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Fit statistics on the n fitted rows, with k coefficients (the intercept included).
struct FitStats {
  std::size_t n = 0;
  std::size_t k = 0;
  double rss = kNaN;
  double sigma2 = kNaN;         // RSS / (n - k)
  double rmse = kNaN;           // sqrt(sigma2)
  double rmspe = kNaN;          // sqrt(mean over y != 0 of (100 e / y)^2)
  double aic = kNaN;            // n ln(RSS/n) + 2k
  double bic = kNaN;            // n ln(RSS/n) + k ln n
  double normalized_bic = kNaN; // ln(RSS/n) + k ln(n) / n
  double rsquare = kNaN;        // 1 - RSS / TSS
};

// The lags 1..L of one series in a model, with their test of model effects.
struct InputBlock {
  std::size_t series = 0;           // index in the design (and in the model system's series list)
  bool own = false;                 // the target's own lags
  std::vector<double> coefficients; // lag 1..L, in the series' own units
  std::vector<double> std_errors;
  std::vector<double> t_values;
  std::vector<double> p_values;
  // F = ((RSS without the block - RSS) / L) / (RSS / (n - k)), with (L, n - k) d.f.
  double f = kNaN;
  double f_p_value = kNaN;
  int df1 = 0;
  int df2 = 0;
};

struct Equation {
  std::size_t series = 0;
  bool is_target = true; // false: an AR model of an input that is no target
  double intercept = kNaN;
  double intercept_se = kNaN;
  double intercept_t = kNaN;
  double intercept_p = kNaN;
  std::vector<InputBlock> blocks; // own lags first, then the inputs
  FitStats stats;
};

struct SelectionOptions {
  std::size_t max_inputs = 5; // the input limit: chosen candidates, forced inputs not counted
  double epsilon = 1e-3;      // least relative reduction of the RSS for a candidate to join
  // Extra information-criterion penalty per joining block, as a multiple of ln(candidates
  // left): the extended BIC, which keeps the chance of a spurious
  // input low when there are many candidates. 0 gives the plain BIC.
  double extended_bic_gamma = 0.0;
};

// Chooses the inputs of `target` among `candidates` by group orthogonal matching pursuit over
// blocks of lags 1..L, with the intercept, the target's own lags and the `forced` blocks always
// in. At each step the candidate j with the largest RSS reduction Delta_j = r'Q_j Q_j'r (Q_j an
// orthonormal basis of the block residualised on what is in) joins, while the input limit is
// not reached, Delta_j / RSS >= epsilon and the BIC improves. Everything is read from the
// design's Gram matrix: the projections are kept as the rows V = R^{-T} G_{S,.} of a block
// Cholesky factor R of G_SS, extended by one block row per join, and every candidate's
// residual block Gram G_jj - V_j'V_j and residual cross product g_jy - V_j'q are downdated in
// place. Candidates equal to the target or forced, and repeats, are ignored; a candidate whose
// block is (numerically) in the span of what is in never joins. Gives the chosen candidates in
// the order they joined.
std::vector<std::size_t> SelectInputs(const LaggedDesign& design, std::size_t target,
                                      std::span<const std::size_t> forced,
                                      std::span<const std::size_t> candidates,
                                      const SelectionOptions& options);

// Fits y = c + own lags + the lags of `inputs` (in that order) by ordinary least squares on the
// design's rows: coefficients with standard errors from sigma^2 (X'X)^{-1}, t and two-sided p
// values with n - k d.f., an F test per block (own lags included) and the fit statistics.
// Fails, with the reason, when n - k < 1 or the columns are (numerically) collinear.
support::Result<Equation> FitEquation(const LaggedDesign& design, std::size_t target,
                                      std::span<const std::size_t> inputs);

} // namespace engine::model
