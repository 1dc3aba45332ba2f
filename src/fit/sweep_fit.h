// The sweep fit: from a selected sweep to a stored row of results.
//
// A pass finds the range of the trace within its stimulus segment, prepares the arrays, decides whether the
// results belong to the current analysis record or to a new one, runs the model of the selected type, and
// copies the parameters into the sweep's row. The parameter records last: the result of a fit is the start of
// the next.
//
// Times are in the x unit of the trace, bounds are fractions of the segment's length.
#pragma once
#include "data/session.h"
#include "fit/fit.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace SweepFit {

enum class CursorSource : std::uint8_t { ThisDialog, FirstOnline, LastOnline };
enum class AnalysisMode : std::uint8_t { Overwrite, Append };

// The settings of the fit tools that a pass reads.
struct FitParams {
    SweepFitType FitType = SweepFitType::OnlineOnly;
    int FitTrace = 1;     // position of the trace in its sweep, 1 to 32
    int FitSegOffset = 0; // added to the channel's relevant segment
    double FitLeftBound = 0.0;
    double FitRightBound = 1.0;
    CursorSource FitCursorSource = CursorSource::ThisDialog;
    AnalysisMode NewAnalysisMode = AnalysisMode::Overwrite;
    int MaxNoOfFittedPoints = 1000;                 // for the types that thin their data; at least 2
    bool ManualFit = false;                         // values are stored as they stand, without a fit
    std::string SweepXUnit = "s", SweepYUnit = "A"; // where the trace names none
    Fit::FitControl Control = Fit::DefaultControl(Fit::Level::Sweep);
};

// What the user asks for while a fit runs.
enum class Request : std::uint8_t { None, Break, Stop };

// The range of a pass, and its data.
struct Work {
    VennicTrace* Trace = nullptr;
    std::int32_t FirstPoint = 0;  // of the range within the trace
    std::int32_t RangePoints = 0; // before reduction
    std::int32_t FitPoints = 0;   // after it
    double SegmentStart = 0.0;    // from the start of the trace
    double FirstX = 0.0;          // x of the first point
    double XInterval = 0.0;
    std::string XUnit, YUnit;
    std::vector<double> FitDataX, FitDataY;
};

// What a pass left behind, for whoever shows or prints it.
struct Report {
    const VennicSweep* Sweep = nullptr;
    Fit::Outcome Outcome;
    bool Stored = false; // the row of the sweep holds the values
};

// One fit at a time; the data set must stay open while the record is in use.
struct Engine {
    explicit Engine(DataSession& session) : Session(session) {}

    DataSession& Session;
    FitParams Params;
    Fit::SweepRecords Records = Fit::DefaultSweepRecords();
    SweepFit::Work Work;

    std::function<Request()> Poll;               // asked at each evaluation; may be empty
    std::function<void(const Report&)> Finished; // after each pass that ran a model; may be empty

    bool Break = false, Stop = false; // the flags of the two buttons
    bool FitStarted = false, AutoFitRunning = false;
    int AnalysisIndex = 0; // position of the current analysis record, 0 for none
};

// Fits the selected sweep. False when a step failed; the reason has been said.
[[nodiscard]] bool FitCommand(Engine& engine);
// Fits from the selected sweep to the last of its series.
[[nodiscard]] bool AutoFitCommand(Engine& engine);
// Empties the row of the selected sweep.
[[nodiscard]] bool SkipCommand(Engine& engine);
// The residual and curve of the values as they stand. Stores nothing, except in a new setup and in manual
// mode.
[[nodiscard]] bool ShowFitCommand(Engine& engine);

// Fills the work state for the selected sweep. False when the range cannot be had.
[[nodiscard]] bool PrepareData(Engine& engine);

// The effective bounds, left and right.
struct Bounds {
    double Left = 0.0, Right = 1.0;
};
[[nodiscard]] Bounds EffectiveBounds(const FitParams& params);

// Aims the current analysis records at the selected group and series. False without a selection.
[[nodiscard]] bool FitToAnalysisPosition(Engine& engine);
void NextAnalysis(Engine& engine);
void BackAnalysis(Engine& engine);
void GotoAnalysis(Engine& engine, int index);
void DeleteCurrentAnalysis(Engine& engine);
// "2 of 3: Exponential", or "no analysis".
[[nodiscard]] std::string AnalysisName(const Engine& engine);

}
