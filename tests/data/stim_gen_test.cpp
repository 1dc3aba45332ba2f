#include "data/stim_gen.h"

#include "base/messages.h"
#include "vectors.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using StimTree::SegmentClass;
namespace StimFlags = StimTree::StimFlags;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinite = HUGE_VAL;
constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Greatest = std::numeric_limits<std::int32_t>::max();

StimSegment Piece(SegmentClass kind, double voltage, double duration) {
    StimSegment segment{};
    segment.SgClass = static_cast<std::uint8_t>(kind);
    segment.SgStoreKind = 1;
    segment.SgVoltage = voltage;
    segment.SgDuration = duration;
    segment.SgDeltaVFactor = 1;
    segment.SgDeltaTFactor = 1;
    return segment;
}

using Samples = std::vector<float>;

// A stimulation of one channel: 1 s a sample, 5 sweeps, holding -10.
struct Bench {
    StimStimulation Stimulation{};
    StimChannel Channel{};
    std::vector<StimSegment> Segments;
    std::vector<double> Params = std::vector<double>(10);
    std::vector<StimGen::ScaleRow> Table;
    std::size_t Limit = 1000;
    double (*Photo)(double) = nullptr;
    std::vector<const StimSegment*> Pointers;
    bool Continuous = false;
    std::string Said;

    explicit Bench(std::vector<StimSegment> segments) : Segments(std::move(segments)) {
        Stimulation.SsSampleInterval = 1;
        Stimulation.SsNumberSweeps = 5;
        Channel.ChHolding = -10;
    }

    StimGen::Source Source() {
        Pointers.clear();
        for (const StimSegment& segment : Segments) Pointers.push_back(&segment);
        return {.Stimulation = Stimulation,
                .Channel = Channel,
                .Segments = Pointers,
                .StParams = Params,
                .MaxStimPoints = Limit,
                .Photo = Photo,
                .ScaleTable = Table};
    }

    std::vector<float> Run(std::int32_t n = 1) {
        const Messages::Recorder said;
        std::vector<float> target{77};
        const bool done = Stimulus(n, Source(), target, Continuous);
        EXPECT_EQ(done, said.Alerts.empty());
        EXPECT_TRUE(done || target.empty());
        Said = said.Alerts;
        return target;
    }
    // The first segment alone, into what the target holds.
    Samples Write(Samples target, std::size_t increment = 1, std::size_t position = 0) {
        double previous = 0;
        const bool done = Segment(1, Source(), 0, increment, target, position, previous, Continuous);
        return done ? target : Samples{};
    }
    double Voltage(std::size_t index, std::int32_t n = 1) {
        return SegmentVoltage(n, Source(), index, Channel.ChHolding);
    }
};

}

TEST(Increment, FollowsTheVectors) {
    int seen = 0;
    for (const auto& vector : Vectors::Cases("increments")) {
        const auto& in = vector["in"];
        if (in["kind"] != "increment") continue;
        SCOPED_TRACE(vector["id"].get<std::string>());
        ++seen;
        const bool exact = vector.contains("tol") && vector["tol"]["kind"] == "exact";
        EXPECT_PRED3(Vectors::Near,
                     StimGen::Increment(in["n"], in["N"], in["a"], in["d"], in["f"], in["mode"]),
                     vector["out"]["value"].get<double>(), exact ? 0.0 : 1e-14);
        EXPECT_EQ(StimGen::IncrementStep(in["n"], in["N"], in["mode"]), vector["out"]["step"].get<int>());
    }
    EXPECT_GE(seen, 30);
}

TEST(Increment, StepsOfWholeSeries) {
    const std::pair<std::uint8_t, std::vector<std::int64_t>> cases[] = {
        {2, {0, 2, 1, 3}},    {3, {3, 1, 2, 0}},    {7, {0, 2, 1, 3}},   {2, {0, 2, 1, 4, 3}},
        {4, {0, 4, 1, 3, 2}}, {9, {0, 4, 1, 3, 2}}, {255, {0, 1, 2, 3}},
    };
    for (const auto& [mode, wanted] : cases) {
        std::vector<std::int64_t> steps(wanted.size());
        const auto sweeps = static_cast<std::int32_t>(steps.size());
        for (std::int32_t n = 0; n < sweeps; ++n)
            steps[static_cast<std::size_t>(n)] = StimGen::IncrementStep(n + 1, sweeps, mode);
        EXPECT_EQ(steps, wanted) << int{mode};
    }
}

