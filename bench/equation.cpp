// Question: what does it cost that a model is a text? Asked of one point, of an array, and of a whole fit,
// for c[1]+c[2]*(1-exp(-x/c[3])).
//
// Peers: the same formula compiled as C++; muParser's bytecode; the built-in 1-Exponential, whose amplitudes
// are solved instead of moved, over as many evaluations of the same points (FitBuiltIn, FitParsed).
// bench/equation_ratios prints the ratios.
//
// Last answer (one core of a busy AMD EPYC, GCC 12, muParser 2.3.3): a point 15.5 to 16.8 ns, 2.4 to 2.5
// times C++ and 0.64 to 0.69 times muParser; over an array 3.7 ns a point, 0.68 times C++, for the
// exponentials go several at a time. A fit takes 1.2 times as long as the built-in model, 1.4 times in two
// pieces.
#include "fit/fit.h"
#include "fit/parsed_equation.h"

#include <benchmark/benchmark.h>
#include <muParser.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr const char* Text = "c[1]+c[2]*(1-exp(-x/c[3]))";
constexpr std::size_t Points = 1000;

double C[3] = {-1E-12, 1E-9, 2E-3};

std::vector<double> Times() {
    std::vector<double> x(Points);
    for (std::size_t i = 0; i < Points; ++i) x[i] = static_cast<double>(i) * 2E-5;
    return x;
}

Equation::Program CompileText() {
    Fit::CoefficientPlaces places = {};
    for (std::size_t i = 0; i < 3; ++i) places[i] = &C[i];
    return Equation::Compile(Text, 255, Fit::FitTokens(places), Equation::XUse::Allowed);
}

[[gnu::noinline]] double Native(double x) {
    return C[0] + C[1] * (1 - std::exp(-x / C[2]));
}

template <typename Function>
void AtPoints(benchmark::State& state, Function function) {
    const std::vector<double> x = Times();
    for (auto _ : state)
        for (const double at : x) benchmark::DoNotOptimize(function(at));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Points));
}

void PointNative(benchmark::State& state) {
    AtPoints(state, Native);
}

void PointParsed(benchmark::State& state) {
    Equation::Program program = CompileText();
    AtPoints(state, [&](double x) {
        double value;
        Equation::Error error;
        if (!program.Evaluate(x, value, error)) std::abort();
        return value;
    });
}

void PointMuParser(benchmark::State& state) {
    mu::Parser parser;
    double at = 0.0;
    parser.DefineVar("x", &at);
    parser.DefineVar("c1", &C[0]);
    parser.DefineVar("c2", &C[1]);
    parser.DefineVar("c3", &C[2]);
    parser.SetExpr("c1+c2*(1-exp(-x/c3))");
    AtPoints(state, [&](double x) {
        at = x;
        return parser.Eval();
    });
}

void ArrayNative(benchmark::State& state) {
    const std::vector<double> x = Times();
    std::vector<double> y(Points);
    for (auto _ : state) {
        for (std::size_t i = 0; i < Points; ++i) y[i] = C[0] + C[1] * (1 - std::exp(-x[i] / C[2]));
        benchmark::DoNotOptimize(y.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Points));
}

void ArrayParsed(benchmark::State& state) {
    const std::vector<double> x = Times();
    std::vector<double> y(Points);
    Equation::Program program = CompileText();
    Equation::Error error;
    for (auto _ : state) {
        if (!program.Evaluate(x, y.data(), error)) std::abort();
        benchmark::DoNotOptimize(y.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Points));
}

void CompileOnly(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(CompileText());
}

// 200 evaluations over the same noisy points, from start values that are as good for both.
void FitType(benchmark::State& state, SweepFitType type, const char* text) {
    constexpr int Evaluations = 200;
    const std::vector<double> x = Times();
    std::vector<double> y;
    unsigned noise = 1;
    for (const double at : x) {
        noise = noise * 1664525u + 1013904223u;
        y.push_back(Native(at) + 1E-11 * (static_cast<double>(noise >> 8) * 0x1p-23 - 1.0));
    }
    Fit::SweepRecords records = Fit::DefaultSweepRecords();
    const Fit::Selected selected = Fit::Select(records, type);
    Fit::FitControl control;
    control.MaxIterations = Evaluations;
    control.StopEpsilon = 0;
    for (auto _ : state) {
        Fit::Init(selected);
        if (text && !Fit::SetTextByName(selected, "Equation", text)) std::abort();
        const Fit::Outcome outcome = Fit::Run(selected, {x, y, {Points, 2E-5, 0.0}, "s", "A"}, control);
        if (!outcome.Ok || *outcome.Iterations != Evaluations) std::abort();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(PointNative);
BENCHMARK(PointParsed);
BENCHMARK(PointMuParser);
BENCHMARK(ArrayNative);
BENCHMARK(ArrayParsed);
BENCHMARK(CompileOnly);
BENCHMARK_CAPTURE(FitType, BuiltIn, SweepFitType::OneExponential, nullptr)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(FitType, Parsed, SweepFitType::ParsedEquation, Text)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(FitType, ParsedInRanges, SweepFitType::ParsedEquation, nullptr)
    ->Unit(benchmark::kMicrosecond);

}
