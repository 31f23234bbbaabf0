// This file contains grouping, aggregation, distribution and imputation of prepared values.
#include "engine/prep/cells.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace engine {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Sorts entry indexes by (combo, point) and calls `run(begin, end)` for each run of equal keys.
template <class Run>
void ForEachRun(const std::vector<std::uint32_t>& combo, const std::vector<std::int64_t>& point,
                Run run) {
  std::vector<std::size_t> order(combo.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const bool sorted = std::is_sorted(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return combo[a] != combo[b] ? combo[a] < combo[b] : point[a] < point[b];
  });
  if (!sorted) {
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return combo[a] != combo[b] ? combo[a] < combo[b] : point[a] < point[b];
    });
  }
  std::size_t begin = 0;
  while (begin < order.size()) {
    std::size_t end = begin + 1;
    while (end < order.size() && combo[order[end]] == combo[order[begin]] &&
           point[order[end]] == point[order[begin]]) {
      ++end;
    }
    run(std::span<const std::size_t>(order.data() + begin, end - begin));
    begin = end;
  }
}

Cells Combine(const std::vector<std::uint32_t>& combo, const std::vector<std::int64_t>& point,
              const std::vector<std::int32_t>& case_number,
              const std::vector<std::vector<double>>& values, const std::vector<Reduce>& methods,
              bool merged) {
  Cells cells;
  cells.merged = merged;
  cells.values.resize(values.size());
  std::vector<double> scratch;
  ForEachRun(combo, point, [&](std::span<const std::size_t> run) {
    const std::size_t first = run.front();
    cells.combo.push_back(combo[first]);
    cells.point.push_back(point[first]);
    cells.case_number.push_back(run.size() == 1 ? case_number[first] : -1);
    if (run.size() > 1) cells.merged = true;
    for (std::size_t m = 0; m < values.size(); ++m) {
      if (run.size() == 1) {
        cells.values[m].push_back(values[m][first]);
        continue;
      }
      scratch.clear();
      for (std::size_t index : run) scratch.push_back(values[m][index]);
      cells.values[m].push_back(ReduceValues(methods[m], scratch));
    }
  });
  return cells;
}

}  // namespace

double ReduceValues(Reduce method, std::span<double> values) {
  const auto end = std::remove_if(values.begin(), values.end(), [](double v) { return std::isnan(v); });
  const auto count = static_cast<std::size_t>(end - values.begin());
  if (count == 0) return kNaN;
  const std::span<double> valid = values.first(count);
  switch (method) {
    case Reduce::kSum: return std::accumulate(valid.begin(), valid.end(), 0.0);
    case Reduce::kMean:
      return std::accumulate(valid.begin(), valid.end(), 0.0) / static_cast<double>(count);
    case Reduce::kMin: return *std::min_element(valid.begin(), valid.end());
    case Reduce::kMax: return *std::max_element(valid.begin(), valid.end());
    case Reduce::kMode: {
      std::sort(valid.begin(), valid.end());
      double best = valid[0];
      std::size_t best_count = 0;
      for (std::size_t i = 0; i < count;) {
        std::size_t j = i;
        while (j < count && valid[j] == valid[i]) ++j;
        if (j - i > best_count) {
          best_count = j - i;
          best = valid[i];
        }
        i = j;
      }
      return best;
    }
  }
  return kNaN;
}

Cells GroupCells(const std::vector<std::uint32_t>& combo, const std::vector<std::int64_t>& point,
                 const std::vector<std::int32_t>& case_number,
                 const std::vector<std::vector<double>>& values,
                 const std::vector<Reduce>& methods) {
  return Combine(combo, point, case_number, values, methods, false);
}

Cells AggregateCells(const Cells& cells, const std::vector<std::int64_t>& map,
                     const std::vector<Reduce>& methods) {
  std::vector<std::int64_t> point(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    point[i] = map[static_cast<std::size_t>(cells.point[i])];
  }
  return Combine(cells.combo, point, cells.case_number, cells.values, methods, cells.merged);
}

