#include "data/merge.h"

#include "base/messages.h"
#include "base/text.h"
#include "data/analysis_file.h"
#include "data/make_bundle.h"
#include "data/raw_data.h"
#include "data/rebuild.h"
#include "data/set_store.h"
#include "data/set_trees.h"
#include "trees/ampl_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

namespace {

// The other data set: read whole into heaps of its own, its file locked against changes.
struct Other {
    DataSession Set;
    std::vector<Rebuild::Moved> Moved; // its samples in the new file

    ~Other() {
        for (const SetTrees::Row& row : SetTrees::Rows()) Tree::Dispose((Set.*row.Tree).Handle);
    }
};

bool MergeFailed(const std::string& name, const std::string& reason) {
    Messages::Alert("Error Merging File \"" + name + "\": " + reason);
    return false;
}

// Only files of this version can be stored as part of another one.
bool ReadOther(Other& other, const std::string& path) {
    DataSession& set = other.Set;
    set.FileName = Files::ExtensionOf(path).empty() ? path + ".dat" : path;
    int error = 0;
    const Journal::Found found = Journal::Recover(set.FileName, error);
    if (found != Journal::Found::Nothing && found != Journal::Found::Completed)
        return MergeFailed(set.FileName, "an interrupted change of it is not completed.");
    error = Files::Open(set.DataFile, set.FileName, Files::Mode::Read);
    if (error != 0) return MergeFailed(set.FileName, Bundle::FileMessage("File not opened", error));
    error = Files::Lock(set.DataFile, Files::LockKind::Writer);
    if (error != 0) return MergeFailed(set.FileName, "Access Denied");
    if (!Bundle::ReadBundleHeader(set.Header, set.DataFile, true, true)) return false;
    set.FileKind = Bundle::BundleKind({set.Header.Signature, 4});
    const SetTrees::Source source{set.DataFile, set.Header, set.FileKind, set.FileName, true};
    for (const SetTrees::Row& row : SetTrees::Rows()) {
        if (!row.Required && !SetTrees::Has(source, row)) continue;
        std::string reason;
        if (!SetTrees::Read(source, row, row.MergeHeapName, set.*row.Tree, reason))
            return MergeFailed(set.FileName, reason);
        if (row.LastLoad.Version != row.Version)
            return MergeFailed(set.FileName, "it is of another version.");
    }
    std::int64_t length = 0;
    set.DataEnd = RawData::ComputeDataEnd(Tree::Root(set.Vennic.Handle), Bundle::DataStart(set.FileKind));
    if (Files::Length(set.DataFile, length) != 0 || length < set.DataEnd)
        return MergeFailed(set.FileName, "its samples are not all there.");
    return true;
}

bool FitTogether(const DataSession& session, const DataSession& other) {
    const bool have = session.Ampl.Handle != nullptr, has = other.Ampl.Handle != nullptr;
    if (have == has) return true;
    Messages::Alert("Cannot merge: \"" + (has ? session.FileName : other.FileName) +
                    "\"\n   it does NOT contain the required amplifier records !");
    return false;
}

// A tree that only the other set has begins with a copy of its root.
bool EnsureTree(DataSession& session, const DataSession& other, const SetTrees::Row& row) {
    SessionTree& tree = session.*row.Tree;
    const void* const root = Tree::Root((other.*row.Tree).Handle);
    if (!root) return true;
    if (!tree.Handle) tree.Handle = row.Define(row.HeapName, {});
    if (!tree.Handle) return false;
    if (Tree::Root(tree.Handle)) return true;
    void* const copy = Tree::Append(tree.Handle, nullptr);
    if (copy) std::memcpy(copy, root, row.Format.Levels[0].RamSize);
    return copy != nullptr;
}

bool AppendChildren(Tree::Handle* tree, const Tree::Handle* from) {
    void* const root = Tree::Root(tree);
    const void* const fromRoot = Tree::Root(from);
    for (int i = 1; i <= Tree::ChildCount(fromRoot); ++i)
        if (Tree::Copy(tree, Tree::Child(fromRoot, i), root, Tree::ChildCount(root) + 1) != 0) return false;
    return true;
}

template <class Record, class Change>
void ForEachAt(const void* record, int level, const Change& change) {
    if (!record) return;
    if (Tree::Level(record) == level) {
        change(*static_cast<Record*>(const_cast<void*>(record)));
        return;
    }
    for (int i = 1; i <= Tree::ChildCount(record); ++i)
        ForEachAt<Record>(Tree::Child(record, i), level, change);
}

template <class Record>
std::int32_t HighestAt(const void* root, int level, std::int32_t Record::*field) {
    std::int32_t highest = 0;
    ForEachAt<Record>(root, level, [&](const Record& record) { highest = std::max(highest, record.*field); });
    return highest;
}

// A segment that takes its value from a parameter of its file's root would find the open file's there.
void KeepParameterValues(const DataSession& session, DataSession& other) {
    auto* const from = static_cast<StimRoot*>(Tree::Root(other.Stim.Handle));
    const auto* const to = static_cast<const StimRoot*>(Tree::Root(session.Stim.Handle));
    if (!from || !to || std::equal(std::begin(from->StParams), std::end(from->StParams), to->StParams))
        return;
    const auto value = [&](std::int32_t source) {
        const std::int64_t index = std::int64_t{source} - 2;
        return index < static_cast<std::int64_t>(StimParamCount) ? from->StParams[index] : 0.0;
    };
    ForEachAt<StimSegment>(from, 3, [&](StimSegment& segment) {
        if (segment.SgVoltageSource >= 2) {
            segment.SgVoltage = value(segment.SgVoltageSource);
            segment.SgVoltageSource = 0;
        }
        if (segment.SgDurationSource >= 2) {
            segment.SgDuration = std::max(value(segment.SgDurationSource), 0.0);
            segment.SgDurationSource = 0;
        }
    });
}

// The other set's records as they will stand in the merged file. False when a number has no place above those
// of the open data set.
bool RaiseReferences(const DataSession& session, Other& other) {
    DataSession& set = other.Set;
    void* const root = Tree::Root(set.Vennic.Handle);
    const void* const ownRoot = Tree::Root(session.Vennic.Handle);
    bool fits = true;
    const auto raise = [&](std::int32_t& number, std::int32_t by) {
        const std::int64_t raised = std::int64_t{number} + by;
        fits = fits && raised <= std::numeric_limits<std::int32_t>::max();
        if (fits) number = static_cast<std::int32_t>(raised);
    };
    const std::int32_t stimulations = Tree::ChildCount(Tree::Root(session.Stim.Handle));
    ForEachAt<VennicSweep>(root, 3, [&](VennicSweep& sweep) { raise(sweep.SwStimCount, stimulations); });

    const void* const ownAmpl = Tree::Root(session.Ampl.Handle);
    const std::int32_t states = std::max(HighestAt(ownRoot, 2, &VennicSeries::SeAmplStateRef),
                                         HighestAt(ownAmpl, 1, &AmplSeries::AsSeriesCount));
    ForEachAt<VennicSeries>(root, 2, [&](VennicSeries& series) {
        if (series.SeAmplStateRef > 0) raise(series.SeAmplStateRef, states);
    });
    ForEachAt<AmplSeries>(Tree::Root(set.Ampl.Handle), 1,
                          [&](AmplSeries& series) { raise(series.AsSeriesCount, states); });

    const std::int32_t solutions =
        HighestAt(Tree::Root(session.Solution.Handle), 1, &SolutionRecord::SrNumber);
    ForEachAt<VennicTrace>(root, 4, [&](VennicTrace& trace) {
        if (trace.TrInternalSolution > 0) raise(trace.TrInternalSolution, solutions);
        if (trace.TrExternalSolution > 0) raise(trace.TrExternalSolution, solutions);
    });
    ForEachAt<SolutionRecord>(Tree::Root(set.Solution.Handle), 1,
                              [&](SolutionRecord& solution) { raise(solution.SrNumber, solutions); });
    KeepParameterValues(session, set);
    return fits || MergeFailed(set.FileName, "its records have numbers that cannot be raised.");
}

bool AppendAnalysis(DataSession& session, int firstNewGroup) {
    const void* const root = Tree::Root(session.Vennic.Handle);
    for (int g = firstNewGroup; g <= Tree::ChildCount(root); ++g) {
        const auto* const group = Tree::ChildAs<VennicGroup>(root, g);
        if (!AnalysisFile::AppendGroup(session)) return false;
        for (int s = 1; s <= Tree::ChildCount(group); ++s)
            if (!AnalysisFile::AppendSeries(session, group)) return false;
    }
    return true;
}

bool AppendTrees(DataSession& session, Other& other) {
    const int firstNewGroup = Tree::ChildCount(Tree::Root(session.Vennic.Handle)) + 1;
    for (const SetTrees::Row& row : SetTrees::Rows())
        if (!EnsureTree(session, other.Set, row) ||
            !AppendChildren((session.*row.Tree).Handle, (other.Set.*row.Tree).Handle))
            return false;
    return AppendAnalysis(session, firstNewGroup);
}

std::string TextOfNotebook(DataSession& set) {
    const Bundle::Item* const item = Bundle::FindItem(set.Header, ".txt");
    Files::File beside;
    const bool inBundle = set.FileKind == Bundle::FileKind::Bundle;
    Files::File& file = inBundle ? set.DataFile : beside;
    if (!inBundle && Files::Open(beside, NotebookName(set), Files::Mode::Read) != 0) return {};
    std::int64_t fileLength = 0;
    if ((inBundle && !item) || Files::Length(file, fileLength) != 0) return {};
    const std::int64_t start = inBundle ? item->Start : 0;
    const std::int64_t length = inBundle ? item->Length : fileLength;
    if (start < 0 || length <= 0 || start > fileLength - length) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::size_t got = 0;
    if (Files::ReadAt(file, start, std::as_writable_bytes(std::span(text)), got) != 0) return {};
    text.resize(got);
    return text;
}

bool AddNotebook(DataSession& session, Other& other, SetStore::Step& step) {
    const std::string added = TextOfNotebook(other.Set);
    if (added.empty()) return true;
    const std::string own = TextOfNotebook(session);
    const std::string text = own + (own.empty() ? "" : "\n") + "\"" + other.Set.FileName + "\"\n" + added;
    const std::string path = NotebookName(session), staged = path + ".new";
    Files::File file;
    int error = Files::Open(file, staged, Files::Mode::Create);
    if (error == 0) error = Files::WriteAt(file, 0, std::as_bytes(std::span(text)));
    if (error == 0) error = Files::Flush(file);
    const bool added2 = step.AddFile(staged, path);
    return step.Check(error) && added2;
}

// Where the samples of both sets come to lie: behind those of the open file, where it is in order, so that
// nothing of it moves; otherwise in a new file.
struct Target {
    explicit Target(DataSession& session)
        : Anew(session), Former(session.DataEnd), Behind(Rebuild::IsCompact(session)) {}

