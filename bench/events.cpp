// Question: are the measurements bounded by the reading of the samples, not by what is done with them?
//
// Detection: a quiet trace of 10 million real32 samples, noise around a base line far from the threshold
// (action potentials) and around level 0 (single channels). Spectrum: 10 million samples in blocks of 1024;
// peer is FFTW's real transform in float64, one plan made with FFTW_MEASURE, with the same conversion, means
// and squaring around it. Online: a method of ten functions over 10 000 sweeps of 10 000 int16 samples; peer
// is to load and correct the same traces and give them back. bench/events_peers adds NumPy and prints the
// ratios.
#include "base/text.h"
#include "data/session.h"
#include "data/traces.h"
#include "events/action_potential.h"
#include "events/power_spectrum.h"
#include "events/single_channel.h"
#include "online/compute.h"
#include "online/kinds.h"
#include "online/online_edit.h"
#include "support/cell_plan.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fftw3.h>
#include <filesystem>
#include <memory>

namespace {

constexpr std::size_t QuietPoints = 10'000'000;
constexpr std::int32_t Frequencies = 512;
constexpr std::size_t Block = 2 * Frequencies;

// Flat noise of this size around 0; repeats after a million samples.
const std::vector<float>& Quiet() {
    static const std::vector<float> samples = [] {
        std::vector<float> made(QuietPoints);
        std::uint32_t state = 1;
        for (std::size_t i = 0; i < made.size(); ++i) {
            state = state * 1664525U + 1013904223U;
            made[i] = (static_cast<float>(state >> 8) * 0x1p-24F - 0.5F) * 1e-3F;
        }
        return made;
    }();
    return samples;
}

void DetectActionPotentials(benchmark::State& state) {
    const std::vector<float>& samples = Quiet();
    for (auto step : state) {
        ActionPotential::Detector detector(samples, 0.01, 1e-4, 0.0);
        ActionPotential::Event event;
        if (detector.Next(event)) state.SkipWithError("an event in silence");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(QuietPoints) * state.iterations());
}

void DetectChannels(benchmark::State& state) {
    const std::vector<float>& samples = Quiet();
    for (auto step : state) {
        SingleChannel::Detector detector({.Low = 0.0, .High = 0.01}, samples, 1e-4, 0.0);
        SingleChannel::Event event;
        if (detector.Next(event)) state.SkipWithError("an event in silence");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(QuietPoints) * state.iterations());
}

void SpectrumOurs(benchmark::State& state) {
    const std::vector<float>& samples = Quiet();
    for (auto step : state)
        benchmark::DoNotOptimize(PowerSpectrum::Compute(samples, 1e-4, Frequencies, 0, true));
    state.SetItemsProcessed(static_cast<std::int64_t>(QuietPoints) * state.iterations());
}

void SpectrumFftw(benchmark::State& state) {
    const std::vector<float>& samples = Quiet();
    double* const in = fftw_alloc_real(Block);
    fftw_complex* const out = fftw_alloc_complex(Block / 2 + 1);
    const fftw_plan plan = fftw_plan_dft_r2c_1d(static_cast<int>(Block), in, out, FFTW_MEASURE);
    std::vector<double> sums(Block / 2 + 1);
    const double scale = 1e-4 / Block;
    for (auto step : state) {
        std::fill(sums.begin(), sums.end(), 0.0);
        for (std::size_t at = 0; at + Block < samples.size(); at += Block) {
            double mean = 0.0;
            for (std::size_t i = 0; i < Block; ++i) mean += samples[at + i];
            mean /= static_cast<double>(Block);
            for (std::size_t i = 0; i < Block; ++i) in[i] = samples[at + i] - mean;
            fftw_execute(plan);
            for (std::size_t k = 0; k <= Block / 2; ++k)
                sums[k] += (out[k][0] * out[k][0] + out[k][1] * out[k][1]) * scale;
        }
        benchmark::DoNotOptimize(sums.data());
        benchmark::ClobberMemory();
    }
    fftw_destroy_plan(plan);
    fftw_free(in);
    fftw_free(out);
    state.SetItemsProcessed(static_cast<std::int64_t>(QuietPoints) * state.iterations());
}

// The recording of the online benchmarks, made once a run.
constexpr int Sweeps = 10'000;
constexpr std::size_t SweepPoints = 10'000;

void Demand(bool done) {
    if (!done) std::abort();
}

void WriteRecording(const std::string& path) {
    const Support::CellPlan plan{.Segments = {{0.0, 1000}, {0.02, 8000}, {0.0, 1000}},
                                 .Relevant = 2,
                                 .Interval = 1e-4,
                                 .Format = 0, // int16
                                 .Factor = 1e-7};
    Demand(Support::WriteCell(path, plan, Sweeps, [](int i) {
        const std::size_t from = static_cast<std::size_t>(i) * 977 % (QuietPoints - SweepPoints);
        const auto part = std::span(Quiet()).subspan(from, SweepPoints);
        return std::vector<Support::Samples>{{part.begin(), part.end()}};
    }));
}

struct Recording {
    Recording() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qorvanite-bench-XXXXXX").string();
        Demand(::mkdtemp(pattern.data()) != nullptr);
        Folder = pattern;
        WriteRecording(Folder + "/online.dat");
        Demand(OpenDataFile(Session, Folder + "/online.dat", {.Mode = OpenMode::Read}));
        Series = Tree::Child(Tree::Child(Tree::Root(Session.Vennic.Handle), 1), 1);
    }
    ~Recording() {
        CloseDataFile(Session);
        std::filesystem::remove_all(Folder);
    }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    VennicSweep* Sweep(int i) { return Tree::ChildAs<VennicSweep>(Series, i); }
    std::string Folder;
    DataSession Session;
    void* Series = nullptr;
};

