// Whatever measures in samples, over any samples and settings.
//
//     byte 0   what is done (see Tasks)
//     byte 1   small settings, of which each task takes its bits
//     32 bytes four real numbers: levels, thresholds, intervals, edges
//     rest     samples as real32; of the task "online" an online analysis file, which measures in a small
//              data set that is always the same
//
// Promises: all samples are counted once, no event has more samples than there are, events stand in the order
// of their numbers, a peak lies in its range, and every pass has a result for each function.
#include "input.h"
#include "memory_disk.h"

#include "events/action_potential.h"
#include "events/histogram.h"
#include "events/power_spectrum.h"
#include "events/rise_time.h"
#include "events/single_channel.h"
#include "events/trace_copy.h"
#include "math/measure.h"
#include "online/compute.h"
#include "online/notebook_lines.h"
#include "online/online_file.h"
#include "setup/settings.h"
#include "support/cell_plan.h"

#include <algorithm>

namespace {

constexpr std::size_t MostSamples = 256;

struct Run {
    std::uint8_t Choice = 0;
    double Reals[4] = {};
    std::vector<float> Samples;
};

void DetectChannels(const Run& run) {
    SingleChannel::Detector detector({.DeadTime = run.Choice >> 2,
                                      .Low = run.Reals[0],
                                      .High = run.Reals[1],
                                      .Threshold = run.Reals[2],
                                      .InclFirst = (run.Choice & 1) != 0,
                                      .InclLast = (run.Choice & 2) != 0},
                                     run.Samples, run.Reals[3], 0.0);
    SingleChannel::Event event;
    std::size_t samples = 0;
    while (detector.Next(event)) samples += event.MeanSamples;
    if (samples > run.Samples.size()) MemoryDisk::Broken("a sample is in two events");
}

void DetectActionPotentials(const Run& run) {
    ActionPotential::Detector detector(run.Samples, run.Reals[0], run.Reals[1], run.Reals[2]);
    ActionPotential::Event event;
    std::int32_t number = 0;
    while (detector.Next(event)) {
        if (event.Number != ++number) MemoryDisk::Broken("an event has not the next number");
        if (!(event.Maximum > run.Reals[0])) MemoryDisk::Broken("a maximum below the threshold");
        if ((run.Choice & 1) != 0) detector.TakeBack(run.Reals[3]);
    }
    if (3 * static_cast<std::size_t>(number) > run.Samples.size())
        MemoryDisk::Broken("more events than samples for them");
}

void Count(const Run& run) {
    Histogram::Counts counts;
    counts.Bins.assign(1 + run.Choice, 0.0);
    Histogram::Add(counts, run.Samples, run.Reals[0], run.Reals[1]);
    if (counts.Total() + counts.Left + counts.Right != static_cast<double>(run.Samples.size()))
        MemoryDisk::Broken("a sample was lost");
    const auto size = static_cast<std::int32_t>(1 + (run.Choice & 63));
    const std::size_t blocks = TraceCopy::BlockCount(run.Samples.size(), size);
    if (TraceCopy::BlockMeans(run.Samples, size, blocks + (run.Choice >> 7)).size() !=
        TraceCopy::BlockTimes(run.Reals[2], run.Reals[3], size, blocks + (run.Choice >> 7)).size())
        MemoryDisk::Broken("values and times of blocks differ in number");
}

void TakeSpectrum(const Run& run) {
    const std::int32_t points = 1 << ((run.Choice & 15) % 10);
    const std::int32_t bins = run.Choice >> 4;
    const PowerSpectrum::Spectrum spectrum =
        PowerSpectrum::Compute(run.Samples, run.Reals[0], points, bins, run.Reals[1] > 0.0);
    const std::size_t wanted =
        bins == 0 ? static_cast<std::size_t>(points) + 1 : static_cast<std::size_t>(bins) + 1;
    if (spectrum.Densities.size() != wanted || spectrum.Frequencies.size() != wanted)
        MemoryDisk::Broken("another number of bins than asked for");
    std::vector<double> densities(wanted);
    PowerSpectrum::Merge(densities, 3, spectrum);
}

void MeasureShape(const Run& run) {
    if (run.Samples.empty()) return;
    (void)RiseTime::Measure(run.Samples, run.Reals[0], run.Reals[1], {run.Reals[2], run.Reals[3]});
    const std::size_t right = run.Samples.size(), left = std::min<std::size_t>(run.Choice >> 4, right - 1);
    const Measure::Peak peak =
        Measure::FindPeak(run.Samples, left, right, static_cast<Measure::PeakKind>((run.Choice & 3) % 3),
                          (run.Choice & 4) != 0);
    if (!(peak.Position >= static_cast<double>(left) && peak.Position < static_cast<double>(right)))
        MemoryDisk::Broken("a peak lies outside of its range");
    (void)Measure::ValueAt(run.Samples, run.Reals[1]);
    const double at = Measure::FindCrossing(run.Samples, run.Reals[0], run.Choice);
    if (at < -1.0) MemoryDisk::Broken("a crossing lies ahead of the samples");
}

// Two sweeps of two traces: a step, and counting samples.
DataSession& SmallSession() {
    static DataSession session;
    static const bool open = [] {
        Support::CellPlan plan{.Segments = {{-0.06, 60}, {0.02, 90}, {-0.06, 50}}, .Relevant = 2};
        for (int sweep = 0; sweep < 2; ++sweep) {
            std::vector<Support::Samples>& traces = plan.Sweeps.emplace_back(2, Support::Samples(200));
            for (std::size_t i = 0; i < 200; ++i) {
                traces[0][i] =
                    i < 60 || i >= 150 ? -1.0F : static_cast<float>(sweep) + 0.01F * static_cast<float>(i);
                traces[1][i] = static_cast<float>(i) - 100.0F;
            }
        }
        const std::string path = MemoryDisk::Folder + "cell.dat";
        return Support::WriteCell(path, plan) && OpenDataFile(session, path, {.Mode = OpenMode::Read});
    }();
    if (!open) MemoryDisk::Broken("the data set does not open");
    return session;
}

void ComputeOnline(const Run& run, std::span<const std::byte> image) {
    DataSession& session = SmallSession();
    const std::string path = MemoryDisk::Put("a.onl", image);
    OnlineAnalysis analysis;
    if (!OnlineTree::Load(analysis, path, true)) return;
    OnlineCompute::Engine engine(session);
    engine.UseAmplitude = (run.Choice & 1) != 0;
    engine.Amplitude = run.Reals[0];
    engine.SegmentOffset = static_cast<std::int8_t>(run.Choice);
    if (!OnlineResults::Allocate(engine.Table)) return;
    void* const series = Tree::Child(Tree::Child(Tree::Root(session.Vennic.Handle), 1), 1);
    for (int m = 1; m <= OnlineTree::MethodCount(analysis) && m <= 4; ++m) {
        OnlineMethod& method = *OnlineTree::MethodAt(analysis, m);
        for (int sweep = 1; sweep <= 2; ++sweep)
            OnlineCompute::Pass(engine, method, *Tree::ChildAs<VennicSweep>(series, sweep));
        if (engine.Results.size() != static_cast<std::size_t>(Tree::ChildCount(&method)))
            MemoryDisk::Broken("a function has no result");
        (void)NotebookLines::Listing(method);
    }
}

constexpr void (*Tasks[])(const Run& run) = {DetectChannels, DetectActionPotentials, Count, TakeSpectrum,
                                             MeasureShape};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 2) return 0;
    Setup::Settings.Online.OnlineSweeps = 1; // of the two: the other one falls out of the table
    Setup::Settings.Online.OnlineResults = 8;
    Fuzz::Input input(data, size);
    const std::size_t task = input.Byte() % (std::size(Tasks) + 1);
    Run run;
    run.Choice = input.Byte();
    const std::span<const std::byte> reals = input.Bytes(sizeof run.Reals);
    std::ranges::copy(reals, std::as_writable_bytes(std::span(run.Reals)).begin());
    const std::span<const std::byte> rest = input.Rest();
    if (task == std::size(Tasks)) {
        ComputeOnline(run, rest);
        return 0;
    }
    run.Samples.resize(std::min(rest.size() / sizeof(float), MostSamples));
    std::ranges::copy(rest.first(run.Samples.size() * sizeof(float)),
                      std::as_writable_bytes(std::span(run.Samples)).begin());
    Tasks[task](run);
    return 0;
}
