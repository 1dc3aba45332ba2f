// When a fit stops, how it starts, and how it ended. Each fit level has one such block, which lasts.
#pragma once
#include "fit/records.h"

#include <cstdint>
#include <functional>

namespace Fit {

enum class FitTermination : std::uint8_t { None, MaxIterations, Converged, Break };

struct FitControl {
    std::int32_t MaxIterations = 200; // stop limit, in evaluations of the model over the data
    double StepSize = 0.01;           // relative size of the starting simplex; below 1E-8 means 0.1
    double Epsilon = 1E-8;            // relative spread of residuals that counts as converged
    std::int32_t DisplayUpdate = 50;  // the curve is redrawn after so many evaluations; 0 or less: at the end
    double LastResidual = 0.0;        // the best residual so far of the running or last fit
    std::uint8_t StopMaxIteration = 1; // obey MaxIterations
    std::uint8_t StopEpsilon = 1;      // obey Epsilon
    std::function<bool()> BreakProc;   // asked at each evaluation; true stops the fit. May be empty
    Fit::FitTermination FitTermination = FitTermination::None;
};

// The series level allows more evaluations and draws less often.
[[nodiscard]] inline FitControl DefaultControl(Level level) {
    FitControl control;
    if (level == Level::Series) {
        control.MaxIterations = 1000;
        control.DisplayUpdate = 200;
    }
    return control;
}

// "max. iter.", "converged", "break"; empty for None.
[[nodiscard]] constexpr const char* NameOf(FitTermination termination) {
    switch (termination) {
    case FitTermination::MaxIterations: return "max. iter.";
    case FitTermination::Converged: return "converged";
    case FitTermination::Break: return "break";
    default: return "";
    }
}

}
