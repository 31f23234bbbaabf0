// This file contains the scoring of a model system: forecasts of the whole system with
// intervals from the propagated error variances, and one-step (fit) predictions.
#pragma once

#include <Eigen/Dense>

#include "engine/model/model_system.h"

namespace engine::model {

// Forecasts and their error variances, horizon x series (the model system's series order);
// NaN for a series without an equation, or one whose model needs a value that is missing.
struct SystemForecast {
  Eigen::MatrixXd mean;
  Eigen::MatrixXd variance;
};

// Runs the system x_t = c + sum_l A_l x_{t-l} + u_t forward from the last row of `history`
// (T x series, NaN = missing), each series using the forecasts of its inputs. The h-step error
// covariance is Sigma(h) = sum_{i<h} Psi_i Sigma_u Psi_i' with Psi_0 = I and
// Psi_i = sum_{l=1..min(i,L)} A_l Psi_{i-l}, Sigma_u = diag(sigma_j^2) (the moving-average
// form of a VAR); it is computed per connected component of the graph.
SystemForecast ForecastSystem(const ModelSystem& system, const Eigen::MatrixXd& history,
                              int horizon);

// One-step predictions c + sum_l A_l x_{t-l} for every row of `history` (T x series), NaN in
// the first L rows, where a needed value is missing, and for series without an equation.
Eigen::MatrixXd OneStepPredictions(const ModelSystem& system, const Eigen::MatrixXd& history);

// The half width multiplier z_{(1+c)/2} of a two-sided interval at level c (0 < c < 1).
double IntervalMultiplier(double confidence_level);

} // namespace engine::model
