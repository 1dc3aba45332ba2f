// Question: do the operations that put a whole data file into another shape (bundle, rebuild, merge) run near
// the speed of copying its bytes, in memory that does not grow with the file?
//
// Each run is a session as a command has it, from opening to closing as a bundle; its yardstick is "cp" of
// the same bytes in the same folder, with warm caches. In memory ("memory") both are pure work; on the disk
// both wait until the bytes are there: cp is followed by "sync FILE".
//
// Last answer: see docs/architecture.md, "What it costs"; bench/files_peers prints the ratios.
#include "base/buffer.h"
#include "base/text.h"
#include "data/merge.h"
#include "data/new_data_set.h"
#include "data/rebuild.h"
#include "data/scratch.h"
#include "data/session.h"
#include "setup/settings.h"
#include "trees/vennic_tree.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int TracePoints = 20'000; // of 16 bits
constexpr int TracesASweep = 4;

enum Place { Memory, Disk };
enum Layout {
    InOrder,
    Reversed, // the sweeps' samples lie in the order from the last to the first
    Samples,  // the traces of a sweep alternate sample by sample
    Blocks,   // and in blocks of 512 bytes
};

// A folder that goes with the program.
const fs::path& FolderOf(Place place) {
    struct Folder {
        explicit Folder(const fs::path& where) : Path((where / "qorvanite_bench_files").string()) {
            fs::create_directories(Path);
        }
        ~Folder() { fs::remove_all(Path); }
        fs::path Path;
    };
    static const Folder memory("/dev/shm"), disk(fs::temp_directory_path());
    return place == Memory ? memory.Path : disk.Path;
}

std::vector<VennicSweep*> AppendSweeps(NewDataSet& set, int count) {
    VennicGroup* const group = VennicTree::NewGroup(set.Vennic, set.Root, 0);
    VennicSeries* const series = VennicTree::NewSeries(set.Vennic, group, 0);
    std::vector<VennicSweep*> sweeps;
    for (int w = 0; w < count; ++w) {
        sweeps.push_back(VennicTree::NewSweep(set.Vennic, series, 0));
        for (int t = 0; t < TracesASweep; ++t)
            VennicTree::NewTrace(set.Vennic, sweeps.back(), 0)->TrDataFactor = 1e-12;
    }
    return sweeps;
}

// The sweep's samples, one trace behind the other, are said to lie interleaved.
void Weave(const VennicSweep* sweep, std::int32_t block) {
    const std::int32_t start = Tree::ChildAs<VennicTrace>(sweep, 1)->TrFileOffset;
    for (int t = 0; t < TracesASweep; ++t) {
        auto& trace = *Tree::ChildAs<VennicTrace>(sweep, t + 1);
        trace.TrFileOffset = start + t * block;
        trace.TrInterleaveSize = block;
        trace.TrInterleaveSkip = TracesASweep * block;
        trace.TrDataPoints = TracePoints / (block / 2) * (block / 2); // whole blocks
    }
}

// A bundle of so many megabytes.
void Make(const std::string& path, Layout layout, int megabytes) {
    NewDataSet set;
    if (!BeginDataSet(set, path, "benchmark")) std::abort();
    std::vector<VennicSweep*> sweeps =
        AppendSweeps(set, megabytes * 1'000'000 / (2 * TracePoints * TracesASweep));
    if (layout == Reversed) std::reverse(sweeps.begin(), sweeps.end());
    std::vector<float> samples(TracePoints);
    std::uint32_t noise = 1;
    for (const VennicSweep* sweep : sweeps) {
        for (int t = 1; t <= TracesASweep; ++t) {
            for (float& sample : samples) {
                noise = noise * 1664525u + 1013904223u;
                sample = static_cast<float>(static_cast<std::int16_t>(noise >> 16)) * 1e-12f;
            }
            if (!AppendSamples(set, *Tree::ChildAs<VennicTrace>(sweep, t), samples)) std::abort();
        }
        if (layout == Samples) Weave(sweep, 2);
        if (layout == Blocks) Weave(sweep, 512);
    }
    if (!FinishDataSet(set)) std::abort();
}

const std::string& Source(Place place, Layout layout, int megabytes) {
    static std::string paths[2][4][500];
    std::string& path = paths[place][layout][megabytes];
    if (!path.empty()) return path;
    path = (FolderOf(place) / (std::to_string(layout) + "_" + std::to_string(megabytes) + ".dat")).string();
    Make(path, layout, megabytes);
    return path;
}

bool Run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

// A fresh copy that is on the disk already.
std::string FreshCopy(Place place, const std::string& from) {
    const std::string path = (FolderOf(place) / "work.dat").string();
    if (!Run("rm -f '" + path + "' && cp '" + from + "' '" + path + "' && sync '" + path + "'")) std::abort();
    return path;
}

