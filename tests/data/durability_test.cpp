// Whatever happens to the disk or to the program while a data set is changed: the old or the new state opens,
// with every record and every sample of one of the two.
#include "data/analysis_file.h"
#include "data/make_bundle.h"
#include "data/merge.h"
#include "data/raw_write.h"
#include "data/rebuild.h"
#include "data/scratch.h"
#include "data/traces.h"
#include "setup/settings.h"
#include "support/faulty_disk.h"
#include "support/fixtures.h"
#include "support/set_content.h"
#include "trees/stim_tree.h"

namespace {

using Work = bool (*)(DataSession& session, const Support::TempFolder& folder);

// A session around the work, as a command has it.
int RunSession(const Support::TempFolder& folder, OpenMode mode, Work work) {
    Messages::Recorder said;
    said.Answer = [](bool) { return true; };
    DataSession session;
    bool done = OpenDataFile(session, folder.At("cell.dat"), {.Mode = mode});
    done = done && work(session, folder);
    const bool closed = CloseDataFile(session, true);
    return done && closed ? 0 : 1;
}

struct Case {
    const char* Name;
    const char* Set; // the files of tests/data/recordings that become cell.*
    OpenMode Mode;
    bool UseBundle;
    Work Do;
    const char* Second = nullptr; // a second data set, as other.*
};

// How the names of the tests show a case.
void PrintTo(const Case& one, std::ostream* out) {
    *out << one.Name;
}

bool Nothing(DataSession&, const Support::TempFolder&) {
    return true;
}

bool ChangeLabels(DataSession& session, const Support::TempFolder&) {
    Texts::ToField(session.CurSeries->SeLabel, "changed");
    Texts::ToField(session.CurStim->SsEntryName, "as well");
    return UpdateDataFile(session);
}

bool DeleteLastGroup(DataSession& session, const Support::TempFolder&) {
    void* root = Tree::Root(session.Vennic.Handle);
    void* series = Tree::Child(Tree::Child(root, 1), Tree::ChildCount(Tree::Child(root, 1)));
    AnalysisFile::DeleteSeries(session, static_cast<VennicGroup*>(Tree::Parent(series)),
                               static_cast<VennicSeries*>(series));
    Tree::Delete(session.Vennic.Handle, series);
    session.CurTrace = nullptr;
    return !session.Analysis.FromFile || AnalysisFile::SaveAnalysis(session);
}

bool ReplaceSamples(DataSession& session, const Support::TempFolder&) {
    auto* const sweep = session.CurSweep;
    VennicTrace* const trace = session.CurTrace;
    // A load that learns the extremes would be a change of its own.
    const std::uint8_t known = std::exchange(trace->TrYRangeKnown, std::uint8_t{1});
    const bool loaded = Traces::LoadTraceRaw(session, trace, session.DataHeap);
    trace->TrYRangeKnown = known;
    if (!loaded) return false;
    for (float& sample : Traces::Loaded(*trace)) sample = -sample;
    std::int64_t unused = 0;
    return sweep && RawData::WriteTrace(session, *trace, unused, true, true, true);
}

bool MakeNative(DataSession& session, const Support::TempFolder&) {
    return Rebuild::RebuildDataFile(session, Bytes::MachineIsLittle) && session.Native;
}

bool MergeOther(DataSession& session, const Support::TempFolder& folder) {
    return MergeDataFile(session, folder.At("other.dat"));
}

const Case Cases[] = {
    {"store trees beside the data file", "plain", OpenMode::Modify, false, ChangeLabels},
    {"bundle", "plain", OpenMode::Modify, true, Nothing},
    {"bundle after a change", "plain", OpenMode::Modify, true, ChangeLabels},
    {"un-bundle", "bigtree", OpenMode::Modify, false, Nothing},
    {"un-bundle and bundle again", "bigtree", OpenMode::Modify, true, ChangeLabels},
    {"rebuild an interleaved bundle", "weave", OpenMode::Modify, true, MakeNative},
    {"rebuild a file without header", "bare", OpenMode::Modify, false, MakeNative},
    {"change the byte order", "plain", OpenMode::Modify, false,
     [](DataSession& session, const Support::TempFolder&) {
         return Rebuild::RebuildDataFile(session, !Bytes::MachineIsLittle) && !session.Native;
     }},
    {"merge behind a file in order", "plain", OpenMode::Modify, true, MergeOther, "bigtree"},
    {"merge into a new file", "bare", OpenMode::Modify, true, MergeOther, "weave"},
    {"compress", "formats", OpenMode::Modify, true,
     [](DataSession& session, const Support::TempFolder&) {
         return RawData::CompressTraces(session, session.CurGroup, 3);
     }},
    {"replace samples", "plain", OpenMode::Modify, false, ReplaceSamples},
    {"close behind a deleted series", "plain", OpenMode::Modify, true, DeleteLastGroup},
    {"save the analysis", "plain", OpenMode::Analysis, false,
     [](DataSession& session, const Support::TempFolder&) {
         static_cast<AnalysisRoot*>(Tree::Root(session.Analysis.Handle))->Version = 1;
         Tree::SetSelected(Tree::Child(Tree::Root(session.Analysis.Handle), 1), true);
         void* gone = Tree::Child(session.CurASeries, 1);
         Tree::Delete(session.Analysis.Handle, gone);
         return AnalysisFile::SaveAnalysis(session);
     }},
};

class Durability : public testing::TestWithParam<Case> {
protected:
    Durability() {
        Setup::Settings = {};
        Setup::Settings.MaxSamplePoints = Setup::MaxSamplePointsLowest;
        // The reserve file is left out: 4 MB for each of some thousand runs.
        Setup::Settings.TempPath = "/nowhere/at/all";
        Setup::Settings.UseBundle = GetParam().UseBundle;
        Support::AddSet(Start, GetParam().Set, "cell");
        if (GetParam().Second) Support::AddSet(Start, GetParam().Second, "other");
        if (Start.contains("cell.vnc")) Start["cell.txt"] = "notes of the experiment\n";
    }
    ~Durability() override {
        Scratch::Release();
        Setup::Settings = {};
    }

