#include "data/session.h"

#include "base/buffer.h"
#include "base/journal.h"
#include "base/messages.h"
#include "base/text.h"
#include "data/analysis_file.h"
#include "data/file_info.h"
#include "data/make_bundle.h"
#include "data/raw_data.h"
#include "data/rebuild.h"
#include "data/recovery_copy.h"
#include "data/safety_net.h"
#include "data/sample_count.h"
#include "data/scratch.h"
#include "data/set_store.h"
#include "data/set_trees.h"
#include "data/traces.h"
#include "setup/settings.h"
#include "trees/stim_tree.h"

#include <algorithm>
#include <filesystem>

std::function<bool()> FilesAreBusy;

DataSession& CurrentSession() {
    static DataSession session;
    return session;
}

namespace {

bool Refuse(const std::string& text) {
    Messages::Alert(text);
    return false;
}

bool RefuseOpening(const std::string& name, const std::string& reason) {
    return Refuse("Error opening \"" + name + "\": " + reason);
}

// A data file that is a link is changed where it lies, not replaced by a file in the link's place.
std::string NameToOpen(const std::string& path, OpenMode mode) {
    std::string name = Files::ExtensionOf(path).empty() ? path + ".dat" : path;
    std::error_code ignored;
    if (mode == OpenMode::Modify && std::filesystem::is_symlink(name, ignored))
        name = std::filesystem::weakly_canonical(name, ignored).string();
    return name;
}

bool CompleteChange(const std::string& name) {
    int error = 0;
    switch (Journal::Recover(name, error)) {
    case Journal::Found::Nothing: return true;
    case Journal::Found::Completed:
        Messages::Note("A change of \"" + name + "\" that was interrupted has been completed.");
        return true;
    case Journal::Found::Busy: return RefuseOpening(name, "another program is changing it at this moment.");
    case Journal::Found::Failed:
        return RefuseOpening(
            name, "a change of it was interrupted and could not be completed: " + Files::ErrorText(error) +
                      ". Nothing is lost: open it where it can be written.");
    case Journal::Found::Foreign:
        return RefuseOpening(name,
                             "the journal \"" + Journal::NameFor(name) +
                                 "\" of an interrupted change does not belong to the files that lie there. "
                                 "Put back the files that it belongs to, or remove it.");
    }
    return false;
}

// Opens and locks the file. Another program may put a new one in its place meanwhile: then once more.
bool OpenLocked(DataSession& session, const std::string& name, OpenMode mode) {
    const bool modify = mode == OpenMode::Modify;
    constexpr int Tries = 10;
    for (int i = 0; i < Tries; ++i) {
        if (!CompleteChange(name)) return false;
        int error = Files::Open(session.DataFile, name, modify ? Files::Mode::ReadWrite : Files::Mode::Read);
        if (error != 0)
            return modify ? Refuse(Bundle::FileMessage("Error opening file (read-write)", error) + ": \"" +
                                   name + "\"")
                          : RefuseOpening(name, Files::ErrorText(error));
        if (mode != OpenMode::Read) {
            error = Files::Lock(session.DataFile, Files::LockKind::Writer);
            if (Files::LockedByAnother(error))
                return RefuseOpening(name, "it is open for changes or analysis in another program.");
        }
        if (error == 0 && !modify) {
            error = Files::Lock(session.DataFile, Files::LockKind::Reader);
            if (Files::LockedByAnother(error))
                return RefuseOpening(name, "another program is changing its samples at this moment.");
        }
        if (error != 0) return RefuseOpening(name, Files::ErrorText(error));
        if (Files::IsStillAt(session.DataFile, name) && !Files::Exists(Journal::NameFor(name))) return true;
    }
    return RefuseOpening(name, "another program is changing it at this moment.");
}

bool OpenFile(DataSession& session, const std::string& name, OpenMode mode) {
    if (!OpenLocked(session, name, mode)) return false;
    session.FileName = name;
    const std::string heapName = std::filesystem::path(name).filename().string();
    constexpr std::string_view Suffix = ".HE";
    session.DataHeap = Buffer::Create("/Session/" + heapName.substr(0, Buffer::NameMax - Suffix.size()) +
                                      std::string(Suffix));
    if (!session.DataHeap) return Refuse("OpenDataFile - allocation of heap failed");
    if (!Bundle::ReadBundleHeader(session.Header, session.DataFile, session.Modify, true)) return false;
    session.FileKind = Bundle::BundleKind(Texts::FromField(session.Header.Signature));
    Messages::Log(
        (session.Modify ? "Existing file opened read-write: \"" : "Existing File opened read-only: \"") +
        name + "\"");
    return true;
}

// A file of another version keeps its layout only while it is read: storing it would say that it is of this
// one.
bool CanBeStored(const SetTrees::Row& row) {
    if (row.LastLoad.Version == row.Version) return true;
    return Refuse(std::string("The \"") + row.Format.Extension + "\"-file has version " +
                  std::to_string(row.LastLoad.Version) +
                  ". Files of other versions are not converted: open it for reading or analysis.");
}

// A tree that the data set does not have stays undefined; only the recording itself must be there.
bool ReadTrees(DataSession& session) {
    const SetTrees::Source source{session.DataFile, session.Header, session.FileKind, session.FileName,
                                  session.Modify};
    for (const SetTrees::Row& row : SetTrees::Rows()) {
        if (!row.Required && !SetTrees::Has(source, row)) continue;
        std::string reason;
        if (!SetTrees::Read(source, row, row.HeapName, session.*row.Tree, reason)) return Refuse(reason);
        if (session.Modify && !CanBeStored(row)) return false;
    }
    const auto* const root = static_cast<const VennicRoot*>(Tree::Root(session.Vennic.Handle));
    const auto* const stim = static_cast<const StimRoot*>(Tree::Root(session.Stim.Handle));
    if (stim && stim->StVersion != root->RoVersion)
        Messages::Note("\"vnc\"-file and \"pgf\"-file have different versions!");
    return true;
}

// What lies on the disk of a data set, to notice that another program has changed it meanwhile.
std::vector<Files::Stamp> StampsOf(const DataSession& session) {
    std::vector<Files::Stamp> stamps{Files::StampOf(session.FileName)};
    for (const SetTrees::Row& row : SetTrees::Rows())
        stamps.push_back(Files::StampOf(SetTrees::FileName(session.FileName, row)));
    return stamps;
}

bool CheckLength(DataSession& session) {
    session.DataEnd =
        RawData::ComputeDataEnd(Tree::Root(session.Vennic.Handle), Bundle::DataStart(session.FileKind));
    session.DiskDataEnd = session.DataEnd;
    std::int64_t length = 0;
    const int error = Files::Length(session.DataFile, length);
    if (error != 0) return Refuse(Bundle::FileMessage("Error getting filelength", error));
    // A file without samples may end inside of its header.
    if (length >= session.DataEnd || session.DataEnd == Bundle::DataStart(session.FileKind)) return true;
    return Refuse("Open data file failed: write pointer points beyond file end!");
}

// Whether a bundle can be taken apart and put together again without losing an item.
bool CanKeepItems(const DataSession& session) {
    const auto refuse = [](const std::string& why) {
        return Refuse("Cannot open with write permission: \n" + why);
    };
    if (Bundle::FindItem(session.Header, ".sol") && !Setup::Settings.SolBaseOn)
        return refuse("   file contains a solution file and \"Solution Base\" is off !");
    if (Bundle::FindItem(session.Header, ".txt") && !Setup::Settings.NotebookAutoStore)
        return refuse("   file contains a notebook file and \"NotebookAutoStore\" is off !");
    for (int i = 0; i < std::min<int>(session.Header.Items, Bundle::ItemMax); ++i) {
        const std::string_view extension = Texts::FromField(session.Header.Entries[i].Extension);
        const auto known = std::find(Bundle::Extensions.begin(), Bundle::Extensions.end(), extension);
        if (!extension.empty() && known == Bundle::Extensions.end())
            return refuse("   file contains an item \"" + std::string(extension) +
                          "\" that this program does not know !");
    }
    return true;
}

bool PrepareModify(DataSession& session) {
    const bool isBundle = session.FileKind == Bundle::FileKind::Bundle;
    if ((isBundle && !CanKeepItems(session)) || !SafetyNet::Create(session)) return false;
    session.Changed = true;
    if (isBundle && !UnBundle(session))
        return Refuse("Cannot open with write permission: \n   could not un-bundle the bundle file!");
    session.Native = Rebuild::IsNative(session);
    return true;
}

// The longest trace, as far as the file can hold it: a damaged record can name any number of points.
void MakeRoom(DataSession& session) {
    std::int64_t fileLength = 0, longest = 0;
    if (Files::Length(session.DataFile, fileLength) != 0) fileLength = 0;
    RawData::ForEachStored(Tree::Root(session.Vennic.Handle), [&](const VennicTrace& trace) {
        longest = std::max<std::int64_t>(longest, trace.TrDataPoints);
        return true;
    });
    constexpr std::int64_t ShortestSample = 2;
    longest = std::min(longest, fileLength / ShortestSample);
    if (longest <= Setup::Settings.MaxSamplePoints) return;
    Scratch::Release();
    Setup::Settings.MaxSamplePoints = Setup::LimitedSamplePoints(longest);
    Setup::Settings.MaxStimPoints = std::max(Setup::Settings.MaxStimPoints, Setup::Settings.MaxSamplePoints);
}

// The records of a path, from the root down.
struct Path {
    void* Records[5] = {};
};

Path PathThrough(void* record, int level) {
    Path path;
    path.Records[level] = record;
    for (int up = level; up > 0; --up) path.Records[up - 1] = Tree::Parent(path.Records[up]);
    for (int down = level + 1; down <= 4; ++down) path.Records[down] = Tree::Child(path.Records[down - 1], 1);
    return path;
}

void FollowAnalysis(DataSession& session) {
    session.CurAGroup = nullptr;
    session.CurASeries = nullptr;
    session.CurARecord = nullptr;
    session.CurAEntry = nullptr;
    session.CurAValue = nullptr;
    const void* const root = Tree::Root(session.Analysis.Handle);
    if (!root || !session.CurGroup) return;
    session.CurAGroup = Tree::ChildAs<AnalysisGroup>(root, Tree::IndexOf(session.CurGroup));
    if (!session.CurAGroup) {
        Messages::Note(" AGroup Wrong ");
        return;
    }
    if (!session.CurSeries) return;
    session.CurASeries = Tree::ChildAs<AnalysisSeries>(session.CurAGroup, Tree::IndexOf(session.CurSeries));
    if (!session.CurASeries) {
        Messages::Note(" ASeries Wrong ");
        return;
    }
    session.CurARecord = Tree::ChildAs<AnalysisRecord>(session.CurASeries, 1);
    session.CurAEntry = Tree::ChildAs<AnalysisEntry>(session.CurARecord, 1);
    session.CurAValue = Tree::ChildAs<AnalysisValue>(session.CurAEntry, Tree::IndexOf(session.CurSweep));
}

}

