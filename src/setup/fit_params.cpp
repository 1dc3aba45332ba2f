#include "setup/fit_params.h"

#include "base/text.h"
#include "setup/limits.h"

namespace Setup {

namespace {

struct ControlKeys {
    const char *MaxIterations, *StepSize, *Epsilon, *DisplayUpdate, *LastResidual, *StopMaxIteration,
        *StopEpsilon, *FitTermination;
};
constexpr ControlKeys SweepKeys = {"SweepMaxIterations", "SweepStepSize",      "SweepEpsilon",
                                   "SweepDisplayUpdate", "SweepLastResidual",  "SweepStopMaxIteration",
                                   "SweepStopEpsilon",   "SweepFitTermination"};
constexpr ControlKeys SeriesKeys = {"SeriesMaxIterations", "SeriesStepSize",      "SeriesEpsilon",
                                    "SeriesDisplayUpdate", "SeriesLastResidual",  "SeriesStopMaxIteration",
                                    "SeriesStopEpsilon",   "SeriesFitTermination"};

void ConfigControl(const ControlKeys& keys, FitParams::Control& control) {
    ConfigInt(keys.MaxIterations, control.MaxIterations);
    ConfigReal(keys.StepSize, control.StepSize);
    ConfigReal(keys.Epsilon, control.Epsilon);
    ConfigInt(keys.DisplayUpdate, control.DisplayUpdate);
    ConfigReal(keys.LastResidual, control.LastResidual);
    ConfigBool(keys.StopMaxIteration, control.StopMaxIteration);
    ConfigBool(keys.StopEpsilon, control.StopEpsilon);
    ConfigEnum(keys.FitTermination, control.FitTermination);
}

void ControlLimits(FitParams::Control& control, const FitParams::Control& defaults) {
    Limits::AtLeast(control.MaxIterations, 0);
    if (control.StepSize < 0.0) control.StepSize = defaults.StepSize;
    if (control.Epsilon < 0.0) control.Epsilon = defaults.Epsilon;
    Limits::Choice(control.FitTermination, 3, defaults.FitTermination);
}

}

void ConfigFitParams(FitParams& p) {
    ConfigString("FitID", p.FitID);
    ConfigString("FitVersion", p.FitVersion);
    ConfigShort("FitLeft", p.FitLeft);
    ConfigShort("FitTop", p.FitTop);
    ConfigShort("FitWidth", p.FitWidth);
    ConfigShort("FitHeight", p.FitHeight);
    ConfigBool("FitShow", p.FitShow);
    ConfigEnum("SweepFitType", p.SweepFitType);
    ConfigShort("FitTrace", p.FitTrace);
    ConfigInt("FitSegOffset", p.FitSegOffset);
    ConfigReal("FitLeftBound", p.FitLeftBound);
    ConfigReal("FitRightBound", p.FitRightBound);
    ConfigBool("FitShowCursors", p.FitShowCursors);
    ConfigEnum("FitCursorSource", p.FitCursorSource);
    ConfigColor("SweepFitColor", p.SweepFitColor);
    ConfigEnum("NewAnalysisMode", p.NewAnalysisMode);
    ConfigEnum("FitZoom", p.FitZoom);
    ConfigBool("FitCyclic", p.FitCyclic);
    ConfigBool("FitCyclicToEnd", p.FitCyclicToEnd);
    ConfigShort("FitCyclicNumber", p.FitCyclicNumber);
    ConfigShort("FitCyclicSegSkip", p.FitCyclicSegSkip);
    ConfigBool("LinLeakOn", p.LinLeakOn);
    ConfigBool("LinLeakAutoCond", p.LinLeakAutoCond);
    ConfigReal("LinLeakReversal", p.LinLeakReversal);
    ConfigReal("LinLeakConductance", p.LinLeakConductance);
    ConfigShort("FitPromptLeftX", p.FitPromptLeftX);
    ConfigShort("FitPromptTopY", p.FitPromptTopY);
    ConfigShort("EventLeftX", p.EventLeftX);
    ConfigShort("EventTopY", p.EventTopY);
    ConfigInt("MaxNoOfFittedPoints", p.MaxNoOfFittedPoints);
    ConfigString("SweepXUnit", p.SweepXUnit);
    ConfigString("SweepYUnit", p.SweepYUnit);
    ConfigControl(SweepKeys, p.Sweep);
    ConfigEnum("SeriesFitType", p.SeriesFitType);
    ConfigControl(SeriesKeys, p.Series);
    ConfigEnum("FitResultRange", p.FitResultRange);
    ConfigShort("FitResultPoints", p.FitResultPoints);
    ConfigBlock("WaveGraph", p.WaveGraph);
    ConfigBlock("SGExport", p.SGExport);
    ConfigBool("MouseShowValues", p.MouseShowValues);
    ConfigBool("MouseToClipboard", p.MouseToClipboard);
    ConfigBool("MouseToggleSkip", p.MouseToggleSkip);
    ConfigBool("MouseShowPoint", p.MouseShowPoint);
    ConfigReal("LeftEdge", p.LeftEdge);
    ConfigReal("BinSize", p.BinSize);
    ConfigBool("SelectRange", p.SelectRange);
    ConfigReal("LowerRange", p.LowerRange);
    ConfigReal("UpperRange", p.UpperRange);
    ConfigEnum("LogTarget", p.LogTarget);
    ConfigEnum("NumberType", p.NumberType);

    const FitParams defaults;
    if (!Config.Write && (Texts::FromField(p.FitID) != Texts::FromField(defaults.FitID) ||
                          Texts::FromField(p.FitVersion) != Texts::FromField(defaults.FitVersion)))
        p = defaults;
}

void FitParamsLimits(FitParams& p) {
    const FitParams defaults;
    Limits::Choice(p.SweepFitType, 13, defaults.SweepFitType);
    Limits::Range<std::int16_t>(p.FitTrace, 1, 36);
    Limits::Range(p.FitSegOffset, -32767, 32767);
    Limits::Choice(p.FitCursorSource, 2, defaults.FitCursorSource);
    Limits::Choice(p.NewAnalysisMode, 1, defaults.NewAnalysisMode);
    Limits::Choice(p.FitZoom, 5, defaults.FitZoom);
    Limits::Range<std::int16_t>(p.FitCyclicNumber, 0, 4000);
    Limits::AtLeast<std::int16_t>(p.FitCyclicSegSkip, 1);
    Limits::Range(p.MaxNoOfFittedPoints, 2, 100'000'000);
    ControlLimits(p.Sweep, defaults.Sweep);
    Limits::Choice(p.SeriesFitType, 10, defaults.SeriesFitType);
    ControlLimits(p.Series, defaults.Series);
    Limits::Choice(p.FitResultRange, 2, defaults.FitResultRange);
    Limits::Range<std::int16_t>(p.FitResultPoints, 2, 200);
    if (!(p.BinSize > 0.0)) p.BinSize = defaults.BinSize;
    Limits::Choice(p.LogTarget, 3, defaults.LogTarget);
    Limits::Choice(p.NumberType, 1, defaults.NumberType);
}

}
