#include "data/stim_gen.h"

#include "base/messages.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;
using StimTree::SegmentClass;
namespace StimFlags = StimTree::StimFlags;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinite = std::numeric_limits<double>::infinity();
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
        Messages::Recorder said;
        std::vector<float> target{77};
        const bool done = Stimulus(n, Source(), target, Continuous);
        EXPECT_EQ(done, said.Alerts.empty());
        EXPECT_TRUE(done || target.empty());
        Said = said.Alerts;
        return target;
    }

    double Voltage(std::size_t index, std::int32_t n = 1) {
        return SegmentVoltage(n, Source(), index, Channel.ChHolding);
    }
};

using Samples = std::vector<float>;

}

TEST(Increment, FollowsTheVectors) {
    std::ifstream file(TEST_DATA "/vectors/increments.json");
    const Json vectors = Json::parse(file)["vectors"];
    int seen = 0;
    for (const Json& vector : vectors) {
        const Json& in = vector["in"];
        if (in["kind"] != "increment") continue;
        ++seen;
        const double wanted = vector["out"]["value"];
        const bool exact = vector.contains("tol") && vector["tol"]["kind"] == "exact";
        EXPECT_NEAR(StimGen::Increment(in["n"], in["N"], in["a"], in["d"], in["f"], in["mode"]), wanted,
                    exact ? 0.0 : 1e-14 * std::abs(wanted))
            << vector["id"];
        EXPECT_EQ(StimGen::IncrementStep(in["n"], in["N"], in["mode"]), vector["out"]["step"].get<int>())
            << vector["id"];
    }
    EXPECT_GE(seen, 30);
}