namespace {

// Opens the file and reads its trees; again when another program has stored the data set meanwhile.
bool OpenAndRead(DataSession& session, const std::string& name, const OpenOptions& options) {
    constexpr int Tries = 3;
    for (int i = 1;; ++i) {
        session.Modify = options.Mode == OpenMode::Modify;
        session.AnalysisWritable = options.Mode != OpenMode::Read;
        session.ProgramVersion = options.ProgramVersion;
        if (!OpenFile(session, name, options.Mode)) return false;
        const std::vector<Files::Stamp> before = StampsOf(session);
        const bool read = ReadTrees(session);
        if (i == Tries || StampsOf(session) == before) return read;
        (void)CloseDataFile(session, false);
    }
}

// No group, or only groups without any samples.
bool HoldsNoData(const DataSession& session) {
    return RawData::ForEachStored(Tree::Root(session.Vennic.Handle),
                                  [](const VennicTrace&) { return false; });
}

bool DeleteEmptySet(DataSession& session) {
    Messages::Note("The data set \"" + session.FileName + "\" holds no data and is deleted.");
    SetStore::Step step(session);
    if (!step.Begin()) return false;
    for (const SetTrees::Row& row : SetTrees::Rows())
        if (!step.Check(step.Change.Remove(SetTrees::FileName(session.FileName, row)))) return false;
    // What a user has written or computed is no part of the empty set.
    const std::string notebook = NotebookName(session);
    if (Files::StampOf(notebook).Length == 0 && !step.Check(step.Change.Remove(notebook))) return false;
    return step.Check(step.Change.Remove(session.FileName)) && step.Commit();
}

bool StoreAtEnd(DataSession& session) {
    if (HoldsNoData(session)) return DeleteEmptySet(session);
    if (!TruncateDataFile(session)) return false;
    if (!Rebuild::NeedsCompacting(session)) return MakeBundle(session, true, true);
    return MakeBundle(session, false, true) && Rebuild::RebuildDataFile(session, Bytes::MachineIsLittle) &&
           MakeBundle(session, true, true);
}

}

