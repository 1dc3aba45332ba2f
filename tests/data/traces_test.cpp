#include "data/traces.h"

#include "data/sweep_stimulus.h"
#include "support/data_session.h"
#include "support/failing_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

using Support::Json;
using Support::OpenedData;

namespace {

const char* const Sets[] = {"plain", "bigtree", "weave", "formats", "relax", "steps", "old", "bare"};

std::string Where(const std::string& set, const Json& entry) {
    return set + " " + entry["path"].dump();
}

// Equal to the last bit or two of a real32 of the trace's size.
bool Near(double got, double wanted, double largest) {
    return got == wanted || std::fabs(got - wanted) <= 3e-7 * largest;
}

void Compare(std::span<const float> got, const Json& wanted, bool exact) {
    ASSERT_EQ(got.size(), wanted["points"].get<std::size_t>());
    const double low = wanted["min"], high = wanted["max"];
    const double largest = exact ? 0 : std::max(std::fabs(low), std::fabs(high));
    const auto [least, greatest] = std::minmax_element(got.begin(), got.end());
    EXPECT_TRUE(Near(*least, low, largest)) << *least << " " << low;
    EXPECT_TRUE(Near(*greatest, high, largest)) << *greatest << " " << high;
    for (std::size_t i = 0; i < wanted["indices"].size(); ++i) {
        const std::size_t at = wanted["indices"][i];
        EXPECT_TRUE(Near(got[at], wanted["values"][i], largest))
            << at << " " << got[at] << " " << wanted["values"][i];
    }
}

// A load of a tool, with the settings given before.
void CompareLoad(OpenedData& data, const Json& entry, const Json& wanted, bool exact,
                 const Traces::Range& range = {}) {
    VennicTrace* const trace = data.Trace(entry["path"]);
    ASSERT_NE(trace, nullptr);
    ASSERT_TRUE(
        Traces::LoadAndCorrect(data.Session, OpenedData::SweepOf(trace), trace, data.Session.DataHeap, range))
        << data.Said.Notes;
    Compare(Traces::Loaded(*trace), wanted, exact);
}

}

TEST(Traces, EveryCorrectionGivesTheExpectedSamples) {
    struct Case {
        const char* Name;
        bool Leak, Zero;
    };
    int loads = 0;
    for (const char* const set : Sets) {
        const Json expected = Support::Expected(set);
        OpenedData data(Support::Recording(std::string(set) + ".dat"));
        ASSERT_TRUE(data.IsOpen) << data.Said.Alerts;
        for (const Json& entry : expected["traces"]) {
            for (const Case& one : {Case{"raw", false, false}, Case{"zero", false, true},
                                    Case{"leak", true, false}, Case{"leak_zero", true, true}}) {
                if (!entry.contains(one.Name)) continue;
                SCOPED_TRACE(Where(set, entry) + one.Name);
                Setup::Settings.NoLeakSubtraction = !one.Leak;
                Setup::Settings.SubtractZero = one.Zero;
                CompareLoad(data, entry, entry[one.Name], entry["exact"]);
                ++loads;
            }
            // The extremes are those of the first load, whatever was corrected afterwards.
            const VennicTrace* const trace = data.Trace(entry["path"]);
            const double largest = std::max(std::fabs(trace->TrYMin), std::fabs(trace->TrYMax));
            EXPECT_TRUE(Near(trace->TrYMin, entry["y_range"][0], entry["exact"] ? 0 : largest))
                << Where(set, entry);
            EXPECT_TRUE(Near(trace->TrYMax, entry["y_range"][1], entry["exact"] ? 0 : largest))
                << Where(set, entry);
            EXPECT_EQ(trace->Scale, trace->TrDataFactor);
        }
        EXPECT_EQ(data.Said.Alerts + data.Said.Questions, "");
    }
    EXPECT_GT(loads, 150);
}