void LoadAlone(benchmark::State& state) {
    Recording recording;
    for (auto step : state) {
        for (int i = 1; i <= Sweeps; ++i) {
            VennicSweep* const sweep = recording.Sweep(i);
            auto* const trace = Tree::ChildAs<VennicTrace>(sweep, 1);
            Demand(Traces::LoadAndCorrect(recording.Session, sweep, trace, recording.Session.DataHeap));
            Traces::ReleaseTrace(trace);
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(Sweeps * SweepPoints) * state.iterations());
}

void AddFunctions(OnlineAnalysis& analysis) {
    using namespace OnlineKinds;
    for (const int kind : {int{Mean}, int{Maximum}, int{Minimum}, int{Slope}, int{Integral}, int{PeakTime},
                           int{Variance}, int{ThreshTime}, int{Amplitude}, int{Kind::Equation}}) {
        OnlineMethod* const method = OnlineTree::CurrentMethod(analysis);
        const int position = Tree::ChildCount(method) + 1;
        Demand(OnlineEdit::InsertFunction(analysis, method, position));
        OnlineFunction& function = *OnlineTree::FunctionAt(method, position);
        function.OfKind = static_cast<std::uint8_t>(kind);
        function.OfTrace = 1;
        function.OfLeftBound = 0.0;
        function.OfRightBound = 1.0;
        function.OfConstant = 1.0; // never crossed
        function.OfNotebook = 0;
        Texts::ToField(function.OfEquation, "(F[2]-F[3])/2+exp(-F[1])");
    }
}

void OnlineMethodOf10(benchmark::State& state) {
    Recording recording;
    OnlineAnalysis analysis;
    OnlineCompute::Engine engine(recording.Session);
    Demand(OnlineTree::New(analysis) && OnlineResults::Allocate(engine.Table));
    AddFunctions(analysis);
    for (auto step : state)
        for (int i = 1; i <= Sweeps; ++i)
            OnlineCompute::Pass(engine, *OnlineTree::CurrentMethod(analysis), *recording.Sweep(i));
    for (const int valid : {0, 1, 2, 3, 4, 5, 6, 8, 9})
        if (!(engine.Results[static_cast<std::size_t>(valid)] < 1e9)) state.SkipWithError("no result");
    state.SetItemsProcessed(static_cast<std::int64_t>(Sweeps * SweepPoints) * state.iterations());
}

BENCHMARK(DetectActionPotentials)->Unit(benchmark::kMillisecond);
BENCHMARK(DetectChannels)->Unit(benchmark::kMillisecond);
BENCHMARK(SpectrumOurs)->Unit(benchmark::kMillisecond);
BENCHMARK(SpectrumFftw)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadAlone)->Unit(benchmark::kMillisecond);
BENCHMARK(OnlineMethodOf10)->Unit(benchmark::kMillisecond);

}
