#include "data/rebuild.h"

#include "support/data_session.h"
#include "support/failing_files.h"
#include "support/set_content.h"

using Support::ChangedData;

namespace {

struct Piece {
    int Sweep, Offset, Points; // of 16-bit samples
    bool Foreign = false;
    int Size = 0, Skip = 0;
    bool Valid = true;
};

// A session that has only a recording tree, of one series with the given traces.
class Drawn {
public:
    explicit Drawn(const std::vector<Piece>& pieces, Bundle::FileKind kind = Bundle::FileKind::WithHeader) {
        Session.FileKind = kind;
        Session.Vennic.Handle = VennicTree::Define();
        Tree::Handle* const tree = Session.Vennic.Handle;
        VennicRoot* const root = VennicTree::NewRoot(tree, 1000, "test");
        VennicSeries* const series = VennicTree::NewSeries(tree, VennicTree::NewGroup(tree, root, 0), 0);
        for (const Piece& piece : pieces) {
            while (Tree::ChildCount(series) < piece.Sweep) (void)VennicTree::NewSweep(tree, series, 0);
            VennicTrace* const trace =
                VennicTree::NewTrace(tree, Tree::ChildAs<VennicSweep>(series, piece.Sweep), 0);
            trace->TrFileOffset = piece.Offset;
            trace->TrDataPoints = piece.Points;
            trace->TrDataFormat = 0;
            trace->TrDataKind = piece.Foreign == Bytes::MachineIsLittle
                                    ? std::int16_t{0}
                                    : std::int16_t{DataKind::LittleEndian};
            trace->TrInterleaveSize = piece.Size;
            trace->TrInterleaveSkip = piece.Skip;
            Tree::SetValid(trace, piece.Valid);
        }
    }
    ~Drawn() { Tree::Dispose(Session.Vennic.Handle); }
    Drawn(Drawn&&) = delete;

    DataSession Session;
};

void Swap(VennicTrace& a, VennicTrace& b) {
    std::swap(a.TrFileOffset, b.TrFileOffset);
}

}

TEST(CheckFile, TellsOrderByteOrderAndInterleavingByTheTraces) {
    using Bundle::FileKind;
    const struct {
        const char* What;
        std::vector<Piece> Pieces;
        bool Sequential, Native, Interleaved;
        int UsedEnd, SeqEnd, UsedBytes;
        FileKind Kind = FileKind::WithHeader;
    } cases[] = {
        {"no traces", {}, true, true, false, 0, 256, 0},
        {"one behind the other", {{1, 256, 10}, {2, 276, 10}}, true, true, false, 296, 296, 40},
        {"the same in a file without header",
         {{1, 0, 10}, {2, 20, 10}},
         true,
         true,
         false,
         40,
         40,
         40,
         FileKind::Plain},
        {"and behind four bytes", {{1, 4, 10}, {2, 24, 10}}, true, true, false, 44, 44, 40, FileKind::Old},
        {"a gap at the start", {{1, 258, 10}}, false, true, false, 278, 278, 20},
        {"a gap between", {{1, 256, 10}, {1, 278, 10}}, false, true, false, 298, 298, 40},
        {"the other way round", {{1, 276, 10}, {1, 256, 10}}, false, true, false, 296, 276, 40},
        {"what is not valid or empty does not count",
         {{1, 256, 10}, {1, 900, 5, true, 0, 0, false}, {1, 7, 0}, {1, 276, 10}},
         true,
         true,
         false,
         296,
         296,
         40},
        {"all of the other order",
         {{1, 256, 10, true}, {1, 276, 10, true}},
         true,
         false,
         false,
         296,
         296,
         40},
        {"both orders", {{1, 256, 10}, {1, 276, 10, true}}, false, false, false, 296, 296, 40},
        {"interleaved",
         {{1, 256, 10, false, 2, 4}, {1, 258, 10, false, 2, 4}},
         true,
         true,
         true,
         278,
         296,
         40},
        {"a second trace that lies ahead",
         {{1, 256, 10, false, 2, 4}, {1, 100, 10, false, 2, 4}},
         true,
         true,
         true,
         276,
         294,
         40},
        {"a first trace that lies behind a gap", {{1, 300, 10, false, 2, 4}}, true, true, true, 320, 338, 20},
        {"a first trace before the end of the former",
         {{1, 256, 10, false, 2, 4}, {2, 290, 10, false, 2, 4}},
         false,
         true,
         true,
         310,
         328,
         40},
        {"one block alone is not interleaved",
         {{1, 256, 10, false, 20, 20}},
         true,
         true,
         false,
         276,
         276,
         20},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.What);
        const Drawn drawn(one.Pieces, one.Kind);
        const Rebuild::FileState state = Rebuild::CheckFile(drawn.Session);
        EXPECT_EQ(state.Sequential, one.Sequential);
        EXPECT_EQ(state.Native, one.Native);
        EXPECT_EQ(state.Interleaved, one.Interleaved);
        EXPECT_EQ(state.UsedEnd, one.UsedEnd);
        EXPECT_EQ(state.SeqEnd, one.SeqEnd);
        EXPECT_EQ(state.UsedBytes, one.UsedBytes);
        EXPECT_EQ(Rebuild::IsNative(drawn.Session), one.Sequential && one.Native && !one.Interleaved);
    }
}

