#include "fit/fit.h"

#include "fit/models.h"

namespace Fit {

namespace {

constexpr std::string_view NoModel = "Unknown Fit Type";
constexpr std::string_view StillRunning = "SweepFit: still in progress.";
constexpr std::string_view NoPoints = "Error during time array setup in SweepFit";

Selected Direction(ExpRecord& record, std::uint8_t rising, Level level) {
    record.Rising = rising;
    return {&ExponentialModel, &record, level};
}

Outcome Refusal(std::string_view message) {
    Outcome outcome;
    outcome.Message = message;
    return outcome;
}

double ResidualAsItStands(FitRun& run) {
    Tabulate(run);
    return ComputeResidual(run);
}

void SolveDirectly(FitRun& run, const UpdateProc& update, const ResidualProc& showResidual,
                   double& residual) {
    run.Function.Model->Solve(run);
    if (update) update(run);
    residual = ResidualAsItStands(run);
    showResidual(run, residual);
}

}

SweepRecords DefaultSweepRecords() {
    SweepRecords records;
    for (int type = 0; type < SweepFitTypes; ++type) Init(Select(records, static_cast<SweepFitType>(type)));
    (void)Select(records, SweepFitType::Exponential);
    return records;
}

SeriesRecords DefaultSeriesRecords() {
    SeriesRecords records;
    for (int type = 0; type < SeriesFitTypes; ++type)
        if (const Selected selected = Select(records, static_cast<SeriesFitType>(type))) Init(selected);
    (void)Select(records, SeriesFitType::Exponential);
    return records;
}

Selected Select(SweepRecords& records, SweepFitType type) {
    switch (type) {
    case SweepFitType::ParsedEquation: return {&ParsedModel, &records.Parsed, Level::Sweep};
    case SweepFitType::Polynomial: return {&PolynomialModel, &records.Polynomial, Level::Sweep};
    case SweepFitType::Exponential: return Direction(records.Exponential, 0, Level::Sweep);
    case SweepFitType::OneExponential: return Direction(records.Exponential, 1, Level::Sweep);
    case SweepFitType::HodgkinHuxley: return {&HodgkinHuxleyModel, &records.HodgkinHuxley, Level::Sweep};
    case SweepFitType::Gaussian: return {&GaussianModel, &records.Gaussian, Level::Sweep};
    case SweepFitType::RiseTime: return {&RiseTimeRow, &records.RiseTime, Level::Sweep};
    case SweepFitType::Measure: return {&MeasureRow, &records.Measure, Level::Sweep};
    case SweepFitType::TraceCopy: return {&TraceCopyRow, &records.TraceCopy, Level::Sweep};
    case SweepFitType::AmplHistogram: return {&AmplHistogramRow, &records.AmplHistogram, Level::Sweep};
    case SweepFitType::PowerSpectrum: return {&TraceSpectrumRow, &records.TraceSpectrum, Level::Sweep};
    case SweepFitType::SingleChannel: return {&SingleChannelRow, &records.SingleChannel, Level::Sweep};
    case SweepFitType::ActionPotential: return {&ActionPotentialRow, &records.ActionPotential, Level::Sweep};
    default: return {};
    }
}

Selected Select(SeriesRecords& records, SeriesFitType type) {
    switch (type) {
    case SeriesFitType::ParsedEquation: return {&ParsedModel, &records.Parsed, Level::Series};
    case SeriesFitType::Polynomial: return {&PolynomialModel, &records.Polynomial, Level::Series};
    case SeriesFitType::TwoRegressions: return {&RegressionsModel, &records.TwoRegressions, Level::Series};
    case SeriesFitType::Exponential: return Direction(records.Exponential, 0, Level::Series);
    case SeriesFitType::OneExponential: return Direction(records.Exponential, 1, Level::Series);
    case SeriesFitType::GenExponential: return {&GenExponentialModel, &records.GenExponential, Level::Series};
    case SeriesFitType::Boltzmann: return {&BoltzmannModel, &records.Boltzmann, Level::Series};
    case SeriesFitType::DoseResponse: return {&DoseResponseModel, &records.DoseResponse, Level::Series};
    case SeriesFitType::Gaussian: return {&GaussianModel, &records.Gaussian, Level::Series};
    case SeriesFitType::CurrentVoltage: return {&CurrentVoltageModel, &records.CurrentVoltage, Level::Series};
    case SeriesFitType::PowerSpectrum: return {&SpectrumModel, &records.PowerSpectrum, Level::Series};
    default: return {};
    }
}

void Init(const Selected& selected) {
    if (selected) selected.Model->Init(selected.Record, selected.Level);
}

Outcome Run(const Selected& selected, const Data& data, FitControl& control, const UpdateProc& update) {
    if (!selected || !IsModel(*selected.Model)) return Refusal(NoModel);
    if (FitRunning()) return Refusal(StillRunning);
    if (data.X.empty() || data.X.size() != data.Y.size()) return Refusal(NoPoints);

    const ModelRow& model = *selected.Model;
    FitRun run;
    run.X = data.X;
    run.Y = data.Y;
    run.Function.Model = &model;
    run.Function.Record = selected.Record;
    if (!model.ModelSetup(selected.Record, run.Function)) return Refusal(model.SetupMessage);
    if (!Prepare(run)) return Refusal(NoPoints);

    Outcome outcome;
    double& residual = model.Residual(selected.Record)->Value;
    const auto showResidual = [&control](const FitRun&, double value) { control.LastResidual = value; };
    if (model.Solve) {
        SolveDirectly(run, update, showResidual, residual);
    } else {
        if (!RunFit(run, update, showResidual, control, residual)) return Refusal(StillRunning);
        outcome.Iterations = run.Iterations;
        if (selected.Level == Level::Series) residual = ResidualAsItStands(run);
    }
    if (selected.Level == Level::Sweep && model.Derive) model.Derive(run.Function, data.FullGrid);
    if (model.SetUnits) model.SetUnits(selected.Record, data.XUnit, data.YUnit);

    outcome.Ok = true;
    outcome.FitTermination = control.FitTermination;
    outcome.LastResidual = control.LastResidual;
    outcome.Residual = residual;
    return outcome;
}

bool Curve(const Selected& selected, std::span<const double> x, std::span<double> values) {
    if (!selected || !IsModel(*selected.Model) || x.size() != values.size()) return false;
    FitFunction function;
    function.Model = selected.Model;
    function.Record = selected.Record;
    if (!selected.Model->ModelSetup(selected.Record, function)) return false;
    ModelValues(function, x, values.data());
    return true;
}

std::optional<double> ResidualOf(const Selected& selected, std::span<const double> x,
                                 std::span<const double> y) {
    if (!selected) return {};
    FitRun run;
    run.X = x;
    run.Y = y;
    run.Function.Model = selected.Model;
    run.Function.Record = selected.Record;
    if (!selected.Model->ModelSetup(selected.Record, run.Function) || !Prepare(run)) return {};
    return ResidualAsItStands(run);
}

}
