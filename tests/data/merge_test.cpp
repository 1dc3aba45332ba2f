#include "data/merge.h"

#include "data/raw_data.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"
#include "support/data_session.h"
#include "trees/ampl_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"

using Support::ChangedData;
using Support::OpenedData;

namespace {

template <class Record>
const Record* FindBy(const void* root, std::int32_t Record::*number, std::int32_t wanted) {
    for (int i = 1; i <= Tree::ChildCount(root); ++i)
        if (Tree::ChildAs<Record>(root, i)->*number == wanted) return Tree::ChildAs<Record>(root, i);
    return nullptr;
}

// What the records of a data set lead to, group by group: samples as loaded, every channel of every stimulus,
// names of solutions, amplifier states. A merged set says of its groups what the two said of theirs.
std::vector<std::string> Meanings(DataSession& session) {
    std::vector<std::string> groups;
    const void* const root = Tree::Root(session.Vennic.Handle);
    const auto add = [](std::string& text, std::span<const float> values) {
        text.append(reinterpret_cast<const char*>(values.data()), values.size_bytes());
        text += '\n';
    };
    for (int g = 1; g <= Tree::ChildCount(root); ++g) {
        std::string& text = groups.emplace_back();
        const void* const group = Tree::Child(root, g);
        for (int s = 1; s <= Tree::ChildCount(group); ++s) {
            const auto* const series = Tree::ChildAs<VennicSeries>(group, s);
            text += std::string(Texts::FromField(series->SeLabel)) + "\n";
            const auto* const state =
                FindBy(Tree::Root(session.Ampl.Handle), &AmplSeries::AsSeriesCount, series->SeAmplStateRef);
            for (int a = 1; a <= Tree::ChildCount(state); ++a)
                text.append(reinterpret_cast<const char*>(Tree::ChildAs<AmplRecord>(state, a)),
                            sizeof(AmplRecord));
            for (int w = 1; w <= Tree::ChildCount(series); ++w) {
                auto* const sweep = Tree::ChildAs<VennicSweep>(series, w);
                for (int c = 1; c <= Tree::ChildCount(StimulationOf(session, sweep)); ++c) {
                    SweepStimulus stimulus;
                    std::vector<float> samples;
                    bool continuous = false;
                    EXPECT_TRUE(FindStimulus(session, *sweep, c, stimulus));
                    EXPECT_TRUE(
                        StimGen::Stimulus(stimulus.SweepNumber, stimulus.Source(), samples, continuous));
                    add(text, samples);
                }
                for (int t = 1; t <= Tree::ChildCount(sweep); ++t) {
                    auto* const trace = Tree::ChildAs<VennicTrace>(sweep, t);
                    EXPECT_TRUE(Traces::LoadTraceRaw(session, trace, session.DataHeap));
                    add(text, Traces::Loaded(*trace));
                    for (const std::int32_t number : {trace->TrInternalSolution, trace->TrExternalSolution}) {
                        const auto* const solution =
                            FindBy(Tree::Root(session.Solution.Handle), &SolutionRecord::SrNumber, number);
                        if (solution) text += std::string(Texts::FromField(solution->SrName)) + "\n";
                    }
                    Traces::ReleaseTrace(trace);
                }
            }
        }
    }
    return groups;
}

std::vector<std::string> MeaningsOf(const std::string& path) {
    OpenedData data(path);
    EXPECT_TRUE(data.IsOpen) << data.Said.Alerts;
    return Meanings(data.Session);
}

// The open set, and a copy of another one as "other.dat" beside it.
struct Pair {
    Pair(const char* set, const char* second) : Data(set) {
        Support::FolderState files;
        Support::AddSet(files, second, "other");
        for (const auto& [name, bytes] : files) (void)Data.Folder.Write(name, bytes);
    }
    ChangedData Data;
    std::string Other = Data.Folder.At("other.dat");
};

}