TEST(Traces, PartsAndFilteredTracesGiveTheExpectedSamples) {
    for (const char* const set : {"weave", "steps"}) {
        const Json expected = Support::Expected(set);
        OpenedData data(Support::Recording(std::string(set) + ".dat"));
        Setup::Settings.NoLeakSubtraction = true;
        for (const Json& entry : expected["partial"]) {
            SCOPED_TRACE(Where(set, entry));
            CompareLoad(data, entry, entry["raw"], true, {entry["max_points"], entry["first_point"], true});
            EXPECT_EQ(data.Trace(entry["path"])->FirstPoint, entry["first_point"].get<int>());
        }
        for (const Json& entry : expected.value("filters", Json::array())) {
            SCOPED_TRACE(Where(set, entry));
            Setup::Settings.TraceFilterFactor.fill(entry["corner"]);
            CompareLoad(data, entry, entry["raw"], false);
        }
        Setup::Settings.TraceFilterFactor.fill(0);
    }
}

TEST(Traces, TheReferenceSeriesIsSubtractedSweepBySweep) {
    const Json expected = Support::Expected("relax")["reference"];
    OpenedData data(Support::Recording("relax.dat"));
    Setup::Settings.SubtractReference = true;
    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    VennicSweep* const sweep = OpenedData::SweepOf(trace);
    const auto load = [&](const Traces::Range& range) {
        return Traces::LoadAndCorrect(data.Session, sweep, trace, data.Session.DataHeap, range);
    };
    EXPECT_FALSE(load({}));
    EXPECT_EQ(data.Said.Notes.substr(data.Said.Notes.find("No Ref")),
              "No Reference Series selected to be subtracted!\n");

    data.Session.ReferenceSeries = static_cast<VennicSeries*>(data.Find(expected["reference_series"]));
    for (const Json& entry : expected["traces"]) {
        SCOPED_TRACE(entry["path"].dump());
        Setup::Settings.SubtractZero = false;
        CompareLoad(data, entry, entry["minus_reference"], false);
        Setup::Settings.SubtractZero = true;
        if (entry.contains("zero_then_reference"))
            CompareLoad(data, entry, entry["zero_then_reference"], false);
    }
    Setup::Settings.SubtractZero = false;

    // A series minus itself is nothing, and its record keeps its own buffer.
    data.Session.ReferenceSeries = static_cast<VennicSeries*>(Tree::Parent(sweep));
    ASSERT_TRUE(load({}));
    EXPECT_TRUE(std::ranges::all_of(Traces::Loaded(*trace), [](float v) { return v == 0.0f; }));
    EXPECT_NE(trace->SampleHeap, nullptr);

    // A part, and a trace that takes no part, are left as they are.
    ASSERT_TRUE(load({100, 1, true}));
    EXPECT_NE(Traces::Loaded(*trace)[0], 0.0f);
    Setup::Settings.TraceReference.fill(false);
    ASSERT_TRUE(load({}));
    EXPECT_NE(Traces::Loaded(*trace)[0], 0.0f);
    Setup::Settings.TraceReference.fill(true);

    const auto refused = [&](const char* words) {
        data.Said.Notes.clear();
        EXPECT_FALSE(load({}));
        EXPECT_EQ(data.Said.Notes, std::string(words) + "\n");
    };
    auto* const other = static_cast<VennicSeries*>(data.Find({1, 2}));
    data.Session.ReferenceSeries = other;
    VennicTrace* const partner = data.Trace({1, 2, 1, 1});
    partner->TrDataPoints -= 1;
    refused("Traces are not of equal length!");
    partner->TrTraceCount = 9;
    refused("Corresponding Trace in Reference Series not found!");
    OpenedData::SweepOf(partner)->SwSweepCount = 2;
    refused("Corresponding sweep in Reference Series not found!");
}

