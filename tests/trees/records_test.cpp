#include "base/bytes.h"
#include "support/fixtures.h"
#include "support/tree_bytes.h"
#include "trees/ampl_tree.h"
#include "trees/analysis_tree.h"
#include "trees/online_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"
#include "trees/vennic_tree.h"

using Support::OwnedTree;

namespace {

struct Kind {
    const RecordTree::TreeFormat& Format;
    Tree::Handle* (*Define)(std::string_view, const RecordTree::LoadOptions&);
    RecordTree::LoadReport& Report;
};

const Kind Kinds[] = {
    {VennicTree::Format, VennicTree::Define, VennicTree::LastLoad},
    {StimTree::Format, StimTree::Define, StimTree::LastLoad},
    {AmplTree::Format, AmplTree::Define, AmplTree::LastLoad},
    {SolutionTree::Format, SolutionTree::Define, SolutionTree::LastLoad},
    {AnalysisTree::Format, AnalysisTree::Define, AnalysisTree::LastLoad},
    {OnlineTree::Format, OnlineTree::Define, OnlineTree::LastLoad},
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
    (void)Tree::Append(tree, nullptr);
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

// FNV-1a of 64 bits.
std::uint64_t Fingerprint(std::string_view bytes) {
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const char c : bytes) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return sum;
}

// A recording of one record a level, with its image and where each record lies in it.
struct OneOfEach {
    OneOfEach() {
        auto* const group = VennicTree::NewGroup(Tree, VennicTree::NewRoot(Tree, 1000, "Qorvanite v1.0"), 0);
        auto* const series = VennicTree::NewSeries(Tree, group, 0);
        (void)VennicTree::NewTrace(Tree, VennicTree::NewSweep(Tree, series, 0), 0);
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
            EXPECT_FALSE(kind.Report.HasChecksums);
            EXPECT_EQ(info.Levels, tree["levels"].get<int>());
            std::vector<int> counts;
            (void)Tree::MemorySize(loaded, counts, RecordTree::MaxLevels);
            EXPECT_EQ(counts, tree["records"].get<std::vector<int>>());

            const std::string image = Support::StoredImage(loaded);
            const std::uint64_t wanted = tree.value("fingerprint", Fingerprint(bytes));
            EXPECT_TRUE(!Bytes::MachineIsLittle || Fingerprint(image) == wanted) << Fingerprint(image);
            ASSERT_EQ(Support::LoadImage(loaded, image), 0);
            EXPECT_EQ(Support::StoredImage(loaded), image);
            ++trees;
        }
    }
    EXPECT_EQ(trees, 23);
}

TEST(RecordTrees, VersionsThatAskHaveTheirWordsAndTheirDefault) {
    const struct {
        const char* Key;
        std::int32_t Version;
        std::string Word; // of the question; older files are taken by default, unknown ones are not
    } cases[] = {{"vnc", 9, ""},         {"vnc", 8, "older"},    {"vnc", 1, "older"},
                 {"vnc", 0, "unknown"},  {"vnc", -1, "unknown"}, {"pgf", 8, "older"},
                 {"amp", 10, "unknown"}, {"sol", 2, "unknown"},  {"sol", 0, "unknown"},
                 {"ana", 7, "unknown"},  {"onl", 9, ""},         {"onl", 8, "older"},
                 {"onl", 11, "unknown"}, {"onl", 0, "unknown"},  {"ana", 0x70005, "refused"}};
    for (const auto& [key, number, word] : cases) {
        SCOPED_TRACE(key + std::to_string(number));
        const Kind& kind = KindOf(key);
        const std::string current = RootImage(kind);
        std::string image = current;
        if (std::string_view(key) == "sol")
            Support::Patch(image, RootAt(kind), static_cast<std::int16_t>(number));
        else
            Support::Patch(image, RootAt(kind), number);
        const OwnedTree tree(Defined(kind));
        Messages::Recorder said;
        EXPECT_EQ(Support::LoadImage(tree, image) == Tree::Success, word == "" || word == "older");
        const std::string asked = "\"-file version (v" + std::to_string(number) + ").\nLoad anyway?\n";
        EXPECT_TRUE(word == "" || word == "refused"
                        ? said.Questions == ""
                        : said.Questions.starts_with("This is an " + word + " \"") &&
                              said.Questions.ends_with(asked))
            << said.Questions;
        if (word == "" || word == "refused") continue; // without a question
        said.Answer = [](bool) { return false; };
        EXPECT_EQ(Support::LoadImage(tree, image), -1);
        EXPECT_TRUE(said.Alerts.ends_with("User cancelled loading wrong version !\n"));
        said.Answer = [](bool) { return true; };
        ASSERT_EQ(Support::LoadImage(tree, image), 0);
        EXPECT_EQ(kind.Report.Version, number); // kept until it is written
        EXPECT_EQ(Support::StoredImage(tree), current);
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
        const Messages::Recorder said;
        EXPECT_EQ(Support::LoadImage(OwnedTree(Defined(kind)), image), 0);
        EXPECT_TRUE(kind.Report.HasChecksums && said.Alerts.empty());
        const OwnedTree modifying(Defined(kind, true));
        EXPECT_EQ(Support::LoadImage(modifying, image), -1);
        EXPECT_EQ(said.Alerts,
                  std::string(RecordTree::ProtectedMessage) + "\n" + kind.Format.CheckFailed + "\n");
        EXPECT_EQ(Support::LoadImage(modifying, plain), 0);
    }
}

