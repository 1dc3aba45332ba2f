// The optimiser: a separable least-squares fit. The simplex moves the nonlinear parameters; at each of its
// points the amplitudes are solved exactly from the normal equations, so they never enter the simplex.
// The merit function is the root mean square deviation of the model from the data, all points alike.
#pragma once
#include "fit/control.h"
#include "fit/model.h"
#include "math/simplex.h"

#include <functional>
#include <span>
#include <vector>

namespace Fit {

// One fit: its data, its function table, and all that changes while it runs.
// Callbacks may read it; only the optimiser writes.
struct FitRun {
    FitFunction Function;
    std::span<const double> X, Y;         // the points to fit, of equal number
    double FitVector[MaxNonlinear] = {};  // the free nonlinear parameters at the point in hand
    double BestVector[MaxNonlinear] = {}; // at the best point so far
    double BestResidual = 0.0;
    Simplex::State Simplex;
    std::int32_t Iterations = 0; // evaluations so far

    // Working memory, laid out by Prepare.
    Fit::Tables Tables;
    std::vector<double> Columns; // storage of the tables
    std::vector<double> Values;  // the model at each point
};

using UpdateProc = std::function<void(const FitRun&)>;           // draws the current model
using ResidualProc = std::function<void(const FitRun&, double)>; // takes the residual to show

// Lays out the tables for the data and the function of the run. False when X and Y differ in number.
[[nodiscard]] bool Prepare(FitRun& run);

// FitVector and the record, in both directions; time constants pass through their logarithm.
void VectorFromParams(FitRun& run);
void ParamsFromVector(FitRun& run);

// Fills the tables from the nonlinear parameters as they stand in the record.
void Tabulate(FitRun& run);

// The linear step, from the tables: sets each target to the amplitude that fits best. A singular system is
// not treated: the targets take what its half-done inverse gives.
void SolveLinear(FitRun& run);

// Root of SUM((y - model)^2) / (points - 1), from the tables and the amplitudes. 0.0 without data.
[[nodiscard]] double ComputeResidual(FitRun& run);

// Runs the fit that was prepared.
//   - No free nonlinear parameter: one linear step; FitTermination stays as it was.
//   - MaxIterations 0 with StopMaxIteration on, or a break before the first evaluation: nothing moves and
//     no linear step is made; the residual is that of the values as they stand.
//   - A FitVector entry of exactly 0 cannot be moved: the user is asked first, and may abort.
// residual receives the residual of the last point that was evaluated, which is seldom the best; the
// residual procedure is handed the best. After an abort it is left alone. The record ends at the best point.
// A fit without any limit that nobody can break is stopped after MaxUnattendedIterations.
// False, with nothing done, while another fit runs.
bool RunFit(FitRun& run, const UpdateProc& update, const ResidualProc& showResidual, FitControl& control,
            double& residual);

inline constexpr std::int32_t MaxUnattendedIterations = 1000000;

// A fit is between its first and its last evaluation. One runs at a time.
[[nodiscard]] bool FitRunning();

// Makes the question about zero parameters appear again after "Stop Checking".
void ResumeZeroCheck();

}