TEST(Traces, RefusalsHaveTheirWordsAndLeaveNoSamples) {
    struct Case {
        const char* Words;
        void (*Break)(DataSession& session, VennicTrace& trace);
        Traces::Range Range = {};
        bool Heap = true;
    };
    const Case cases[] = {
        {"LoadTrace - trace > max. traces.", [](DataSession&, VennicTrace& t) { t.TrTraceCount = 33; }},
        {"Trace = NIL or file not opened.", [](DataSession&, VennicTrace& t) { t.IsTemporary = 1; }},
        {"Trace = NIL or file not opened.", [](DataSession& s, VennicTrace&) { Files::Close(s.DataFile); }},
        {"Error: loading beyond Trace end", [](DataSession&, VennicTrace& t) { t.TrDataPoints = 0; }},
        {"Error: loading beyond Trace end", [](DataSession&, VennicTrace& t) { t.TrDataPoints = INT32_MIN; }},
        {"Error: loading beyond Trace end", [](DataSession&, VennicTrace&) {}, {10, 440, true}},
        {"Error: loading beyond Trace end", [](DataSession&, VennicTrace&) {}, {10, -1, true}},
        {"Error: loading beyond Trace end", [](DataSession&, VennicTrace&) {}, {0, 0, true}},
        {"", [](DataSession&, VennicTrace& t) { t.TrDataPoints = 0; }, {10, 0, false}},
        {"Error: no trace buffer allocated.", [](DataSession&, VennicTrace&) {}, {}, false},
        {"LoadTrace - leak trace not found.", [](DataSession&, VennicTrace& t) { t.TrLeakCount = 9; }},
        {"LoadTrace - leak trace not found.", [](DataSession&, VennicTrace& t) { t.TrLeakCount = 1; }},
        {"Error: unknown data-format of source.", [](DataSession&, VennicTrace& t) { t.TrDataFormat = 7; }},
        {"Read - Error seeking data", [](DataSession&, VennicTrace& t) { t.TrFileOffset = -1000; }},
        {"Read - Error reading data: unexpected end of file",
         [](DataSession&, VennicTrace& t) { t.TrFileOffset = 2147483640; }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.Words);
        OpenedData data(Support::Recording("plain.dat"));
        VennicTrace* const trace = data.Trace({1, 1, 1, 1});
        VennicSweep* const sweep = OpenedData::SweepOf(trace);
        one.Break(data.Session, *trace);
        data.Said.Notes.clear();
        EXPECT_FALSE(Traces::LoadTrace(data.Session, sweep, trace, one.Heap ? data.Session.DataHeap : nullptr,
                                       one.Range));
        EXPECT_EQ(data.Said.Alerts + data.Said.Notes, *one.Words ? std::string(one.Words) + "\n" : "");
        EXPECT_TRUE(Traces::Loaded(*trace).empty());
    }
    OpenedData data(Support::Recording("plain.dat"));
    EXPECT_FALSE(Traces::LoadTrace(data.Session, nullptr, nullptr, data.Session.DataHeap));
}

TEST(Traces, ABadDiskIsReportedWithItsReason) {
    const Support::FailingFiles disk;
    OpenedData data(Support::Recording("weave.dat"));
    Support::TheDisk.ReadError = EIO;
    for (const auto& path : {std::vector{1, 1, 1, 1}, std::vector{1, 4, 1, 2}}) {
        data.Said.Alerts.clear();
        EXPECT_FALSE(Traces::LoadTraceRaw(data.Session, data.Trace(path), data.Session.DataHeap));
        EXPECT_EQ(data.Said.Alerts, "Read - Error reading data: " + Files::ErrorText(EIO) + "\n");
        EXPECT_FALSE(
            Traces::LoadTraceRaw(data.Session, data.Trace(path), data.Session.DataHeap, {10, 0, false}));
        EXPECT_EQ(std::ranges::count(data.Said.Alerts, '\n'), 1);
    }
}

