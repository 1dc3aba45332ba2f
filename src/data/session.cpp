#include "data/session.h"

#include "base/buffer.h"
#include "base/messages.h"
#include "base/text.h"
#include "data/analysis_file.h"
#include "data/raw_data.h"
#include "data/traces.h"
#include "trees/ampl_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"

#include <filesystem>

namespace {

// The trees of a data set in the order in which they are read.
struct TreeRow {
    SessionTree DataSession::*Tree;
    const RecordTree::TreeFormat& Format;
    Tree::Handle* (*Define)(std::string_view heapName, const RecordTree::LoadOptions& options);
    const char* HeapName;
    bool Required;
};

const TreeRow TreeRows[] = {
    {&DataSession::Vennic, VennicTree::Format, VennicTree::Define, VennicTree::HeapName, true},
    {&DataSession::Stim, StimTree::Format, StimTree::Define, StimTree::HeapName, false},
    {&DataSession::Ampl, AmplTree::Format, AmplTree::Define, AmplTree::HeapName, false},
    {&DataSession::Solution, SolutionTree::Format, SolutionTree::Define, SolutionTree::HeapName, false},
};

bool OpenFile(DataSession& session, const std::string& path) {
    const std::string name = Files::ExtensionOf(path).empty() ? path + ".dat" : path;
    const int error = Files::Open(session.DataFile, name, Files::Mode::Read);
    if (error != 0) {
        Messages::Alert("Error opening \"" + name + "\": " + Files::ErrorText(error));
        return false;
    }
    session.FileName = name;
    const std::string heapName = std::filesystem::path(name).filename().string();
    constexpr std::string_view Suffix = ".HE";
    session.DataHeap = Buffer::Create("/Session/" + heapName.substr(0, Buffer::NameMax - Suffix.size()) +
                                      std::string(Suffix));
    if (!session.DataHeap) {
        Messages::Alert("OpenDataFile - allocation of heap failed");
        return false;
    }
    if (!Bundle::ReadBundleHeader(session.Header, session.DataFile, false, true)) return false;
    session.FileKind = Bundle::BundleKind(Texts::FromField(session.Header.Signature));
    Messages::Log("Existing File opened read-only: \"" + name + "\"");
    return true;
}

bool ReadingFailed(const TreeRow& row, const std::string& reason) {
    Messages::Alert(std::string("Error reading ") + row.Format.Title + " Tree: " + reason);
    return false;
}

// A tree that the data set does not have stays undefined; only the recording itself must be there.
bool ReadTree(DataSession& session, const TreeRow& row) {
    SessionTree& tree = session.*row.Tree;
    const bool inBundle = session.FileKind == Bundle::FileKind::Bundle;
    const Bundle::Item* const item = Bundle::FindItem(session.Header, row.Format.Extension);
    const std::string beside = Files::WithExtension(session.FileName, row.Format.Extension);
    const bool absent = inBundle ? !item : !Files::Exists(beside);
    if (absent && !row.Required) return true;
    if (inBundle && absent) return ReadingFailed(row, "the bundle has no such item");

    tree.Handle = row.Define(row.HeapName, {.ForModify = session.Modify});
    if (!tree.Handle) {
        Messages::Alert(std::string("Error defining ") + row.Format.Title + " Tree. " + Tree::LastError());
        return false;
    }
    const int error = inBundle ? Tree::LoadAt(session.DataFile, item->Start, tree.Handle, tree.Info)
                               : Tree::Load(beside, tree.Handle, tree.Info);
    if (error != Tree::Success)
        return ReadingFailed(row, Tree::Reason(error) + (inBundle ? "" : " (\"" + beside + "\")"));
    tree.FromFile = true;
    if (tree.Info.Swapped) Messages::Log(std::string(" \"") + row.Format.Extension + "\"-file swapped. ");
    return true;
}

bool ReadTrees(DataSession& session) {
    for (const TreeRow& row : TreeRows)
        if (!ReadTree(session, row)) return false;
    const auto* const root = static_cast<const VennicRoot*>(Tree::Root(session.Vennic.Handle));
    const auto* const stim = static_cast<const StimRoot*>(Tree::Root(session.Stim.Handle));
    if (stim && stim->StVersion != root->RoVersion)
        Messages::Note("\"vnc\"-file and \"pgf\"-file have different versions!");
    return true;
}

bool CheckLength(DataSession& session) {
    session.DataEnd =
        RawData::ComputeDataEnd(Tree::Root(session.Vennic.Handle), Bundle::DataStart(session.FileKind));
    std::int64_t length = 0;
    const int error = Files::Length(session.DataFile, length);
    if (error != 0) {
        Messages::Alert(Bundle::FileMessage("Error getting filelength", error));
        return false;
    }
    // A file without samples may end inside of its header.
    if (length >= session.DataEnd || session.DataEnd == Bundle::DataStart(session.FileKind)) return true;
    Messages::Alert("Open data file failed: write pointer points beyond file end!");
    return false;
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

bool OpenDataFile(DataSession& session, const std::string& path, OpenMode mode) {
    CloseDataFile(session);
    session.AnalysisWritable = mode == OpenMode::Analysis;
    if (!OpenFile(session, path) || !ReadTrees(session) || !CheckLength(session) ||
        !AnalysisFile::LinkAnalysis(session)) {
        CloseDataFile(session);
        return false;
    }
    GetRelatives(session, Tree::Root(session.Vennic.Handle));
    return true;
}

void CloseDataFile(DataSession& session) {
    Traces::ReleaseBelow(Tree::Root(session.Vennic.Handle));
    Tree::Dispose(session.Analysis.Handle);
    for (const TreeRow& row : TreeRows) Tree::Dispose((session.*row.Tree).Handle);
    Buffer::Release(session.DataHeap);
    const int error = Files::Close(session.DataFile);
    if (error != 0) Messages::Alert(Bundle::FileMessage("Error closing data file", error));
    session = {};
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
