// Every type that measures, from the fit command to the rows of the analysis and what lies below them.
#include "events/measurements.h"

#include "support/new_cell.h"

#include <numbers>

namespace {

using Support::CellPlan;
using Support::ExpectNear;
using Support::Samples;
using Values = std::vector<double>;

struct MeasuredCell : Support::NewCell {
    explicit MeasuredCell(const CellPlan& plan) : NewCell(plan) { Measurements::Install(Engine); }
};

Samples Counting(int points, float first = 0.0F) {
    Samples samples;
    for (int i = 0; i < points; ++i) samples.push_back(first + static_cast<float>(i));
    return samples;
}

// Two segments of 8 points; trace 1 counts, trace 2 counts from 100; the same again from 20 on.
CellPlan Ladder() {
    return {.Segments = {{0.1, 8}, {0.2, 8}},
            .Sweeps = {{Counting(16), Counting(16, 100)}, {Counting(16, 20), Counting(16, 120)}},
            .Relevant = 2};
}

template <class Record>
void StoreAll(Record& record, std::initializer_list<FitParam Record::*> params) {
    for (FitParam Record::*const param : params) (record.*param).Store = 1;
}

}

TEST(MeasuringTypes, NameTheirColumnsAndUnits) {
    const struct {
        SweepFitType Type;
        const char* Columns;
    } cases[] = {
        {SweepFitType::RiseTime,
         "Baseline A|XValue1 s|dXValue1 s|Slope1 A/s|XValue2 s|dXValue2 s|Slope2 A/s|"},
        {SweepFitType::Measure, "XValue s|YValue A|dXValue s|dYValue A|StimValue V|"},
        {SweepFitType::TraceCopy, "Time s|YValue A|StimValue V|ValueTrace2 V|"},
        {SweepFitType::AmplHistogram, "Amplitude A|Count|"},
        {SweepFitType::PowerSpectrum, "Frequency Hz|SpecDens A^2/Hz|"},
        {SweepFitType::SingleChannel, "Level|Amplitude A|Duration s|"},
        {SweepFitType::ActionPotential, "Time s|Realtime s|Duration s|Integral As|Interval s|MaxY A|MaxdT s|"
                                        "MinY A|MindT s|nAPs|"},
    };
    MeasuredCell cell(Ladder());
    using Rise = Fit::RiseRecord;
    StoreAll(cell.Engine.Records.RiseTime, {&Rise::Baseline, &Rise::XValue1, &Rise::Slope1, &Rise::XValue2,
                                            &Rise::dXValue2, &Rise::Slope2});
    StoreAll(cell.Engine.Records.Measure, {&Fit::MeasureRecord::StimValue});
    StoreAll(cell.Engine.Records.TraceCopy, {&Fit::CopyRecord::StimValue, &Fit::CopyRecord::ValueTrace});
    cell.Engine.Records.TraceSpectrum.SpecNPoint = 4;
    cell.Engine.Params.NewAnalysisMode = SweepFit::AnalysisMode::Append;
    int records = 0;
    for (const auto& one : cases) {
        cell.Engine.Params.FitCyclic = true;
        EXPECT_TRUE(cell.Fit(one.Type)) << cell.Said.Alerts;
        EXPECT_EQ(cell.Columns(), one.Columns);
        EXPECT_EQ(cell.Records(), ++records);
        // What lists events has no room for cycles.
        EXPECT_EQ(cell.Engine.Params.FitCyclic, one.Type < SweepFitType::TraceCopy) << one.Columns;
        if (one.Type >= SweepFitType::TraceCopy) {
            EXPECT_EQ(cell.Session.CurARecord->Cycles, 0);
        }
    }
    cell.Engine.Records.TraceCopy.Copy2ndTrace = 9;
    cell.Session.FitNewSetup = true;
    EXPECT_TRUE(cell.Fit(SweepFitType::TraceCopy));
    EXPECT_EQ(cell.Columns(), "Time s|YValue A|StimValue V|No2ndTrace|");
    EXPECT_TRUE(cell.Below(4).empty() && cell.Below(2).size() == 16U); // the rest is there
}

