#include "data/traces.h"

#include "data/sweep_stimulus.h"
#include "support/data_session.h"

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
    EXPECT_PRED3(Near, *least, low, largest);
    EXPECT_PRED3(Near, *greatest, high, largest);
    for (std::size_t i = 0; i < wanted["indices"].size(); ++i)
        EXPECT_PRED3(Near, got[wanted["indices"][i].get<std::size_t>()], wanted["values"][i], largest) << i;
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

// A trace with a leak, by itself.
class OneTrace : public testing::Test {
protected:
    bool LoadRaw(const Traces::Range& range = {}) {
        return Traces::LoadTraceRaw(Data.Session, Trace, Data.Session.DataHeap, range);
    }
    std::vector<float> Samples() const {
        return {Traces::Loaded(*Trace).begin(), Traces::Loaded(*Trace).end()};
    }

    OpenedData Data{Support::Recording("plain.dat")};
    VennicTrace* Trace = Data.Trace({1, 1, 1, 1});
    VennicSweep* Sweep = OpenedData::SweepOf(Trace);
};

}

TEST(Traces, EveryCorrectionGivesTheExpectedSamples) {
    const struct {
        const char* Name;
        bool Leak, Zero;
    } cases[] = {
        {"raw", false, false}, {"zero", false, true}, {"leak", true, false}, {"leak_zero", true, true}};
    int loads = 0;
    for (const char* const set : Sets) {
        const Json expected = Support::Expected(set);
        OpenedData data(Support::Recording(std::string(set) + ".dat"));
        for (const Json& entry : expected["traces"]) {
            for (const auto& one : cases) {
                if (!entry.contains(one.Name)) continue;
                SCOPED_TRACE(Where(set, entry) + one.Name);
                Setup::Settings.NoLeakSubtraction = !one.Leak;
                Setup::Settings.SubtractZero = one.Zero;
                CompareLoad(data, entry, entry[one.Name], entry["exact"]);
                ++loads;
            }
            // The extremes are those of the first load, whatever was corrected afterwards.
            const VennicTrace* const trace = data.Trace(entry["path"]);
            EXPECT_FLOAT_EQ(static_cast<float>(trace->TrYMin), entry["y_range"][0]) << Where(set, entry);
            EXPECT_FLOAT_EQ(static_cast<float>(trace->TrYMax), entry["y_range"][1]) << Where(set, entry);
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
    data.Session.ReferenceSeries = static_cast<VennicSeries*>(data.Find(expected["reference_series"]));
    for (const Json& entry : expected["traces"])
        for (const char* const load : {"zero_then_reference", "minus_reference"}) {
            SCOPED_TRACE(entry["path"].dump() + load);
            Setup::Settings.SubtractZero = load[0] == 'z';
            if (entry.contains(load)) CompareLoad(data, entry, entry[load], false);
        }

    VennicTrace* const trace = data.Trace({1, 1, 1, 1});
    const auto load = [&](const Traces::Range& range = {}) {
        return Traces::LoadAndCorrect(data.Session, OpenedData::SweepOf(trace), trace, data.Session.DataHeap,
                                      range);
    };
    // A series minus itself is nothing, and its record keeps its own buffer; a part, and a trace that takes
    // no part, are left as they are.
    data.Session.ReferenceSeries = static_cast<VennicSeries*>(data.Find({1, 1}));
    for (const auto& [takesPart, first] : {std::pair{true, 0}, {true, 1}, {false, 0}}) {
        Setup::Settings.TraceReference.fill(takesPart);
        const bool isWhole = takesPart && first == 0;
        ASSERT_TRUE(load(isWhole ? Traces::Range{} : Traces::Range{440, first, true}));
        EXPECT_EQ(std::ranges::all_of(Traces::Loaded(*trace), [](float v) { return v == 0.0f; }), isWhole);
        EXPECT_NE(trace->SampleHeap, nullptr);
    }
    Setup::Settings.TraceReference.fill(true);
    const auto expectRefusal = [&](const char* words) {
        data.Said.Notes.clear();
        EXPECT_FALSE(load());
        EXPECT_EQ(data.Said.Notes, std::string(words) + "\n");
    };
    VennicTrace* const partner = data.Trace({1, 2, 1, 1});
    data.Session.ReferenceSeries = nullptr;
    expectRefusal("No Reference Series selected to be subtracted!");
    data.Session.ReferenceSeries = static_cast<VennicSeries*>(data.Find({1, 2}));
    --partner->TrDataPoints;
    expectRefusal("Traces are not of equal length!");
    partner->TrTraceCount = 9;
    expectRefusal("Corresponding Trace in Reference Series not found!");
    OpenedData::SweepOf(partner)->SwSweepCount = 2;
    expectRefusal("Corresponding sweep in Reference Series not found!");
}

TEST_F(OneTrace, RefusalsHaveTheirWordsAndLeaveNoSamples) {
    const auto refuses = [&](const Traces::Range& range, const char* words) {
        Data.Said.Alerts.clear();
        Data.Said.Notes.clear();
        EXPECT_FALSE(Traces::LoadTrace(Data.Session, Sweep, Trace, Data.Session.DataHeap, range));
        EXPECT_EQ(Data.Said.Alerts + Data.Said.Notes, words);
        EXPECT_TRUE(Traces::Loaded(*Trace).empty());
    };
    for (const int first : {440, -1}) refuses({10, first, true}, "Error: loading beyond Trace end\n");
    Trace->TrDataPoints = INT32_MIN;
    refuses({}, "Error: loading beyond Trace end\n");
    Trace->TrDataPoints = 0;
    refuses({10, 0, false}, "");
    Files::Close(Data.Session.DataFile);
    refuses({}, "Trace = NIL or file not opened.\n");
    EXPECT_FALSE(Traces::LoadTrace(Data.Session, nullptr, nullptr, Data.Session.DataHeap));
}

TEST_F(OneTrace, ABufferIsReusedGrownAndReleased) {
    Buffer::Heap* const heap = Data.Session.DataHeap;
    ASSERT_TRUE(LoadRaw({100, 50, true}));
    const float* const first = Trace->Samples;
    const std::vector<float> part = Samples();
    ASSERT_TRUE(LoadRaw({100, 0, true}));
    EXPECT_EQ(Trace->Samples, first);
    ASSERT_TRUE(LoadRaw());
    EXPECT_TRUE(std::equal(part.begin(), part.end(), Trace->Samples + 50));
    EXPECT_EQ(heap->UsedBytes(), 440 * sizeof(float));
    Traces::ReleaseBelow(Data.Find({1}));
    EXPECT_TRUE(heap->UsedBytes() == 0 && Samples().empty());
    // A buffer that belongs to someone else is neither grown nor given back.
    std::vector<float> own(20);
    Trace->Samples = own.data();
    Trace->BufferBytes = 20 * sizeof(float);
    for (const int points : {20, 21})
        EXPECT_EQ(Traces::LoadTraceRaw(Data.Session, Trace, nullptr, {points, 50, true}), points == 20);
    EXPECT_EQ(own[19], part[19]);
    Traces::ReleaseTrace(Trace);
    Setup::Settings.MaxSamplePoints = 100;
    ASSERT_TRUE(LoadRaw());
    EXPECT_EQ(Trace->PointsLoaded, 100);
}

TEST_F(OneTrace, ATemporaryLoadLeavesTheRecordAsItWas) {
    ASSERT_TRUE(LoadRaw({10, 5, true}));
    const std::vector<float> own = Samples();
    const VennicTrace before = *Trace;
    Traces::TempTrace temp;
    ASSERT_TRUE(Traces::LoadTempTrace(Data.Session, Trace, 3, {200, 100, true}, true, temp));
    EXPECT_EQ(temp.Samples.size(), 200u);
    EXPECT_EQ(temp.FirstPoint, 100);
    const float seventh = temp.Samples[7];
    for (const int slot : {3, Scratch::DisplaySlots, -1})
        EXPECT_FALSE(Traces::LoadTempTrace(Data.Session, Trace, slot, {10, 440, true}, false, temp));
    EXPECT_EQ(std::memcmp(&before, Trace, sizeof before), 0);
    EXPECT_EQ(Samples(), own);
    ASSERT_TRUE(LoadRaw());
    EXPECT_EQ(seventh, Trace->Samples[107] + static_cast<float>(-Trace->TrZeroData));
}

TEST_F(OneTrace, ALeakHasNoLeakAndLosesItsOwnZeroOffsetWhateverTheSettingsSay) {
    VennicTrace* leak = nullptr;
    ASSERT_TRUE(Traces::FindLeakTrace(Sweep, *Trace, leak));
    leak->TrZeroData = 3e-11;
    leak->TrLeakTraces = 4;
    leak->TrLeakCount = leak->TrTraceCount;
    ASSERT_TRUE(Traces::LoadTrace(Data.Session, Sweep, leak, Data.Session.DataHeap));
    EXPECT_EQ(Data.Said.Notes.find("Warning"), std::string::npos);
    ASSERT_TRUE(LoadRaw());
    const float raw = Trace->Samples[200], rawLeak = leak->Samples[200];
    EXPECT_NE(rawLeak, 0.0f);
    for (const bool zero : {false, true}) {
        Data.Said.Notes.clear();
        Setup::Settings.SubtractZero = zero;
        ASSERT_TRUE(Traces::LoadTrace(Data.Session, Sweep, Trace, Data.Session.DataHeap));
        EXPECT_EQ(Data.Said.Notes, "Warning - using single leak instead of averaged leak.\n");
        EXPECT_EQ(Trace->Samples[200], raw - (rawLeak + -3e-11f));
        EXPECT_EQ(leak->Samples[200], rawLeak);
    }
}

TEST(Traces, ExtremesOfADerivedTraceSkipWhatWasNotMeasured) {
    const std::vector<float> samples = {0, std::nanf(""), -2, HUGE_VALF, 5, 0, -HUGE_VALF};
    VennicTrace derived{};
    derived.TrDataKind = DataKind::Virtual;
    derived.TrVirtualKind = 3;
    Traces::ComputeYRange(derived, samples);
    Traces::ComputeYRange(derived, std::vector<float>{100}); // known: kept
    EXPECT_EQ(derived.TrYMin, -2);
    EXPECT_EQ(derived.TrYMax, 5);
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
            EXPECT_EQ(stimulus.SweepNumber, entry["sweep_number"]);
            const StimGen::Source source = stimulus.Source();
            EXPECT_DOUBLE_EQ(StimGen::HoldingFor(source), entry["holding"]);
            auto table = StimGen::SegmentTable(stimulus.SweepNumber, source);
            ASSERT_EQ(table.size(), entry["points"].size());
            for (std::size_t i = 0; i < table.size(); ++i) {
                EXPECT_DOUBLE_EQ(table[i].Voltage, entry["voltages"][i]);
                EXPECT_DOUBLE_EQ(table[i].Duration, entry["durations"][i]);
                EXPECT_EQ(table[i].Points, entry["points"][i]);
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

TEST_F(OneTrace, FindsTheChannelThatRecordedIt) {
    SweepStimulus stimulus;
    Trace->TrAdcChannel = 77; // none records it: the first
    EXPECT_EQ(ChannelFor(Data.Session, *Sweep, *Trace), 1);
    for (const int channel : {0, 2}) EXPECT_FALSE(FindStimulus(Data.Session, *Sweep, channel, stimulus));
    Sweep->SwStimCount = 99;
    EXPECT_EQ(ChannelFor(Data.Session, *Sweep, *Trace), 0);
}