TEST(NeedsCompacting, HasALimitOfBytesAndOneOfShare) {
    const struct {
        int Offset, Bytes;
        bool Needs;
    } cases[] = {
        {256, 20, false},                 // in order
        {10'485'760, 20, true},           // just enough unused
        {10'485'758, 20, false},          // 2 bytes less
        {20'000'000, 180'000'000, false}, // 0.9 of it is used: a division of whole numbers would give 0
        {20'000'000, 179'999'998, true},  // a little less
    };
    for (const auto& one : cases)
        EXPECT_EQ(Rebuild::NeedsCompacting(Drawn({{1, one.Offset, one.Bytes / 2}}).Session), one.Needs)
            << one.Offset << " " << one.Bytes;
}

struct RebuildCase {
    const char* Name;
    const char* Set;
    void (*Prepare)(ChangedData& data);
    bool MakeLittle;
    const char* Question; // none: it is in order
    const char* Buttons;
    const char* Found; // logged before the question
    const char* Done;  // logged last
};

void PrintTo(const RebuildCase& one, std::ostream* out) {
    *out << one.Name;
}

class RebuildDataFile : public testing::TestWithParam<RebuildCase> {};

TEST_P(RebuildDataFile, SaysWhatIsWrongAsksAndKeepsEverySample) {
    const RebuildCase& one = GetParam();
    for (const bool yes : {false, true}) {
        SCOPED_TRACE(yes);
        ChangedData data(one.Set);
        one.Prepare(data);
        Setup::Settings.UseBundle = false;
        ASSERT_TRUE(CloseDataFile(data.Session, true));
        const std::string former = Support::ContentOf(data.Path);
        const std::string bytes = Support::ReadWhole(data.Path);
        ASSERT_TRUE(data.Open(data.Path, OpenMode::Modify));
        data.Said.Notes.clear();
        data.Said.Answer = [yes](bool) { return yes; };
        EXPECT_TRUE(Rebuild::RebuildDataFile(data.Session, one.MakeLittle));
        EXPECT_EQ(data.Said.Questions,
                  one.Question ? std::string("This data file ") + one.Question + "\n" : "");
        EXPECT_EQ(data.Said.Buttons, one.Question ? std::string("No Change|") + one.Buttons + "\n" : "");
        const std::string going = "  ## The file is going to be rebuild...        ## \n";
        EXPECT_EQ(data.Said.Notes, std::string(one.Found) + (yes && one.Question ? going : "") +
                                       (yes || !one.Question ? one.Done : ""));
        EXPECT_EQ(data.Said.Alerts, "");
        const bool changed = yes && one.Question;
        EXPECT_EQ(Support::ReadWhole(data.Path) != bytes, changed);
        if (changed) {
            const Rebuild::FileState state = Rebuild::CheckFile(data.Session);
            EXPECT_TRUE(state.Sequential && !state.Interleaved);
            EXPECT_EQ(data.Session.Native, one.MakeLittle == Bytes::MachineIsLittle);
            EXPECT_EQ(state.Native, data.Session.Native);
            EXPECT_EQ(data.Session.FileKind, Bundle::FileKind::WithHeader);
            EXPECT_EQ(data.Session.DataEnd, state.SeqEnd);
        }
        ASSERT_TRUE(CloseDataFile(data.Session, true));
        EXPECT_TRUE(Support::ContentOf(data.Path) == former);
    }
}