TEST(TraceCopies, AreBlocksOfTheSweepOrOfTheCursors) {
    const struct {
        Fit::DataRange Range;
        double Left, Right;
        int Compress;
        Values Y, Stimulus; // the time is Y in ms, the second trace 100 more
    } cases[] = {
        {Fit::DataRange::FullSweep, 0.0, 0.5, 4, {1.5, 5.5, 9.5, 13.5}, {0.1, 0.1, 0.2, 0.2}},
        {Fit::DataRange::CursorBounds, 0.25, 1.0, 3, {11, 14}, {0.2, 0.2}},
        {Fit::DataRange::CursorBounds, -0.25, 0.25, 2, {6.5, 8.5}, {0.1, 0.2}},
    };
    MeasuredCell cell(Ladder());
    Fit::CopyRecord& record = cell.Engine.Records.TraceCopy;
    StoreAll(record, {&Fit::CopyRecord::StimValue, &Fit::CopyRecord::ValueTrace});
    for (const auto& one : cases) { // each replaces the events of the one before
        record.Range = one.Range;
        record.CopyCompress = one.Compress;
        cell.Engine.Params.FitLeftBound = one.Left;
        cell.Engine.Params.FitRightBound = one.Right;
        ASSERT_TRUE(cell.Fit(SweepFitType::TraceCopy)) << cell.Said.Alerts;
        EXPECT_EQ(cell.Records(), 1);
        Values time = one.Y, second = one.Y;
        for (double& t : time) t *= 1e-3;
        for (double& y : second) y += 100;
        ExpectNear(cell.Below(1), time, 1e-12, "time");
        ExpectNear(cell.Below(2), one.Y, 1e-12, "y");
        ExpectNear(cell.Below(3), one.Stimulus, 1e-7, "stimulus");
        ExpectNear(cell.Below(4), second, 1e-12, "second");
        EXPECT_EQ(cell.Row(2).Value, one.Y.back());
        EXPECT_EQ(cell.Row(2).State, FitParamState::Fit);
        EXPECT_EQ(record.CopyNBins, static_cast<int>(one.Y.size()));
    }
    record.CopyCompress = 5; // longer than the range: nothing happens
    ASSERT_TRUE(cell.Fit(SweepFitType::TraceCopy));
    EXPECT_EQ(cell.Below(2).size(), 2U);

    // Trace 2 as the second trace of itself.
    record.CopyCompress = 2;
    cell.Engine.Params.FitTrace = 2;
    ASSERT_TRUE(cell.Fit(SweepFitType::TraceCopy));
    ExpectNear(cell.Below(2), {106.5, 108.5}, 1e-12);
    ExpectNear(cell.Below(4), {106.5, 108.5}, 1e-12);
}

TEST(TraceCopies, HaveAtMost4000Blocks) {
    MeasuredCell cell({.Segments = {{0.0, 4001}}, .Sweeps = {{Samples(4001, 1.0F)}}});
    EXPECT_FALSE(cell.Fit(SweepFitType::TraceCopy));
    EXPECT_EQ(cell.Said.Alerts, "Maximal number of events exceeded.\n");
}