TEST(Traces, ABufferIsReusedGrownAndReleased) {
    OpenedData data(Support::Recording("plain.dat"));
    DataSession& session = data.Session;
    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    Setup::Settings.NoLeakSubtraction = true;
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, session.DataHeap, {100, 50, true}));
    const float* const first = trace->Samples;
    const std::vector<float> part(Traces::Loaded(*trace).begin(), Traces::Loaded(*trace).end());
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, session.DataHeap, {100, 0, true}));
    EXPECT_EQ(trace->Samples, first);
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, session.DataHeap));
    EXPECT_EQ(trace->PointsLoaded, 440);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), trace->Samples + 50));
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, nullptr, {10, 430, true}));
    EXPECT_EQ(session.DataHeap->UsedBytes(), 440 * sizeof(float));
    Traces::ReleaseBelow(data.Find({1}));
    EXPECT_EQ(session.DataHeap->UsedBytes(), 0u);
    EXPECT_TRUE(Traces::Loaded(*trace).empty());

    // A buffer that belongs to someone else is neither grown nor given back.
    std::vector<float> own(20);
    trace->Samples = own.data();
    trace->BufferBytes = 20 * sizeof(float);
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, nullptr, {20, 50, true}));
    EXPECT_EQ(own[19], part[19]);
    EXPECT_FALSE(Traces::LoadTraceRaw(session, trace, nullptr, {21, 50, true}));
    EXPECT_NE(data.Said.Notes.find("Error: allocated trace buffer insufficient."), std::string::npos);
    Traces::ReleaseTrace(trace);

    Setup::Settings.MaxSamplePoints = 100;
    ASSERT_TRUE(Traces::LoadTraceRaw(session, trace, session.DataHeap));
    EXPECT_EQ(trace->PointsLoaded, 100);
}

TEST(Traces, ATemporaryLoadLeavesTheRecordAsItWas) {
    OpenedData data(Support::Recording("plain.dat"));
    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, trace, data.Session.DataHeap, {10, 5, true}));
    const std::vector<float> own(Traces::Loaded(*trace).begin(), Traces::Loaded(*trace).end());
    const VennicTrace before = *trace;
    Traces::TempTrace temp;
    ASSERT_TRUE(Traces::LoadTempTrace(data.Session, trace, 3, {200, 100, true}, true, temp));
    EXPECT_EQ(std::memcmp(&before, trace, sizeof before), 0);
    EXPECT_TRUE(std::equal(own.begin(), own.end(), trace->Samples));
    EXPECT_EQ(temp.Samples.size(), 200u);
    EXPECT_EQ(temp.FirstPoint, 100);
    EXPECT_EQ(temp.Scale, trace->TrDataFactor);
    ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, trace, data.Session.DataHeap));
    EXPECT_EQ(temp.Samples[7], trace->Samples[107] + static_cast<float>(-trace->TrZeroData));

    const VennicTrace loaded = *trace;
    EXPECT_FALSE(Traces::LoadTempTrace(data.Session, trace, 3, {10, 440, true}, false, temp));
    EXPECT_FALSE(Traces::LoadTempTrace(data.Session, trace, Scratch::DisplaySlots, {}, false, temp));
    EXPECT_FALSE(Traces::LoadTempTrace(data.Session, trace, -1, {}, false, temp));
    EXPECT_FALSE(Traces::LoadTempTrace(data.Session, nullptr, 3, {}, false, temp));
    EXPECT_EQ(std::memcmp(&loaded, trace, sizeof loaded), 0);
}

TEST(Traces, ASingleLeakIsUsedWithAWarningAndALeakHasNoLeak) {
    OpenedData data(Support::Recording("plain.dat"));
    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    VennicSweep* const sweep = OpenedData::SweepOf(trace);
    VennicTrace* leak = nullptr;
    ASSERT_TRUE(Traces::FindLeakTrace(sweep, *trace, leak));
    leak->TrLeakTraces = 4;
    leak->TrLeakCount = leak->TrTraceCount;
    data.Said.Notes.clear();
    ASSERT_TRUE(Traces::LoadTrace(data.Session, sweep, leak, data.Session.DataHeap));
    EXPECT_EQ(data.Said.Notes, "");
    EXPECT_NE(Traces::Loaded(*leak)[0], 0.0f);
    ASSERT_TRUE(Traces::LoadTrace(data.Session, sweep, trace, data.Session.DataHeap));
    EXPECT_EQ(data.Said.Notes, "Warning - using single leak instead of averaged leak.\n");
}