TEST(Increment, NoNumberFromAFileBreaksIt) {
    for (int mode = 0; mode < 256; ++mode)
        for (const std::int32_t n : {Least, -1, 0, 1, Greatest})
            for (const std::int32_t sweeps : {Least, -3, 0, Greatest})
                for (const double factor : {NaN, Infinite, -1.0, 0.0, 1e-300, 1e300})
                    (void)StimGen::Increment(n, sweeps, 1e300, -1e300, factor,
                                             static_cast<std::uint8_t>(mode));
    EXPECT_EQ(StimGen::IncrementStep(Least, Greatest, 1), 4294967295);
    for (const double factor : {NaN, -2.0}) EXPECT_EQ(StimGen::Increment(3, 5, 2.0, 1.0, factor, 0), 2.0);
}

TEST(SegmentVoltage, TakesItsSource) {
    Bench bench({Piece(SegmentClass::Constant, 3, 1)});
    bench.Params[0] = 7;
    bench.Params[9] = 8;
    bench.Segments[0].SgDeltaVIncrement = 2;
    const struct {
        std::int32_t Source;
        bool Relative;  // to the holding
        double Voltage; // of sweep 2: with one increment
    } cases[] = {{0, false, 5},  {-4, false, 5},       {1, false, -10},   {2, false, 9}, {11, false, 10},
                 {12, false, 2}, {Greatest, false, 2}, {Least, false, 5}, {0, true, -5}, {1, true, -10}};
    for (const auto& one : cases) {
        bench.Segments[0].SgVoltageSource = one.Source;
        bench.Channel.ChStimFlags = one.Relative ? StimFlags::RelativeToHolding : std::int16_t{0};
        EXPECT_EQ(bench.Voltage(0, 2), one.Voltage) << one.Source << " " << one.Relative;
    }
    // The holding belongs to the start that a factor multiplies.
    bench.Segments[0].SgVoltageSource = 0;
    bench.Segments[0].SgDeltaVFactor = 2;
    EXPECT_NEAR(bench.Voltage(0, 2), -7 * 2 + 2, 1e-12);
    EXPECT_EQ(bench.Voltage(1), 0.0);
}

TEST(SegmentDuration, TakesItsSourceAndRate) {
    Bench bench({Piece(SegmentClass::Constant, 3, 4), Piece(SegmentClass::Ramp, 5, 4)});
    bench.Params[0] = -6;
    bench.Params[1] = 6;
    const auto duration = [&](std::size_t index, std::int32_t n = 1) {
        return SegmentDuration(n, bench.Source(), index);
    };
    bench.Segments[0].SgDeltaTIncrement = 1;
    for (const auto& [source, wanted] : {std::pair{0, 6.0}, {1, 6.0}, {2, 2.0}, {3, 8.0}}) {
        bench.Segments[0].SgDurationSource = source;
        EXPECT_EQ(duration(0, 3), wanted) << source; // a parameter below 0 counts as 0
    }
    bench.Stimulation.SsUseScanRates = 1;
    bench.Segments[0].SgDurationSource = 0;
    EXPECT_EQ(duration(0), 4.0); // not a ramp
    bench.Segments[1].SgDeltaTIncrement = 4;
    EXPECT_EQ(duration(1), 2.0 / 4.0); // from 3 to 5 with 4 a second
    EXPECT_EQ(duration(1, 2), 2.0 / 8.0);
    bench.Segments[0].SgVoltageSource = 1;
    EXPECT_EQ(duration(1), 15.0 / 4.0); // from the holding
    bench.Segments[0] = Piece(SegmentClass::Ramp, -12, 0.5);
    EXPECT_EQ(duration(0), 4.0); // the first one begins at the holding, and the way down counts
    for (const double rate : {0.0, -1.0, NaN}) {
        bench.Segments[0].SgDuration = rate;
        EXPECT_EQ(duration(0), 0.0);
    }
}

