// The sweep fit: from a selected sweep to a stored row of results.
//
// A pass finds the range of the trace within its stimulus segment, prepares the arrays, decides whether the
// results belong to the current analysis record or to a new one, runs the model of the selected type, and
// copies the parameters into the sweep's row (fit/analysis_table.h). The parameter records last: the result
// of a fit is the start of the next.
//
// Times are in the x unit of the trace, bounds are fractions of the segment's length.
#pragma once
#include "data/session.h"
#include "fit/fit.h"
#include "online/compute.h"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
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

    // Cyclic analysis: the same fit on one segment after the other.
    bool FitCyclic = false;
    int FitCyclicNumber = 1;  // cycles, 0 for as many as the sweep holds
    int FitCyclicSegSkip = 2; // segments from one cycle to the next

    // Linear leak correction of the trace, for the fit only: less (V - reversal) * conductance.
    bool LinLeakOn = false;
    bool LinLeakAutoCond = false;                           // from the zero offset at the holding
    double LinLeakReversal = 0.0, LinLeakConductance = 0.0; // V, S

    Fit::FitControl Control = Fit::DefaultControl(Fit::Level::Sweep);
};

// What the user asks for while a fit runs.
enum class Request : std::uint8_t { None, Break, Stop };

// The range of a pass, and its data.
struct Work {
    VennicTrace* Trace = nullptr;
    std::int32_t FirstPoint = 0;   // of the range within the trace
    std::int32_t RangePoints = 0;  // before reduction
    std::int32_t FitPoints = 0;    // after it
    std::int64_t SegmentFirst = 0; // first point of the segment in the trace, 0 for the whole sweep
    double SegmentPoints = 0.0;    // its length, not rounded
    double SegmentStart = 0.0;     // from the start of the trace
    double FirstX = 0.0;           // x of the first point
    double XInterval = 0.0;
    std::string XUnit, YUnit;
    std::vector<double> FitDataX, FitDataY; // of a type that fits
    // The corrected samples of the whole trace, of a type that measures; given back at the end of the pass.
    std::span<const float> Samples;

    [[nodiscard]] std::span<const float> Range() const {
        return Samples.subspan(static_cast<std::size_t>(FirstPoint), static_cast<std::size_t>(RangePoints));
    }
};

// What the user answers between two cycles.
enum class CycleAnswer : std::uint8_t { Break = 1, Stop, Cancel, Ok, Repeat, Skip, Back, Auto, DoAll };

// What a pass left behind, for whoever shows or prints it.
struct Report {
    const VennicSweep* Sweep = nullptr;
    Fit::Outcome Outcome;
    bool Stored = false; // the row of the sweep holds the values
    int Cycle = 1;       // of a cyclic analysis
};

struct Engine;

// A type that measures instead of fitting (events/measurements.h).
struct Measurement {
    // Sets what the columns are called, before they are made; may be empty.
    void (*Prepare)(Engine& engine) = nullptr;
    // Fills the record of the type, and below the sweep's row whatever has events of its own. False after an
    // alert. NeedsWholeTrace: with the range of the record, not of the cursors.
    bool (*Run)(Engine& engine) = nullptr;
    Fit::DataRange (*Range)(const Fit::SweepRecords& records) = nullptr; // empty: the cursors
};

// The functions of an online method that are marked for the notebook become columns of the analysis, too.
struct OnlineColumns {
    OnlineCompute::Engine* Engine = nullptr;
    OnlineMethod* Method = nullptr; // none: no such columns

    [[nodiscard]] std::vector<int> Stored() const; // positions of the functions, from 1
};

// One fit at a time; the data set must stay open while the record is in use.
struct Engine {
    explicit Engine(DataSession& session) : Session(session) {}

    DataSession& Session;
    FitParams Params;
    Fit::SweepRecords Records = Fit::DefaultSweepRecords();
    SweepFit::Work Work;

    std::function<Request()> Poll;               // asked at each evaluation; may be empty
    std::function<void(const Report&)> Finished; // after each pass that has run; may be empty
    // Asked between two cycles; without it all of them run.
    std::function<CycleAnswer(Engine& engine, int cycle, int count)> CyclePrompt;
    // Looks at the trace of a Measure instead of the cursors that stand in its record; may be empty.
    std::function<bool(Engine& engine)> MeasureTool;
    std::array<Measurement, SweepFitTypes> Measurements{}; // filled by Measurements::Install
    OnlineColumns Online;

    bool Break = false, Stop = false; // the flags of the two buttons
    bool FitStarted = false, AutoFitRunning = false;
    int AnalysisIndex = 0; // position of the current analysis record (fit/analysis_table.h), 0 for none

    int CycleCount = 0;      // of the sweep, known from the fit command on
    int CycleSegOffset = 0;  // of the cycle that runs, segments
    bool CycleAuto = false;  // no prompt until the end of the sweep
    bool CycleDoAll = false; // nor for the rest of an Auto Fit
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

// Cycles that a sweep has room for: number of them where that is not 0 and they fit, else segments / skip,
// with the segments from the fitted one to the last.
[[nodiscard]] int CycleCountOf(int segments, int relevant, int offset, int number, int skip);

// The effective bounds, left and right.
struct Bounds {
    double Left = 0.0, Right = 1.0;
};
[[nodiscard]] Bounds EffectiveBounds(const Engine& engine);

}
