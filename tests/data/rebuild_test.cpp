#include "data/rebuild.h"

#include "support/data_session.h"
#include "support/failing_files.h"
#include "support/set_content.h"

using Support::ChangedData;

namespace {

// Traces as cases/layouts.txt writes them.
struct Piece {
    int Sweep = 0, Offset = 0, Points = 0, Size = 0, Skip = 0;
    bool Foreign = false, Valid = true;
};
std::vector<Piece> Pieces(const std::string& text) {
    std::vector<Piece> pieces;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        Piece& piece = pieces.emplace_back();
        std::sscanf(word.c_str(), "%d:%d+%d", &piece.Sweep, &piece.Offset, &piece.Points);
        piece.Foreign = word.find('*') != std::string::npos;
        piece.Valid = word.find('-') == std::string::npos;
        if (const std::size_t at = word.find('s'); at != std::string::npos)
            std::sscanf(word.c_str() + at, "s%d/%d", &piece.Size, &piece.Skip);
    }
    return pieces;
}

// A session that has only a recording tree, of one series with the given traces.
class Drawn {
public:
    explicit Drawn(const std::string& pieces, Bundle::FileKind kind = Bundle::FileKind::WithHeader) {
        Session.FileKind = kind;
        Session.Vennic.Handle = VennicTree::Define();
        Tree::Handle* const tree = Session.Vennic.Handle;
        VennicRoot* const root = VennicTree::NewRoot(tree, 1000, "test");
        VennicSeries* const series = VennicTree::NewSeries(tree, VennicTree::NewGroup(tree, root, 0), 0);
        for (const Piece& piece : Pieces(pieces)) {
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

}

TEST(CheckFile, TellsOrderByteOrderAndInterleavingByTheTraces) {
    using Bundle::FileKind;
    for (const auto& one : Support::CaseTable("layouts")) {
        SCOPED_TRACE(one[0]);
        const Drawn drawn(one[0], one[1] == "Plain" ? FileKind::Plain
                                  : one[1] == "Old" ? FileKind::Old
                                                    : FileKind::WithHeader);
        const Rebuild::FileState state = Rebuild::CheckFile(drawn.Session);
        EXPECT_EQ(std::string(state.Sequential ? "s" : "") + (state.Native ? "n" : "") +
                      (state.Interleaved ? "i" : ""),
                  one[2]);
        EXPECT_EQ(std::to_string(state.UsedEnd) + " " + std::to_string(state.SeqEnd) + " " +
                      std::to_string(state.UsedBytes),
                  one[3]);
        EXPECT_EQ(Rebuild::IsNative(drawn.Session), one[2] == "sn");
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
        EXPECT_EQ(Rebuild::NeedsCompacting(
                      Drawn("1:" + std::to_string(one.Offset) + "+" + std::to_string(one.Bytes / 2)).Session),
                  one.Needs)
            << one.Offset << " " << one.Bytes;
}

TEST(RebuildDataFile, SaysWhatIsWrongAsksAndKeepsEverySample) {
    static constexpr const char* Successful = "  ## Rebuild was successful.                   ## \n";
    const auto nothing = [](ChangedData&) {};
    const auto exchange = [](ChangedData& data) {
        std::swap(data.Trace({1, 1, 1, 1})->TrFileOffset, data.Trace({1, 1, 2, 1})->TrFileOffset);
    };
    const auto drop = [](ChangedData& data) { // the series of both orders and of the other one
        for (void* series : {data.Find({1, 5}), data.Find({1, 4})})
            Tree::Delete(data.Session.Vennic.Handle, series);
        data.Session.CurTrace = nullptr;
    };
    const struct {
        const char* Set;
        void (*Prepare)(ChangedData& data);
        bool Native;
        const char *Question, *Found, *Done; // no question: it is in order; what is logged before and last
    } cases[] = {
        {"plain", nothing, true, nullptr, "", "  ## This data file does not need to be rebuild. ## \n"},
        {"old", nothing, true, "has an old format:", "", Successful},
        {"bare", nothing, true, "has an old format:", "", Successful},
        {"plain", exchange, true,
         "is not sequential anymore:", "  ## This data file is not sequential anymore: ## \n", Successful},
        {"weave", drop, true, "is interleaved:", "  ## This data file is interleaved:            ## \n",
         Successful},
        {"plain", nothing, false,
         "is not native anymore:", "  ## This data file is not \"native\" anymore:   ## \n",
         "  ## This data file has successfully been made native. ## \n"},
    };
    for (const auto& one : cases)
        for (const bool yes : {false, true}) {
            SCOPED_TRACE(std::string(one.Set) + one.Done + (yes ? "yes" : "no"));
            const bool makeLittle = one.Native == Bytes::MachineIsLittle;
            ChangedData data(one.Set);
            one.Prepare(data);
            Setup::Settings.UseBundle = false;
            ASSERT_TRUE(CloseDataFile(data.Session, true));
            const std::string former = Support::ContentOf(data.Path), bytes = Support::ReadWhole(data.Path);
            ASSERT_TRUE(data.Open(data.Path, OpenMode::Modify));
            data.Said.Notes.clear();
            data.Said.Answer = [yes](bool) { return yes; };
            EXPECT_TRUE(Rebuild::RebuildDataFile(data.Session, makeLittle));
            EXPECT_EQ(data.Said.Questions,
                      one.Question ? std::string("This data file ") + one.Question + "\n" : "");
            const bool changed = yes && one.Question;
            EXPECT_EQ(data.Said.Notes,
                      std::string(one.Found) +
                          (changed ? "  ## The file is going to be rebuild...        ## \n" : "") +
                          (yes || !one.Question ? one.Done : ""));
            EXPECT_EQ(data.Said.Alerts, "");
            EXPECT_EQ(Support::ReadWhole(data.Path) != bytes, changed);
            if (changed) {
                const Rebuild::FileState state = Rebuild::CheckFile(data.Session);
                EXPECT_TRUE(state.Sequential && !state.Interleaved);
                EXPECT_EQ(data.Session.Native, one.Native);
                EXPECT_EQ(state.Native, data.Session.Native);
                EXPECT_EQ(data.Session.FileKind, Bundle::FileKind::WithHeader);
                EXPECT_EQ(data.Session.DataEnd, state.SeqEnd);
            }
            ASSERT_TRUE(CloseDataFile(data.Session, true));
            EXPECT_TRUE(Support::ContentOf(data.Path) == former);
        }
}

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
