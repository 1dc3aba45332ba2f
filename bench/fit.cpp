// Question: how many one-exponential fits a second, of 1000 noisy points (offset, amplitude, time constant)?
// Asked because an Auto Fit runs one such fit a sweep, and users wait for it.
// GslSimplex answers the same on the same data with GSL's nmsimplex2 in all three parameters, from the same
// start, run on until its residual is as good as ours (to 1E-9) or it gives up.
// bench/fit_peers adds SciPy's curve_fit and prints the ratios.
//
// Last answer (one core of an AMD EPYC with AVX2, GCC 12, GSL 2.7, SciPy 1.10): 5680 fits/s, which is 3.5
// times as fast as GSL's simplex, 1.9 times as fast as curve_fit, and 1.7 times as fast as curve_fit when it
// is given the analytic derivatives. All reach our residual. Of a fit's 175 us, about half are exponentials.
#include "fit/fit.h"

#include <benchmark/benchmark.h>
#include <gsl/gsl_multimin.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr std::size_t Points = 1000;
constexpr int Traces = 16;
constexpr double Interval = 2E-5;
constexpr double StartTau = 1E-3; // the default start value

struct Trace {
    std::vector<double> X, Y;
};

// Noise from a small generator of its own, so that every peer can make the very same points.
std::vector<Trace> MakeTraces() {
    std::vector<Trace> traces(Traces);
    std::uint64_t state = 88172645463325252U;
    const auto uniform = [&state] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return static_cast<double>(state >> 11) * 0x1p-53;
    };
    for (int t = 0; t < Traces; ++t) {
        const double tau = 2E-3 + 2E-4 * t;
        for (std::size_t i = 0; i < Points; ++i) {
            double noise = -6.0;
            for (int k = 0; k < 12; ++k) noise += uniform();
            const double x = static_cast<double>(i) * Interval;
            traces[static_cast<std::size_t>(t)].X.push_back(x);
            traces[static_cast<std::size_t>(t)].Y.push_back(2E-9 + 5E-9 * std::exp(-x / tau) + 1E-10 * noise);
        }
    }
    return traces;
}

const std::vector<Trace>& AllTraces() {
    static const std::vector<Trace> traces = MakeTraces();
    return traces;
}

double FitOne(const Trace& trace) {
    static Fit::SweepRecords records = Fit::DefaultSweepRecords();
    Fit::FitControl control;
    const Fit::Selected selected = Fit::Select(records, SweepFitType::Exponential);
    Fit::Init(selected);
    if (!Fit::Run(selected, {trace.X, trace.Y, {Points, Interval, 0.0}, "s", "A"}, control).Ok) std::abort();
    return control.LastResidual;
}

const std::vector<double>& OurResiduals() {
    static const std::vector<double> residuals = [] {
        std::vector<double> all;
        for (const Trace& trace : AllTraces()) all.push_back(FitOne(trace));
        return all;
    }();
    return residuals;
}

void Qorvanite(benchmark::State& state) {
    std::size_t t = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FitOne(AllTraces()[t]));
        t = (t + 1) % Traces;
    }
    state.SetItemsProcessed(state.iterations());
}

double GslResidual(const gsl_vector* v, void* data) {
    const auto& trace = *static_cast<const Trace*>(data);
    const double offset = gsl_vector_get(v, 0) * 1E-9, amplitude = gsl_vector_get(v, 1) * 1E-9;
    const double tau = std::exp(gsl_vector_get(v, 2));
    double sum = 0.0;
    for (std::size_t i = 0; i < Points; ++i) {
        const double deviation = trace.Y[i] - (offset + amplitude * std::exp(-trace.X[i] / tau));
        sum += deviation * deviation;
    }
    return std::sqrt(sum / (static_cast<double>(Points) - 1.0));
}

// Amplitudes start at what a user would read off the trace: its last and its first point. They are scaled to
// nanoamperes, which spares the peer a badly scaled simplex.
void GslSimplex(benchmark::State& state) {
    constexpr int Limit = 2000;
    gsl_multimin_fminimizer* simplex = gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, 3);
    gsl_vector* start = gsl_vector_alloc(3);
    gsl_vector* step = gsl_vector_alloc(3);
    std::size_t t = 0;
    int fellShort = 0;
    for (auto _ : state) {
        const Trace& trace = AllTraces()[t];
        const double goal = OurResiduals()[t] * (1.0 + 1E-9);
        gsl_vector_set(start, 0, trace.Y.back() * 1E9);
        gsl_vector_set(start, 1, (trace.Y.front() - trace.Y.back()) * 1E9);
        gsl_vector_set(start, 2, std::log(StartTau));
        gsl_vector_set_all(step, 0.5);
        gsl_multimin_function function = {GslResidual, 3, const_cast<Trace*>(&trace)};
        gsl_multimin_fminimizer_set(simplex, &function, start, step);
        int iteration = 0;
        bool there = false; // the peer knows its residual only after the first iteration
        while (!there && iteration++ < Limit && gsl_multimin_fminimizer_iterate(simplex) == 0)
            there = gsl_multimin_fminimizer_minimum(simplex) <= goal;
        if (!there) ++fellShort;
        benchmark::DoNotOptimize(simplex->fval);
        t = (t + 1) % Traces;
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["short_of_goal"] = fellShort;
    gsl_vector_free(start);
    gsl_vector_free(step);
    gsl_multimin_fminimizer_free(simplex);
}

BENCHMARK(Qorvanite)->Unit(benchmark::kMicrosecond);
BENCHMARK(GslSimplex)->Unit(benchmark::kMicrosecond);

// With a file name in QORVANITE_FIT_TRACES the points and our residuals go there, for peers outside C++.
const bool Written = [] {
    const char* path = std::getenv("QORVANITE_FIT_TRACES");
    if (!path) return false;
    std::FILE* file = std::fopen(path, "w");
    if (!file) return false;
    for (std::size_t t = 0; t < Traces; ++t) {
        std::fprintf(file, "%.17g\n", OurResiduals()[t]);
        for (std::size_t i = 0; i < Points; ++i)
            std::fprintf(file, "%.17g %.17g\n", AllTraces()[t].X[i], AllTraces()[t].Y[i]);
    }
    return std::fclose(file) == 0;
}();

}
