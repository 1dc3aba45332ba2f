#include "online/compute.h"

#include "base/text.h"
#include "base/time_scale.h"
#include "data/traces.h"
#include "online/kinds.h"
#include "online/notebook_lines.h"
#include "trees/solution_tree.h"

#include <algorithm>
#include <cmath>

namespace OnlineCompute {

namespace {

using OnlineResults::Invalid;

double SweepValue(const Engine& engine, int kind) {
    const VennicSweep& sweep = *engine.Sweep;
    const auto& series = *static_cast<const VennicSeries*>(Tree::Parent(engine.Sweep));
    const auto& root = *static_cast<const VennicRoot*>(Tree::Root(engine.Session.Vennic.Handle));
    switch (kind) {
    case OnlineKinds::SweepCount: return sweep.SwSweepCount;
    case OnlineKinds::Time: return sweep.SwTime - root.RoStartTime;
    case OnlineKinds::TimerTime: return sweep.SwTimer;
    case OnlineKinds::RealTime: return TimeScale::OfDay(sweep.SwTime);
    case OnlineKinds::SeriesTime: return sweep.SwTime - series.SeTime;
    case OnlineKinds::OnlineIndex: return Tree::IndexOf(&sweep);
    default: return Invalid;
    }
}

double SweepParameter(const VennicSweep& sweep, int kind) {
    switch (kind) {
    case OnlineKinds::UserParam1: return sweep.SwUserParams[0];
    case OnlineKinds::UserParam2: return sweep.SwUserParams[1];
    case OnlineKinds::Temperature: return sweep.SwTemperature;
    case OnlineKinds::PipPressure: return sweep.SwUserParams[2];
    case OnlineKinds::DigitalIn: return sweep.SwDigitalIn;
    default: return Invalid;
    }
}

// The numeric value of a solution by its number.
double SolutionValue(const DataSession& session, std::int32_t number) {
    const void* const root = Tree::Root(session.Solution.Handle);
    for (int i = 1; i <= Tree::ChildCount(root); ++i) {
        const auto& solution = *Tree::ChildAs<SolutionRecord>(root, i);
        if (solution.SrNumber == number) return solution.SrNumeric;
    }
    return Invalid;
}

double TraceParameter(Engine& engine, const OnlineFunction& function) {
    const VennicTrace* const trace = TraceFor(engine, function.OfTrace).Record;
    if (!trace) return Invalid;
    switch (function.OfKind) {
    case OnlineKinds::CSlow: return trace->TrCSlow;
    case OnlineKinds::RSeries: return trace->TrGSeries > 0.0 ? 1.0 / trace->TrGSeries : Invalid;
    case OnlineKinds::CellPotential: return trace->TrCellPotential;
    case OnlineKinds::SealResistance: return trace->TrSealResistance;
    case OnlineKinds::RsValue: return trace->TrRsValue;
    case OnlineKinds::LeakComp: return trace->TrLeakComp;
    case OnlineKinds::MConductance: return trace->TrMConductance;
    case OnlineKinds::IntSolution: return trace->TrInternalSolution;
    case OnlineKinds::ExtSolution: return trace->TrExternalSolution;
    case OnlineKinds::IntSolValue: return SolutionValue(engine.Session, trace->TrInternalSolution);
    case OnlineKinds::ExtSolValue: return SolutionValue(engine.Session, trace->TrExternalSolution);
    default: return Invalid;
    }
}

double BitInSet(double bit, double set) {
    constexpr double Bits = 32.0, EndOfSets = 4294967296.0;
    if (!(bit >= 0.0 && bit < Bits && std::fabs(set) < EndOfSets)) return Invalid;
    return static_cast<double>((static_cast<std::int64_t>(set) >> static_cast<int>(bit)) & 1);
}

double Arithmetic(int kind, double a, double b) {
    switch (kind) {
    case OnlineKinds::APlusB: return a + b;
    case OnlineKinds::AMinusB: return a - b;
    case OnlineKinds::ATimesB: return a * b;
    case OnlineKinds::AOverB: return a / b;
    case OnlineKinds::Abs: return std::fabs(a);
    case OnlineKinds::Log: return std::log10(a);
    case OnlineKinds::Sqr: return a * a;
    case OnlineKinds::OneOverA: return 1.0 / a;
    case OnlineKinds::OneOverLog: return 1.0 / std::log10(a);
    case OnlineKinds::OneOverSqr: return 1.0 / (a * a);
    case OnlineKinds::AInB: return BitInSet(a, b);
    case OnlineKinds::ATan: return std::atan(a);
    case OnlineKinds::OneOverATan: return 1.0 / std::atan(a);
    default: return Invalid;
    }
}

// The result of an operand; only a function before this one has any.
double Operand(const Engine& engine, int operand, int index) {
    return operand >= 1 && operand < index ? engine.Results[static_cast<std::size_t>(operand - 1)] : Invalid;
}

double Compute(Engine& engine, OnlineFunction& function, int index) {
    const int kind = function.OfKind;
    switch (OnlineKinds::ClassOf(kind)) {
    case OnlineKinds::Class::Sweep: return SweepValue(engine, kind);
    case OnlineKinds::Class::Stimulus: return StimulusValue(engine, function);
    case OnlineKinds::Class::TraceParameter: return TraceParameter(engine, function);
    case OnlineKinds::Class::SweepParameter: return SweepParameter(*engine.Sweep, kind);
    case OnlineKinds::Class::Measurement: return MeasureTrace(engine, function);
    case OnlineKinds::Class::Equation: return EquationValue(engine, function, index);
    case OnlineKinds::Class::Constant: return function.OfConstant;
    case OnlineKinds::Class::OneOperand:
        return Arithmetic(kind, Operand(engine, function.OfArgA, index), Invalid);
    case OnlineKinds::Class::TwoOperands:
        return Arithmetic(kind, Operand(engine, function.OfArgA, index),
                          Operand(engine, function.OfArgB, index));
    case OnlineKinds::Class::NotComputed: break;
    }
    return Invalid;
}

void Begin(Engine& engine, const OnlineMethod& method, VennicSweep& sweep) {
    engine.Method = &method;
    engine.Sweep = &sweep;
    engine.Stimuli.clear();
    engine.Traces.clear();
    engine.NeedsMoments = false;
    for (int i = 1; i <= Tree::ChildCount(&method); ++i) {
        const int kind = Tree::ChildAs<OnlineFunction>(&method, i)->OfKind;
        if (kind == OnlineKinds::Variance || kind == OnlineKinds::Slope) engine.NeedsMoments = true;
    }
    const auto functions = static_cast<std::size_t>(Tree::ChildCount(&method));
    engine.Results.assign(functions, Invalid);
    engine.Equations.resize(functions);
    OnlineResults::BeginRow(engine.Table, Tree::IndexOf(&sweep));
}

// Long series would pile their samples up.
void End(Engine& engine) {
    for (TraceOfSweep& trace : engine.Traces)
        if (trace.Tried && trace.Record) Traces::ReleaseTrace(trace.Record);
}

}

void SetUnit(OnlineFunction& function, std::string_view unit) {
    Texts::ToField(function.OfUnit, unit);
}

TraceOfSweep& TraceFor(Engine& engine, int count) {
    for (TraceOfSweep& trace : engine.Traces)
        if (trace.Count == count) return trace;
    TraceOfSweep& trace = engine.Traces.emplace_back();
    trace.Count = count;
    for (int i = 1; i <= Tree::ChildCount(engine.Sweep) && !trace.Record; ++i) {
        auto* const record = Tree::ChildAs<VennicTrace>(engine.Sweep, i);
        if (record->TrTraceCount == count) trace.Record = record;
    }
    return trace;
}

bool Load(Engine& engine, TraceOfSweep& trace) {
    if (trace.Tried) return trace.Loaded;
    trace.Tried = true;
    trace.Loaded =
        trace.Record && trace.Record->TrDataPoints > 0 &&
        Traces::LoadAndCorrect(engine.Session, engine.Sweep, trace.Record, engine.Session.DataHeap);
    return trace.Loaded;
}

StimulusOfSweep& StimulusFor(Engine& engine, int channel) {
    for (StimulusOfSweep& stimulus : engine.Stimuli)
        if (stimulus.Channel == channel) return stimulus;
    StimulusOfSweep& stimulus = engine.Stimuli.emplace_back();
    stimulus.Channel = channel;
    stimulus.Found = FindStimulus(engine.Session, *engine.Sweep, channel, stimulus.Records);
    if (stimulus.Found)
        stimulus.Table = StimGen::SegmentTable(stimulus.Records.SweepNumber, stimulus.Records.Source());
    return stimulus;
}

std::size_t SegmentIndex(const StimulusOfSweep& stimulus, std::int64_t number) {
    const auto last = static_cast<std::int64_t>(stimulus.Table.size());
    return static_cast<std::size_t>(std::clamp<std::int64_t>(number, 1, last) - 1);
}

int ChannelOf(Engine& engine, int traceCount) {
    const VennicTrace* const trace = TraceFor(engine, traceCount).Record;
    if (trace) return ChannelFor(engine.Session, *engine.Sweep, *trace);
    return Tree::ChildCount(StimulationOf(engine.Session, engine.Sweep)) > 0 ? 1 : 0;
}

void Pass(Engine& engine, OnlineMethod& method, VennicSweep& sweep) {
    Begin(engine, method, sweep);
    for (int i = 1; i <= Tree::ChildCount(&method); ++i) {
        auto& function = *Tree::ChildAs<OnlineFunction>(&method, i);
        const double value = Compute(engine, function, i);
        engine.Results[static_cast<std::size_t>(i - 1)] = value;
        OnlineResults::StoreResult(engine.Table, value, function.OfValueIndex);
    }
    End(engine);
    NotebookLines::Write(engine);
}

}