bool CanAccessFiles() {
    if (!FilesAreBusy || !FilesAreBusy()) return true;
    return Refuse("Cannot access files: still executing or acquiring... ");
}

bool OpenDataFile(DataSession& session, const std::string& path, const OpenOptions& options) {
    if (!CanAccessFiles() || !CloseDataFile(session, session.Modify)) return false;
    const std::string name = NameToOpen(path, options.Mode);
    const auto open = [&] {
        if (!OpenAndRead(session, name, options)) return false;
        if (options.MakeRoom) MakeRoom(session);
        if (options.Mode != OpenMode::Read) SetStore::RemoveLeftovers(session);
        return CheckLength(session) && SampleCount::Check(session) &&
               (!session.Modify || PrepareModify(session)) && AnalysisFile::LinkAnalysis(session);
    };
    if (!open()) {
        (void)CloseDataFile(session, false);
        return false;
    }
    GetRelatives(session, Tree::Root(session.Vennic.Handle));
    return true;
}

bool UpdateDataFile(DataSession& session) {
    bool stored = true;
    if (!session.FileName.empty() && session.Modify) {
        stored = MakeBundle(session, false, true);
        session.Native = Rebuild::IsNative(session);
        CheckFreeDisk(session);
    }
    Messages::Status(FileInfoLine(session));
    return stored;
}