TEST(Stimulus, WritesEachClass) {
    Bench bench({Piece(SegmentClass::Constant, 2, 2), Piece(SegmentClass::Ramp, 6, 4),
                 Piece(SegmentClass::Constant, 50, 0.4), // rounds to no point: the former voltage stays 6
                 Piece(SegmentClass::Ramp, 7, 1), Piece(SegmentClass::Squarewave, 1, 8)});
    bench.Channel.ChSquareParams[0] = 3;
    bench.Channel.ChSquareParams[1] = 4;
    EXPECT_EQ(bench.Run(), (Samples{2, 2, 3, 4, 5, 6, 7, 5, -3, -3, 5, -3, -3, 1, 1}));
    bench.Segments = {Piece(SegmentClass::Ramp, -8, 2), Piece(SegmentClass::Sinewave, 1, 4.5)};
    bench.Channel.ChSquareParams[0] = 4;
    const Samples sine = bench.Run();
    ASSERT_EQ(sine.size(), 7u); // 4.5 rounds away from zero
    const float wanted[] = {-9, -8, 1, 5, 1, -3, 1};
    for (std::size_t i = 0; i < 7; ++i) EXPECT_NEAR(sine[i], wanted[i], 1e-6);
    bench.Segments = {Piece(SegmentClass::Squarewave, 1, 3)};
    for (const double period : {0.0, -1.0, 1.0, NaN, Infinite}) { // no full cycle
        bench.Channel.ChSquareParams[0] = period;
        EXPECT_EQ(bench.Run(), (Samples{1, 1, 1})) << period;
    }
}

TEST(Stimulus, ConstantsAndSquareLevelsAreConverted) {
    Bench bench({Piece(SegmentClass::Constant, 2, 1), Piece(SegmentClass::Ramp, 4, 1),
                 Piece(SegmentClass::Squarewave, 2, 3)});
    bench.Channel.ChSquareParams[0] = 2;
    bench.Channel.ChSquareParams[1] = 2;
    bench.Table = {{1, 100}, {3, 300}, {4, 400}};
    bench.Photo = [](double value) { return value + 1; };
    EXPECT_EQ(bench.Run(), (Samples{2, 4, 4, 0, 2}));
    bench.Channel.ChStimFlags = StimFlags::Scaling;
    EXPECT_EQ(bench.Run(), (Samples{300, 4, 400, 100, 300}));
    bench.Channel.ChStimFlags = StimFlags::Photo;
    EXPECT_EQ(bench.Run(), (Samples{3, 4, 5, 1, 3}));
}

TEST(Stimulus, AContinuousSegmentEndsItAndATemplateLeavesTheSamplesOut) {
    Bench bench({Piece(SegmentClass::Constant, 2, 2), Piece(SegmentClass::Continuous, 0, 1e300),
                 Piece(SegmentClass::Constant, 3, 1e300)});
    EXPECT_EQ(bench.Run(), (Samples{2, 2}));
    EXPECT_TRUE(bench.Continuous);
    bench.Segments[1].SgDuration = 0; // without points it is no segment
    bench.Segments[2].SgDuration = 1;
    EXPECT_EQ(bench.Run(), (Samples{2, 2, 3}));
    EXPECT_FALSE(bench.Continuous);
    bench.Segments = {Piece(SegmentClass::Ramp, 2, 2), Piece(SegmentClass::Continuous, 2, 1)};
    bench.Channel.ChStimFlags = StimFlags::FileTemplate;
    EXPECT_EQ(bench.Run(), (Samples{0, 0, 0}));
    bench.Channel.ChStimFlags |= StimFlags::RelativeToHolding;
    EXPECT_EQ(bench.Run(), (Samples{-10, -10, -10}));
}