TEST(AmplitudeHistograms, CountEachSweepOrAddUpInTheFirst) {
    MeasuredCell cell(
        {.Segments = {{0.0, 6}},
         .Sweeps = {{{0.5F, 1.5F, 1.6F, 2.5F, 3.5F, 9.0F}}, {{2.2F, 2.3F, 3.9F, 3.9F, -7.0F, 1.0F}}}});
    Fit::HistRecord& record = cell.Engine.Records.AmplHistogram;
    record.HistNBins = 3;
    record.HistBinSize = 1.0;
    struct Wanted {
        Values Counts;
        double Left, Right;
    };
    const auto expect = [&](int sweep, const Wanted& wanted, const char* what) {
        ExpectNear(cell.Below(2, sweep), wanted.Counts, 0.0, what);
        EXPECT_EQ(cell.Row(1, sweep).Value, wanted.Left) << what;
        EXPECT_EQ(cell.Row(2, sweep).Value, wanted.Right) << what;
    };
    const Wanted first = {{2, 1, 1}, 1, 1}, second = {{1, 2, 2}, 1, 0}, both = {{3, 3, 3}, 2, 1};
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 1));
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 2));
    expect(1, first, "alone");
    expect(2, second, "alone");
    ExpectNear(cell.Below(1, 2), {0.5, 1.5, 2.5}, 1e-15, "centres");
    EXPECT_EQ(record.HistInside + record.TooLow + record.TooHigh, 6);

    record.HistFirstSw = 1;
    cell.Session.FitNewSetup = true;
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 1));
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 2));
    expect(1, both, "added");
    ExpectNear(cell.Below(2, 2), {}, 0.0, "no counts of its own");
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 1));
    expect(1, first, "the first sweep starts afresh");
    record.HistNBins = 2;
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 2));
    expect(1, {{1, 2}, 1, 2}, "another number of bins, too");
    record.Range = Fit::DataRange::CursorBounds;
    cell.Engine.Params.FitRightBound = 0.5;
    ASSERT_TRUE(cell.Fit(SweepFitType::AmplHistogram, 1));
    expect(1, {{2, 0}, 1, 0}, "cursors");
}

TEST(Spectra, AreDensitiesThatAddUpBlockByBlock) {
    const auto sine = [](double amplitude, int points) {
        Samples samples;
        while (std::ssize(samples) < points)
            samples.push_back(static_cast<float>(
                3.0 + amplitude * std::sin(2 * std::numbers::pi * 3 * double(samples.size()) / 16.0)));
        return samples;
    };
    MeasuredCell cell({.Segments = {{0.0, 100}}, .Sweeps = {{sine(1.0, 100)}, {sine(4.0, 40)}}});
    Fit::TraceSpectrumRecord& record = cell.Engine.Records.TraceSpectrum;
    record.SpecNPoint = 8;
    record.SpecFirstSw = 1;
    constexpr double df = 1000.0 / 16;
    for (const int sweep : {1, 2}) { // of 6 and 2 blocks
        ASSERT_TRUE(cell.Fit(SweepFitType::PowerSpectrum, sweep));
        ASSERT_EQ(cell.Below(2).size(), 9U);
        EXPECT_NEAR(cell.Below(1)[3], 3 * df, 1e-9);
        // Amplitude^2 / 2, all in one place; the mean is taken off.
        EXPECT_NEAR(cell.Below(2)[3], (sweep == 1 ? 0.5 : (6 * 0.5 + 2 * 8.0) / 8) / df, 1e-7);
        EXPECT_NEAR(cell.Below(2)[0], 0.0, 1e-12);
        EXPECT_EQ(cell.Row(2).Value, sweep == 1 ? 6.0 : 8.0);
    }
    record.SpecNBins = 2; // three bins: nothing to add them to
    record.SpecSubDC = 0;
    ASSERT_TRUE(cell.Fit(SweepFitType::PowerSpectrum, 2));
    EXPECT_EQ(cell.Below(2).size(), 3U);
    EXPECT_EQ(cell.Row(2).Value, 2.0);
    EXPECT_NEAR(cell.Below(2)[0], 2.0 * 9.0 / df, 1e-6);
    for (const int points : {64, 12}) { // too many for the range, no power of two
        record.SpecNPoint = points;
        EXPECT_FALSE(cell.Fit(SweepFitType::PowerSpectrum));
    }
}

