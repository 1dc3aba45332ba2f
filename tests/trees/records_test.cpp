#include "base/bytes.h"
#include "base/messages.h"
#include "base/text.h"
#include "support/fixtures.h"
#include "support/md5.h"
#include "support/tree_bytes.h"
#include "trees/ampl_tree.h"
#include "trees/analysis_tree.h"
#include "trees/online_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"
#include "trees/vennic_tree.h"

#include <functional>
#include <gtest/gtest.h>

using Support::OwnedTree;

namespace {

struct Kind {
    const RecordTree::TreeFormat& Format;
    Tree::Handle* (*Define)(std::string_view, const RecordTree::LoadOptions&);
    RecordTree::LoadReport& Report;
    std::int32_t Version; // of files written here
};

const Kind Kinds[] = {
    {VennicTree::Format, VennicTree::Define, VennicTree::LastLoad, 9},
    {StimTree::Format, StimTree::Define, StimTree::LastLoad, 9},
    {AmplTree::Format, AmplTree::Define, AmplTree::LastLoad, 9},
    {SolutionTree::Format, SolutionTree::Define, SolutionTree::LastLoad, 1},
    {AnalysisTree::Format, AnalysisTree::Define, AnalysisTree::LastLoad, 1},
    {OnlineTree::Format, OnlineTree::Define, OnlineTree::LastLoad, 10},
};

const Kind& KindOf(std::string_view key) {
    for (const Kind& kind : Kinds)
        if (key == kind.Format.Extension + 1) return kind;
    std::abort();
}

Tree::Handle* Defined(const Kind& kind, bool forModify = false) {
    return kind.Define("RecordsTest.HE", {.ForModify = forModify});
}

std::size_t RootAt(const Kind& kind) {
    return 8 + 4 * kind.Format.Levels.size();
}

// The image of a tree of one root.
std::string RootImage(const Kind& kind) {
    const OwnedTree tree(Defined(kind));
    EXPECT_NE(Tree::Append(tree, nullptr), nullptr);
    return Support::StoredImage(tree);
}

// The bytes of one tree of a set, from its bundle or its own file.
std::string TreeBytes(const std::string& set, const Support::Json& expected, const std::string& key) {
    if (expected.value("kind", 0) != 3) return Support::ReadWhole(Support::Recording(set + "." + key));
    for (const auto& item : expected["header"]["Item"])
        if (item["Extension"] == "." + key)
            return Support::ReadWhole(Support::Recording(set + ".dat")).substr(item["Start"], item["Length"]);
    return {};
}

std::string TextOf(std::span<const char> field) {
    return std::string(Texts::FromField(field));
}

// A recording of one record a level, with its image and where each record lies in it.
struct OneOfEach {
    OneOfEach() {
        auto* const root = VennicTree::NewRoot(Tree, 1000, "Qorvanite v1.0");
        auto* const group = VennicTree::NewGroup(Tree, root, 0);
        auto* const series = VennicTree::NewSeries(Tree, group, 0);
        auto* const sweep = VennicTree::NewSweep(Tree, series, 0);
        (void)VennicTree::NewTrace(Tree, sweep, 0);
        Image = Support::StoredImage(Tree);
    }
    static constexpr std::size_t RootAt = 28, SeriesAt = RootAt + 544 + 4 + 128 + 4,
                                 TraceAt = SeriesAt + 1408 + 4 + 160 + 4;

    template <class T>
    T* Reload(int level) {
        if (Support::LoadImage(Tree, Image) != Tree::Success) return nullptr;
        void* record = Tree::Root(Tree);
        for (; level > 0; --level) record = Tree::Child(record, 1);
        return static_cast<T*>(record);
    }

    OwnedTree Tree{VennicTree::Define("RecordsTest.HE")};
    std::string Image;
};

}

