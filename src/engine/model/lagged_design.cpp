// This file contains the lagged design and the parallel formation of its Gram matrix.
#include "engine/model/lagged_design.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/model/thread_pool.h"

namespace engine::model {

Eigen::MatrixXd ParallelGram(const Eigen::MatrixXd& columns, unsigned threads) {
  const Eigen::Index width = columns.cols();
  Eigen::MatrixXd gram(width, width);
  // Stripes of 64 columns: wide enough for the matrix product's blocking, narrow enough to
  // balance the triangle's uneven stripes; the widest stripes come first.
  constexpr Eigen::Index kStripe = 64;
  const std::size_t stripes = static_cast<std::size_t>((width + kStripe - 1) / kStripe);
  ParallelFor(stripes, threads, [&](std::size_t stripe, unsigned) {
    const Eigen::Index start = static_cast<Eigen::Index>(stripe) * kStripe;
    const Eigen::Index count = std::min(kStripe, width - start);
    gram.block(start, start, width - start, count).noalias() =
        columns.rightCols(width - start).transpose() * columns.middleCols(start, count);
  });
  gram.triangularView<Eigen::StrictlyUpper>() = gram.transpose();
  return gram;
}

LaggedDesign::LaggedDesign(const Eigen::MatrixXd& values, int max_lag, unsigned threads)
    : max_lag_(max_lag), rows_(static_cast<std::size_t>(values.rows() - max_lag)),
      series_count_(static_cast<std::size_t>(values.cols())) {
  const Eigen::Index time_count = values.rows();
  const Eigen::Index n = static_cast<Eigen::Index>(rows_);
  const Eigen::Index lags = max_lag + 1;
  const Eigen::Index series = values.cols();
  scale_.resize(series);
  column_mean_.resize(series * lags);
  centred_.resize(n, series * lags);
  for (Eigen::Index j = 0; j < series; ++j) {
    const auto x = values.col(j);
    const double mean = x.mean();
    const double sd =
        std::sqrt((x.array() - mean).square().sum() / static_cast<double>(time_count));
    scale_(j) = sd > 0 && std::isfinite(sd) ? sd : 1.0;
    for (Eigen::Index l = 0; l < lags; ++l) {
      const Eigen::Index column = j * lags + l;
      auto segment = x.segment(max_lag - l, n);
      const double column_mean = segment.mean();
      column_mean_(column) = column_mean;
      centred_.col(column) = (segment.array() - column_mean) / scale_(j);
    }
  }
  gram_ = ParallelGram(centred_, threads);
}

LaggedDesign LaggedDesign::Truncated(int lag) const {
  LaggedDesign design;
  design.max_lag_ = lag;
  design.rows_ = rows_;
  design.series_count_ = series_count_;
  design.scale_ = scale_;
  const Eigen::Index old_lags = max_lag_ + 1;
  const Eigen::Index new_lags = lag + 1;
  const Eigen::Index series = static_cast<Eigen::Index>(series_count_);
  std::vector<Eigen::Index> keep;
  keep.reserve(static_cast<std::size_t>(series * new_lags));
  for (Eigen::Index j = 0; j < series; ++j) {
    for (Eigen::Index l = 0; l < new_lags; ++l)
      keep.push_back(j * old_lags + l);
  }
  const Eigen::Index width = static_cast<Eigen::Index>(keep.size());
  design.column_mean_.resize(width);
  design.centred_.resize(centred_.rows(), width);
  design.gram_.resize(width, width);
  for (Eigen::Index c = 0; c < width; ++c) {
    const Eigen::Index from = keep[static_cast<std::size_t>(c)];
    design.column_mean_(c) = column_mean_(from);
    design.centred_.col(c) = centred_.col(from);
    for (Eigen::Index r = 0; r < width; ++r) {
      design.gram_(r, c) = gram_(keep[static_cast<std::size_t>(r)], from);
    }
  }
  return design;
}

} // namespace engine::model