// A base line of 1, a rise of 0.1 a point to 11, and a fall of 0.2 a point.
TEST(RiseTimes, CountFromTheBaseLine) {
    Samples samples(20, 1.0F);
    for (int i = 0; i <= 100; ++i) samples.push_back(1.0F + 0.1F * static_cast<float>(i));
    for (int i = 1; i <= 50; ++i) samples.push_back(11.0F - 0.2F * static_cast<float>(i));
    MeasuredCell cell({.Segments = {{0.0, 20}, {0.1, 151}}, .Sweeps = {{samples}}, .Relevant = 2});
    Fit::RiseRecord& record = cell.Engine.Records.RiseTime;
    using Rise = Fit::RiseRecord;
    StoreAll(record, {&Rise::Baseline, &Rise::XValue1, &Rise::Slope1, &Rise::XValue2, &Rise::dXValue2,
                      &Rise::Slope2});
    record.LowLevel = 90.0; // exchanged
    record.HighLevel = 10.0;
    const struct {
        FitParamState State;
        double Base, Right;
        Values Row; // from Baseline to Slope2, times in ms, slopes per ms
    } cases[] = {
        {FitParamState::Fit, 7.0, 1.0, {1.0, 10, 80, 0.1, 105, 40, -0.2}},
        {FitParamState::Hold, 0.5, 1.0, {0.5, 5.5, 84, 0.1, 105.25, 42, -0.2}},
        {FitParamState::Off, 7.0, 1.0, {7.0, 1, 88, 0.1, 105.5, 44, -0.2}},
        {FitParamState::Fit, 7.0, 0.8, {1.0, 10, 80, 0.1, 105, 0, 0}}, // ends ahead of the low level
    };
    for (const auto& one : cases) {
        record.Baseline.State = one.State;
        record.Baseline.Value = one.Base;
        cell.Engine.Params.FitRightBound = one.Right;
        ASSERT_TRUE(cell.Fit(SweepFitType::RiseTime)) << cell.Said.Alerts;
        Values row;
        for (int i = 1; i <= 7; ++i) row.push_back(cell.Row(i).Value);
        for (const std::size_t time : {1U, 2U, 4U, 5U}) row[time] *= 1e3;
        for (const std::size_t slope : {3U, 6U}) row[slope] *= 1e-3;
        ExpectNear(row, one.Row, 1e-4);
        EXPECT_EQ(cell.Row(6).State, one.Right == 1.0 ? FitParamState::Fit : FitParamState::Off);
    }
    EXPECT_EQ(record.LowLevel, 10.0);
    record.BaseLeft = record.BaseRight = 0.5;
    EXPECT_FALSE(cell.Fit(SweepFitType::RiseTime));
    EXPECT_EQ(cell.Said.Alerts, " Error in init of RiseTimeFit \n");
}

TEST(CursorMeasurements, ReadTheTraceAndTheStimulusUnderTheCursors) {
    MeasuredCell cell(Ladder());
    Fit::MeasureRecord& record = cell.Engine.Records.Measure;
    record.StimValue.Store = record.MakeEvents = 1;
    const auto measure = [&](double x, double dx) {
        record.XValue.Value = x;
        record.dXValue.Value = dx;
        return cell.Fit(SweepFitType::Measure);
    };
    ASSERT_TRUE(measure(0.0015, 0.004)) << cell.Said.Alerts;
    Values row;
    for (int i = 1; i <= 5; ++i) row.push_back(cell.Row(i).Value);
    ExpectNear(row, {0.0015, 9.5, 0.004, 4.0, 0.2}, 1e-6);
    ASSERT_TRUE(measure(0.007, -0.007)); // the last and the first point
    EXPECT_NEAR(cell.Row(4).Value, -7.0, 1e-9);
    ExpectNear(cell.Below(2), {9.5, 15.0}, 1e-6); // an event a measurement
    EXPECT_EQ(record.EventCount, 2);
    for (const auto& [x, dx] : {std::pair{-0.001, 0.002}, {0.006, 0.002}, {NAN, 0.0}}) {
        cell.Said.Alerts.clear();
        EXPECT_FALSE(measure(x, dx));
        EXPECT_EQ(cell.Said.Alerts, "A cursor lies outside of the range.\n");
    }
    EXPECT_NEAR(cell.Row(2).Value, 15.0, 1e-9); // stays as it was

    cell.Engine.MeasureTool = [](SweepFit::Engine& engine) {
        engine.Records.Measure.YValue.Value = 42.0;
        engine.Records.Measure.XValue.Value = 0.001;
        return true;
    };
    ASSERT_TRUE(measure(99.0, 0.0));
    EXPECT_EQ(cell.Row(2).Value, 42.0);
}

