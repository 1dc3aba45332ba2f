// Commands over a data set that is open for changes, on a disk that may go away at any operation.
//
//     byte 0   Yes or No to questions (bit 0), settings (bits 1 to 3), how the session ends (bit 4)
//     byte 1   operations until the disk is pulled out; 0: it stays
//     byte 2   count of commands (bits 0 to 3), then two bytes each: command, and the record it is for
//     rest     the data file, mostly a bundle
//
// Promises: a data set that could be opened for changes can be opened afterwards, with or without a crash;
// without one, and with everything stored, it holds the records that it had in memory.
#include "input.h"
#include "memory_disk.h"

#include "data/analysis_file.h"
#include "data/make_bundle.h"
#include "data/merge.h"
#include "data/raw_data.h"
#include "data/raw_write.h"
#include "data/rebuild.h"
#include "data/safety_net.h"
#include "data/session.h"
#include "data/traces.h"
#include "data/zero_offset.h"
#include "setup/settings.h"

namespace {

constexpr const char* DataName = "cell.dat";

void Set(std::uint8_t choice) {
    Fuzz::AnswerYes = (choice & 1) != 0;
    Setup::Settings = {};
    Setup::Settings.MaxSamplePoints = Setup::MaxSamplePointsLowest;
    Setup::Settings.MaxStimPoints = Setup::MaxSamplePointsLowest;
    Setup::Settings.UseBundle = (choice & 2) == 0;
    Setup::Settings.NotebookAutoStore = (choice & 4) == 0;
    Setup::Settings.SolBaseOn = (choice & 8) == 0;
}

// What a command works on.
struct Selection {
    DataSession& Session;
    void* Record; // of the recording, of any level
    VennicTrace* Trace;
    VennicSweep* Sweep;
    std::uint8_t Argument;
};

Selection Select(DataSession& session, std::uint8_t argument) {
    void* record = Tree::Root(session.Vennic.Handle);
    for (std::uint8_t way = argument; Tree::ChildCount(record) > 0 && (way & 3) != 0;
         way = static_cast<std::uint8_t>(way >> 2))
        record = Tree::Child(record, 1 + ((way & 3) - 1) % Tree::ChildCount(record));
    GetRelatives(session, record);
    return {session, record, session.CurTrace, session.CurSweep, argument};
}

struct Command {
    const char* Name;
    void (*Do)(const Selection& on);
};

constexpr Command Commands[] = {
    {"update", [](const Selection& on) { (void)UpdateDataFile(on.Session); }},
    {"truncate", [](const Selection& on) { (void)TruncateDataFile(on.Session); }},
    {"bundle", [](const Selection& on) { (void)MakeBundle(on.Session, (on.Argument & 1) != 0, true); }},
    {"compact",
     [](const Selection& on) { (void)Rebuild::RebuildDataFile(on.Session, (on.Argument & 1) != 0); }},
    {"compress",
     [](const Selection& on) { (void)RawData::CompressTraces(on.Session, on.Record, on.Argument % 5); }},
    {"replace samples",
     [](const Selection& on) {
         if (!on.Trace || !Traces::LoadAndCorrect(on.Session, on.Sweep, on.Trace, on.Session.DataHeap))
             return;
         for (float& sample : Traces::Loaded(*on.Trace)) sample = -sample;
         std::int64_t position = 0;
         (void)RawData::WriteTrace(on.Session, *on.Trace, position, true, true, true);
     }},
    {"append samples",
     [](const Selection& on) {
         if (!on.Trace || !Traces::LoadAndCorrect(on.Session, on.Sweep, on.Trace, on.Session.DataHeap))
             return;
         if (RawData::WriteTrace(on.Session, *on.Trace, on.Session.DataEnd, false, true, true))
             on.Session.Changed = true;
     }},
    {"zero offset",
     [](const Selection& on) {
         if (on.Trace) (void)ZeroOffset::FixZero(on.Session, on.Sweep, on.Trace, 0.0, 0.5);
     }},
    {"delete",
     [](const Selection& on) {
         void* record = on.Record;
         const int level = Tree::Level(record);
         if (level == 0) return;
         Traces::ReleaseBelow(record);
         if (level == 1) AnalysisFile::DeleteGroup(on.Session, static_cast<VennicGroup*>(record));
         if (level == 2)
             AnalysisFile::DeleteSeries(on.Session, on.Session.CurGroup, static_cast<VennicSeries*>(record));
         if (level == 3)
             AnalysisFile::DeleteSweepValues(on.Session, on.Session.CurGroup, on.Session.CurSeries,
                                             static_cast<VennicSweep*>(record));
         on.Session.ReferenceSeries = nullptr;
         Tree::Delete(on.Session.Vennic.Handle, record);
         GetRelatives(on.Session, Tree::Root(on.Session.Vennic.Handle));
     }},
    {"merge", [](const Selection& on) { (void)MergeDataFile(on.Session, MemoryDisk::Folder + "other.dat"); }},
    {"save analysis", [](const Selection& on) { (void)AnalysisFile::SaveAnalysis(on.Session); }},
    {"temporary file", [](const Selection& on) { (void)OpenTempFile(on.Session); }},
};

// A reserve that lies there already, with nothing but its first block in memory.
void PutSafetyNet(const std::string& dataFile) {
    std::vector<std::byte> name(1024);
    std::memcpy(name.data(), dataFile.data(), dataFile.size());
    const std::string path = MemoryDisk::Put("SafetyNet", name);
    MemoryDisk::Now.Names[path]->Length = SafetyNet::Bytes;
}

std::vector<int> Counts(const DataSession& session) {
    std::vector<int> counts;
    (void)Tree::MemorySize(session.Vennic.Handle, counts, RecordTree::MaxLevels);
    return counts;
}

// The data set, after whatever has happened to it. mayBeGone: it had no data when the session ended.
void OpenAgain(const std::string& path, const std::vector<int>* wanted, bool mayBeGone) {
    DataSession session;
    MemoryDisk::Now.UntilPulled = -1;
    MemoryDisk::Now.Pulled = false;
    Fuzz::AnswerYes = true;
    if (!OpenDataFile(session, path)) {
        if (mayBeGone && !MemoryDisk::Exists(path.c_str())) return;
        MemoryDisk::Broken("the data set does not open any more");
    }
    if (wanted && Counts(session) != *wanted) MemoryDisk::Broken("not all records were stored");
    (void)CloseDataFile(session);
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 3) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte(), operations = input.Byte();
    std::array<std::uint8_t, 32> commands{};
    const std::size_t count = input.Byte() & 15;
    for (std::size_t i = 0; i < 2 * count; ++i) commands[i] = input.Byte();
    Set(choice);
    MemoryDisk::Clear();
    const std::span<const std::byte> image = input.Rest();
    const std::string path = MemoryDisk::Put(DataName, image);
    (void)MemoryDisk::Put("other.dat", image);
    PutSafetyNet(path);

    DataSession session;
    if (!OpenDataFile(session, path, {.Mode = OpenMode::Modify})) return 0;
    if (operations != 0) MemoryDisk::Now.UntilPulled = operations;
    for (std::size_t i = 0; i < count && !session.FileName.empty(); ++i)
        Commands[commands[2 * i] % std::size(Commands)].Do(Select(session, commands[2 * i + 1]));
    const bool wasOpen = !session.FileName.empty();
    const bool hadData =
        !RawData::ForEachStored(Tree::Root(session.Vennic.Handle), [](const VennicTrace&) { return false; });
    const std::vector<int> counts = Counts(session);
    const bool stored = CloseDataFile(session, (choice & 16) == 0);
    const bool whole = wasOpen && stored && operations == 0 && (choice & 16) == 0;
    if (whole && !MemoryDisk::Exists(path.c_str())) return 0; // there was no data in it
    OpenAgain(path, whole ? &counts : nullptr, wasOpen && !hadData);
    return 0;
}
