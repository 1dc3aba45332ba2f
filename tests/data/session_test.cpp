#include "data/session.h"

#include "data/analysis_file.h"
#include "data/raw_data.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "support/data_session.h"
#include "support/failing_files.h"
#include "support/tree_bytes.h"
#include "trees/online_tree.h"
#include "trees/stim_tree.h"

using Support::OpenedData;

namespace {

// What an open data set holds: heaps of its own, and files.
void ExpectNothingOpen(const DataSession& session) {
    for (const char* const heap :
         {"VennicBuf.HE", "StimBuf.HE", "AmplBuf.HE", "SolutionBuf.HE", "AnalBuf.HE"})
        EXPECT_FALSE(Buffer::Exists(heap)) << heap;
    EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
    EXPECT_EQ(session.FileName, "");
    EXPECT_EQ(session.DataHeap, nullptr);
    EXPECT_EQ(session.CurRoot, nullptr);
}

// A folder with a sound data set in it, to be changed.
struct SoundSet {
    Support::TempFolder Folder;
    std::string Path = Folder.Write("cell.dat", Support::SoundData()), Analysis = Folder.At("cell.ana");
};

int Rows(const DataSession& session) {
    std::vector<int> counts;
    (void)Tree::MemorySize(session.Analysis.Handle, counts, 6);
    return counts[5];
}

// Whatever opens: its traces load or are refused, its stimuli too. Whether trace 1.1.1.1 loads.
bool LoadEverything(OpenedData& data, bool hasStimuli) {
    bool firstLoads = false;
    for (int s = 1; data.IsOpen && s <= Tree::ChildCount(data.Find({1})); ++s)
        for (int w = 1; w <= Tree::ChildCount(data.Find({1, s})); ++w) {
            auto* const sweep = static_cast<VennicSweep*>(data.Find({1, s, w}));
            for (int t = 1; t <= Tree::ChildCount(sweep); ++t) {
                VennicTrace* const trace = Tree::ChildAs<VennicTrace>(sweep, t);
                const bool loads = Traces::LoadAndCorrect(data.Session, sweep, trace, data.Session.DataHeap);
                EXPECT_EQ(loads, !Traces::Loaded(*trace).empty());
                if (s == 1 && w == 1 && t == 1) firstLoads = loads;
            }
            SweepStimulus stimulus;
            std::vector<float> samples;
            bool continuous = false;
            const bool found = FindStimulus(data.Session, *sweep, 1, stimulus);
            EXPECT_TRUE(found || !hasStimuli);
            if (found) (void)StimGen::Stimulus(stimulus.SweepNumber, stimulus.Source(), samples, continuous);
        }
    return firstLoads;
}

// Opens a bundle's header and recording as for a change; one of them must refuse.
void ExpectNoWriting(const std::string& path) {
    Bundle::Header header;
    Files::File file;
    Tree::FileInfo info;
    ASSERT_EQ(Files::Open(file, path, Files::Mode::Read), 0);
    const bool headerOpens = Bundle::ReadBundleHeader(header, file, true, true);
    const Support::OwnedTree tree(VennicTree::Define(VennicTree::HeapName, {.ForModify = true}));
    EXPECT_NE(headerOpens, Tree::LoadAt(file, Bundle::FindItem(header, ".vnc")->Start, tree, info) == 0);
}

}