bool TruncateDataFile(DataSession& session) {
    const std::int64_t end =
        RawData::ComputeDataEnd(Tree::Root(session.Vennic.Handle), Bundle::DataStart(session.FileKind));
    session.DataEnd = end;
    if (!session.Modify) return true;
    // Trees on the disk must not name samples that are gone.
    if (session.DiskDataEnd > end && !SetStore::StoreTrees(session)) return false;
    std::int64_t length = 0;
    int error = Files::Length(session.DataFile, length);
    if (error == 0 && length > end) error = Files::SetLength(session.DataFile, end);
    return error == 0 || Refuse(Bundle::FileMessage("Error truncating file", error));
}

bool OpenTempFile(DataSession& session) {
    if (session.TempFile.IsOpen()) return true;
    const std::string beside = Files::WithExtension(session.FileName, ".tmp");
    const std::string name = std::filesystem::path(beside).filename().string();
    std::string path = Setup::Settings.TempPath.empty()
                           ? beside
                           : (std::filesystem::path(Setup::Settings.TempPath) / name).string();
    int error = Files::Open(session.TempFile, path, Files::Mode::Create);
    if (error != 0 && path != beside) {
        path = beside;
        error = Files::Open(session.TempFile, path, Files::Mode::Create);
    }
    if (error != 0)
        return Refuse("Error opening temporary data file: \"" + path + "\": " + Files::ErrorText(error));
    // The name goes at once: whatever happens, nothing of it stays behind.
    (void)Files::Remove(path);
    Messages::Log("Temporary data file opened: \"" + path + "\"");
    return true;
}

