#include "data/trace_copier.h"

#include "data/raw_data.h"
#include "data/scratch.h"
#include "setup/settings.h"
#include "support/data_session.h"
#include "support/temp_folder.h"

namespace {

// Offset, points, format, block size and skip; samples of the little order.
struct Layout : VennicTrace {
    Layout(std::int32_t offset, std::int32_t points, std::uint8_t format, std::int32_t size,
           std::int32_t skip, bool little = true)
        : VennicTrace{} {
        TrFileOffset = offset;
        TrDataPoints = points;
        TrDataFormat = format;
        TrInterleaveSize = size;
        TrInterleaveSkip = skip;
        TrDataKind = little ? DataKind::LittleEndian : 0;
    }
};

// Two files, the first one with noise; the scratch memory is as small as it may be.
class TraceCopies : public testing::Test {
protected:
    TraceCopies() {
        Setup::Settings.MaxSamplePoints = Setup::MaxSamplePointsLowest;
        Scratch::Release();
        std::vector<std::byte> bytes(500'000);
        std::uint32_t noise = 1;
        for (std::byte& byte : bytes)
            byte = static_cast<std::byte>((noise = noise * 1664525u + 1013904223u) >> 24);
        EXPECT_EQ(Files::Open(Source, Folder.At("source"), Files::Mode::Create), 0);
        EXPECT_EQ(Files::WriteAt(Source, 0, bytes), 0);
        EXPECT_EQ(Files::Open(Target, Folder.At("target"), Files::Mode::Create), 0);
    }
    ~TraceCopies() override {
        Files::Use(Files::Native());
        Scratch::Release();
        Setup::Settings = {};
    }

    // All of them one behind the other, compared with each one read by itself.
    void CopyAndCompare(std::span<const Layout> layouts, bool toLittle) {
        EXPECT_EQ(Files::SetLength(Target, 0), 0);
        RawData::TraceCopier copier(Source, Target, toLittle, 100);
        std::vector<std::int64_t> places;
        for (const Layout& layout : layouts) ASSERT_TRUE(copier.Add(layout, places.emplace_back()));
        ASSERT_TRUE(copier.Finish());
        std::int64_t end = 100;
        for (std::size_t i = 0; i < layouts.size(); ++i) {
            SCOPED_TRACE("trace " + std::to_string(i));
            const VennicTrace& trace = layouts[i];
            const std::size_t size = RawData::SampleSize(trace.TrDataFormat);
            const auto points = static_cast<std::size_t>(trace.TrDataPoints);
            EXPECT_EQ(places[i], end);
            std::vector<std::byte> wanted(points * size), copied(points * size);
            const bool swap = (trace.TrDataKind != 0) != toLittle;
            ASSERT_TRUE(
                RawData::ReadSamples(trace, Source, trace.TrFileOffset, wanted, points, size, swap, true));
            std::size_t got = 0;
            ASSERT_EQ(Files::ReadAt(Target, end, copied, got), 0);
            EXPECT_TRUE(copied == wanted);
            end += static_cast<std::int64_t>(points * size);
        }
        EXPECT_EQ(copier.End, end);
    }

    const Support::TempFolder Folder{Support::Memory()};
    Files::File Source, Target;
};

}

// Traces that share stretches of a file, in blocks of every kind, in both orders, with a system that copies
// all, half of what it is asked for, or nothing.
TEST_F(TraceCopies, EveryLayoutComesOutAsItIsReadTraceByTrace) {
    const Layout layouts[] = {
        {256, 20'001, 0, 6, 20},        // three in one stretch that takes several pieces, in two orders,
        {262, 20'001, 0, 6, 20, false}, // with an incomplete last block
        {270, 20'001, 0, 6, 20},        //
        {256, 9'000, 3, 8, 24},         // wide samples
        {272, 9'000, 3, 8, 24, false},  //
        {264, 9'000, 3, 8, 24},         // joins although it lies between
        {256, 30'000, 0, 2, 4},         // the blocks' order in the file against that of the tree
        {254, 30'000, 0, 2, 4},         //
        {300, 1'000, 1, 4, 8},          // another number of points: a stretch of its own
        {304, 999, 1, 4, 8},            //
        {500, 3'000, 1, 512, 9'000},    // blocks far apart
        {1'000, 5'000, 1, 0, 0},        // sequential
        {21'000, 5'000, 1, 0, 0},       // goes on
        {90'000, 50'000, 3, 0, 0},      // cannot be copied at once by a system that stops half-way
        {400, 100, 0, 3, 12},           // blocks of one and a half samples
    };
    using CopyOperation = decltype(Files::Platform::Copy);
    const CopyOperation half = [](int from, std::int64_t fromAt, std::size_t bytes, int to,
                                  std::int64_t toAt) {
        // What it may spoil behind its end is written anew.
        (void)Files::Native().WriteAt(to, "spoilt!", 8, toAt + static_cast<std::int64_t>(bytes) - 8);
        return Files::Native().Copy(from, fromAt, bytes / 2, to, toAt);
    };
    const CopyOperation refuse = [](int, std::int64_t, std::size_t, int, std::int64_t) {
        return std::int64_t{-EXDEV};
    };
    int number = 0;
    for (const CopyOperation copy : {Files::Native().Copy, half, refuse, CopyOperation{}}) {
        SCOPED_TRACE("copy operation " + std::to_string(number++));
        Files::Platform disk = Files::Native();
        disk.Copy = copy;
        Files::Use(disk);
        for (const bool toLittle : {true, false}) CopyAndCompare(layouts, toLittle);
    }
}

// Sweeps of 1 to 9 traces whose samples alternate: all of them, in and against their order in the file; one
// of them missing; two records that lead to the same samples.
TEST_F(TraceCopies, AlternatingSamplesAreDealtToTheirTraces) {
    for (std::int32_t count = 1; count <= 9; ++count)
        for (const std::int32_t points : {1, 7, 8, 1'003, 25'001}) { // the last takes several pieces
            SCOPED_TRACE(std::to_string(count) + " traces of " + std::to_string(points));
            std::vector<Layout> sweep;
            for (std::int32_t t = 0; t < count; ++t)
                sweep.push_back({1'000 + 2 * (t == 0 ? 0 : count - t), points, 0, 2, 2 * count, t % 3 != 1});
            CopyAndCompare(sweep, true);
            std::vector<Layout> twice = sweep;
            twice.back().TrFileOffset = twice.front().TrFileOffset;
            CopyAndCompare(twice, false);
            sweep.pop_back();
            CopyAndCompare(sweep, false);
        }
}

TEST_F(TraceCopies, EndWithTheFileAndWithTheLimitOfItsPositions) {
    const struct {
        Layout Trace;
        std::int64_t StartAt;
        const char* Alert;
    } cases[] = {
        {{499'900, 40, 0, 2, 4}, 0, "Error: loading beyond Trace end\n"},
        {{499'900, 60, 0, 0, 0}, 0, "Read - Error reading data: unexpected end of file\n"},
        {{0, 51, 0, 0, 0}, RawData::DataMax - 100, "File length is limited to 2 Gbyte of data !\n"},
        {{0, 51, 0, 2, 4}, RawData::DataMax - 100, "File length is limited to 2 Gbyte of data !\n"},
    };
    for (const auto& [layout, startAt, alert] : cases) {
        const Messages::Recorder said;
        RawData::TraceCopier copier(Source, Target, true, startAt);
        std::int64_t place = 0;
        EXPECT_FALSE(copier.Add(layout, place) && copier.Finish());
        EXPECT_EQ(said.Alerts, alert);
    }
    std::int64_t length = -1;
    EXPECT_EQ(Files::Length(Target, length), 0);
    EXPECT_LT(length, RawData::DataMax - 100); // nothing was written there
}