TEST(Session, EverySetOpensWithItsTreesAndClosesWithoutATrace) {
    for (const char* const set : {"plain", "bigtree", "weave", "formats", "relax", "steps", "old", "bare"}) {
        SCOPED_TRACE(set);
        const Support::FailingFiles disk;
        const Support::Json expected = Support::Expected(set);
        const std::size_t memory = Buffer::TotalBytes();
        {
            OpenedData data(Support::Recording(std::string(set) + ".dat"));
            ASSERT_TRUE(data.IsOpen) << data.Said.Alerts;
            EXPECT_EQ(static_cast<int>(data.Session.FileKind), expected["kind"].get<int>());
            EXPECT_EQ(data.Session.DataEnd, expected["data_end"].get<std::int64_t>());
            EXPECT_EQ(data.Session.Ampl.FromFile, expected["trees"].contains("amp"));
            EXPECT_EQ(data.Session.Analysis.FromFile, expected["trees"].contains("ana"));
            EXPECT_TRUE(AnalysisFile::AnalysisTreeCheck(data.Session, false));
            EXPECT_EQ(data.Session.CurRoot, Tree::Root(data.Session.Vennic.Handle));
            const Support::Json header = expected.value("header", Support::Json({{"Time", 0.0}}));
            EXPECT_EQ(data.Session.Header.Time, header["Time"].get<double>());
            ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, data.Trace({1, 1, 1, 1}), data.Session.DataHeap));
            CloseDataFile(data.Session);
            ExpectNothingOpen(data.Session);
        }
        EXPECT_EQ(Buffer::TotalBytes(), memory);
    }
}

TEST(Session, OpeningAnotherSetClosesTheFirst) {
    const Support::FailingFiles disk;
    OpenedData data(Support::Recording("plain.dat"));
    ASSERT_TRUE(data.Open(Support::Recording("old"))); // the extension is added
    EXPECT_EQ(Support::TheDisk.OpenHandles, 1);
    EXPECT_EQ(data.Session.Ampl.Handle, nullptr);
    EXPECT_EQ(data.Session.FileName, Support::Recording("old.dat"));
    EXPECT_FALSE(data.Open(Support::Recording("none.dat")));
    EXPECT_TRUE(data.Said.Alerts.ends_with("none.dat\": " + Files::ErrorText(ENOENT) + "\n"));
    ExpectNothingOpen(data.Session);
}

TEST(Session, LongNamesHaveAHeapToo) {
    const Support::TempFolder folder;
    const OpenedData data(folder.Write(std::string(120, 'n') + ".dat", Support::SoundData()));
    EXPECT_TRUE(data.IsOpen) << data.Said.Alerts;
}

TEST(Session, TheCurrentPathGoesUpFromARecordAndDownItsFirstChildren) {
    OpenedData data(Support::Recording("plain.dat"));
    DataSession& session = data.Session;
    void* const series = data.Find({1, 2});
    GetRelatives(session, series);
    EXPECT_TRUE(session.CurGroup == data.Find({1}) && session.CurSeries == series);
    EXPECT_EQ(session.CurTrace, data.Find({1, 2, 1, 1}));
    EXPECT_EQ(session.CurStim, Tree::Child(Tree::Root(session.Stim.Handle), session.CurSweep->SwStimCount));
    void* mirror = Tree::Child(Tree::Root(session.Analysis.Handle), 1);
    EXPECT_EQ(session.CurARecord, Tree::Child(Tree::Child(mirror, 2), 1));
    GetRelatives(session, data.Find({1, 1, 3}));
    EXPECT_EQ(Tree::IndexOf(session.CurAValue), 3);

    Tree::Delete(session.Analysis.Handle, mirror);
    mirror = Tree::Child(Tree::Root(session.Analysis.Handle), 1);
    while (void* child = Tree::Child(mirror, 1)) Tree::Delete(session.Analysis.Handle, child);
    GetRelatives(session, series);
    GetRelatives(session, data.Find({2}));
    EXPECT_TRUE(data.Said.Notes.ends_with(" ASeries Wrong \n AGroup Wrong \n"));
    EXPECT_EQ(session.CurAValue, nullptr);
    CloseDataFile(session);
    GetRelatives(session, nullptr); // nothing is open
}