constexpr const char* Successful = "  ## Rebuild was successful.                   ## \n";

INSTANTIATE_TEST_SUITE_P(
    Findings, RebuildDataFile,
    testing::Values(RebuildCase{"InOrder", "plain", [](ChangedData&) {}, Bytes::MachineIsLittle, nullptr,
                                nullptr, "", "  ## This data file does not need to be rebuild. ## \n"},
                    RebuildCase{"OldFormat", "old", [](ChangedData&) {}, Bytes::MachineIsLittle,
                                "has an old format:", "Rebuild", "", Successful},
                    RebuildCase{"NoHeader", "bare", [](ChangedData&) {}, Bytes::MachineIsLittle,
                                "has an old format:", "Rebuild", "", Successful},
                    RebuildCase{"NotSequential", "plain",
                                [](ChangedData& data) {
                                    Swap(*data.Trace({1, 1, 1, 1}), *data.Trace({1, 1, 2, 1}));
                                },
                                Bytes::MachineIsLittle, "is not sequential anymore:", "Rebuild",
                                "  ## This data file is not sequential anymore: ## \n", Successful},
                    RebuildCase{
                        "Interleaved", "weave",
                        [](ChangedData& data) { // without the series of both orders and of the other one
                            for (void* series : {data.Find({1, 5}), data.Find({1, 4})})
                                Tree::Delete(data.Session.Vennic.Handle, series);
                            data.Session.CurTrace = nullptr;
                        },
                        Bytes::MachineIsLittle, "is interleaved:", "Rebuild",
                        "  ## This data file is interleaved:            ## \n", Successful},
                    RebuildCase{"OtherOrder", "plain", [](ChangedData&) {}, !Bytes::MachineIsLittle,
                                "is not native anymore:", "Byte Swap",
                                "  ## This data file is not \"native\" anymore:   ## \n",
                                "  ## This data file has successfully been made native. ## \n"}),
    [](const auto& test) { return std::string(test.param.Name); });

TEST(RebuildRoom, MustBeMoreThanTheLengthAndTheSpare) {
    ChangedData data("weave");
    const std::string bytes = Support::ReadWhole(data.Path);
    const Support::FailingFiles disk;
    Support::TheDisk.FreeSpace = static_cast<std::int64_t>(bytes.size()) + Rebuild::SpareBytes;
    EXPECT_TRUE(Rebuild::RebuildDataFile(data.Session, Bytes::MachineIsLittle));
    EXPECT_EQ(data.Said.Alerts, "There is not enough disk space to rebuild this data file!\n");
    EXPECT_TRUE(data.Said.Notes.ends_with("  ## Insufficient disk space to rebuild file.  ## \n"));
    EXPECT_EQ(data.Said.Questions, "");
    EXPECT_EQ(Support::ReadWhole(data.Path), bytes);
    ++Support::TheDisk.FreeSpace;
    EXPECT_TRUE(Rebuild::RebuildDataFile(data.Session, Bytes::MachineIsLittle));
    EXPECT_TRUE(data.Session.Native);
}

TEST(RebuildMode, OnlyADataSetThatIsOpenForChangesIsRebuilt) {
    for (const OpenMode mode : {OpenMode::Read, OpenMode::Analysis}) {
        ChangedData data("weave", mode);
        EXPECT_FALSE(Rebuild::RebuildDataFile(data.Session, Bytes::MachineIsLittle));
        EXPECT_EQ(data.Said.Alerts, "Cannot modify: data file opened read-only.\n");
    }
}
