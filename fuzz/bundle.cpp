// A data file is opened for reading or analysis, every trace loaded with all corrections, every stimulus
// rebuilt.
//
//     byte 0   Yes or No to questions (bit 0), corrections (bits 1 to 3), reference series (bit 4)
//     rest     the data file, mostly a bundle
//
// Promises: nothing of it is changed, and nothing is left open.
#include "input.h"
#include "memory_disk.h"

#include "data/scratch.h"
#include "data/session.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "setup/settings.h"

namespace {

constexpr std::int32_t Points = 16'382; // the fewest that a trace may have

void Set(std::uint8_t choice) {
    Fuzz::AnswerYes = (choice & 1) != 0;
    Setup::Settings = {};
    Setup::Settings.MaxSamplePoints = Points;
    Setup::Settings.MaxStimPoints = Points;
    Setup::Settings.NoLeakSubtraction = (choice & 2) != 0;
    Setup::Settings.SubtractZero = (choice & 4) != 0;
    Setup::Settings.TraceFilterFactor.fill((choice & 8) != 0 ? 1000.0 : 0.0);
    Setup::Settings.SubtractReference = (choice & 16) != 0;
}

void Rebuild(const DataSession& session, const VennicSweep& sweep) {
    const int channels = Tree::ChildCount(StimulationOf(session, &sweep));
    for (int channel = 1; channel <= channels; ++channel) {
        SweepStimulus stimulus;
        if (!FindStimulus(session, sweep, channel, stimulus)) continue;
        const StimGen::Source source = stimulus.Source();
        std::vector<float> samples;
        bool continuous = false;
        if (!StimGen::Stimulus(stimulus.SweepNumber, source, samples, continuous)) continue;
        if (samples.size() > static_cast<std::size_t>(Points)) MemoryDisk::Broken("a stimulus is too long");
        StimGen::KeepStored(StimGen::SegmentTable(stimulus.SweepNumber, source), samples);
    }
}

void LoadSweep(DataSession& session, VennicSweep* sweep) {
    Rebuild(session, *sweep);
    for (int i = 1; i <= Tree::ChildCount(sweep); ++i) {
        auto* const trace = Tree::ChildAs<VennicTrace>(sweep, i);
        TraceSegment segment;
        (void)FindTraceSegment(session, *sweep, *trace, i - 2, segment);
        if (Traces::LoadAndCorrect(session, sweep, trace, session.DataHeap))
            for (const float sample : Traces::Loaded(*trace)) {
                volatile const float read = sample; // all of them are there
                (void)read;
            }
        Traces::TempTrace out;
        (void)Traces::LoadTempTrace(session, trace, 1, {.MaxPoints = 100, .FirstPoint = 7}, true, out);
    }
}

void LoadAll(DataSession& session) {
    const void* const root = Tree::Root(session.Vennic.Handle);
    for (int g = 1; g <= Tree::ChildCount(root); ++g)
        for (int s = 1; s <= Tree::ChildCount(Tree::Child(root, g)); ++s) {
            auto* const series = Tree::ChildAs<VennicSeries>(Tree::Child(root, g), s);
            if (Setup::Settings.SubtractReference && !session.ReferenceSeries)
                session.ReferenceSeries = series;
            GetRelatives(session, series);
            for (int w = 1; w <= Tree::ChildCount(series); ++w)
                LoadSweep(session, Tree::ChildAs<VennicSweep>(series, w));
        }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 1) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    Set(choice);
    MemoryDisk::Clear();
    const std::string path = MemoryDisk::Put("cell.dat", input.Rest());
    const std::vector<std::byte> before = MemoryDisk::Get(path);
    DataSession session;
    if (OpenDataFile(session, path, {.Mode = (choice & 32) != 0 ? OpenMode::Analysis : OpenMode::Read}))
        LoadAll(session);
    (void)CloseDataFile(session);
    if (MemoryDisk::Get(path) != before || MemoryDisk::Now.Names.size() != 1)
        MemoryDisk::Broken("reading has changed something");
    return 0;
}