TEST(AnalysisFile, IsLoadedWhereItFitsAndStoredAgainUnlessTheDiskFails) {
    const SoundSet set;
    const std::string sound = Support::ReadWhole(Support::DataFile("damage/sound.ana"));
    Support::WriteWhole(set.Analysis, sound);
    OpenedData data(set.Path);
    EXPECT_FALSE(AnalysisFile::SaveAnalysis(data.Session));
    ASSERT_TRUE(data.Open(set.Path, OpenMode::Analysis));
    ASSERT_TRUE(data.Session.Analysis.FromFile);
    EXPECT_GT(Rows(data.Session), 0);
    {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 100;
        EXPECT_FALSE(AnalysisFile::SaveAnalysis(data.Session));
    }
    EXPECT_EQ(data.Said.Alerts,
              "Cannot modify: data file opened read-only.\n"
              "Error storing \".ana\"-file: Tree.Store - write error (4): No space left on device\n");
    EXPECT_EQ(Support::ReadWhole(set.Analysis), sound);
    std::filesystem::remove(set.Analysis);
    ASSERT_TRUE(AnalysisFile::SaveAnalysis(data.Session));
    EXPECT_EQ(Support::ReadWhole(set.Analysis), sound);
    EXPECT_EQ(set.Folder.Count(), 2);
}

TEST(AnalysisFile, OneThatCannotBeUsedIsKeptAsideWhenAnotherIsSaved) {
    for (const auto& [name, alert] :
         {std::pair{"analysis-shape.ana",
                    "This Analysis File is incompatible with the present \"vnc\" Tree!\n"},
          {"analysis-older.ana", "This is a MirelleFit analysis file! \n"},
          {"analysis-unknown.ana", "User cancelled loading wrong version !\n"}}) {
        const SoundSet set;
        const std::string bytes = Support::DamagedFile(name);
        Support::WriteWhole(set.Analysis, bytes);
        OpenedData data(set.Path, OpenMode::Analysis);
        EXPECT_TRUE(data.Said.Alerts.starts_with(alert)) << data.Said.Alerts;
        EXPECT_TRUE(!data.Session.Analysis.FromFile && data.Session.FitNewSetup);
        (void)set.Folder.Write("cell.ana.old", "an even older one");
        for (const int error : {EPERM, 0}) {
            const Support::FailingFiles disk;
            Support::TheDisk.RenameError = error;
            EXPECT_EQ(AnalysisFile::SaveAnalysis(data.Session), error == 0);
            EXPECT_EQ(Support::ReadWhole(set.Folder.At("cell.ana.old")), "an even older one");
            EXPECT_EQ(Support::ReadWhole(error ? set.Analysis : set.Folder.At("cell.ana.old2")), bytes);
        }
        ASSERT_TRUE(AnalysisFile::SaveAnalysis(data.Session)); // its own file by now
        EXPECT_EQ(set.Folder.Count(), 4);
        ASSERT_TRUE(data.Open(set.Path));
        EXPECT_TRUE(data.Session.Analysis.FromFile);
    }
}

TEST(AnalysisFile, TheCheckTellsWhereTheTreesDiffer) {
    const SoundSet set;
    const std::pair<void (*)(DataSession&), const char*> cases[] = {
        {[](auto&) {}, "  Group:   1\n    Series:   1\n    Series:   2\nEnd of compare. \n"},
        {[](auto& s) { (void)AnalysisFile::AppendGroup(s); }, "Group-2: vnc=nil, ana<>nil.\n"},
        {[](auto& s) { AnalysisFile::DeleteGroup(s, s.CurGroup); }, "Group-1: vnc<>nil, ana=nil.\n"},
        {[](auto& s) { (void)AnalysisFile::AppendSeries(s, s.CurGroup); }, "Series-3: vnc=nil, ana<>nil.\n"},
        {[](auto& s) { AnalysisFile::DeleteSeries(s, s.CurGroup, s.CurSeries); },
         "Series-2: vnc<>nil, ana=nil.\n"},
    };
    for (const auto& [change, end] : cases) {
        OpenedData data(set.Path);
        change(data.Session);
        EXPECT_EQ(AnalysisFile::AnalysisTreeCheck(data.Session, true), end == cases[0].second);
        EXPECT_TRUE(data.Said.Notes.ends_with(end)) << data.Said.Notes;
    }
}

