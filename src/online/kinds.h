// The kinds of online functions: OfKind, by name and by how they are computed.
#pragma once
#include "trees/online_tree.h"

#include <cstdint>
#include <string>

namespace OnlineKinds {

inline constexpr int Count = 78;

enum Kind : std::uint8_t {
    SweepCount,
    Time,
    TimerTime,
    RealTime,
    Amplitude,
    Duration,
    ScanRate,
    Extremum,
    Maximum,
    Minimum,
    Mean,
    Integral,
    Variance,
    Slope,
    PeakTime,
    AnodicQ,
    CathodicQ,
    CSlow,
    RSeries,
    UserParam1,
    UserParam2,
    LockInCM,
    LockInGM,
    LockInGS,
    SeriesTime,
    Stimulus,
    SegTimeAbs,
    Equation,
    Constant,
    APlusB,
    AMinusB,
    ATimesB,
    AOverB,
    Abs,
    Log,
    Sqr,
    OneOverA,
    OneOverLog,
    OneOverSqr,
    Trace,
    Q,
    OneOverTrace,
    OneOverQ,
    LnTrace,
    LnQ,
    LogTrace,
    LogQ,
    TraceTime,
    Freq,
    Dist,
    HistoAmpl,
    HistoBins,
    OnlineIndex,
    VPeak,
    SegTimeRel,
    CellPotential,
    SealResistance,
    RsValue,
    LeakComp,
    MConductance,
    Temperature,
    PipPressure,
    IntSolution,
    ExtSolution,
    DigitalIn,
    AInB,
    Reversal,
    LockInPh,
    LockInHz,
    TotMean,
    DeltaT,
    IntSolValue,
    ExtSolValue,
    ATan,
    OneOverATan,
    MinTime,
    MaxTime,
    ThreshTime,
};

enum class Class : std::uint8_t {
    Sweep,    // of the sweep and its series, or the running index
    Stimulus, // of a segment
    TraceParameter,
    SweepParameter,
    Measurement, // in the samples of a trace
    Equation,
    Constant,
    OneOperand, // arithmetic on earlier results
    TwoOperands,
    NotComputed, // an axis of a graph; an unknown kind is one too
};
[[nodiscard]] Class ClassOf(int kind);

// "Mean", or the name that the settings give a user parameter; empty for an unknown kind.
[[nodiscard]] std::string NameOf(int kind);
// What a function is called: its own name, or that of its kind.
[[nodiscard]] std::string NameOf(const OnlineFunction& function);

}
