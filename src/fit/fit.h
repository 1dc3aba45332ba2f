// Fits: choose a type, set its record, run it on points.
//
//     Fit::SweepRecords records = Fit::DefaultSweepRecords();          // lasts; one fit starts from the last
//     Fit::FitControl control = Fit::DefaultControl(Fit::Level::Sweep); // lasts too
//     const Fit::Selected fit = Fit::Select(records, SweepFitType::Exponential);
//     (void)Fit::SetByName(fit, "Tau1", 0.003);
//     const Fit::Outcome outcome = Fit::Run(fit, {x, y, grid, "s", "A"}, control);
//     for (const Fit::ParamEntry& entry : Fit::Params(fit)) ...
//
// A fit computes; it neither reads traces nor stores rows nor draws. What it has to ask the user goes through
// the messages; a refusal comes back as text in the outcome.
#pragma once
#include "fit/control.h"
#include "fit/derived.h"
#include "fit/optimiser.h"
#include "fit/params.h"
#include "fit/records.h"
#include "fit/reduction.h"

#include <optional>
#include <span>
#include <string_view>

namespace Fit {

// All records of a level with the defaults of their types.
[[nodiscard]] SweepRecords DefaultSweepRecords();
[[nodiscard]] SeriesRecords DefaultSeriesRecords();

// The current record of a type. Choosing Exponential or 1-Exponential sets Rising in the record they share.
// Empty for a type that has no model here. The result points into records.
[[nodiscard]] Selected Select(SweepRecords& records, SweepFitType type);
[[nodiscard]] Selected Select(SeriesRecords& records, SeriesFitType type);

// Refills the record of the type with its defaults.
void Init(const Selected& selected);

struct Data {
    std::span<const double> X, Y; // the points to fit; equal in number, at least one
    Grid FullGrid;                // the whole range before reduction; of use at the sweep level only
    std::string_view XUnit, YUnit;
};

struct Outcome {
    bool Ok = false;
    std::string_view Message;               // why not; empty when Ok
    std::optional<std::int32_t> Iterations; // evaluations of the simplex; absent for a direct solve
    Fit::FitTermination FitTermination = FitTermination::None;
    double LastResidual = 0.0; // of the best point, as in the control block
    double Residual = 0.0;     // as in the record; at the sweep level of the last point evaluated
};

// Runs one fit of the selected type and leaves its result in the record: the model's corrections of the
// record, the fit, the residual, and at the sweep level the derived results. MaxIterations 0 shows the values
// as they stand. update is called whenever the curve should be drawn.
//
// The record's Residual is that of the last point evaluated at the sweep level, and that of the final
// parameters at the series level. Derived results of the series level come from its curve, which its
// caller computes; only the crossing of 2Regressions is set here.
//
// Not Ok, with the record as it was, when the model refuses ("... initialization of HHFit"), the data do not
// fit together, the type has no model, or a fit is running already.
[[nodiscard]] Outcome Run(const Selected& selected, const Data& data, FitControl& control,
                          const UpdateProc& update = {});

// The model at each x, with the values of its record and the model's corrections of its states.
// False, with values untouched, when the model refuses or the two differ in size.
[[nodiscard]] bool Curve(const Selected& selected, std::span<const double> x, std::span<double> values);

// The residual of the values as they stand, without a fit. Empty when the model refuses or the data do not
// fit together.
[[nodiscard]] std::optional<double> ResidualOf(const Selected& selected, std::span<const double> x,
                                               std::span<const double> y);

}
