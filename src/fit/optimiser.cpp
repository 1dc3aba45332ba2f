#include "fit/optimiser.h"

#include "base/messages.h"
#include "math/matrix_inverse.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace Fit {

namespace {

// What outlives a fit: the guard against a second one from within a callback, and the user's wish not to be
// asked again until the program ends.
struct {
    bool FitRunning = false;
    bool ZeroCheckOff = false;
} Shared;

struct RunningGuard {
    RunningGuard() { Shared.FitRunning = true; }
    ~RunningGuard() { Shared.FitRunning = false; }
    RunningGuard(const RunningGuard&) = delete;
    RunningGuard& operator=(const RunningGuard&) = delete;
};

static_assert(MaxNonlinear <= Simplex::MaxDim);

constexpr double NoResidualYet = 1E37;

// The sums of the normal equations for M amplitudes. Each sum has its own accumulator and runs in point
// order; the matrix is symmetric because a product does not depend on the order of its factors.
template <int M>
void NormalEquations(const double* const (&basis)[MaxLinear], const double* y, const double* fixedPart,
                     std::size_t points, MatrixInverse::Matrix& a, double (&r)[MaxLinear]) {
    double sums[M][M] = {}, right[M] = {};
    for (std::size_t k = 0; k < points; ++k) {
        const double rest = fixedPart ? y[k] - fixedPart[k] : y[k];
        double b[M];
#pragma GCC unroll 4
        for (int i = 0; i < M; ++i) b[i] = basis[i][k];
#pragma GCC unroll 4
        for (int i = 0; i < M; ++i) {
            right[i] += rest * b[i];
#pragma GCC unroll 4
            for (int j = 0; j <= i; ++j) sums[i][j] += b[j] * b[i];
        }
    }
    for (int i = 0; i < M; ++i) {
        r[i] = right[i];
        for (int j = 0; j < M; ++j) a[i][j] = i >= j ? sums[i][j] : sums[j][i];
    }
}

// False when the user wants no fit.
bool PassesZeroCheck(const FitRun& run) {
    if (Shared.ZeroCheckOff) return true;
    const auto end = run.FitVector + run.Function.NonlinearCount;
    if (std::find(run.FitVector, end, 0.0) == end) return true;
    constexpr const char* Buttons[] = {"Stop Checking", "Do Fit", "Abort"};
    enum { StopChecking, DoFit, Abort };
    const int answer =
        Messages::AskChoice("At least one parameter is zero and, thus, cannot be fit by the Simplex routine!",
                            {.Buttons = Buttons, .Default = DoFit, .Yes = DoFit, .No = Abort});
    if (answer == StopChecking) Shared.ZeroCheckOff = true;
    return answer != Abort;
}

bool StopTest(const FitRun& run, FitControl& control) {
    using enum FitTermination;
    const auto stop = [&control](Fit::FitTermination why) {
        control.FitTermination = why;
        return true;
    };
    if (control.StopMaxIteration && run.Iterations >= control.MaxIterations) return stop(MaxIterations);
    if (run.Iterations > 1 && control.StopEpsilon && SimplexConverged(run.Simplex, control.Epsilon))
        return stop(Converged);
    if (control.BreakProc && control.BreakProc()) return stop(Break);

    const std::int32_t last =
        control.BreakProc ? std::numeric_limits<std::int32_t>::max() : MaxUnattendedIterations;
    return !control.StopMaxIteration && run.Iterations >= last && stop(MaxIterations);
}

void Evaluate(FitRun& run) {
    ParamsFromVector(run);
    Tabulate(run);
    SolveLinear(run);
}

void CopyVector(const double (&from)[MaxNonlinear], double (&to)[MaxNonlinear]) {
    std::copy(std::begin(from), std::end(from), to);
}

}

bool Prepare(FitRun& run) {
    if (run.X.size() != run.Y.size()) return false;
    const std::size_t points = run.X.size();
    const auto columns = static_cast<std::size_t>(run.Function.Model->Columns);
    run.Columns.resize(points * (columns + (run.Function.HasFixedPart ? 1 : 0)));
    run.Values.resize(points);
    run.Tables = {};
    run.Tables.X = run.X;
    for (std::size_t i = 0; i < columns; ++i) run.Tables.Column[i] = run.Columns.data() + i * points;
    if (run.Function.HasFixedPart) run.Tables.FixedPart = run.Columns.data() + columns * points;
    std::fill_n(run.Tables.Column[0], points, 1.0);
    return true;
}

