#include "data/raw_write.h"

#include "data/make_bundle.h"
#include "data/raw_data.h"
#include "data/sample_format.h"
#include "data/scratch.h"
#include "data/traces.h"
#include "support/data_session.h"
#include "support/failing_files.h"

using Support::ChangedData;

namespace {

constexpr std::int64_t DataMax = 2'147'483'647;

// Samples of the test's own, in the given format, as if they had been loaded.
template <class Sample>
void PutLoaded(VennicTrace& trace, std::vector<Sample>& samples, DataFormat format) {
    Traces::ReleaseTrace(&trace);
    trace.Samples = reinterpret_cast<float*>(samples.data());
    trace.SampleHeap = nullptr;
    trace.PointsLoaded = static_cast<std::int32_t>(samples.size());
    trace.FirstPoint = 0;
    trace.RamFormat = trace.TrDataFormat = static_cast<std::uint8_t>(format);
}

// What the file holds of a trace, in this machine's order.
template <class Sample>
std::vector<Sample> Stored(DataSession& session, const VennicTrace& trace) {
    std::vector<Sample> samples(static_cast<std::size_t>(trace.TrDataPoints));
    EXPECT_TRUE(RawData::ReadSamples(trace, session.DataFile, trace.TrFileOffset,
                                     std::as_writable_bytes(std::span(samples)), samples.size(),
                                     sizeof(Sample), RawData::NeedsSwap(trace), true));
    return samples;
}

bool Append(ChangedData& data, VennicTrace& trace, std::int64_t& position, bool convert = false,
            bool alert = true) {
    constexpr bool Replace = false;
    return RawData::WriteTrace(data.Session, trace, position, Replace, alert, convert);
}

bool Replace(ChangedData& data, VennicTrace& trace) {
    std::int64_t unused = 0;
    return RawData::WriteTrace(data.Session, trace, unused, true, true, true);
}

}

