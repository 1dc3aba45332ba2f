#include "series/series_fit.h"

#include "base/messages.h"
#include "base/text.h"
#include "fit/parsed_equation.h"
#include "series/curve_results.h"
#include "series/series_result.h"
#include "setup/settings.h"

#include <algorithm>
#include <cmath>

namespace SeriesFit {

namespace {

enum class ResultRange : std::uint8_t { AllData, FitData, RangeGraph };

// What is read off the curve of a type, by the names of its parameters.
struct DerivedRow {
    SeriesFitType Type;
    bool Peak, Zero, YZero, Integral;
};
constexpr DerivedRow DerivedRows[] = {
    {.Type = SeriesFitType::ParsedEquation, .Peak = false, .Zero = false, .YZero = false, .Integral = true},
    {.Type = SeriesFitType::Exponential, .Peak = false, .Zero = true, .YZero = true, .Integral = true},
    {.Type = SeriesFitType::OneExponential, .Peak = false, .Zero = true, .YZero = true, .Integral = true},
    {.Type = SeriesFitType::GenExponential, .Peak = false, .Zero = false, .YZero = false, .Integral = true},
    {.Type = SeriesFitType::Gaussian, .Peak = false, .Zero = false, .YZero = false, .Integral = true},
    {.Type = SeriesFitType::CurrentVoltage, .Peak = true, .Zero = false, .YZero = false, .Integral = false},
    {.Type = SeriesFitType::PowerSpectrum, .Peak = false, .Zero = false, .YZero = false, .Integral = true},
};

void CollectPoints(Engine& engine) {
    engine.FitDataX.clear();
    engine.FitDataY.clear();
    const SGFit::Wave wave = SGFit::ActiveWaveOf(engine.Store);
    for (int i = 0; i < wave.Points; ++i) {
        if (wave.Skip[i]) continue;
        engine.FitDataX.push_back(wave.X[i]);
        engine.FitDataY.push_back(wave.Y[i]);
    }
}

std::span<const double> CurveX(const Engine& engine) {
    return {engine.CurveX.data(), static_cast<std::size_t>(engine.CurvePoints)};
}
std::span<const double> CurveY(const Engine& engine) {
    return {engine.CurveY.data(), static_cast<std::size_t>(engine.CurvePoints)};
}

struct Stretch {
    double Left, Right;
};

Stretch CurveRange(const Engine& engine) {
    const SGFit::WaveStats& stats = engine.Store.Stats;
    const auto range = static_cast<ResultRange>(Setup::Settings.FitParams.FitResultRange);
    if (range == ResultRange::FitData) return {stats.XMin, stats.XMax};
    if (range == ResultRange::RangeGraph && engine.GraphMinX < engine.GraphMaxX)
        return {engine.GraphMinX, engine.GraphMaxX};
    return {stats.XMinAll, stats.XMaxAll};
}

bool ComputeCurve(Engine& engine) {
    const auto [left, right] = CurveRange(engine);
    engine.CurvePoints = std::clamp<int>(Setup::Settings.FitParams.FitResultPoints, 2, MaxCurvePoints);
    const double step = (right - left) / (engine.CurvePoints - 1);
    for (int i = 0; i < engine.CurvePoints; ++i) engine.CurveX[static_cast<std::size_t>(i)] = left + i * step;
    const auto points = static_cast<std::size_t>(engine.CurvePoints);
    if (Fit::Curve(SelectedFit(engine), CurveX(engine), {engine.CurveY.data(), points})) return true;
    engine.CurvePoints = 0;
    return false;
}

// Of two regressions both lines are drawn, and the curve that stays is that of the fitted one.
bool DrawCurve(Engine& engine) {
    if (engine.Draw && engine.FitType == SeriesFitType::TwoRegressions) {
        std::uint8_t& line = engine.Records.TwoRegressions.FirstLine;
        line = line == 0 ? 1 : 0;
        if (ComputeCurve(engine)) engine.Draw(true);
        line = line == 0 ? 1 : 0;
    }
    if (!ComputeCurve(engine)) return false;
    if (engine.Draw) engine.Draw(false);
    return true;
}

double ValueAt(Engine& engine, double x) {
    double y = 0.0;
    (void)Fit::Curve(SelectedFit(engine), {&x, 1}, {&y, 1});
    return y;
}

void TakeNamed(Engine& engine, const char* name, const Fit::Result& result) {
    const std::optional<Fit::ParamEntry> entry = Fit::FindParam(SelectedFit(engine), name);
    if (entry) CurveResults::Take(*entry->Param, result);
}

// Where the slope of a third-order polynomial is 0: the extreme of the larger size.
Fit::Result CubicPeak(Engine& engine, const FitParam* c) {
    const double m = -c[2].Value / (3.0 * c[3].Value);
    const double d = m * m - c[1].Value / (3.0 * c[3].Value);
    if (!(d >= 0.0)) return {};
    const double a = m + std::sqrt(d), b = m - std::sqrt(d);
    return {true, std::fabs(ValueAt(engine, a)) > std::fabs(ValueAt(engine, b)) ? a : b};
}

Fit::Result QuadraticZero(const FitParam* c) {
    const double d = c[1].Value * c[1].Value - 4.0 * c[0].Value * c[2].Value;
    if (!(d >= 0.0)) return {};
    return {true, (-c[1].Value + std::sqrt(d)) / (2.0 * c[2].Value)};
}

// From the coefficients as far as they tell, else off the curve.
void DerivePolynomial(Engine& engine) {
    Fit::PolyRecord& record = engine.Records.Polynomial;
    const FitParam* const c = record.Coeffs;
    Fit::Result peak, zero;
    switch (record.Order) {
    case 1: zero = {true, -c[0].Value / c[1].Value}; break;
    case 2:
        peak = {true, -c[1].Value / (2.0 * c[2].Value)};
        zero = QuadraticZero(c);
        break;
    case 3:
        peak = CubicPeak(engine, c);
        zero = CurveResults::ZeroOf(CurveX(engine), CurveY(engine));
        break;
    default: {
        const CurveResults::Peak drawn = CurveResults::PeakOf(CurveX(engine), CurveY(engine));
        CurveResults::Take(record.XPeak, drawn.X);
        CurveResults::Take(record.YPeak, drawn.Y);
        CurveResults::Take(record.XZero, CurveResults::ZeroOf(CurveX(engine), CurveY(engine)));
        return;
    }
    }
    CurveResults::Take(record.XPeak, peak);
    CurveResults::Take(record.YPeak, peak.Valid ? Fit::Result{true, ValueAt(engine, peak.Value)} : peak);
    CurveResults::Take(record.XZero, zero);
}

void Derive(Engine& engine) {
    if (engine.FitType == SeriesFitType::Polynomial) return DerivePolynomial(engine);
    const auto row = std::ranges::find(DerivedRows, engine.FitType, &DerivedRow::Type);
    if (row == std::end(DerivedRows)) return;
    const std::span<const double> x = CurveX(engine), y = CurveY(engine);
    if (row->YZero) TakeNamed(engine, "YZero", {true, ValueAt(engine, 0.0)});
    if (row->Zero) TakeNamed(engine, "XZero", CurveResults::ZeroOf(x, y));
    if (row->Integral) TakeNamed(engine, "Integral", CurveResults::IntegralOf(x, y));
    if (!row->Peak) return;
    const CurveResults::Peak peak = CurveResults::PeakOf(x, y);
    TakeNamed(engine, "XPeak", peak.X);
    TakeNamed(engine, "YPeak", peak.Y);
}

void Store(Engine& engine) {
    if (!engine.Session || !engine.Session->CurASeries) return;
    StoreResult(engine, *engine.Session->CurASeries);
    ++engine.Session->AnalysisRevision;
}

// Parameter by parameter: records of types that share one are told apart by their direction.
void CopyRecord(const Fit::Selected& from, const Fit::Selected& to) {
    const std::vector<Fit::ParamEntry> source = Fit::Params(from), target = Fit::Params(to);
    for (std::size_t i = 0; i < source.size(); ++i) *target[i].Param = *source[i].Param;
    for (const Fit::SettingEntry& setting : Fit::Settings(from))
        (void)Fit::SetByName(to, setting.Name, setting.Value);
    if (const Fit::ParsedRecord* const parsed = Fit::ParsedRecordOf(from)) *Fit::ParsedRecordOf(to) = *parsed;
}

Fit::Selected SavedFit(Engine& engine) {
    return Fit::Select(engine.Saved[static_cast<std::size_t>(engine.FitType)], engine.FitType);
}

}

Engine::Engine(SGFit::Store& store) : Store(store) {
    Saved.fill(Records);
}

Fit::Selected SelectedFit(Engine& engine) {
    return Fit::Select(engine.Records, engine.FitType);
}

bool FitWave(Engine& engine) {
    if (Fit::FitRunning()) return false;
    engine.Store.FitValid = false;
    CollectPoints(engine);
    if (engine.FitDataX.size() < 2) {
        Messages::Alert("Insufficient data in fit wave");
        return false;
    }
    engine.FitStatus = "fitting";
    const SGFit::Wave wave = SGFit::ActiveWaveOf(engine.Store);
    const Fit::Data data = {engine.FitDataX,
                            engine.FitDataY,
                            {},
                            Texts::FromField(wave.XLabel.Unit),
                            Texts::FromField(wave.YLabel.Unit)};
    SGFit::Refresh(engine.Store);
    engine.Outcome = Fit::Run(SelectedFit(engine), data, engine.Control, [&](const Fit::FitRun&) {
        if (engine.Draw) (void)DrawCurve(engine);
    });
    if (!engine.Outcome.Ok)
        Messages::Alert(engine.Outcome.Message);
    else if (DrawCurve(engine))
        Derive(engine);
    Store(engine);
    engine.FitStatus = Fit::NameOf(engine.Control.FitTermination);
    engine.Store.FitValid = true;
    return engine.Outcome.Ok;
}

bool ShowFit(Engine& engine) {
    SGFit::Refresh(engine.Store);
    if (!DrawCurve(engine)) return false;
    if (!engine.ManualFit) return true;
    CollectPoints(engine);
    const Fit::Selected selected = SelectedFit(engine);
    const std::optional<double> residual = Fit::ResidualOf(selected, engine.FitDataX, engine.FitDataY);
    if (residual) selected.Model->Residual(selected.Record)->Value = engine.Control.LastResidual = *residual;
    return residual.has_value();
}

void InitFitFunc(Engine& engine) {
    Fit::Init(SelectedFit(engine));
}

void LoadFitFunc(Engine& engine) {
    if (engine.FitType != SeriesFitType::Gaussian) CopyRecord(SavedFit(engine), SelectedFit(engine));
}

void SaveFitFunc(Engine& engine) {
    if (engine.FitType != SeriesFitType::Gaussian) CopyRecord(SelectedFit(engine), SavedFit(engine));
}

}
