// The series fit: fits the active wave with one of the eleven series types.
//
// The models and their records are those of the fit catalogue; the records of this level are its own, so that
// a series fit never disturbs a trace fit. A fit's result is the next one's start. What is added here: the
// points are those of the wave that are not flagged; a curve is computed over the wave, and the derived
// values are read off it; the result goes into the series' record of the analysis tree.
#pragma once
#include "data/session.h"
#include "fit/fit.h"
#include "series/wave_store.h"

#include <array>
#include <functional>
#include <string_view>
#include <vector>

namespace SeriesFit {

inline constexpr int MaxCurvePoints = 200;

struct Engine {
    explicit Engine(SGFit::Store& store);

    SGFit::Store& Store;
    DataSession* Session = nullptr; // its current analysis series takes the results; may be none

    SeriesFitType FitType = SeriesFitType::Polynomial;
    Fit::SeriesRecords Records = Fit::DefaultSeriesRecords();
    std::array<Fit::SeriesRecords, SeriesFitTypes> Saved; // of each type the copy that it saved, once it did
    Fit::FitControl Control =
        Fit::DefaultControl(Fit::Level::Series); // BreakProc is the window's stop button
    bool ManualFit = false;

    std::vector<double> FitDataX, FitDataY; // the points of the last fit
    Fit::Outcome Outcome;                   // of the last fit
    std::string_view FitStatus;             // "fitting", then the word of its ending

    // The curve of the current parameters, over the stretch that Setup.Settings.FitParams.FitResultRange
    // says.
    std::array<double, MaxCurvePoints> CurveX{}, CurveY{};
    int CurvePoints = 0;
    double GraphMinX = 0, GraphMaxX = 0; // axis of the graph, for "Range Graph"; empty: as "All Data"

    // Draws the curve that stands in CurveX and CurveY; overlay: beside the one before. May be empty.
    std::function<void(bool overlay)> Draw;

    Engine(const Engine&) = delete;
};

[[nodiscard]] Fit::Selected SelectedFit(Engine& engine);

// Fits the active wave, and stores the result where there is a session with a current series. False, after an
// alert, for less than two points, which leaves no valid fit, and for a model that refuses its parameters;
// then the old values are stored and shown all the same.
[[nodiscard]] bool FitWave(Engine& engine);

// The curve of the parameters as they stand; with ManualFit on, their residual as well. False when the model
// refuses them.
[[nodiscard]] bool ShowFit(Engine& engine);

// The record of the selected type: its defaults; its saved copy, or the defaults while nothing was saved; and
// saving it. Gaussian has no copy: there the last two do nothing.
void InitFitFunc(Engine& engine);
void LoadFitFunc(Engine& engine);
void SaveFitFunc(Engine& engine);

}
