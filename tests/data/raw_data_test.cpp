#include "data/raw_data.h"

#include "data/scratch.h"
#include "setup/settings.h"
#include "support/tree_bytes.h"

namespace {

VennicTrace TraceAt(std::int32_t offset, std::int32_t points, std::uint8_t format, std::int32_t size,
                    std::int32_t skip) {
    VennicTrace trace{};
    trace.TrFileOffset = offset;
    trace.TrDataPoints = points;
    trace.TrDataFormat = format;
    trace.TrInterleaveSize = size;
    trace.TrInterleaveSkip = skip;
    return trace;
}

// The bytes of a trace, 1, 2, 3 ..., laid out in a file of 0xEE as its blocks say.
std::string LaidOut(const VennicTrace& trace, std::vector<std::byte>& bytes) {
    bytes.resize(static_cast<std::size_t>(trace.TrDataPoints) * RawData::SampleSize(trace.TrDataFormat));
    const bool blocks = RawData::IsInterleaved(trace);
    const auto block = blocks ? static_cast<std::size_t>(trace.TrInterleaveSize) : bytes.size();
    const auto skip = blocks ? static_cast<std::size_t>(trace.TrInterleaveSkip) : block;
    std::string file(static_cast<std::size_t>(RawData::EndOf(trace)), '\xEE');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::byte>(i % 253 + 1);
        file[static_cast<std::size_t>(trace.TrFileOffset) + i / block * skip + i % block] =
            static_cast<char>(bytes[i]);
    }
    return file;
}

}

TEST(RawSamples, AnyStretchOfAnyLayoutIsReadBack) {
    const VennicTrace cases[] = {
        TraceAt(256, 1000, 0, 0, 0),      // sequential
        TraceAt(7, 500, 2, 2000, 2000),   // one block: sequential
        TraceAt(256, 3000, 0, 2, 6),      // one sample a block
        TraceAt(12, 700, 3, 8, 24),       // wide samples, one a block
        TraceAt(256, 900, 1, 4, 4),       // adjoining blocks
        TraceAt(300, 1001, 0, 20, 44),    // blocks of some samples
        TraceAt(256, 4000, 1, 512, 9000), // large blocks far apart
        TraceAt(256, 16000, 0, 2, 64),    // more than the buffer holds
    };
    Setup::Settings.MaxSamplePoints = Setup::MaxSamplePointsLowest; // 65528 bytes to pick blocks apart
    const Support::TempFolder folder;
    for (const VennicTrace& trace : cases) {
        SCOPED_TRACE(trace.TrFileOffset + trace.TrInterleaveSize);
        std::vector<std::byte> wanted;
        Files::File file;
        const std::string bytes = LaidOut(trace, wanted);
        ASSERT_EQ(Files::Open(file, folder.Write("raw", bytes), Files::Mode::Read), 0);
        const std::size_t size = RawData::SampleSize(trace.TrDataFormat), points = wanted.size() / size;
        std::vector<std::byte> got;
        const auto read = [&](std::size_t first, std::size_t count, bool swap, bool alert = true) {
            got.resize(count * size);
            const auto position = trace.TrFileOffset + static_cast<std::int64_t>(first * size);
            return RawData::ReadSamples(trace, file, position, got, count, size, swap, alert);
        };
        for (const std::size_t first : {std::size_t{0}, std::size_t{7}, points / 2 + 1, points - 1}) {
            for (const std::size_t count : {std::size_t{1}, std::size_t{33}, points - first}) {
                if (first + count > points) continue;
                ASSERT_TRUE(read(first, count, false));
                const auto from = wanted.begin() + static_cast<std::ptrdiff_t>(first * size);
                ASSERT_TRUE(std::equal(got.begin(), got.end(), from)) << first << " " << count;
            }
        }
        ASSERT_TRUE(read(0, points, true)); // in the other order
        EXPECT_EQ(got[0], wanted[size - 1]);
        EXPECT_EQ(got.back(), wanted[wanted.size() - size]);

        // A file may end with the last sample, amid its block. Fewer is a failure, at the last byte as well;
        // only the alert flag lets it be said.
        ASSERT_EQ(Files::Open(file, folder.At("raw"), Files::Mode::ReadWrite), 0);
        const auto lastByte = static_cast<std::int64_t>(bytes.find_last_not_of('\xEE'));
        ASSERT_EQ(Files::SetLength(file, lastByte + 1), 0);
        EXPECT_TRUE(read(0, points, false));
        ASSERT_EQ(Files::SetLength(file, lastByte), 0);
        const Messages::Recorder said;
        EXPECT_FALSE(read(0, points, false, false));
        EXPECT_EQ(said.Alerts, "");
        EXPECT_FALSE(read(0, points, false));
        EXPECT_NE(said.Alerts, "");
    }
    Scratch::Release();
    Setup::Settings = {};
}

TEST(RawSamples, ALayoutThatCannotBeIsRefused) {
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.Write("raw", std::string(5000, 'x')), Files::Mode::Read), 0);
    std::vector<std::byte> got(200);
    const auto alert = [&](const VennicTrace& trace, std::int64_t position, std::size_t count = 100) {
        const Messages::Recorder said;
        EXPECT_FALSE(RawData::ReadSamples(trace, file, position, got, count, 2, false, true));
        return said.Alerts;
    };
    EXPECT_EQ(alert(TraceAt(0, 100, 0, 20, 19), 0), "Read - Error seeking data\n");
    EXPECT_EQ(alert(TraceAt(-50, 100, 0, 20, 40), -50), "Read - Error seeking data\n");
    EXPECT_EQ(alert(TraceAt(100, 100, 0, 20, 40), 60), "Read - Error seeking data\n");
    EXPECT_EQ(alert(TraceAt(4900, 100, 0, 2, 4), 4900), "Error: loading beyond Trace end\n");
    for (const std::size_t noRoom : {std::size_t{101}, SIZE_MAX / 2 + 1})
        EXPECT_EQ(alert(TraceAt(0, 100, 0, 0, 0), 0, noRoom), "Error: Trace too long for scratch vector.\n");
    Scratch::Release();
}

TEST(RawSamples, EndsAreCountedInBlocksAndDoNotOverflow) {
    constexpr std::int64_t Max = INT32_MAX;
    const std::pair<VennicTrace, std::int64_t> cases[] = {
        {TraceAt(256, 100, 3, 0, 0), 1056},
        {TraceAt(256, 100, 7, 0, 0), 456},
        {TraceAt(256, 100, 0, -4, -8), 456},
        {TraceAt(256, 100, 0, 200, 200), 456},
        {TraceAt(256, 101, 0, 20, 44), 256 + 10 * 44 + 20},
        {TraceAt(256, 100, 0, 20, 44), 256 + 9 * 44 + 20},
        {TraceAt(256, 100, 0, 1, 4), 256 + 99 * 4 + 1},
        {TraceAt(INT32_MAX, INT32_MAX, 3, 0, 0), Max + 8 * Max},
        {TraceAt(INT32_MAX, INT32_MAX, 0, 1, INT32_MAX), Max + (Max - 1) * Max + 1},
    };
    for (const auto& [trace, end] : cases) EXPECT_EQ(RawData::EndOf(trace), end);
}