TEST(WriteTrace, AppendsUpToTheLimitAndNotAByteBeyond) {
    ChangedData data("plain");
    VennicTrace& trace = *data.Trace({1, 1, 1, 1});
    std::vector<std::int16_t> samples = {1, -2, 3};
    PutLoaded(trace, samples, DataFormat::Int16);
    const VennicTrace former = trace;
    std::int64_t position = DataMax - 6 + 1;
    EXPECT_FALSE(Append(data, trace, position));
    EXPECT_EQ(data.Said.Alerts, "File length is limited to 2 Gbyte of data !\n");
    EXPECT_EQ(position, DataMax - 5);
    EXPECT_EQ(trace.TrFileOffset, former.TrFileOffset);
    EXPECT_LT(std::filesystem::file_size(data.Path), 20'000u);

    // The file is made that long without being written: what lies between takes no room.
    position = DataMax - 6;
    ASSERT_EQ(Files::SetLength(data.Session.DataFile, position), 0);
    ASSERT_TRUE(Append(data, trace, position)) << data.Said.Alerts;
    EXPECT_EQ(position, DataMax);
    EXPECT_EQ(trace.TrFileOffset, DataMax - 6);
    EXPECT_EQ(trace.TrDataPoints, 3);
    EXPECT_EQ(std::filesystem::file_size(data.Path), static_cast<std::uintmax_t>(DataMax));
    EXPECT_EQ(Stored<std::int16_t>(data.Session, trace), samples);
    EXPECT_TRUE(data.Said.Notes.ends_with(" ### Warning - file is getting too long: 2047 MB! ### \n"));
}

TEST(WriteTrace, PutsATraceAtThePositionAndLeadsTheRecordThere) {
    ChangedData data("weave");
    VennicTrace& trace = *data.Trace({1, 5, 1, 1}); // interleaved, of the other order
    const std::int64_t length = data.Session.DataEnd;
    std::vector<double> samples = {1.5, -2.5};
    PutLoaded(trace, samples, DataFormat::Real64);
    trace.TrDataCRC = 7;
    std::int64_t position = length + 100;
    ASSERT_TRUE(Append(data, trace, position)) << data.Said.Alerts;
    EXPECT_EQ(position, length + 116);
    EXPECT_EQ(trace.TrFileOffset, length + 100);
    EXPECT_EQ(trace.TrDataCRC, 0);
    EXPECT_FALSE(RawData::IsInterleaved(trace) || RawData::NeedsSwap(trace));
    EXPECT_EQ(Stored<double>(data.Session, trace), samples);
    EXPECT_EQ(Support::ReadWhole(data.Path).substr(static_cast<std::size_t>(length), 100),
              std::string(100, '\0'));

    // Where something lies already nothing is appended.
    const std::string bytes = Support::ReadWhole(data.Path);
    std::int64_t before = position - 1;
    EXPECT_FALSE(Append(data, trace, before));
    EXPECT_EQ(data.Said.Alerts, "Illegal write position\n");
    EXPECT_FALSE(Append(data, trace, before, false, false));
    EXPECT_TRUE(data.Said.Notes.ends_with("Illegal write position\n"));
    EXPECT_EQ(data.Said.Alerts, "Illegal write position\n");
    // Half a trace is none.
    {
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 8;
        EXPECT_FALSE(Append(data, trace, position));
    }
    EXPECT_EQ(data.Said.Alerts, "Illegal write position\nwrite error: No space left on device\n");
    EXPECT_EQ(Support::ReadWhole(data.Path), bytes);
}

TEST(WriteTrace, WarnsBeyondTheSizeOfTheSettings) {
    for (const auto& [end, size] : {std::pair<std::int64_t, std::string>{1'000'000, ""},
                                    {1'000'002, "976 kbytes"},
                                    {2048 * 1024 + 1023, "2048 kbytes"},
                                    {2049 * 1024, "2 MB"},
                                    {4'000'000, "3 MB"}}) {
        ChangedData data("plain");
        Setup::Settings.MaxFileBytes = 1'000'000;
        std::vector<std::int16_t> samples = {1, 2};
        PutLoaded(*data.Trace({1, 1, 1, 1}), samples, DataFormat::Int16);
        data.Said.Notes.clear();
        std::int64_t position = end - 4;
        ASSERT_TRUE(Append(data, *data.Trace({1, 1, 1, 1}), position));
        EXPECT_EQ(data.Said.Notes,
                  size.empty() ? "" : " ### Warning - file is getting too long: " + size + "! ### \n");
    }
}

TEST(WriteTrace, AppendsOrReplacesWhatWasLoadedInItsStoredFormat) {
    ChangedData data("formats");
    for (const int series : {1, 2})
        for (const int t : {1, 2, 3, 4}) {
            SCOPED_TRACE(std::to_string(series) + "." + std::to_string(t));
            VennicTrace& trace = *data.Trace({1, series, 1, t});
            const std::size_t size = RawData::SampleSize(trace.TrDataFormat);
            std::vector<float> first;
            const auto agree = [&](float sign) {
                ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, &trace, data.Session.DataHeap));
                const double unit = trace.TrDataFormat < 2 ? trace.TrDataFactor : 0;
                for (std::size_t i = 0; i < first.size(); ++i)
                    EXPECT_NEAR(sign * first[i], trace.Samples[i], unit / 2 + 1e-6 * std::fabs(first[i]));
            };
            ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, &trace, data.Session.DataHeap));
            first.assign(Traces::Loaded(trace).begin(), Traces::Loaded(trace).end());
            std::int64_t position = data.Session.DataEnd;
            constexpr bool Convert = true;
            ASSERT_TRUE(Append(data, trace, position, Convert)) << data.Said.Alerts;
            EXPECT_EQ(position - data.Session.DataEnd, static_cast<std::int64_t>(400 * size));
            data.Session.DataEnd = position;
            agree(1);
            std::string bytes = Support::ReadWhole(data.Path);
            for (float& sample : Traces::Loaded(trace)) sample = -sample;
            ASSERT_TRUE(Replace(data, trace)) << data.Said.Alerts;
            agree(-1);
            const std::string after = Support::ReadWhole(data.Path);
            const auto at = static_cast<std::size_t>(trace.TrFileOffset);
            EXPECT_EQ(after, bytes.replace(at, 400 * size, after.substr(at, 400 * size)));
        }
}