Cells DistributeCells(const Cells& cells, const std::vector<std::int64_t>& first,
                      const std::vector<Spread>& methods) {
  Cells out;
  out.merged = cells.merged;
  out.values.resize(cells.values.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto p = static_cast<std::size_t>(cells.point[i]);
    const std::int64_t begin = first[p];
    const std::int64_t end = first[p + 1];
    const std::int64_t count = end - begin;
    if (count != 1) out.merged = true;
    for (std::int64_t q = begin; q < end; ++q) {
      out.combo.push_back(cells.combo[i]);
      out.point.push_back(q);
      out.case_number.push_back(count == 1 ? cells.case_number[i] : -1);
      for (std::size_t m = 0; m < cells.values.size(); ++m) {
        const double value = cells.values[m][i];
        out.values[m].push_back(methods[m] == Spread::kSum ? value / static_cast<double>(count)
                                                           : value);
      }
    }
  }
  return out;
}

std::size_t Impute(Imputation method, int k, std::span<double> series) {
  const std::size_t n = series.size();
  std::vector<std::size_t> valid;
  for (std::size_t t = 0; t < n; ++t) {
    if (!std::isnan(series[t])) valid.push_back(t);
  }
  if (method == Imputation::kNone || valid.empty() || valid.size() == n) return 0;
  std::vector<double> filled(series.begin(), series.end());
  switch (method) {
    case Imputation::kNone: break;
    case Imputation::kLinearInterp: {
      for (std::size_t t = 0; t < n; ++t) {
        if (!std::isnan(series[t])) continue;
        auto after = std::lower_bound(valid.begin(), valid.end(), t);
        if (after == valid.begin()) {
          filled[t] = series[valid.front()];
        } else if (after == valid.end()) {
          filled[t] = series[valid.back()];
        } else {
          const std::size_t right = *after;
          const std::size_t left = *(after - 1);
          const double weight = static_cast<double>(t - left) / static_cast<double>(right - left);
          filled[t] = series[left] + weight * (series[right] - series[left]);
        }
      }
      break;
    }
    case Imputation::kSeriesMean: {
      double sum = 0;
      for (std::size_t t : valid) sum += series[t];
      const double mean = sum / static_cast<double>(valid.size());
      for (std::size_t t = 0; t < n; ++t) {
        if (std::isnan(series[t])) filled[t] = mean;
      }
      break;
    }
    case Imputation::kKMean:
    case Imputation::kKMedian: {
      const std::size_t span = static_cast<std::size_t>(std::max(k, 1));
      std::vector<double> near;
      for (std::size_t t = 0; t < n; ++t) {
        if (!std::isnan(series[t])) continue;
        auto after = std::lower_bound(valid.begin(), valid.end(), t);
        const std::size_t right_begin = static_cast<std::size_t>(after - valid.begin());
        const std::size_t left_begin = right_begin >= span ? right_begin - span : 0;
        const std::size_t right_end = std::min(valid.size(), right_begin + span);
        near.clear();
        for (std::size_t i = left_begin; i < right_end; ++i) near.push_back(series[valid[i]]);
        filled[t] = ReduceValues(Reduce::kMean, near);
        if (method == Imputation::kKMedian) {
          std::sort(near.begin(), near.end());
          const std::size_t m = near.size();
          filled[t] = m % 2 == 1 ? near[m / 2] : (near[m / 2 - 1] + near[m / 2]) / 2.0;
        }
      }
      break;
    }
    case Imputation::kLinearTrend: {
      // Ordinary least squares of x_t on (1, t) over the valid points.
      double mean_t = 0, mean_x = 0;
      for (std::size_t t : valid) {
        mean_t += static_cast<double>(t);
        mean_x += series[t];
      }
      mean_t /= static_cast<double>(valid.size());
      mean_x /= static_cast<double>(valid.size());
      double sxy = 0, sxx = 0;
      for (std::size_t t : valid) {
        sxy += (static_cast<double>(t) - mean_t) * (series[t] - mean_x);
        sxx += (static_cast<double>(t) - mean_t) * (static_cast<double>(t) - mean_t);
      }
      const double slope = sxx > 0 ? sxy / sxx : 0.0;
      for (std::size_t t = 0; t < n; ++t) {
        if (std::isnan(series[t])) filled[t] = mean_x + slope * (static_cast<double>(t) - mean_t);
      }
      break;
    }
  }
  std::copy(filled.begin(), filled.end(), series.begin());
  return n - valid.size();
}

}  // namespace engine