void VectorFromParams(FitRun& run) {
    for (int i = 0; i < run.Function.NonlinearCount; ++i) {
        const FreeParam& free = run.Function.Free[i];
        run.FitVector[i] = free.Logarithmic ? std::log(*free.Value) : *free.Value;
    }
}

void ParamsFromVector(FitRun& run) {
    for (int i = 0; i < run.Function.NonlinearCount; ++i) {
        const FreeParam& free = run.Function.Free[i];
        *free.Value = free.Logarithmic ? std::exp(run.FitVector[i]) : run.FitVector[i];
    }
}

void Tabulate(FitRun& run) {
    run.Function.Model->Tabulate(run.Function, run.Tables);
}

void SolveLinear(FitRun& run) {
    const int m = run.Function.LinearCount;
    if (m == 0 || run.X.empty()) return;
    const double* basis[MaxLinear] = {};
    for (int i = 0; i < m; ++i) basis[i] = run.Tables.Column[run.Function.Basis[i]];
    const double* fixedPart = run.Tables.FixedPart;
    const std::size_t points = run.X.size();

    MatrixInverse::Matrix a;
    double r[MaxLinear] = {};
    switch (m) {
    case 1: NormalEquations<1>(basis, run.Y.data(), fixedPart, points, a, r); break;
    case 2: NormalEquations<2>(basis, run.Y.data(), fixedPart, points, a, r); break;
    case 3: NormalEquations<3>(basis, run.Y.data(), fixedPart, points, a, r); break;
    default: NormalEquations<4>(basis, run.Y.data(), fixedPart, points, a, r); break;
    }
    MatrixInverse::Invert(a, a, m);
    for (int i = 0; i < m; ++i) {
        double amplitude = 0.0;
        for (int j = 0; j < m; ++j) amplitude += r[j] * a[i][j];
        *run.Function.Target[i] = amplitude;
    }
}

double ComputeResidual(FitRun& run) {
    if (run.X.empty()) return 0.0;
    run.Function.Model->Values(run.Function, run.Tables, run.Values.data());
    double sum = 0.0;
    for (std::size_t k = 0; k < run.Y.size(); ++k) {
        const double deviation = run.Y[k] - run.Values[k];
        sum += deviation * deviation;
    }
    return std::sqrt(sum / (static_cast<double>(run.Y.size()) - 1.0));
}

bool RunFit(FitRun& run, const UpdateProc& update, const ResidualProc& showResidual, FitControl& control,
            double& residual) {
    if (Shared.FitRunning) return false;
    const RunningGuard guard;
    const auto show = [&](double value) {
        if (showResidual) showResidual(run, value);
    };
    const auto draw = [&] {
        if (update) update(run);
    };

    run.Iterations = 0;
    if (run.Function.NonlinearCount < 1) {
        Tabulate(run);
        SolveLinear(run);
        residual = ComputeResidual(run);
        show(residual);
        draw();
        return true;
    }

    control.FitTermination = FitTermination::None;
    const bool started = SimplexInit(run.Simplex, run.Function.NonlinearCount, control.StepSize);
    assert(started);
    (void)started;
    VectorFromParams(run);
    CopyVector(run.FitVector, run.BestVector);
    run.BestResidual = NoResidualYet;
    if (StopTest(run, control)) {
        Tabulate(run);
        residual = ComputeResidual(run);
        show(residual);
        draw();
        return true;
    }
    if (!PassesZeroCheck(run)) return true;

    for (std::int32_t sinceDrawing = 0;;) {
        Evaluate(run);
        residual = ComputeResidual(run);
        if (residual < run.BestResidual) {
            run.BestResidual = residual;
            CopyVector(run.FitVector, run.BestVector);
        }
        SimplexStep(run.Simplex, run.FitVector, residual);
        show(run.BestResidual);
        ++run.Iterations;
        ++sinceDrawing;
        if (StopTest(run, control)) break;
        if (control.DisplayUpdate > 0 && sinceDrawing >= control.DisplayUpdate) {
            sinceDrawing = 0;
            draw();
        }
    }

    CopyVector(run.BestVector, run.FitVector);
    Evaluate(run);
    show(run.BestResidual);
    draw();
    return true;
}

bool FitRunning() {
    return Shared.FitRunning;
}

void ResumeZeroCheck() {
    Shared.ZeroCheckOff = false;
}

}