// The most memory that this program has had since ClearPeak, in megabytes.
void ClearPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}
double PeakMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::strtod(line.c_str() + 6, nullptr) / 1024;
    return 0;
}

// Processor time of this program and of those that it has run, in milliseconds: on a busy machine it tells
// more than the clock.
double ProcessorTime() {
    double sum = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage use{};
        getrusage(who, &use);
        for (const timeval& time : {use.ru_utime, use.ru_stime})
            sum += static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
    }
    return sum;
}

template <class Work>
void Timed(benchmark::State& state, const Work& work) {
    const double processor = ProcessorTime();
    const auto begin = std::chrono::steady_clock::now();
    if (!work()) state.SkipWithError("it failed");
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    state.counters["processor_ms"] = ProcessorTime() - processor;
}

template <class Work>
void Session(benchmark::State& state, const std::string& path, const Work& work) {
    Setup::Settings = {};
    Scratch::Release();
    ClearPeak();
    Timed(state, [&] {
        DataSession session;
        bool done = OpenDataFile(session, path, {.Mode = OpenMode::Modify});
        state.counters["trees_MB"] = static_cast<double>(Buffer::TotalBytes()) / 1e6;
        done = done && work(session);
        return CloseDataFile(session, true) && done;
    });
    state.counters["peak_MB"] = PeakMegabytes();
    fs::remove(path);
}

void RebuildFile(benchmark::State& state) {
    const auto place = static_cast<Place>(state.range(0));
    const std::string& source =
        Source(place, static_cast<Layout>(state.range(1)), static_cast<int>(state.range(2)));
    for (auto step : state)
        Session(state, FreshCopy(place, source), [](DataSession& session) {
            return Rebuild::RebuildDataFile(session, Bytes::MachineIsLittle) && session.Native;
        });
}

// From a bundle to a bundle, with a label changed in between.
void BundleFile(benchmark::State& state) {
    const auto place = static_cast<Place>(state.range(0));
    const std::string& source = Source(place, InOrder, static_cast<int>(state.range(1)));
    for (auto step : state)
        Session(state, FreshCopy(place, source), [](DataSession& session) {
            Texts::ToField(session.CurSeries->SeLabel, "changed");
            return true;
        });
}

// A file in order is merged into one of the layout.
void MergeFiles(benchmark::State& state) {
    const auto place = static_cast<Place>(state.range(0));
    const std::string& own =
        Source(place, static_cast<Layout>(state.range(1)), static_cast<int>(state.range(2)));
    const std::string& other = Source(place, InOrder, static_cast<int>(state.range(2)));
    for (auto step : state)
        Session(state, FreshCopy(place, own),
                [&](DataSession& session) { return MergeDataFile(session, other); });
}

// The yardstick: so many copies of the file by the system's own command.
void Copy(benchmark::State& state) {
    const auto place = static_cast<Place>(state.range(0));
    const std::string& source = Source(place, InOrder, static_cast<int>(state.range(1)));
    std::string command = "true";
    std::string remove = "rm -f";
    for (int i = 0; i < state.range(2); ++i) {
        const std::string copy = " '" + (FolderOf(place) / ("copy" + std::to_string(i))).string() + "'";
        command += " && cp '" + source + "'" + copy;
        if (place == Disk) command += " && sync" + copy;
        remove += copy;
    }
    for (auto step : state) {
        if (!Run(remove)) std::abort();
        Timed(state, [&] { return Run(command); });
    }
    (void)Run(remove);
}

void EachPlace(benchmark::internal::Benchmark* bench, const std::vector<std::vector<std::int64_t>>& rest) {
    bench->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
    for (const std::int64_t place : {Memory, Disk})
        for (const std::vector<std::int64_t>& arguments : rest) {
            std::vector<std::int64_t> all{place};
            all.insert(all.end(), arguments.begin(), arguments.end());
            bench->Args(all);
        }
}

BENCHMARK(RebuildFile)->Apply([](auto* bench) {
    EachPlace(bench, {{Reversed, 400}, {Samples, 400}, {Blocks, 400}});
    bench->Args({Memory, Reversed, 40})->Args({Memory, Samples, 40});
});
BENCHMARK(BundleFile)->Apply([](auto* bench) { EachPlace(bench, {{400}}); });
BENCHMARK(MergeFiles)->Apply([](auto* bench) { EachPlace(bench, {{InOrder, 400}, {Reversed, 400}}); });
BENCHMARK(Copy)->Apply([](auto* bench) { EachPlace(bench, {{400, 1}, {400, 2}}); });

}