namespace {

// Seven values and a factor of 2: the last one is dropped, and what lies half-way goes away from zero.
template <class Sample>
void ExpectMeans(DataFormat format, const std::vector<Sample>& wanted) {
    ChangedData data("plain");
    VennicTrace& trace = *data.Trace({1, 1, 1, 1});
    std::vector<Sample> samples = {1, 2, -1, -2, 3, 4, 9};
    PutLoaded(trace, samples, format);
    std::int64_t position = data.Session.DataEnd;
    ASSERT_TRUE(Append(data, trace, position));
    const double interval = trace.TrXInterval;
    ASSERT_TRUE(RawData::CompressTrace(data.Session, trace, 2)) << data.Said.Alerts;
    EXPECT_EQ(trace.TrDataPoints, 3);
    EXPECT_EQ(trace.TrXInterval, 2 * interval);
    EXPECT_EQ(trace.PointsLoaded, 0);
    EXPECT_EQ(Stored<Sample>(data.Session, trace), wanted);
}

}

TEST(CompressTrace, SamplesBecomeTheMeansOfWholeRunsInTheirFormat) {
    ExpectMeans<std::int16_t>(DataFormat::Int16, {2, -2, 4});
    ExpectMeans<std::int32_t>(DataFormat::Int32, {2, -2, 4});
    ExpectMeans<float>(DataFormat::Real32, {1.5F, -1.5F, 3.5F});
    ExpectMeans<double>(DataFormat::Real64, {1.5, -1.5, 3.5});
}

TEST(CompressTrace, SamplesOfTheOtherOrderBecomeNative) {
    ChangedData data("formats");
    for (const int series : {1, 2}) {
        VennicTrace& trace = *data.Trace({1, series, 2, 2});
        const std::vector<std::int32_t> before = Stored<std::int32_t>(data.Session, trace);
        ASSERT_TRUE(RawData::CompressTrace(data.Session, trace, 7));
        const std::vector<std::int32_t> after = Stored<std::int32_t>(data.Session, trace);
        ASSERT_EQ(after.size(), 57u); // 400 / 7
        EXPECT_FALSE(RawData::NeedsSwap(trace));
        for (std::size_t run = 0; run < after.size(); ++run) {
            const auto first = before.begin() + static_cast<std::ptrdiff_t>(7 * run);
            EXPECT_NEAR(after[run], std::accumulate(first, first + 7, 0.0) / 7, 0.5);
        }
        EXPECT_NE(before[0], before[399]);
    }
}

TEST(RawWrite, RefusalsLeaveTheFileAsItIs) {
    ChangedData data("weave");
    const std::string bytes = Support::ReadWhole(data.Path);
    VennicTrace& trace = *data.Trace({1, 1, 1, 1});
    const auto refuses = [&](bool done, const std::string& words) {
        EXPECT_FALSE(done);
        EXPECT_EQ(std::exchange(data.Said.Alerts, ""), words + ".\n");
    };
    const auto compress = [&](int factor) { return RawData::CompressTrace(data.Session, trace, factor); };
    EXPECT_TRUE(compress(1)); // nothing to do
    refuses(compress(2), "Compress trace: interleaved traces must be de-interleaved beforehand");
    refuses(Replace(data, trace), "Write trace: no samples are loaded");
    ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, &trace, data.Session.DataHeap));
    refuses(Replace(data, trace), "Replace trace: interleaved traces must be de-interleaved beforehand");
    const std::int32_t offset = std::exchange(trace.TrFileOffset, -2);
    EXPECT_FALSE(Replace(data, trace));
    EXPECT_EQ(std::exchange(data.Said.Alerts, ""), "Illegal Data File Offset!\n");
    trace.TrFileOffset = offset;
    trace.TrInterleaveSize = 0;
    refuses(compress(701), "Compress trace: the factor is larger than the trace");
    trace.PointsLoaded -= 1;
    refuses(Replace(data, trace), "Replace trace: the trace is not loaded whole");
    trace.TrDataFormat = 7;
    refuses(compress(2), "Compress - unknown data-format");
    data.Session.Modify = false;
    for (const bool done : {Replace(data, trace), compress(2)}) EXPECT_FALSE(done);
    EXPECT_EQ(data.Said.Alerts, "Cannot modify: data file opened read-only.\n"
                                "Cannot modify: data file opened read-only.\n");
    data.Session.Modify = true;
    EXPECT_EQ(trace.TrDataPoints, 700);
    EXPECT_EQ(Support::ReadWhole(data.Path), bytes);
}