TEST(Md5, KnownSums) {
    EXPECT_EQ(Support::Md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Support::Md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(
        Support::Md5("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
        "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(RecordTrees, EverySampleTreeIsStoredToTheLastByte) {
    int trees = 0;
    for (const char* const set :
         {"plain", "bigtree", "weave", "formats", "relax", "steps", "old", "bare", "functions"}) {
        const Support::Json expected = Support::Expected(set);
        for (const auto& [key, tree] : expected["trees"].items()) {
            SCOPED_TRACE(std::string(set) + "." + key);
            const Kind& kind = KindOf(key);
            const std::string bytes = TreeBytes(set, expected, key);
            const OwnedTree loaded(Defined(kind));
            Tree::FileInfo info;
            ASSERT_EQ(Support::LoadImage(loaded, bytes, info), 0) << Tree::LastError();
            EXPECT_EQ(info.Swapped, (tree["order"] == "little") != Bytes::MachineIsLittle);
            EXPECT_EQ(kind.Report.State,
                      info.Swapped ? RecordTree::LoadState::Swapped : RecordTree::LoadState::Native);
            EXPECT_FALSE(kind.Report.HasChecksums);
            EXPECT_EQ(info.Levels, tree["levels"].get<int>());
            std::vector<int> counts;
            (void)Tree::MemorySize(loaded, counts, RecordTree::MaxLevels);
            EXPECT_EQ(counts, tree["records"].get<std::vector<int>>());

            const std::string image = Support::StoredImage(loaded);
            if (Bytes::MachineIsLittle && tree.contains("md5")) {
                EXPECT_EQ(image.size(), tree["bytes"].get<std::size_t>());
                EXPECT_EQ(Support::Md5(image), tree["md5"]);
            }
            const OwnedTree again(kind.Define("RecordsAgain.HE", {}));
            ASSERT_EQ(Support::LoadImage(again, image), 0);
            EXPECT_EQ(Support::StoredImage(again), image);
            ++trees;
        }
    }
    EXPECT_EQ(trees, 23);
}

TEST(RecordTrees, AForeignFileHasTheSameNumbersAndItsTextsAndBlocksAsTheyAre) {
    const Support::Json expected = Support::Expected("bigtree");
    const OwnedTree vennic(VennicTree::Define("RecordsTest.HE"));
    const std::string bytes = TreeBytes("bigtree", expected, "vnc");
    ASSERT_EQ(bytes.substr(0, 4), "Tree");
    ASSERT_EQ(Support::LoadImage(vennic, bytes), 0);
    const auto* const root = static_cast<VennicRoot*>(Tree::Root(vennic));
    EXPECT_EQ(root->RoVersion, 9);
    EXPECT_EQ(root->RoStartTime, 5280724000.0);
    EXPECT_EQ(TextOf(root->RoText), "header and trees most significant byte first");
    EXPECT_EQ(root->RoFlags, 1);
    const auto* const series = Tree::ChildAs<VennicSeries>(Tree::Child(root, 1), 1);
    EXPECT_EQ(series->SeAmplStateOffset, AmplStateAt);
    EXPECT_EQ(TextOf(series->SeUserDescr2[1].Unit), "N");
    EXPECT_EQ(series->SeUserParams2[3], 0.0625);
    EXPECT_EQ(series->SeScanBlock[6], 1.0);
    const auto* const sweep = Tree::ChildAs<VennicSweep>(series, 4);
    EXPECT_EQ(sweep->SwUserParams[3], 1.5e-13);
    EXPECT_EQ(sweep->SwDigitalIn, 5);
    const auto* const trace = Tree::ChildAs<VennicTrace>(sweep, 3);
    EXPECT_EQ(trace->TrDataKind, 11);
    EXPECT_EQ(trace->TrDataFormat, 0);
    EXPECT_EQ(trace->TrDataFactor, 3.124999987513116e-13);
    EXPECT_EQ(trace->TrAdcChannel, 2);

    const OwnedTree solutions(SolutionTree::Define("RecordsSol.HE"));
    ASSERT_EQ(Support::LoadImage(solutions, TreeBytes("bigtree", expected, "sol")), 0);
    const void* const base = Tree::Root(solutions);
    const auto* const solution = Tree::ChildAs<SolutionRecord>(base, Tree::ChildCount(base));
    EXPECT_EQ(solution->SrNumber, 7);
    EXPECT_EQ(solution->SrNumeric, static_cast<double>(0.0003f)); // a short real in the file
    EXPECT_EQ(TextOf(solution->SrPhName), "NaOH");
    EXPECT_EQ(solution->SrOsmol, 310.5);
}

TEST(RecordTrees, VersionsThatAskHaveTheirWordsAndTheirDefault) {
    struct Case {
        const char* Key;
        std::int32_t Version;
        const char* Question; // none: accepted
        bool Default;
    };
    const Case cases[] = {
        {"vnc", 9, nullptr, true},
        {"vnc", 8, "This is an older \"vnc\"-file version (v8).\nLoad anyway?\n", true},
        {"vnc", 1, "This is an older \"vnc\"-file version (v1).\nLoad anyway?\n", true},
        {"vnc", 0, "This is an unknown \"vnc\"-file version (v0).\nLoad anyway?\n", false},
        {"vnc", 10, "This is an unknown \"vnc\"-file version (v10).\nLoad anyway?\n", false},
        {"vnc", -1, "This is an unknown \"vnc\"-file version (v-1).\nLoad anyway?\n", false},
        {"pgf", 8, "This is an older \"pgf\"-file version (v8).\nLoad anyway?\n", true},
        {"amp", 10, "This is an unknown \"amp\"-file version (v10).\nLoad anyway?\n", false},
        {"sol", 2, "This is an unknown \"sol\"-file version (v2).\nLoad anyway?\n", false},
        {"sol", 0, "This is an unknown \"sol\"-file version (v0).\nLoad anyway?\n", false},
        {"ana", 7, "This is an unknown \"Qorvanite\"-file version (v7).\nLoad anyway?\n", false},
        {"ana", 0, "This is an unknown \"Qorvanite\"-file version (v0).\nLoad anyway?\n", false},
        {"onl", 9, nullptr, true},
        {"onl", 8, "This is an older \"online\"-file version (v8).\nLoad anyway?\n", true},
        {"onl", 11, "This is an unknown \"online\"-file version (v11).\nLoad anyway?\n", false},
        {"onl", 0, "This is an unknown \"online\"-file version (v0).\nLoad anyway?\n", false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(std::string(one.Key) + " " + std::to_string(one.Version));
        const Kind& kind = KindOf(one.Key);
        const std::string current = RootImage(kind);
        std::string image = current;
        if (std::string(one.Key) == "sol")
            Support::Patch(image, RootAt(kind), static_cast<std::int16_t>(one.Version));
        else
            Support::Patch(image, RootAt(kind), one.Version);

        const OwnedTree tree(Defined(kind));
        Messages::Recorder said;
        EXPECT_EQ(Support::LoadImage(tree, image) == Tree::Success, one.Default);
        EXPECT_EQ(said.Questions, one.Question ? one.Question : "");
        if (!one.Default) {
            EXPECT_EQ(said.Alerts, "User cancelled loading wrong version !\n");
            EXPECT_EQ(Tree::Root(tree), nullptr);
            EXPECT_EQ(kind.Report.State, &kind == &KindOf("ana") ? RecordTree::LoadState::Cancelled
                                                                 : RecordTree::LoadState::Failed);
        }
        if (!one.Question) continue;
        said.Answer = [](bool) { return false; };
        EXPECT_EQ(Support::LoadImage(tree, image), -1);
        EXPECT_EQ(Tree::LastError(), "Tree.LoadRecord: converting file to RAM failed.");
        said.Answer = [](bool) { return true; };
        ASSERT_EQ(Support::LoadImage(tree, image), 0);
        EXPECT_EQ(kind.Report.Version, one.Version); // kept until it is written
        EXPECT_EQ(Support::StoredImage(tree), current);
    }
}

TEST(RecordTrees, TheVersionStaysInRamUntilItIsWritten) {
    OneOfEach file;
    Support::Patch(file.Image, OneOfEach::RootAt, std::int32_t{8});
    const Messages::Recorder said;
    const auto* const root = file.Reload<VennicRoot>(0);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->RoVersion, 8);
    (void)Support::StoredImage(file.Tree);
    EXPECT_EQ(root->RoVersion, 9);
}

TEST(RecordTrees, AnAnalysisOfTheOlderProductIsRefusedWithoutAQuestion) {
    const Kind& kind = KindOf("ana");
    for (const std::int32_t version : {5, 0x70005}) {
        std::string image = RootImage(kind);
        Support::Patch(image, RootAt(kind), version);
        const OwnedTree tree(Defined(kind));
        Messages::Recorder said;
        said.Answer = [](bool) { return true; };
        EXPECT_EQ(Support::LoadImage(tree, image), -1);
        EXPECT_EQ(said.Alerts, "This is a MirelleFit analysis file! \nIt is incompatible with Qorvanite.\n"
                               "User cancelled loading wrong version !\n");
        EXPECT_EQ(said.Questions, "");
        EXPECT_EQ(kind.Report.State, RecordTree::LoadState::Cancelled);
    }
}

TEST(RecordTrees, AChecksumProtectsAFileFromBeingModified) {
    for (const Kind& kind : Kinds) {
        SCOPED_TRACE(kind.Format.Title);
        const std::string plain = RootImage(kind);
        std::string image = plain;
        for (const Conversion::Field& field : kind.Format.Levels[0].Fields)
            if (field.Kind == Conversion::Kind::Check) Support::Patch(image, RootAt(kind) + field.At, 0x1234);
        ASSERT_NE(image, plain);
        Messages::Recorder said;
        {
            const OwnedTree reading(Defined(kind));
            EXPECT_EQ(Support::LoadImage(reading, image), 0);
            EXPECT_TRUE(kind.Report.HasChecksums);
            EXPECT_EQ(said.Alerts, "");
            EXPECT_EQ(Support::StoredImage(reading), plain);
        }
        const OwnedTree modifying(Defined(kind, true));
        EXPECT_EQ(Support::LoadImage(modifying, image), -1);
        EXPECT_EQ(said.Alerts,
                  std::string(RecordTree::ProtectedMessage) + "\n" + kind.Format.CheckFailed + "\n");
        EXPECT_EQ(Support::LoadImage(modifying, plain), 0);
    }
}

TEST(RecordTrees, LevelsOutsideOfATreeAreRefused) {
    const Messages::Recorder said;
    std::string words;
    for (const Kind& kind : Kinds) {
        const int levels = static_cast<int>(kind.Format.Levels.size());
        for (const int level : {-1, levels}) {
            EXPECT_EQ(RecordTree::FileSize(kind.Format, level), 0u);
            words += std::string(kind.Format.IllegalLevel) + "\n";
        }
        EXPECT_GT(RecordTree::FileSize(kind.Format, levels - 1), 0u);
    }
    EXPECT_EQ(said.Alerts, words);
    EXPECT_EQ(said.Alerts.substr(0, 40), "Fatal error: Illegal Vennic.Tree level!\n");
}

TEST(VennicRecords, TheAmplifierStateLiesWhereTheRecordSays) {
    OneOfEach file;
    std::string state(AmplStateBytes, '\0');
    for (std::size_t i = 0; i < state.size(); ++i) state[i] = static_cast<char>(i % 251 + 1);
    struct Case {
        std::int32_t Offset;
        bool Held;
    };
    for (const Case& one :
         {Case{472, true}, Case{500, true}, Case{1008, true}, Case{1009, false}, Case{0, false},
          Case{-8, false}, Case{INT32_MAX, false}, Case{INT32_MIN, false}}) {
        SCOPED_TRACE(one.Offset);
        const std::string sound = file.Image;
        if (one.Held)
            file.Image.replace(OneOfEach::SeriesAt + static_cast<std::size_t>(one.Offset), state.size(),
                               state);
        Support::Patch(file.Image, OneOfEach::SeriesAt + 124, one.Offset);
        const auto* const series = file.Reload<VennicSeries>(2);
        ASSERT_NE(series, nullptr);
        const std::string held(reinterpret_cast<const char*>(series->SeAmplifierState), AmplStateBytes);
        EXPECT_EQ(held, one.Held ? state : std::string(AmplStateBytes, '\0'));
        EXPECT_EQ(series->SeAmplStateOffset, one.Offset);
        const std::string stored = Support::StoredImage(file.Tree);
        EXPECT_EQ(Bytes::Load<std::int32_t>(stored.data() + OneOfEach::SeriesAt + 124), AmplStateAt);
        EXPECT_EQ(stored.substr(OneOfEach::SeriesAt + 472, AmplStateBytes), held);
        file.Image = sound;
    }
}

TEST(VennicRecords, ScanDataCountsOnlyBehindItsSignature) {
    OneOfEach file;
    for (const std::string signature : {"SCM", "SCN"}) {
        const std::string block = signature + std::string(93, 'd');
        file.Image.replace(OneOfEach::SeriesAt + ScanDataAt, block.size(), block);
        ASSERT_NE(file.Reload<VennicSeries>(2), nullptr);
        const std::string stored =
            Support::StoredImage(file.Tree).substr(OneOfEach::SeriesAt + ScanDataAt, 96);
        EXPECT_EQ(stored, signature == "SCM" ? block : std::string(96, '\0'));
    }
}

TEST(VennicRecords, OfThreeScanPositionsTheLastIsKeptAndWrittenThrice) {
    OneOfEach file;
    for (const int i : {0, 1, 2})
        Support::Patch(file.Image, OneOfEach::TraceAt + 384 + 8 * static_cast<std::size_t>(i), 1.5 + i);
    const auto* const trace = file.Reload<VennicTrace>(4);
    ASSERT_NE(trace, nullptr);
    EXPECT_EQ(trace->TrScanPosition, 3.5);
    const std::string stored = Support::StoredImage(file.Tree);
    for (const std::size_t at : {384u, 392u, 400u})
        EXPECT_EQ(Bytes::Load<double>(stored.data() + OneOfEach::TraceAt + at), 3.5);
}

TEST(VennicRecords, NewRecordsCountOnFromTheLastAndHaveTheirDefaults) {
    OneOfEach file;
    auto* const root = static_cast<VennicRoot*>(Tree::Root(file.Tree));
    EXPECT_EQ(root->RoVersion, 9);
    EXPECT_EQ(root->RoFlags, 1);
    auto* const group = VennicTree::NewGroup(file.Tree, root, 7);
    EXPECT_EQ(TextOf(group->GrLabel), "E-7");
    EXPECT_EQ(VennicTree::NewGroup(file.Tree, root, 0)->GrGroupCount, 8);
    auto* const series = VennicTree::NewSeries(file.Tree, group, -1);
    EXPECT_EQ(series->SeSeriesCount, 1);
    EXPECT_EQ(series->SeScanBlock[6], 1.0);
    auto* const sweep = VennicTree::NewSweep(file.Tree, series, 4);
    auto* const trace = VennicTree::NewTrace(file.Tree, sweep, 2);
    EXPECT_EQ(TextOf(trace->TrLabel), "Trace2");
    EXPECT_EQ(TextOf(trace->TrYUnit) + TextOf(trace->TrXUnit), "Vs");
    EXPECT_EQ(trace->TrBandwidth, 1e6);
    EXPECT_EQ(trace->TrRecordingMode, 6);
    EXPECT_EQ(VennicTree::NewTrace(file.Tree, nullptr, 1), nullptr);

    EXPECT_EQ(VennicTree::GetTreePosition(trace), "7_1_4_2");
    EXPECT_EQ(VennicTree::GetTreePosition(group), "7");
    EXPECT_EQ(VennicTree::GetTreePosition(root), "root");
    EXPECT_EQ(VennicTree::GetTreePosition(nullptr), "NIL");
}

TEST(VennicRecords, ACopiedTraceHasNoSamples) {
    OneOfEach file;
    void* const sweep = Tree::Parent(file.Reload<VennicTrace>(4));
    auto* const trace = Tree::ChildAs<VennicTrace>(sweep, 1);
    float sample = 1;
    trace->Samples = &sample;
    trace->PointsLoaded = 1;
    ASSERT_EQ(Tree::Copy(file.Tree, trace, sweep, 2), 0);
    const auto* const copy = Tree::ChildAs<VennicTrace>(sweep, 2);
    EXPECT_EQ(copy->Samples, nullptr);
    EXPECT_EQ(copy->PointsLoaded, 0);
    EXPECT_EQ(copy->TrTraceCount, trace->TrTraceCount);
}

TEST(VennicRecords, KindsOfTracesInWords) {
    struct Case {
        int Kind, VirtualKind;
        const char* Text;
    };
    constexpr int Native = Bytes::MachineIsLittle ? DataKind::LittleEndian : 0;
    for (const Case& one :
         {Case{0, 0, "Main"}, Case{DataKind::Leak, 0, "Leak"}, Case{DataKind::CurrentMonitor, 0, "Main-Imon"},
          Case{DataKind::VoltageMonitor, 0, "Main-Vmon"}, Case{DataKind::Virtual, 1, "LockIn_CM"},
          Case{DataKind::Virtual, 10, "LockIn_Admit"}, Case{DataKind::Virtual, 11, "Virtual"},
          Case{DataKind::Virtual, 0, "Virtual"}}) {
        VennicTrace trace{};
        trace.TrDataKind = static_cast<std::int16_t>(one.Kind | Native);
        trace.TrVirtualKind = static_cast<std::int16_t>(one.VirtualKind);
        EXPECT_EQ(VennicTree::DataKindText(trace), one.Text);
        EXPECT_EQ(VennicTree::IsVirtual(trace), std::string_view(one.Text).starts_with("LockIn"));
        trace.TrDataKind = static_cast<std::int16_t>(one.Kind | (Native ^ DataKind::LittleEndian));
        EXPECT_EQ(VennicTree::DataKindText(trace), std::string(one.Text) + "-Swap");
    }
    EXPECT_EQ(VennicTree::DataFormatText(3), "8-byte real");
    EXPECT_EQ(VennicTree::DataFormatText(4), "illegal format");
    EXPECT_EQ(VennicTree::RecordingModeText(-1), "-------");
}

// Names and values share file bytes: the values are written, and read back into both.
TEST(AnalysisRecords, ResultValuesLieOverTheFirstNames) {
    const Kind& kind = KindOf("ana");
    const OwnedTree tree(Defined(kind));
    void* const group = Tree::Append(tree, Tree::Append(tree, nullptr));
    auto* series = static_cast<AnalysisSeries*>(Tree::Append(tree, group));
    for (int i = 0; i < ResultCount; ++i) {
        Texts::ToField(series->ResultNames[i], "Name" + std::to_string(i));
        Texts::ToField(series->ResultUnits[i], "mV");
        series->ResultValues[i] = {i + 0.25, FitParamState::Hold, 1, {}};
    }
    Tree::SetSelected(series, true); // a level without a mark word: nothing may be written into Time
    EXPECT_EQ(series->Time, 0.0);
    const std::string image = Support::StoredImage(tree);
    ASSERT_EQ(Support::LoadImage(tree, image), 0);
    series = Tree::ChildAs<AnalysisSeries>(Tree::Child(Tree::Root(tree), 1), 1);
    EXPECT_EQ(series->ResultValues[19].Value, 19.25);
    EXPECT_EQ(series->ResultValues[19].State, FitParamState::Hold);
    EXPECT_EQ(TextOf(series->ResultNames[10]), "Name10");
    EXPECT_EQ(Bytes::Load<double>(&series->ResultNames[0]), 0.25);
    EXPECT_EQ(TextOf(series->ResultUnits[0]), "mV");
    EXPECT_EQ(Support::StoredImage(tree), image);
}

TEST(OnlineRecords, AnEmptyTreeGetsADefaultMethod) {
    const OwnedTree tree(Defined(KindOf("onl")));
    EXPECT_FALSE(OnlineTree::EnsureMethod(tree));
    void* const root = Tree::Append(tree, nullptr);
    ASSERT_TRUE(OnlineTree::EnsureMethod(tree));
    ASSERT_TRUE(OnlineTree::EnsureMethod(tree));
    EXPECT_EQ(Tree::ChildCount(root), 1);
    EXPECT_EQ(TextOf(Tree::ChildAs<OnlineMethod>(root, 1)->OmName), "OA-1");
}