bool CloseDataFile(DataSession& session, bool store) {
    bool stored = true;
    if (store && session.Modify && session.DataFile.IsOpen()) {
        stored = !session.MustClose && StoreAtEnd(session);
        if (!stored)
            Messages::Alert("## Closing data file: \"" + session.FileName + "\" was not stored. ## ");
    }
    (void)SafetyNet::Remove(session);
    if (!session.FileName.empty() && session.Analysis.Handle) RecoveryCopy::Ended(session);
    Traces::ReleaseBelow(Tree::Root(session.Vennic.Handle));
    Tree::Dispose(session.Analysis.Handle);
    for (const SetTrees::Row& row : SetTrees::Rows()) Tree::Dispose((session.*row.Tree).Handle);
    Buffer::Release(session.DataHeap);
    const int error = Files::Close(session.DataFile);
    if (error != 0) Messages::Alert(Bundle::FileMessage("Error closing data file", error));
    session = {};
    return stored;
}

void GetRelatives(DataSession& session, void* record) {
    if (session.FileName.empty()) return;
    const int level = Tree::Level(record);
    if (level < 0 || level > 4) {
        Messages::Note(" ## GetRelatives: illegal Tree Level ## ");
        return;
    }
    const Path path = record ? PathThrough(record, level) : Path{};
    session.SelectedLevel = level;
    session.CurRoot = static_cast<VennicRoot*>(path.Records[0]);
    session.CurGroup = static_cast<VennicGroup*>(path.Records[1]);
    session.CurSeries = static_cast<VennicSeries*>(path.Records[2]);
    session.CurSweep = static_cast<VennicSweep*>(path.Records[3]);
    session.CurTrace = static_cast<VennicTrace*>(path.Records[4]);
    session.CurStim = StimulationOf(session, session.CurSweep);
    FollowAnalysis(session);
}

StimStimulation* StimulationOf(const DataSession& session, const VennicSweep* sweep) {
    if (!sweep) return nullptr;
    return Tree::ChildAs<StimStimulation>(Tree::Root(session.Stim.Handle), sweep->SwStimCount);
}

RecordLabel GetRecordLabel(const DataSession& session, const void* record) {
    const auto text = [](std::span<const char> field) { return std::string(Texts::FromField(field)); };
    if (session.FileName.empty()) return {"NIL", 0, false};
    if (!record) return {"nil", 0, false};
    switch (Tree::Level(record)) {
    case 0: return {std::filesystem::path(session.FileName).filename().string(), 0, false};
    case 1: {
        const auto& group = *static_cast<const VennicGroup*>(record);
        return {group.GrLabel[0] ? text(group.GrLabel) : "Group", group.GrGroupCount, false};
    }
    case 2: {
        const auto& series = *static_cast<const VennicSeries*>(record);
        return {text(series.SeLabel), series.SeSeriesCount, record == session.ReferenceSeries};
    }
    case 3: {
        const auto& sweep = *static_cast<const VennicSweep*>(record);
        return {text(sweep.SwLabel), sweep.SwSweepCount, false};
    }
    case 4: {
        const auto& trace = *static_cast<const VennicTrace*>(record);
        return {text(trace.TrLabel), trace.TrTraceCount, false};
    }
    default: return {"invalid", 0, false};
    }
}