TEST(Stimulus, DigitalChannelsWriteTheirBit) {
    const struct {
        std::int16_t Mode, Bit;
        double Voltage;
        float From3; // what a sample of 3 becomes
    } cases[] = {{3, 2, 0.1, 7}, {3, 1, -5, 1},  {3, 1, 0, 3}, {3, 1, NaN, 3}, {3, 16, 1, 3},
                 {3, -1, 1, 3},  {2, 2, 3.6, 7}, {2, 0, 2, 2}, {2, 1, NaN, 1}, {2, 15, 1e300, 32771}};
    for (const auto& one : cases) {
        Bench bench({Piece(SegmentClass::Sinewave, one.Voltage, 1)});
        bench.Channel.ChDacMode = one.Mode;
        bench.Channel.ChDacChannel = one.Bit;
        EXPECT_EQ(bench.Write({3}), (Samples{one.From3})) << one.Mode << " " << one.Bit << " " << one.Voltage;
    }
}

TEST(Stimulus, RefusalsSayWhy) {
    constexpr const char* TooLarge = "Stimulus is larger than MaxStimPoints!\n";
    constexpr const char* Illegal = "StimGen.Stimulus: illegal parameters.\n";
    const struct {
        double Duration, Interval; // s
        std::int32_t Sweep;
        const char* Said;
        std::size_t Points;
    } cases[] = {{400, 1, 1, "", 1000},         {401, 1, 1, TooLarge, 0}, {1e300, 1, 1, TooLarge, 0},
                 {Infinite, 1, 1, TooLarge, 0}, {-1, 1, 1, "", 600},      {-Infinite, 1, 1, "", 600},
                 {NaN, 1, 1, "", 600},          {1, 0, 1, Illegal, 0},    {1, -1, 1, Illegal, 0},
                 {1, NaN, 1, Illegal, 0},       {1, 1, 0, Illegal, 0}};
    for (const auto& one : cases) {
        Bench bench({Piece(SegmentClass::Constant, 2, 600), Piece(SegmentClass::Constant, 2, one.Duration)});
        bench.Stimulation.SsSampleInterval = one.Interval;
        EXPECT_EQ(bench.Run(one.Sweep).size(), one.Points) << one.Duration << " " << one.Interval;
        EXPECT_EQ(bench.Said, one.Said) << one.Duration << " " << one.Interval;
    }
    Bench bench({Piece(static_cast<SegmentClass>(5), 1, 1)});
    (void)bench.Run();
    EXPECT_EQ(bench.Said, "StimGen.Segment: illegal segment class.\n");

    const StimSegment* const missing[] = {nullptr};
    StimGen::Source source = bench.Source();
    source.Segments = missing;
    Samples target;
    EXPECT_FALSE(Stimulus(1, source, target, bench.Continuous));
    EXPECT_TRUE(SegmentTable(1, source).empty());
}

TEST(Segment, WritesAtItsIncrementAndStaysInsideTheTarget) {
    Bench bench({Piece(SegmentClass::Constant, 2, 3)});
    EXPECT_EQ(bench.Write(Samples(8), 3, 1), (Samples{0, 2, 0, 0, 2, 0, 0, 2}));
    for (const std::size_t start : {std::size_t{2}, std::size_t{8}, SIZE_MAX})
        EXPECT_EQ(bench.Write(Samples(8), 3, start), Samples{}) << start;
    EXPECT_EQ(bench.Write(Samples(8), 0), Samples{});
}

TEST(StoredStimulus, LinesUpWithTheRecordedTrace) {
    Bench bench({Piece(SegmentClass::Constant, 1, 2), Piece(SegmentClass::Constant, 2, 3),
                 Piece(SegmentClass::Constant, 3, 1), Piece(SegmentClass::Constant, 4, 2)});
    bench.Segments[0].SgStoreKind = bench.Segments[2].SgStoreKind = 0;
    const auto table = SegmentTable(1, bench.Source());
    EXPECT_EQ(table[3].FirstPoint, 6);
    EXPECT_EQ(table[3].StoredFirst, 3);
    Samples stimulus = bench.Run();
    stimulus.push_back(9); // behind the last segment
    KeepStored(table, stimulus);
    EXPECT_EQ(stimulus, (Samples{2, 2, 2, 4, 4, 9}));
    Samples cut{1, 1, 2}; // ended early by a continuous segment
    KeepStored(table, cut);
    EXPECT_EQ(cut, (Samples{2}));
}
