// Question: does a large data set open as fast as the machine can read it, in little more memory than its
// records take, and does it go away at once? What does it cost to store one more sweep? And does a long trace
// load at the speed of copying its bytes?
//
// Last answer: see docs/architecture.md, "What it costs"; bench/storage_peers prints the ratios.
#include "base/buffer.h"
#include "data/new_data_set.h"
#include "data/scratch.h"
#include "data/session.h"
#include "data/traces.h"
#include "setup/settings.h"
#include "trees/vennic_tree.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int SweepsASeries = 1000;
constexpr std::size_t TracePoints = 10'000'000;

std::string PathOf(const char* name) {
    return (std::filesystem::temp_directory_path() / ("qorvanite_bench_" + std::string(name))).string();
}

void AppendSweep(Tree::Handle* tree, VennicSeries* series) {
    VennicSweep* const sweep = VennicTree::NewSweep(tree, series, 0);
    for (int t = 0; t < 2; ++t) (void)VennicTree::NewTrace(tree, sweep, 0);
}

// A tree of so many series with so many sweeps of two traces each.
Tree::Handle* BuildTree(int seriesCount, int sweeps) {
    Tree::Handle* tree = VennicTree::Define("BenchWrite.HE");
    VennicRoot* const root = VennicTree::NewRoot(tree, 262144, "benchmark");
    VennicGroup* const group = VennicTree::NewGroup(tree, root, 0);
    for (int s = 0; s < seriesCount; ++s) {
        VennicSeries* const series = VennicTree::NewSeries(tree, group, 0);
        for (int w = 0; w < sweeps; ++w) AppendSweep(tree, series);
    }
    return tree;
}

// The file of so many thousand sweeps.
const std::string& TreeFile(int thousands) {
    static std::string paths[101];
    std::string& path = paths[thousands];
    if (!path.empty()) return path;
    path = PathOf(("tree" + std::to_string(thousands) + ".vnc").c_str());
    Tree::Handle* tree = BuildTree(thousands, SweepsASeries);
    if (Tree::Store(path, tree, true) != Tree::Success) std::abort();
    Tree::Dispose(tree);
    return path;
}

// Stores a tree of 100 000 sweeps, in so many series, as a whole.
void RewriteTree(benchmark::State& state) {
    const auto series = static_cast<int>(state.range(0));
    Tree::Handle* tree = BuildTree(series, 100 * SweepsASeries / series);
    const std::string path = PathOf("rewrite.vnc");
    for (auto step : state)
        if (Tree::Store(path, tree, true) != Tree::Success) state.SkipWithError("not stored");
    Tree::Dispose(tree);
    std::filesystem::remove(path);
}

// The same tree with one more sweep at its end each time; the waiting for the disk is part of it.
void StoreOneMoreSweep(benchmark::State& state) {
    const auto series = static_cast<int>(state.range(0));
    Tree::Handle* tree = BuildTree(series, 100 * SweepsASeries / series);
    const std::string path = PathOf("increment.vnc");
    if (Tree::Store(path, tree, true) != Tree::Success) std::abort();
    auto* const last = Tree::ChildAs<VennicSeries>(Tree::Child(Tree::Root(tree), 1), series);
    for (auto step : state) {
        AppendSweep(tree, last);
        if (Tree::Store(path, tree, false) != Tree::Success) state.SkipWithError("not stored");
    }
    Tree::Dispose(tree);
    std::filesystem::remove(path);
}

void LoadTree(benchmark::State& state) {
    const std::string& path = TreeFile(static_cast<int>(state.range(0)));
    double areaBytes = 0;
    for (auto step : state) {
        Tree::Handle* tree = VennicTree::Define("BenchRead.HE");
        Tree::FileInfo info;
        if (Tree::Load(path, tree, info) != Tree::Success) state.SkipWithError("not loaded");
        state.PauseTiming();
        areaBytes = static_cast<double>(tree->Heap->AreaBytes());
        Tree::Dispose(tree);
        state.ResumeTiming();
    }
    const auto fileBytes = static_cast<double>(std::filesystem::file_size(path));
    state.SetBytesProcessed(static_cast<std::int64_t>(fileBytes) * state.iterations());
    const double sweeps = 1000.0 * static_cast<double>(state.range(0));
    const double records = 544 + 128 + 1408 * static_cast<double>(state.range(0)) + sweeps * (160 + 2 * 408);
    state.counters["memory_ratio"] = areaBytes / records;
}

