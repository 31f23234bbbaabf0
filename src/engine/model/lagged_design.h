// This file contains the lagged design of a set of series: centred, scaled lag columns of every
// series and their one shared Gram matrix, from which every target's selection and fit are taken.
#pragma once

#include <cstddef>

#include <Eigen/Dense>

namespace engine::model {

// For series x_j (j = 0..N-1) observed at t = 0..T-1 and a maximum lag L, the rows are the
// n = T - L times t = L..T-1, and column (j, l), l = 0..L, holds x_{j,t-l}. Lag 0 is the series
// itself, so the cross products of a target with every lag column are in the same matrix.
// Each column is centred by its own mean over the n rows (which takes the intercept out of
// every least-squares problem, by partialling out) and divided by the series' standard
// deviation (one scale for all lags of a series), so that series of any magnitude give a
// well-conditioned Gram matrix.
class LaggedDesign {
 public:
  // `values` is T x N without missing values; T > max_lag >= 1. Forms the Gram matrix on up to
  // `threads` threads (0: all hardware threads).
  LaggedDesign(const Eigen::MatrixXd& values, int max_lag, unsigned threads = 0);

  // The same rows with only lags 0..lag (lag <= max_lag), taken from this design without
  // forming a new Gram matrix; for comparing lag orders on common rows.
  LaggedDesign Truncated(int lag) const;

  int max_lag() const { return max_lag_; }
  std::size_t rows() const { return rows_; }
  std::size_t series_count() const { return series_count_; }
  // Index of column (series, lag) in the centred matrix and the Gram matrix.
  std::size_t Column(std::size_t series, int lag) const {
    return series * static_cast<std::size_t>(max_lag_ + 1) + static_cast<std::size_t>(lag);
  }
  // The first lag column of a series' block of lags 1..L.
  std::size_t BlockStart(std::size_t series) const { return Column(series, 1); }

  const Eigen::MatrixXd& centred() const { return centred_; } // n x N(L+1)
  const Eigen::MatrixXd& gram() const { return gram_; }       // N(L+1) x N(L+1), symmetric
  double scale(std::size_t series) const { return scale_(static_cast<Eigen::Index>(series)); }
  double column_mean(std::size_t column) const {
    return column_mean_(static_cast<Eigen::Index>(column));
  }

 private:
  LaggedDesign() = default;

  int max_lag_ = 1;
  std::size_t rows_ = 0;
  std::size_t series_count_ = 0;
  Eigen::VectorXd scale_;
  Eigen::VectorXd column_mean_;
  Eigen::MatrixXd centred_;
  Eigen::MatrixXd gram_;
};

// The Gram matrix C'C of a tall matrix, formed in column stripes of its lower triangle on up to
// `threads` threads (0: all) and mirrored to the upper triangle.
Eigen::MatrixXd ParallelGram(const Eigen::MatrixXd& columns, unsigned threads);

} // namespace engine::model