    [[nodiscard]] std::string Seen() const { return Support::ContentOf(Folder.At("cell.dat")); }

    // The folder holds one of the two states, and the next orderly session clears away what was left
    // half-done. True for the later one.
    bool ExpectOldOrNew(const std::string& former, const std::string& later) {
        const std::string seen = Seen();
        const bool isNew = seen == later;
        EXPECT_TRUE(isNew || seen == former) << seen.substr(0, 300);
        // The other data set is only read, and deleted when all is done.
        if (GetParam().Second && !isNew) {
            EXPECT_FALSE(Support::ContentOf(Folder.At("other.dat")).starts_with("refused"));
        }
        (void)RunSession(Folder, OpenMode::Modify, Nothing);
        EXPECT_TRUE(Seen() == seen);
        for (const auto& [name, content] : Folder.Files()) {
            EXPECT_FALSE(name.ends_with(".new") || name.ends_with(".da0") || name.ends_with(".journal") ||
                         name.find('~') != std::string::npos)
                << name;
            const bool isNotebook = name == "cell.txt" && Start.contains(name) && !GetParam().Second;
            EXPECT_TRUE(!isNotebook || content == Start["cell.txt"]);
        }
        return isNew;
    }

    Support::TempFolder Folder{Support::Memory()};
    Support::FolderState Start;
};

TEST_P(Durability, NoFaultLosesARecordOrASample) {
    const Case& one = GetParam();
    Folder.Put(Start);
    const std::string former = Seen();
    ASSERT_FALSE(former.starts_with("refused")) << former;
    std::string later;
    // Many faults leave the same files. What is found in them is looked at once: they are all that is left.
    std::map<Support::FolderState, bool> isNewIn;
    Support::ForEveryFault(
        Folder, [this] { Folder.Put(Start); }, [&] { return RunSession(Folder, one.Mode, one.Do); },
        [&](const Support::FaultRun& run) {
            if (run.Kind == Support::Fault::None) {
                later = Seen();
                ASSERT_EQ(run.Result, 0);
                EXPECT_EQ(Folder.Files().contains("cell.vnc"), !Setup::Settings.UseBundle);
            }
            const auto [left, isFirst] = isNewIn.try_emplace(Folder.Files());
            if (isFirst) left->second = ExpectOldOrNew(former, later);
            EXPECT_TRUE(left->second || !run.Returned || run.Result != 0);
        });
    EXPECT_GE(isNewIn.size(), 4U);
}

INSTANTIATE_TEST_SUITE_P(Operations, Durability, testing::ValuesIn(Cases), [](const auto& test) {
    std::string name;
    for (const char c : std::string_view(test.param.Name))
        if (std::isalpha(static_cast<unsigned char>(c))) name += c;
    return name;
});
}