// The yardstick: the same file into one block of memory, page by page for the first time as the tree's own.
void ReadFile(benchmark::State& state) {
    const std::string& path = TreeFile(static_cast<int>(state.range(0)));
    const std::size_t bytes = std::filesystem::file_size(path);
    for (auto step : state) {
        const std::unique_ptr<std::byte, decltype(&std::free)> block(
            static_cast<std::byte*>(std::malloc(bytes)), &std::free);
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        benchmark::DoNotOptimize(std::fread(block.get(), 1, bytes, file));
        std::fclose(file);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void DisposeTree(benchmark::State& state) {
    const std::string& path = TreeFile(static_cast<int>(state.range(0)));
    double areas = 0;
    for (auto step : state) {
        state.PauseTiming();
        Tree::Handle* tree = VennicTree::Define("BenchRead.HE");
        Tree::FileInfo info;
        if (Tree::Load(path, tree, info) != Tree::Success) state.SkipWithError("not loaded");
        areas = static_cast<double>(tree->Heap->AreaCount());
        state.ResumeTiming();
        Tree::Dispose(tree);
    }
    state.counters["areas"] = areas;
}

const std::string& TraceFile() {
    static std::string path;
    if (!path.empty()) return path;
    path = PathOf("trace.dat");
    NewDataSet set;
    std::vector<float> samples(TracePoints);
    std::uint32_t noise = 1;
    for (float& sample : samples) {
        noise = noise * 1664525u + 1013904223u;
        sample = static_cast<float>(static_cast<std::int16_t>(noise >> 16)) * 1e-12f;
    }
    if (!BeginDataSet(set, path, "benchmark")) std::abort();
    VennicGroup* const group = VennicTree::NewGroup(set.Vennic, set.Root, 0);
    VennicSeries* const series = VennicTree::NewSeries(set.Vennic, group, 0);
    VennicTrace* const trace =
        VennicTree::NewTrace(set.Vennic, VennicTree::NewSweep(set.Vennic, series, 0), 0);
    trace->TrDataFactor = 1e-12;
    if (!AppendSamples(set, *trace, samples) || !FinishDataSet(set)) std::abort();
    return path;
}

// A trace of 16-bit samples, from the file to scaled real32 in a buffer that is there already. Argument 1:
// the extremes are still unknown and are looked for on the way.
void LoadTrace(benchmark::State& state) {
    Setup::Settings.MaxSamplePoints = static_cast<std::int32_t>(TracePoints);
    DataSession session;
    if (!OpenDataFile(session, TraceFile())) std::abort();
    auto* const sweep = session.CurSweep;
    auto* const trace = session.CurTrace;
    if (!Traces::LoadTrace(session, sweep, trace, session.DataHeap)) std::abort();
    for (auto step : state) {
        trace->TrYRangeKnown = state.range(0) == 0;
        if (!Traces::LoadTrace(session, sweep, trace, session.DataHeap)) state.SkipWithError("not loaded");
        benchmark::ClobberMemory();
    }
    CloseDataFile(session);
    Scratch::Release();
}

// Yardsticks: as many bytes read and written by memcpy. 30 MB copied are 30 MB read and 30 MB written.
void CopySameTraffic(benchmark::State& state) {
    constexpr std::size_t Bytes = TracePoints * (2 + 4) / 2;
    std::vector<std::byte> from(Bytes), to(Bytes);
    for (auto step : state) {
        std::memcpy(to.data(), from.data(), Bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

// The two stretches, each copied: 20 MB of samples and 40 MB of values.
void CopyBoth(benchmark::State& state) {
    std::vector<std::byte> narrow(TracePoints * 2), narrowCopy(TracePoints * 2);
    std::vector<std::byte> wide(TracePoints * 4), wideCopy(TracePoints * 4);
    for (auto step : state) {
        std::memcpy(narrowCopy.data(), narrow.data(), narrow.size());
        std::memcpy(wideCopy.data(), wide.data(), wide.size());
        benchmark::DoNotOptimize(narrowCopy.data());
        benchmark::DoNotOptimize(wideCopy.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(LoadTree)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadFile)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(DisposeTree)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond)->Iterations(10);
BENCHMARK(RewriteTree)->Arg(100)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(StoreOneMoreSweep)->Arg(100)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LoadTrace)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(CopySameTraffic)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyBoth)->Unit(benchmark::kMillisecond);

}