    Rebuild::NewDataFile Anew;
    std::vector<Rebuild::Moved> Own; // the open set's samples, in the new file
    std::int64_t Former;             // the end of the open file's samples
    std::int64_t End = 0;            // of the merged ones
    bool Behind;
};

// What nobody leads to is taken off again; where it cannot be, the next update does it.
bool WriteBehind(DataSession& session, Other& other, Target& target) {
    const std::int64_t bytes = Rebuild::CheckFile(other.Set).UsedBytes;
    if (!Rebuild::HasRoomFor(session, bytes)) return false;
    Messages::Progress progress("merging", bytes);
    target.End = target.Former;
    const bool copied = Rebuild::CopySamples(other.Set, session, session.DataFile, Bytes::MachineIsLittle,
                                             other.Moved, target.End, progress);
    if (const int error = copied ? Files::Flush(session.DataFile) : 0; error != 0)
        Messages::Alert(Bundle::FileMessage("Copy - Error writing data", error));
    else if (copied)
        return true;
    (void)Files::SetLength(session.DataFile, target.Former);
    return false;
}

bool WriteAnew(DataSession& session, Other& other, Target& target) {
    const std::int64_t bytes =
        Rebuild::CheckFile(session).UsedBytes + Rebuild::CheckFile(other.Set).UsedBytes;
    constexpr bool FreshHeader = true;
    Rebuild::NewDataFile& file = target.Anew;
    if (!Rebuild::HasRoomFor(session, bytes) || !file.Begin(FreshHeader)) return false;
    Messages::Progress progress("merging", bytes);
    const auto copy = [&](DataSession& from, std::vector<Rebuild::Moved>& moved) {
        return Rebuild::CopySamples(from, session, file.File, Bytes::MachineIsLittle, moved, target.End,
                                    progress);
    };
    target.End = file.Start;
    return copy(session, target.Own) && copy(other.Set, other.Moved) && file.Flush();
}

// Puts new data file, trees, notebook and analysis in place.
bool Decide(DataSession& session, Other& other, Target& target) {
    SetStore::Step step(session);
    if (!step.Begin() || !step.AddTrees() || !AddNotebook(session, other, step)) return false;
    return (target.Behind || step.AddFile(target.Anew.Path, session.FileName)) && step.Commit();
}

// From the redirections on the records in memory are those of the merged data set.
bool Merge(DataSession& session, Other& other) {
    Target target(session);
    if (!(target.Behind ? WriteBehind : WriteAnew)(session, other, target)) {
        Messages::Alert("Compacting Data File failed.");
        return false;
    }
    Rebuild::Redirection ownRecords(target.Own, Bytes::MachineIsLittle);
    Rebuild::Redirection otherRecords(other.Moved, Bytes::MachineIsLittle);
    session.DataEnd = target.End;
    if (AppendTrees(session, other) && Decide(session, other, target)) {
        if (target.Behind)
            session.DiskDataEnd = target.End;
        else
            target.Anew.TakeOver(target.End);
        return true;
    }
    if (session.MustClose)
        target.Anew.Leave();
    else if (target.Behind)
        (void)Files::SetLength(session.DataFile, target.Former);
    (void)CloseDataFile(session, false);
    return false;
}

void OfferDeletion(Other& other) {
    const std::string name = other.Set.FileName;
    if (!Messages::AskYesNo("Delete merged data file \"" + name + "\" ?", false)) return;
    int error = Files::Remove(name);
    if (error == 0 && other.Set.FileKind != Bundle::FileKind::Bundle) {
        for (const SetTrees::Row& row : SetTrees::Rows())
            if ((other.Set.*row.Tree).Handle && error == 0)
                error = Files::Remove(SetTrees::FileName(name, row));
    }
    if (error != 0) Messages::Alert(Bundle::FileMessage("Merged data file not deleted", error));
}

}

bool MergeDataFile(DataSession& session, const std::string& path) {
    if (session.FileName.empty() || !session.Modify) {
        Messages::Alert("Cannot modify: data file opened read-only.");
        return false;
    }
    Other other;
    const Files::Stamp own = Files::StampOf(session.FileName);
    const Files::Stamp others = Files::StampOf(Files::ExtensionOf(path).empty() ? path + ".dat" : path);
    if (own.Device == others.Device && own.Node == others.Node)
        return MergeFailed(path, "it is the data file that is open.");
    if (!UpdateDataFile(session) || !ReadOther(other, path) || !FitTogether(session, other.Set) ||
        !RaiseReferences(session, other))
        return false;
    if (!Merge(session, other)) return false;
    Messages::Log("File merged: \"" + other.Set.FileName + "\". ");
    session.Native = Rebuild::IsNative(session);
    GetRelatives(session, Tree::Root(session.Vennic.Handle));
    OfferDeletion(other);
    return true;
}