TEST(Merge, EveryReferenceLeadsToWhatItLedToBefore) {
    const struct {
        const char *Set, *Second;
        int Stimulations;
    } cases[] = {{"steps", "relax", 5},   // the second takes voltages and durations from parameters
                 {"relax", "steps", 3},   // only the second has solutions
                 {"plain", "bigtree", 3}, // amplifier states and solutions in both, two byte orders
                 {"bigtree", "plain", 1},
                 {"bare", "weave", 1}};
    for (const auto& [set, second, stimulations] : cases) {
        SCOPED_TRACE(std::string(set) + " " + second);
        std::vector<std::string> wanted = MeaningsOf(Support::Recording(std::string(set) + ".dat"));
        const auto own = static_cast<int>(wanted.size());
        for (std::string& group : MeaningsOf(Support::Recording(std::string(second) + ".dat")))
            wanted.push_back(std::move(group));
        Pair pair(set, second);
        const std::string other = Support::ReadWhole(pair.Other);
        ASSERT_TRUE(MergeDataFile(pair.Data.Session, pair.Other)) << pair.Data.Said.Alerts;
        EXPECT_EQ(pair.Data.Said.Alerts, "");
        EXPECT_EQ(pair.Data.Said.Questions, "Delete merged data file \"" + pair.Other + "\" ?\n");
        EXPECT_NE(pair.Data.Said.Notes.find("File merged: \"" + pair.Other + "\". \n"), std::string::npos);
        EXPECT_EQ(Support::ReadWhole(pair.Other), other);
        EXPECT_TRUE(pair.Data.Session.Native);
        EXPECT_EQ(static_cast<VennicSweep*>(pair.Data.Find({own + 1, 1, 1}))->SwStimCount, stimulations + 1);
        // Every new series has its place in the analysis.
        const void* const analysis = Tree::Root(pair.Data.Session.Analysis.Handle);
        EXPECT_EQ(Tree::ChildCount(analysis), static_cast<int>(wanted.size()));
        EXPECT_EQ(Tree::ChildCount(Tree::Child(analysis, own + 1)),
                  Tree::ChildCount(pair.Data.Find({own + 1})));
        EXPECT_TRUE(Meanings(pair.Data.Session) == wanted);
        ASSERT_TRUE(CloseDataFile(pair.Data.Session, true)) << pair.Data.Said.Alerts;
        EXPECT_TRUE(MeaningsOf(pair.Data.Path) == wanted);
    }
}

TEST(Merge, TheOtherSetGoesWhenTheUserWantsItItsNotesAreKept) {
    for (const bool bundle : {false, true}) {
        Pair pair("bigtree", "plain");
        Support::WriteWhole(pair.Data.Folder.At("cell.txt"), "own notes\n");
        const std::string sound = Support::SoundData(); // its notebook is an item of five bytes
        if (bundle) Support::WriteWhole(pair.Other, sound);
        pair.Data.Said.Answer = [](bool) { return true; };
        ASSERT_TRUE(MergeDataFile(pair.Data.Session, pair.Other)) << pair.Data.Said.Alerts;
        Support::FolderState left = pair.Data.Folder.Files();
        EXPECT_EQ(left["cell.txt"],
                  "own notes\n" + (bundle ? "\n\"" + pair.Other + "\"\n" + sound.substr(12268, 5) : ""));
        for (const char* const gone : {"other.dat", "other.vnc", "other.pgf", "other.amp", "other.sol"})
            EXPECT_TRUE(bundle || !left.contains(gone)) << gone;
        EXPECT_TRUE(left.contains("other.ana")); // results are no part of what was merged
    }
}

TEST(Merge, RefusalsLeaveBothSetsAsTheyAre) {
    const struct {
        const char *Set, *Second, *Path; // opened; beside it; what is to be merged
        std::string Bytes;               // of the other data file, unless empty
        const char* Alert;               // a part of it
    } cases[] = {
        {"plain", "steps", "other.dat", "",
         "other.dat\"\n   it does NOT contain the required amplifier records !"},
        {"steps", "plain", "other.dat", "",
         "cell.dat\"\n   it does NOT contain the required amplifier records !"},
        {"plain", "steps", "cell.dat", "", "cell.dat\": it is the data file that is open."},
        {"plain", "steps", "cell", "", "cell\": it is the data file that is open."},
        {"plain", "steps", "none.dat", "", "none.dat\": File not opened"},
        {"bigtree", "plain", "other.dat", Support::DamagedFile("version-8.dat"), "it is of another version."},
        {"bigtree", "plain", "other.dat", Support::DamagedFile("record-check.dat"), "Error Merging File \""},
        {"bigtree", "plain", "other.dat", Support::DamagedFile("header-check.dat"), "GLP protection"},
        {"bigtree", "plain", "other.dat", Support::DamagedFile("offset-far.dat"),
         "its samples are not all there."},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(std::string(one.Set) + " " + one.Path + " " + one.Alert);
        Pair pair(one.Set, one.Second);
        if (!one.Bytes.empty()) Support::WriteWhole(pair.Other, one.Bytes);
        pair.Data.Said.Answer = [](bool) { return true; };
        const std::vector<std::string> meanings = Meanings(pair.Data.Session); // a load learns extremes
        ASSERT_TRUE(UpdateDataFile(pair.Data.Session));
        const Support::FolderState before = pair.Data.Folder.Files();
        pair.Data.Said.Alerts.clear();
        EXPECT_FALSE(MergeDataFile(pair.Data.Session, pair.Data.Folder.At(one.Path)));
        EXPECT_NE(pair.Data.Said.Alerts.find(one.Alert), std::string::npos) << pair.Data.Said.Alerts;
        EXPECT_TRUE(pair.Data.Folder.Files() == before);
        EXPECT_TRUE(Meanings(pair.Data.Session) == meanings);
    }
    ChangedData reader("plain", OpenMode::Analysis);
    EXPECT_FALSE(MergeDataFile(reader.Session, Support::Recording("bigtree.dat")));
    EXPECT_EQ(reader.Said.Alerts, "Cannot modify: data file opened read-only.\n");
}