TEST(Increment, StepsOfWholeSeries) {
    const struct {
        std::uint8_t Mode;
        std::vector<std::int64_t> Steps;
    } cases[] = {
        {0, {0, 1, 2, 3}},    {1, {3, 2, 1, 0}},    {2, {0, 2, 1, 3}},    {3, {3, 1, 2, 0}},
        {7, {0, 2, 1, 3}},    {10, {0, 1, 1, 2}},   {11, {0, 1, 1, 2}},   {12, {0, 1, 2, 3}},
        {2, {0, 2, 1, 4, 3}}, {4, {0, 4, 1, 3, 2}}, {9, {0, 4, 1, 3, 2}}, {255, {0, 1, 2, 3}},
    };
    for (const auto& one : cases) {
        const auto sweeps = static_cast<std::int32_t>(one.Steps.size());
        for (std::int32_t n = 1; n <= sweeps; ++n)
            EXPECT_EQ(StimGen::IncrementStep(n, sweeps, one.Mode), one.Steps[static_cast<std::size_t>(n - 1)])
                << int{one.Mode} << " sweep " << n;
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
    EXPECT_EQ(StimGen::Increment(3, 5, 2.0, 1.0, NaN, 0), 2.0);
    EXPECT_EQ(StimGen::Increment(3, 5, 2.0, 1.0, -2.0, 0), 2.0);
}

TEST(SegmentVoltage, TakesItsSource) {
    Bench bench({Piece(SegmentClass::Constant, 3, 1)});
    bench.Params[0] = 7;
    bench.Params[9] = 8;
    bench.Segments[0].SgDeltaVIncrement = 2;
    const struct {
        std::int32_t Source;
        int Flags;
        double Voltage; // of sweep 2: with one increment
    } cases[] = {{0, 0, 5},
                 {-4, 0, 5},
                 {1, 0, -10},
                 {2, 0, 9},
                 {11, 0, 10},
                 {12, 0, 2},
                 {Greatest, 0, 2},
                 {Least, 0, 5},
                 {0, StimFlags::RelativeToHolding, -5},
                 {1, StimFlags::RelativeToHolding, -10}};
    for (const auto& one : cases) {
        bench.Segments[0].SgVoltageSource = one.Source;
        bench.Channel.ChStimFlags = static_cast<std::int16_t>(one.Flags);
        EXPECT_EQ(bench.Voltage(0, 2), one.Voltage) << one.Source << " " << one.Flags;
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
    bench.Segments[0].SgDurationSource = 2;
    bench.Segments[0].SgDeltaTIncrement = 1;
    EXPECT_EQ(duration(0, 3), 2.0); // a parameter below 0 counts as 0
    bench.Segments[0].SgDurationSource = 3;
    EXPECT_EQ(duration(0, 3), 8.0);
    bench.Segments[0].SgDurationSource = 1;
    EXPECT_EQ(duration(0, 3), 6.0);

    bench.Stimulation.SsUseScanRates = 1;
    EXPECT_EQ(duration(0), 4.0);       // not a ramp
    EXPECT_EQ(duration(1), 2.0 / 4.0); // from 3 to 5 with 4 a second
    bench.Segments[1].SgDeltaTIncrement = 4;
    EXPECT_EQ(duration(1, 2), 2.0 / 8.0);
    bench.Segments[0].SgVoltageSource = 1;
    EXPECT_EQ(duration(1), 15.0 / 4.0); // from the holding
    bench.Segments[1].SgVoltageSource = 1;
    EXPECT_EQ(duration(1), 0.0); // to the holding as well
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
    for (const double period : {0.0, -1.0, 1.0, NaN, Infinite}) { // no full cycle
        bench.Segments = {Piece(SegmentClass::Squarewave, 1, 3)};
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
    bench.Channel.ChStimFlags = StimFlags::Scaling | StimFlags::Photo;
    EXPECT_EQ(bench.Run(), (Samples{300, 4, 400, 100, 300}));
    bench.Channel.ChStimFlags = StimFlags::Photo;
    EXPECT_EQ(bench.Run(), (Samples{3, 4, 5, 1, 3}));
}

TEST(Stimulus, AContinuousSegmentEndsIt) {
    Bench bench({Piece(SegmentClass::Constant, 2, 2), Piece(SegmentClass::Continuous, 0, 1e300),
                 Piece(SegmentClass::Constant, 3, 1e300)});
    EXPECT_EQ(bench.Run(), (Samples{2, 2}));
    EXPECT_TRUE(bench.Continuous);
    bench.Segments[1].SgDuration = 0; // without points it is no segment
    bench.Segments[2].SgDuration = 1;
    EXPECT_EQ(bench.Run(), (Samples{2, 2, 3}));
    EXPECT_FALSE(bench.Continuous);
}

TEST(Stimulus, ATemplateLeavesTheSamplesOut) {
    Bench bench({Piece(SegmentClass::Ramp, 2, 2), Piece(SegmentClass::Continuous, 2, 1)});
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
        Samples target{3};
        std::size_t position = 0;
        double previous = 0;
        bool continuous = false;
        ASSERT_TRUE(Segment(1, bench.Source(), 0, 1, target, position, previous, continuous));
        EXPECT_EQ(target[0], one.From3) << one.Mode << " " << one.Bit << " " << one.Voltage;
    }
}

TEST(Stimulus, RefusalsSayWhy) {
    constexpr const char* TooLarge = "Stimulus is larger than MaxStimPoints!\n";
    constexpr const char* Illegal = "StimGen.Stimulus: illegal parameters.\n";
    Bench bench({Piece(SegmentClass::Constant, 2, 600), Piece(SegmentClass::Constant, 2, 400)});
    EXPECT_EQ(bench.Run().size(), 1000u);
    for (const double duration : {401.0, 1e9, 1e300, Infinite}) {
        bench.Segments[1].SgDuration = duration;
        (void)bench.Run();
        EXPECT_EQ(bench.Said, TooLarge) << duration;
    }
    for (const double duration : {-1.0, -1e300, -Infinite, NaN}) { // no points: skipped
        bench.Segments[1].SgDuration = duration;
        EXPECT_EQ(bench.Run().size(), 600u) << duration;
    }
    for (const double interval : {0.0, -1.0, NaN}) {
        bench.Stimulation.SsSampleInterval = interval;
        (void)bench.Run();
        EXPECT_EQ(bench.Said, Illegal) << interval;
        EXPECT_EQ(SegmentTable(1, bench.Source())[0].Points, 0);
    }
    bench.Stimulation.SsSampleInterval = 1;
    (void)bench.Run(0);
    EXPECT_EQ(bench.Said, Illegal);
    bench.Segments[1] = Piece(static_cast<SegmentClass>(5), 1, 1);
    (void)bench.Run();
    EXPECT_EQ(bench.Said, "StimGen.Segment: illegal segment class.\n");

    const StimSegment* const missing[] = {nullptr};
    StimGen::Source source{.Stimulation = bench.Stimulation,
                           .Channel = bench.Channel,
                           .Segments = missing,
                           .StParams = bench.Params};
    Messages::Recorder said;
    Samples target;
    bool continuous = false;
    EXPECT_FALSE(Stimulus(1, source, target, continuous));
    EXPECT_EQ(said.Alerts, Illegal);
    EXPECT_TRUE(SegmentTable(1, source).empty());
}

TEST(Segment, WritesAtItsIncrementAndStaysInsideTheTarget) {
    Bench bench({Piece(SegmentClass::Constant, 2, 3)});
    Samples target(8, 0.0f);
    std::size_t position = 1;
    double previous = 0;
    bool continuous = false;
    ASSERT_TRUE(Segment(1, bench.Source(), 0, 3, target, position, previous, continuous));
    EXPECT_EQ(target, (Samples{0, 2, 0, 0, 2, 0, 0, 2}));
    EXPECT_EQ(position, 10u);
    EXPECT_EQ(previous, 2.0);
    const Samples before = target;
    for (const std::size_t start :
         {std::size_t{2}, std::size_t{8}, std::numeric_limits<std::size_t>::max()}) {
        Messages::Recorder said;
        position = start;
        EXPECT_FALSE(Segment(1, bench.Source(), 0, 3, target, position, previous, continuous));
        EXPECT_EQ(said.Alerts, "Stimulus is larger than MaxStimPoints!\n");
    }
    EXPECT_FALSE(Segment(1, bench.Source(), 1, 1, target, position, previous, continuous));
    EXPECT_FALSE(Segment(1, bench.Source(), 0, 0, target, position, previous, continuous));
    EXPECT_EQ(target, before);
}

TEST(StoredStimulus, LinesUpWithTheRecordedTrace) {
    Bench bench({Piece(SegmentClass::Constant, 1, 2), Piece(SegmentClass::Constant, 2, 3),
                 Piece(SegmentClass::Constant, 3, 1), Piece(SegmentClass::Constant, 4, 2)});
    bench.Segments[0].SgStoreKind = 0;
    bench.Segments[2].SgStoreKind = 0;
    const auto table = SegmentTable(1, bench.Source());
    const struct { std::int64_t First, StoredFirst; } wanted[] = {{0, 0}, {2, 0}, {5, 3}, {6, 3}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(table[i].FirstPoint, wanted[i].First);
        EXPECT_EQ(table[i].StoredFirst, wanted[i].StoredFirst);
        EXPECT_EQ(table[i].Stored, i % 2 == 1);
    }
    Samples stimulus = bench.Run();
    stimulus.push_back(9); // behind the last segment
    KeepStored(table, stimulus);
    EXPECT_EQ(stimulus, (Samples{2, 2, 2, 4, 4, 9}));
    Samples cut{1, 1, 2}; // ended early by a continuous segment
    KeepStored(table, cut);
    EXPECT_EQ(cut, (Samples{2}));
}
