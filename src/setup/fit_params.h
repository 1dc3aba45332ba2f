// FitParams: the settings of the fit tools, a block of the settings record.
//
// A block of another FitID or FitVersion is replaced by the defaults as a whole, window included: its fields
// may have meant something else.
#pragma once
#include "setup/config.h"

#include <array>
#include <cstdint>

namespace Setup {

// Nonsense from outside is kept from doing harm by FitParamsLimits; ranges stand behind the fields.
struct FitParams {
    std::array<char, 8> FitID = {'F', 'I', 'T'};
    std::array<char, 8> FitVersion = {'9', '.', '1', '0'};

    std::int16_t FitLeft = 40, FitTop = 60, FitWidth = 347, FitHeight = 360; // window, pixels
    bool FitShow = false;

    // Trace fit
    std::uint8_t SweepFitType = 0; // 0 to 13
    std::int16_t FitTrace = 1;     // position in the sweep, 1 to 32; 33 to 36 are trace buffers
    std::int32_t FitSegOffset = 0; // added to the relevant segment, -32767 to 32767
    double FitLeftBound = 0.0, FitRightBound = 1.0; // fractions of the segment
    bool FitShowCursors = false;
    std::uint8_t FitCursorSource = 0; // 0 this dialog, 1 first Online, 2 last Online
    Color SweepFitColor = {50000, 0, 0};
    std::uint8_t NewAnalysisMode = 0; // 0 Overwrite, 1 Append
    std::uint8_t FitZoom = 0; // 0 Off, 1 Rel. Segment, 2 Fit Bounds, 3 +/- 1 Segment, 4 +/- 10 %, 5 +/- 25 %
    bool FitCyclic = false;
    bool FitCyclicToEnd = true;
    std::int16_t FitCyclicNumber = 1;  // 0 to 4000; 0: as many as the sweep holds
    std::int16_t FitCyclicSegSkip = 2; // segments from one cycle to the next, from 1
    bool LinLeakOn = false, LinLeakAutoCond = false;
    double LinLeakReversal = 0.0, LinLeakConductance = 0.0; // V, S
    std::int16_t FitPromptLeftX = 50, FitPromptTopY = 50;
    std::int16_t EventLeftX = 60, EventTopY = 60;
    std::int32_t MaxNoOfFittedPoints = 1000;                    // from 2
    std::array<char, 8> SweepXUnit = {'s'}, SweepYUnit = {'A'}; // where the trace names none

    // How a fit of the level starts and stops. What asks for a break is set at the start of the tools.
    struct Control {
        std::int32_t MaxIterations; // from 0
        double StepSize;
        double Epsilon;
        std::int32_t DisplayUpdate; // evaluations between two drawings
        double LastResidual = 0.0;
        bool StopMaxIteration = true, StopEpsilon = true;
        std::uint8_t FitTermination = 0; // 0 none, 1 max. iterations, 2 converged, 3 break
        bool operator==(const Control&) const = default;
    };
    Control Sweep = {.MaxIterations = 200, .StepSize = 0.01, .Epsilon = 1E-8, .DisplayUpdate = 50};

    // Series fit
    std::uint8_t SeriesFitType = 1; // 0 to 10
    Control Series = {.MaxIterations = 1000, .StepSize = 0.01, .Epsilon = 1E-8, .DisplayUpdate = 200};
    std::uint8_t FitResultRange = 0;    // 0 All Data, 1 Fit Data, 2 Range Graph
    std::int16_t FitResultPoints = 200; // points of a fit curve, 2 to 200

    std::array<std::uint8_t, 1168> WaveGraph{}; // of the series window, in this machine's order
    // Choices of an export, a byte each: skipped data, errors, error counts, background, fit, marked results,
    // wave names (0 Constant, 1 Tree Structure), kind of the wave errors (0 Off, 1 Min / Max, 2 S.D.,
    // 3 S.E.M., 4 Constant); and what the clipboard takes: equation, titles, and in the last byte the tree
    // identifiers (bit 0) and the units (bit 1).
    std::array<std::uint8_t, 11> SGExport = {1, 0, 0, 0, 1, 1, 0, 0, 1, 1, 0};

    bool MouseShowValues = true, MouseToClipboard = false, MouseToggleSkip = true, MouseShowPoint = true;

    double LeftEdge = 0.0, BinSize = 1E-3; // histogram of a wave
    bool SelectRange = false;
    double LowerRange = -0.5, UpperRange = 0.5;

    std::uint8_t LogTarget = 0;  // 0 Off, 1 Notebook, 2 File, 3 Notebook and File
    std::uint8_t NumberType = 0; // 0 Engineering, 1 Scientific
    bool operator==(const FitParams&) const = default;
};

// The keys of the block, in either direction.
void ConfigFitParams(FitParams& params);

// Puts fields that are out of their range back to their default, counts to the nearest end.
void FitParamsLimits(FitParams& params);

}
