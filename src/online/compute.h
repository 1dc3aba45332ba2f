// Online computing: reduces a sweep to a row of numbers, function by function of a method.
//
//     OnlineCompute::Engine engine(session);
//     OnlineCompute::Pass(engine, method, sweep);
//     ... engine.Results ...
//
// Functions are taken in tree order; each sees the results of those before it. A result that cannot be
// computed is OnlineResults::Invalid and does not stop the pass.
//
// What the kinds mean where their name alone does not say it:
//     Time, Series Time  s from the start of the data file, and of the series, to that of the sweep
//     RealTime           time of day, s
//     Online Index       the sweep's position in its series, from 1
//     Amplitude ...      of the channel's relevant segment of y values plus OfYSegOffset; the channel is that
//                        of the trace OfTrace, the first one for OfTrace 0
//     ScanRate           change of the voltage over the duration of a ramp; 0 in other segments
//     SegTime.Rel, .Abs  start of the segment, s from that of the sweep, and of the data file
//     LockIn_Hz          1 / period of the channel's sine
//     log, sqr, a in b   to base 10; the square; 1 if b, as a set of bits, holds bit a (from 0), else 0
//     Peak_t, Min_t ...  s from the start of the segment
// The lock-in values C_M, G_M, G_S and phase are of no recorded field, and always invalid.
#pragma once
#include "data/session.h"
#include "data/sweep_stimulus.h"
#include "math/equation.h"
#include "online/results.h"
#include "online/stretch.h"
#include "trees/online_tree.h"

#include <functional>
#include <string>
#include <vector>

namespace OnlineCompute {

// What a pass has looked up of its sweep, for all functions together.
struct StimulusOfSweep {
    int Channel = 0; // position, from 1
    bool Found = false;
    SweepStimulus Records;
    std::vector<StimGen::SegmentRow> Table;
    std::vector<float> Samples; // in line with the stored trace; rebuilt when asked for
    bool Rebuilt = false;
};
struct TraceOfSweep {
    int Count = 0; // TrTraceCount
    VennicTrace* Record = nullptr;
    bool Loaded = false, Tried = false;
    std::vector<Stretch> Stretches; // those that functions have asked for
};

// It reads results where they lay when it was compiled.
struct CompiledEquation {
    std::string Text;
    const double* Results = nullptr;
    std::size_t Count = 0;
    bool UseAmplitude = false;
    Equation::Program Program;

    [[nodiscard]] bool IsFor(std::string_view text, const Engine& engine) const;
};

struct Engine {
    explicit Engine(DataSession& session) : Session(session) {}
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    DataSession& Session;
    OnlineResults::Table Table;
    std::vector<double> Results; // of the pass, one a function
    int SegmentOffset = 0;       // added to the segment of every function

    // What equations may use besides functions and the user's variables.
    bool UseAmplitude = false; // "AMPL"
    double Amplitude = 0.0;
    std::function<bool(int index, double& value)> ProtocolValue; // "P[1]" to "P[31]"

    // Of the pass.
    const OnlineMethod* Method = nullptr;
    VennicSweep* Sweep = nullptr;
    bool NeedsMoments = false; // a function of the method wants more than plain sums
    std::vector<StimulusOfSweep> Stimuli;
    std::vector<TraceOfSweep> Traces;
    std::vector<CompiledEquation> Equations; // by function; of the method that was compiled last
    std::string HeaderWritten;               // the notebook's header line that stands above the last lines
    std::vector<std::string> Errors;         // what an equation had to say, once each
};

// Computes all functions. Fills Results, the table and the values, and, with a function that is marked for
// it, writes a line to the notebook. The units of measured values go into OfUnit.
void Pass(Engine& engine, OnlineMethod& method, VennicSweep& sweep);

// The parts of a pass.
[[nodiscard]] TraceOfSweep& TraceFor(Engine& engine, int count);
[[nodiscard]] StimulusOfSweep& StimulusFor(Engine& engine, int channel);
// The row of a segment in its table, which has one. number, from 1, is kept within those that there are.
[[nodiscard]] std::size_t SegmentIndex(const StimulusOfSweep& stimulus, std::int64_t number);
// The channel that belongs to a trace of this count; the first one where there is no such trace.
[[nodiscard]] int ChannelOf(Engine& engine, int traceCount);
// Loaded with all corrections, for as long as the pass lasts.
[[nodiscard]] bool Load(Engine& engine, TraceOfSweep& trace);

[[nodiscard]] double MeasureTrace(Engine& engine, OnlineFunction& function);
[[nodiscard]] double StimulusValue(Engine& engine, OnlineFunction& function);
[[nodiscard]] double EquationValue(Engine& engine, const OnlineFunction& function, int index);

// Into OfUnit, cut to its field.
void SetUnit(OnlineFunction& function, std::string_view unit);

}