TEST(AnalysisFile, ASweepsRowGoesFromEveryColumn) {
    OpenedData data(Support::Recording("plain.dat"));
    const int before = Rows(data.Session);
    GetRelatives(data.Session, data.Find({1, 1, 2}));
    const void* const mirror = data.Session.CurASeries;
    int columns = 0;
    for (int r = 1; r <= Tree::ChildCount(mirror); ++r)
        for (int e = 1; e <= Tree::ChildCount(Tree::Child(mirror, r)); ++e)
            columns += Tree::ChildCount(Tree::Child(Tree::Child(mirror, r), e)) >= 2;
    ASSERT_GT(columns, 0);
    AnalysisFile::DeleteSweepValues(data.Session, data.Session.CurGroup, data.Session.CurSeries,
                                    data.Session.CurSweep);
    EXPECT_EQ(Rows(data.Session), before - columns);
}

TEST(Damage, EveryDamagedFileBehavesAsItsTableSays) {
    const Support::Json damages = Support::ReadJson("damage/damages.json");
    EXPECT_GE(damages.size(), 80u);
    for (const Support::Json& damage : damages) {
        const std::string name = damage["file"], opens = damage["opens"],
                          message = damage.value("message", "");
        SCOPED_TRACE(name + ": " + damage["what"].get<std::string>());
        const Support::TempFolder folder;
        const std::string path = folder.Write(name, Support::Damaged(damage));
        if (name == "analysis-shape.dat")
            (void)folder.Write("analysis-shape.ana", Support::DamagedFile("analysis-shape.ana"));
        const Support::FailingFiles disk;

        for (const bool yes : {false, true}) {
            OpenedData data;
            data.Said.Answer = [yes](bool) { return yes; };
            std::string said;
            bool isOpen = false;
            if (name.ends_with(".dat")) {
                isOpen = data.Open(path);
                const bool firstLoads = LoadEverything(data, name != "stim-count.dat" && opens != "free");
                if (!isOpen) ExpectNothingOpen(data.Session);
                EXPECT_TRUE(isOpen || data.Said.Alerts != "");
                EXPECT_EQ(isOpen ? damage.value("first_trace_loads", firstLoads) : false, firstLoads);
                if (damage.value("writing", false)) {
                    EXPECT_EQ((data.Said.Alerts + data.Said.Notes).find(message), std::string::npos);
                    CloseDataFile(data.Session);
                    ExpectNoWriting(path);
                }
            } else {
                const Support::OwnedTree tree(
                    (name.ends_with(".ana") ? AnalysisTree::Define : OnlineTree::Define)("T.HE", {}));
                Tree::FileInfo info;
                isOpen = Tree::Load(path, tree, info) == Tree::Success;
                said = Tree::LastError();
            }
            said += data.Said.Alerts + data.Said.Notes + data.Said.Questions;
            EXPECT_NE(said.find(message), std::string::npos) << said;
            if (opens == "free") continue;
            EXPECT_EQ(isOpen, opens == "yes" || (opens == "asks" && yes)) << said;
            EXPECT_EQ(data.Said.Questions != "", opens == "asks");
        }
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
    }
}

TEST(Damage, WhatIsMissingIsEmptyAndWhatIsThereIsKept) {
    const Support::TempFolder folder;
    OpenedData data;
    const auto open = [&](const char* name) {
        EXPECT_TRUE(data.Open(folder.Write(name, Support::DamagedFile(name)))) << name;
    };
    open("size-zero.dat");
    const auto* const group = static_cast<VennicGroup*>(data.Find({1}));
    EXPECT_TRUE(group->GrLabel[0] == '\0' && group->GrGroupCount == 0 && Tree::ChildCount(group) == 2);
    open("size-one.dat");
    const void* const channel = Tree::Child(Tree::Child(Tree::Root(data.Session.Stim.Handle), 1), 1);
    EXPECT_EQ(Tree::ChildAs<StimSegment>(channel, 1)->SgDuration, 0.0);
    open("no-terminators.dat");
    EXPECT_EQ(Texts::FromField(data.Session.CurRoot->RoText).size(), sizeof data.Session.CurRoot->RoText);
    EXPECT_EQ(Texts::FromField(data.Trace({1, 1, 1, 1})->TrLabel).size(), 32u);
    open("ampl-offset-minus.dat");
    EXPECT_EQ(static_cast<VennicSeries*>(data.Find({1, 1}))->SeAmplifierState[0], std::byte{0});
}