TEST(Traces, ExtremesOfADerivedTraceSkipWhatWasNotMeasured) {
    constexpr float NaN = std::numeric_limits<float>::quiet_NaN(),
                    Inf = std::numeric_limits<float>::infinity();
    const float samples[] = {0, NaN, -2, Inf, 5, 0, -Inf};
    VennicTrace derived{};
    derived.TrDataKind = DataKind::Virtual;
    derived.TrVirtualKind = 3;
    Traces::ComputeYRange(derived, samples);
    EXPECT_EQ(derived.TrYMin, -2);
    EXPECT_EQ(derived.TrYMax, 5);
    const float more[] = {100};
    Traces::ComputeYRange(derived, more); // known: kept
    EXPECT_EQ(derived.TrYMax, 5);
    VennicTrace plain{};
    Traces::ComputeYRange(plain, std::span(samples).first(1));
    EXPECT_EQ(plain.TrYMax, 0);
    EXPECT_EQ(plain.TrYRangeKnown, 1);
    VennicTrace none{};
    Traces::ComputeYRange(none, {});
    EXPECT_EQ(none.TrYRangeKnown, 0);
}

TEST(SweepStimulus, EverySweepHasTheExpectedStimulus) {
    int stimuli = 0;
    for (const char* const set : Sets) {
        const Json expected = Support::Expected(set);
        OpenedData data(Support::Recording(std::string(set) + ".dat"));
        for (const Json& entry : expected.value("stimuli", Json::array())) {
            if (entry.value("none", false)) continue;
            SCOPED_TRACE(Where(set, entry));
            const auto* const sweep = static_cast<VennicSweep*>(data.Find(entry["path"]));
            SweepStimulus stimulus;
            ASSERT_TRUE(FindStimulus(data.Session, *sweep, entry["channel"], stimulus));
            EXPECT_EQ(stimulus.SweepNumber, entry["sweep_number"].get<int>());
            const StimGen::Source source = stimulus.Source();
            EXPECT_DOUBLE_EQ(StimGen::HoldingFor(source), entry["holding"]);
            auto table = StimGen::SegmentTable(stimulus.SweepNumber, source);
            ASSERT_EQ(table.size(), entry["points"].size());
            for (std::size_t i = 0; i < table.size(); ++i) {
                EXPECT_DOUBLE_EQ(table[i].Voltage, entry["voltages"][i]);
                EXPECT_DOUBLE_EQ(table[i].Duration, entry["durations"][i]);
                EXPECT_EQ(table[i].Points, entry["points"][i].get<int>());
            }
            std::vector<float> samples;
            bool continuous = false;
            ASSERT_TRUE(StimGen::Stimulus(stimulus.SweepNumber, source, samples, continuous));
            EXPECT_EQ(continuous, entry["continuous"].get<bool>());
            for (const char* const part : {"", "stored_"}) {
                const std::string name = part;
                if (!name.empty()) StimGen::KeepStored(table, samples);
                ASSERT_EQ(samples.size(), entry[name + "length"].get<std::size_t>());
                for (std::size_t i = 0; i < entry[name + "indices"].size(); ++i)
                    EXPECT_FLOAT_EQ(samples[entry[name + "indices"][i].get<std::size_t>()],
                                    entry[name + "values"][i]);
            }
            ++stimuli;
        }
    }
    EXPECT_GT(stimuli, 40);
}

TEST(SweepStimulus, ATraceFindsTheChannelThatRecordedIt) {
    OpenedData data(Support::Recording("plain.dat"));
    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    VennicSweep* const sweep = OpenedData::SweepOf(trace);
    EXPECT_EQ(ChannelFor(data.Session, *sweep, *trace), 1);
    trace->TrAdcChannel = 77; // none records it: the first
    EXPECT_EQ(ChannelFor(data.Session, *sweep, *trace), 1);
    SweepStimulus stimulus;
    for (const int channel : {0, -1, 2}) EXPECT_FALSE(FindStimulus(data.Session, *sweep, channel, stimulus));
    for (const int count : {0, -1, 99}) {
        sweep->SwStimCount = count;
        EXPECT_EQ(StimulationOf(data.Session, sweep), nullptr);
        EXPECT_EQ(ChannelFor(data.Session, *sweep, *trace), 0);
        EXPECT_FALSE(FindStimulus(data.Session, *sweep, 1, stimulus));
    }
}
