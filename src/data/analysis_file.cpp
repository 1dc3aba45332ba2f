#include "data/analysis_file.h"

#include "base/messages.h"
#include "data/recovery_copy.h"
#include "data/set_store.h"

#include <cstdio>
#include <utility>

namespace AnalysisFile {

namespace {

// The loader's own word on a foreign order; " converted. " has no case in this version.
void NoteByteOrder() {
    if (AnalysisTree::LastLoad.State == RecordTree::LoadState::Swapped)
        Messages::Log(" \".ana\"-file swapped. ");
}

bool LoadTree(DataSession& session, const std::string& path) {
    if (!CreateAnalysisTree(session)) return false;
    const int error = Tree::Load(path, session.Analysis.Handle, session.Analysis.Info);
    if (error == Tree::Success) {
        NoteByteOrder();
        return true;
    }
    Messages::Alert("## " + Tree::Reason(error) + ": \"" + path + "\". ## ");
    return false;
}

bool FitsDataSet(const DataSession& session) {
    if (AnalysisTreeCheck(session, false)) return true;
    Messages::Alert("This Analysis File is incompatible with the present \"vnc\" Tree!");
    (void)AnalysisTreeCheck(session, true);
    return false;
}

void Report(bool verbose, const std::string& line) {
    if (verbose) Messages::Note(line);
}

std::string Mismatch(const char* level, int index, bool vennicMissing) {
    return std::string("  mismatch in ") + level + "-" + std::to_string(index) +
           (vennicMissing ? ": vnc=nil, ana<>nil." : ": vnc<>nil, ana=nil.");
}

std::string InWidth(int value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%*d", width, value);
    return text;
}

// Compares the children of two records by position; perChild goes on below a pair that both have.
template <class PerChild>
bool SameChildren(const void* vennic, const void* analysis, const char* level, bool verbose,
                  PerChild perChild) {
    int index = 1;
    for (;; ++index) {
        const void* const child = Tree::Child(vennic, index);
        if (!child) break;
        const void* const mirror = Tree::Child(analysis, index);
        if (!mirror) {
            Report(verbose, Mismatch(level, index, false));
            return false;
        }
        if (!perChild(child, mirror, index)) return false;
    }
    if (!Tree::Child(analysis, index)) return true;
    Report(verbose, Mismatch(level, index, true));
    return false;
}

void* MirrorOf(const DataSession& session, const VennicGroup* group) {
    return Tree::Child(Tree::Root(session.Analysis.Handle), Tree::IndexOf(group));
}

void* MirrorOf(const DataSession& session, const VennicGroup* group, const VennicSeries* series) {
    return Tree::Child(MirrorOf(session, group), Tree::IndexOf(series));
}

// A current record may be among those that go.
void ForgetPath(DataSession& session) {
    session.CurAGroup = nullptr;
    session.CurASeries = nullptr;
    session.CurARecord = nullptr;
    session.CurAEntry = nullptr;
    session.CurAValue = nullptr;
}

// The new file and the former one, which the program could not use, change places in one step.
bool SaveBeside(DataSession& session, const std::string& path) {
    SetStore::Step step(session);
    return step.Begin() && step.SetAside(path) && step.AddTree(session.Analysis.Handle, path) &&
           step.Commit();
}

}

bool CreateAnalysisTree(DataSession& session) {
    Tree::Dispose(session.Analysis.Handle);
    session.Analysis = {};
    session.Analysis.Handle = AnalysisTree::Define();
    if (session.Analysis.Handle) return true;
    Messages::Alert("Cannot create Analysis Tree");
    return false;
}

bool BuildAnalysisTree(DataSession& session) {
    Tree::Handle* const tree = session.Analysis.Handle;
    auto* const root = static_cast<AnalysisRoot*>(Tree::Append(tree, nullptr));
    if (!root) return false;
    root->Version = 1;
    const void* const vennic = Tree::Root(session.Vennic.Handle);
    for (int g = 1; g <= Tree::ChildCount(vennic); ++g) {
        void* const group = Tree::Append(tree, root);
        if (!group) return false;
        for (int s = 1; s <= Tree::ChildCount(Tree::Child(vennic, g)); ++s)
            if (!Tree::Append(tree, group)) return false;
    }
    return true;
}

bool NewEmptyAnalysis(DataSession& session) {
    session.FitNewSetup = true;
    return CreateAnalysisTree(session) && BuildAnalysisTree(session);
}

bool LoadAnalysisFile(DataSession& session, const std::string& path) {
    session.FitNewSetup = true;
    session.AnalysisUnreadable = false;
    if (!Files::Exists(path)) return NewEmptyAnalysis(session);
    if (LoadTree(session, path) && FitsDataSet(session)) {
        session.Analysis.FromFile = true;
        Messages::Log("Existing Analysis file loaded: \"" + path + "\"");
        return true;
    }
    session.AnalysisUnreadable = true;
    return NewEmptyAnalysis(session);
}

bool LinkAnalysis(DataSession& session) {
    if (!LoadAnalysisFile(session, FileName(session))) return false;
    if (session.AnalysisWritable) RecoveryCopy::Offer(session);
    return session.Analysis.Handle != nullptr;
}

bool AnalysisTreeCheck(const DataSession& session, bool verbose) {
    const void* const vennic = Tree::Root(session.Vennic.Handle);
    const void* const analysis = Tree::Root(session.Analysis.Handle);
    if (!vennic || !analysis) return true;
    Report(verbose, "Tree check:");
    const auto sameSeries = [&](const void*, const void*, int index) {
        Report(verbose, "    Series:" + InWidth(index, 4));
        return true;
    };
    const auto sameGroup = [&](const void* group, const void* mirror, int index) {
        Report(verbose, "  Group:" + InWidth(index, 4));
        return SameChildren(group, mirror, "Series", verbose, sameSeries);
    };
    if (!SameChildren(vennic, analysis, "Group", verbose, sameGroup)) return false;
    Report(verbose, "End of compare. ");
    return true;
}

bool AppendGroup(DataSession& session) {
    session.AnalysisShapeChanged = true;
    ++session.AnalysisRevision;
    return Tree::Append(session.Analysis.Handle, Tree::Root(session.Analysis.Handle)) != nullptr;
}

bool AppendSeries(DataSession& session, const VennicGroup* group) {
    session.AnalysisShapeChanged = true;
    ++session.AnalysisRevision;
    void* const mirror = MirrorOf(session, group);
    return mirror && Tree::Append(session.Analysis.Handle, mirror) != nullptr;
}

void DeleteGroup(DataSession& session, const VennicGroup* group) {
    void* mirror = MirrorOf(session, group);
    session.AnalysisShapeChanged = true;
    ++session.AnalysisRevision;
    ForgetPath(session);
    Tree::Delete(session.Analysis.Handle, mirror);
}

void DeleteSeries(DataSession& session, const VennicGroup* group, const VennicSeries* series) {
    void* mirror = MirrorOf(session, group, series);
    session.AnalysisShapeChanged = true;
    ++session.AnalysisRevision;
    ForgetPath(session);
    Tree::Delete(session.Analysis.Handle, mirror);
}

void DeleteSweepValues(DataSession& session, const VennicGroup* group, const VennicSeries* series,
                       const VennicSweep* sweep) {
    session.CurAValue = nullptr;
    ++session.AnalysisRevision;
    const void* const mirror = MirrorOf(session, group, series);
    for (int r = 1; r <= Tree::ChildCount(mirror); ++r) {
        const void* const record = Tree::Child(mirror, r);
        for (int e = 1; e <= Tree::ChildCount(record); ++e) {
            void* value = Tree::Child(Tree::Child(record, e), Tree::IndexOf(sweep));
            Tree::Delete(session.Analysis.Handle, value);
        }
    }
}

std::string FileName(const DataSession& session) {
    return Files::WithExtension(session.FileName, AnalysisTree::Format.Extension);
}

namespace {

bool Save(DataSession& session, const std::string& path) {
    if (session.AnalysisUnreadable) {
        if (!SaveBeside(session, path)) return false;
        session.AnalysisUnreadable = false;
        return true;
    }
    if (session.AnalysisShapeChanged && session.Modify) {
        // It fits only the trees that are as new as it is.
        const bool had = std::exchange(session.Analysis.FromFile, true);
        if (SetStore::StoreTrees(session)) return true;
        session.Analysis.FromFile = had;
        return false;
    }
    const int error = Tree::Store(path, session.Analysis.Handle, true);
    if (error == Tree::Success) return true;
    Messages::Alert(SetStore::StoreFailure(AnalysisTree::Format.Extension, Tree::Reason(error)));
    return false;
}

}

bool SaveAnalysis(DataSession& session) {
    if (!session.Modify && !session.AnalysisWritable) {
        Messages::Alert("Cannot modify: data file opened read-only.");
        return false;
    }
    if (!Save(session, FileName(session))) {
        RecoveryCopy::SaveFailed(session);
        return false;
    }
    session.Analysis.FromFile = true;
    RecoveryCopy::Saved(session);
    return true;
}

}