TEST(Events, OfARepeatedRunReplaceTheFormerOnesAndASweepWithoutAnyIsEmpty) {
    const float spike[] = {-5, -5, 3, 6, -7, -8, -6};
    Samples train;
    for (int i = 0; i < 3; ++i) train.insert(train.end(), std::begin(spike), std::end(spike));
    MeasuredCell cell({.Segments = {{0.0, 14}, {0.0, 7}}, .Sweeps = {{train}, {Samples(21, -5.0F)}}});
    Fit::ActionPotentialRecord& record = cell.Engine.Records.ActionPotential;
    for (const int events : {3, 2, 3}) {
        record.Range = events == 3 ? Fit::DataRange::FullSweep : Fit::DataRange::CursorBounds;
        ASSERT_TRUE(cell.Fit(SweepFitType::ActionPotential, 1));
        EXPECT_EQ(cell.Below(10).size(), static_cast<std::size_t>(events));
        EXPECT_EQ(cell.Row(10).Value, events);
        EXPECT_EQ(record.Events, events);
    }
    ExpectNear(cell.Below(6), {6, 6, 6}, 0.0, "maximum");
    ExpectNear(cell.Below(8), {-6, -6, -6}, 0.0, "minimum: at the first rise");
    const Values interval = cell.Below(5), up = cell.Below(1), real = cell.Below(2);
    EXPECT_NEAR(interval[1], 0.007, 1e-12);
    EXPECT_EQ(cell.StatesBelow(5), (std::vector<int>{2, 0, 0})); // the first interval is none
    EXPECT_NEAR(up[0], (3 - 3 - 3.0 / 8) * 1e-3, 1e-12);         // sample 3 of the count, 3 taken off
    EXPECT_NEAR(real[2] - up[2], cell.Session.CurSweep->SwTime, 1e-6);
    ASSERT_TRUE(cell.Fit(SweepFitType::ActionPotential, 2));
    EXPECT_EQ(cell.Row(10, 2).State, FitParamState::Off);
    EXPECT_TRUE(cell.Below(10, 2).empty());
    EXPECT_EQ(cell.Below(10, 1).size(), 3U);

    // A time counts from the start of the sweep, whichever segment is looked at.
    record.Range = Fit::DataRange::CursorBounds;
    cell.Engine.Params.FitSegOffset = 1;
    ASSERT_TRUE(cell.Fit(SweepFitType::ActionPotential, 1));
    EXPECT_NEAR(cell.Below(1)[0], up[2], 1e-12);
}

TEST(Events, OfAChannelGoThroughTheSettings) {
    MeasuredCell cell(
        {.Segments = {{0.0, 14}}, .Sweeps = {{{0, 0, 0, 1, 1.2F, 1, 0.1F, 0, 0, 2, 2, 2, 1, 1}}}});
    Fit::SingleChannelRecord& record = cell.Engine.Records.SingleChannel;
    record.SingleHigh = 1.0;
    ASSERT_TRUE(cell.Fit(SweepFitType::SingleChannel));
    ExpectNear(cell.Below(1), {1, 0, 1, 2}, 0.0, "levels between the ends");
    EXPECT_NEAR(cell.Below(2)[0], 3.2 / 3, 1e-6);
    EXPECT_EQ(cell.StatesBelow(2), (std::vector<int>{0, 0, 2, 0})); // no sample on the way up
    record.SingleInclFirst = record.SingleInclLast = 1;
    record.SingleDeadTime = 1;
    ASSERT_TRUE(cell.Fit(SweepFitType::SingleChannel));
    ExpectNear(cell.Below(1), {0, 1, 0, 1, 2, 1}, 0.0, "all");
    ExpectNear({cell.Below(2)[1], cell.Below(2)[3], cell.Below(2)[4]}, {1.2, 1.0, 2.0}, 1e-6, "inner means");
    record.SingleHigh = 0.0; // no step between the levels
    cell.Said.Notes.clear();
    ASSERT_TRUE(cell.Fit(SweepFitType::SingleChannel));
    EXPECT_NE(cell.Said.Notes.find("Unreasonable level. Check Low/High level settings."), std::string::npos);
}