TEST(VennicRecords, BlocksLieWhereTheRecordSaysOrBehindTheirSignature) {
    OneOfEach file;
    std::string state(AmplStateBytes, '\0');
    for (std::size_t i = 0; i < state.size(); ++i) state[i] = static_cast<char>(i % 251 + 1);
    const std::string sound = file.Image;
    for (const std::int32_t offset : {472, 500, 1008, 1009, 0, -8, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(offset);
        const bool isHeld = offset >= 472 && offset <= 1008;
        file.Image = sound;
        file.Image.replace(OneOfEach::SeriesAt + 1152, 96, 96, 'U'); // not to be taken for a state
        if (isHeld)
            file.Image.replace(OneOfEach::SeriesAt + static_cast<std::size_t>(offset), state.size(), state);
        Support::Patch(file.Image, OneOfEach::SeriesAt + 124, offset);
        ASSERT_NE(file.Reload<VennicSeries>(2), nullptr);
        const std::string stored = Support::StoredImage(file.Tree).substr(OneOfEach::SeriesAt);
        EXPECT_EQ(Bytes::Load<std::int32_t>(&stored[124]), AmplStateAt);
        EXPECT_EQ(stored.substr(472, AmplStateBytes), isHeld ? state : std::string(AmplStateBytes, '\0'));
    }
    for (const std::string signature : {"SCM", "SCN"}) {
        const std::string block = signature + std::string(93, 'd');
        file.Image = sound;
        file.Image.replace(OneOfEach::SeriesAt + ScanDataAt, block.size(), block);
        for (const std::size_t i : {0u, 1u, 2u}) // of three positions the last one is kept
            Support::Patch(file.Image, OneOfEach::TraceAt + 384 + 8 * i, 1.5 + static_cast<double>(i));
        ASSERT_NE(file.Reload<VennicTrace>(4), nullptr);
        const std::string stored = Support::StoredImage(file.Tree);
        EXPECT_EQ(stored.substr(OneOfEach::SeriesAt + ScanDataAt, 96),
                  signature == "SCM" ? block : std::string(96, '\0'));
        for (const std::size_t at : {384u, 392u, 400u})
            EXPECT_EQ(Bytes::Load<double>(stored.data() + OneOfEach::TraceAt + at), 3.5);
    }
}

TEST(VennicRecords, NewRecordsCountOnFromTheLast) {
    OneOfEach file;
    auto* const root = static_cast<VennicRoot*>(Tree::Root(file.Tree));
    auto* const group = VennicTree::NewGroup(file.Tree, root, 7);
    EXPECT_EQ(TextOf(group->GrLabel), "E-7");
    EXPECT_EQ(VennicTree::NewGroup(file.Tree, root, 0)->GrGroupCount, 8);
    auto* const series = VennicTree::NewSeries(file.Tree, group, -1);
    auto* const trace = VennicTree::NewTrace(file.Tree, VennicTree::NewSweep(file.Tree, series, 4), 2);
    EXPECT_EQ(VennicTree::NewTrace(file.Tree, nullptr, 1), nullptr);
    EXPECT_EQ(VennicTree::GetTreePosition(trace), "7_1_4_2");
    EXPECT_EQ(VennicTree::GetTreePosition(root) + VennicTree::GetTreePosition(nullptr), "rootNIL");
}

TEST(VennicRecords, ACopiedTraceHasNoSamples) {
    OneOfEach file;
    auto* const trace = file.Reload<VennicTrace>(4);
    float sample = 1;
    trace->Samples = &sample;
    ASSERT_EQ(Tree::Copy(file.Tree, trace, Tree::Parent(trace), 2), 0);
    EXPECT_EQ(Tree::ChildAs<VennicTrace>(Tree::Parent(trace), 2)->Samples, nullptr);
    EXPECT_EQ(Tree::ChildAs<VennicTrace>(Tree::Parent(trace), 2)->TrTraceCount, trace->TrTraceCount);
}

// Names and values share file bytes: the values are written, and read back into both.
TEST(AnalysisRecords, ResultValuesLieOverTheFirstNames) {
    const Kind& kind = KindOf("ana");
    const OwnedTree tree(Defined(kind));
    void* const group = Tree::Append(tree, Tree::Append(tree, nullptr));
    auto* series = static_cast<AnalysisSeries*>(Tree::Append(tree, group));
    for (int i = 0; i < ResultCount; ++i) {
        Texts::ToField(series->ResultNames[i], "Name" + std::to_string(i));
        series->ResultValues[i] = {i + 0.25, FitParamState::Hold, 1, {}};
    }
    Tree::SetSelected(series, true); // a level without a mark word: nothing may be written into Time
    EXPECT_EQ(series->Time, 0.0);
    ASSERT_EQ(Support::LoadImage(tree, Support::StoredImage(tree)), 0);
    series = Tree::ChildAs<AnalysisSeries>(Tree::Child(Tree::Root(tree), 1), 1);
    EXPECT_EQ(series->ResultValues[19].Value, 19.25);
    EXPECT_EQ(TextOf(series->ResultNames[10]), "Name10");
    EXPECT_EQ(Bytes::Load<double>(&series->ResultNames[0]), 0.25);
}
