// Measurements of a stretch of samples.
#include "math/lane_sums.h"
#include "math/measure.h"
#include "math/sliding_mean.h"
#include "vectors.h"

#include <random>

namespace {

using nlohmann::json;
using Vectors::Samples;

void ExpectNear(double got, const json& one, const char* name) {
    const double want = Vectors::Number(one["out"][name]);
    const json tolerance = one.value("tol", json{{"rel", 1e-9}, {"abs", 1e-12}});
    const double relative = tolerance.value("rel", 0.0), absolute = tolerance.value("abs", 0.0);
    const double position = std::string_view(name) == "position" ? one["out"].value("position_tol", 0.0) : 0;
    EXPECT_NEAR(got, want, std::max(std::max(absolute, position), relative * std::fabs(want)))
        << one["id"] << " " << name;
}

double Measured(const std::string& fn, const json& in) {
    const std::vector<float> all = Samples(in["data"]);
    const std::size_t left = in["left"], right = in["right"];
    const auto part = std::span<const float>(all).subspan(left, right - left);
    const double dx = in["dx"];
    const double correction = in.value("end_correction", 0) == 1 ? Measure::EndCorrection(part) * dx : 0.0;
    if (fn == "mean") return Measure::Mean(part);
    if (fn == "variance") return Measure::Variance(part);
    if (fn == "slope") return Measure::SlopePerSample(part) / dx;
    if (fn == "integral") return LaneSums::Sum(part) * dx - correction;
    if (fn == "anodic") return LaneSums::SumAbove(part) * dx - correction;
    if (fn == "cathodic") return -LaneSums::SumBelow(part) * dx - correction;
    const double at = Measure::FindCrossing(part, 0.0, in["avg"]);
    EXPECT_EQ(fn, "reversal");
    return Measure::ValueAt(Samples(in["other"]),
                            (static_cast<double>(left) + at) * dx / in["other_dx"].get<double>());
}

void Check(const json& one) {
    const json& in = one["in"];
    const std::string fn = in["fn"];
    if (fn == "range") {
        const Measure::Range range =
            Measure::FindRange(in["s"], in["d"], in["left_bound"], in["right_bound"], in["dx"], in["points"]);
        EXPECT_EQ(range.Left, one["out"]["left"].get<std::int64_t>()) << one["id"];
        EXPECT_EQ(range.Right, one["out"]["right"].get<std::int64_t>()) << one["id"];
    } else if (fn == "peak") {
        const int kind = in["kind"];
        const Measure::Peak peak = Measure::FindPeak(Samples(in["data"]), in["left"], in["right"],
                                                     kind == 8 || kind == 76   ? Measure::PeakKind::Maximum
                                                     : kind == 9 || kind == 75 ? Measure::PeakKind::Minimum
                                                                               : Measure::PeakKind::Larger,
                                                     in["no_fit"] == 1);
        ExpectNear(peak.Value, one, "value");
        ExpectNear(peak.Position, one, "position");
    } else if (fn == "crossing") {
        ExpectNear(Measure::FindCrossing(Samples(in["data"]), in["threshold"], in["avg"]), one, "position");
    } else if (fn != "row") {
        ExpectNear(Measured(fn, in), one, "value");
    }
}

TEST(Measurements, AreWhatTheCasesSay) {
    for (const json& one : Vectors::Cases("online")) Check(one);
}

// The search through single samples is a quick one; it stops where a walk does.
TEST(Measurements, ACrossingBetweenSingleSamples) {
    const struct {
        std::vector<float> Samples;
        double Threshold, Position;
    } cases[] = {
        {{-1, -1, -1, 3, -1}, 0.0, 2.25},
        {{3, 2, 1, 0, -1}, 0.0, 3.0},  // equal is on the other side for a start above
        {{-3, -2, 0, 0, 1}, 0.0, 3.0}, // and not for one below
        {{0, 0, -1, 1}, 0.0, 2.5},     // begins where it first differs
        {{0, 0, 0}, 0.0, -1.0},
        {{1, 2, 3}, 0.5, 4.0},
        {{1, NAN, -1}, 0.5, NAN}, // from a sample that is none
        {{1, NAN, 2, 0}, 0.5, 2.75},
        {{-3e38F, 3e38F}, 1e300, 3.0},
        {{2}, 1.0, 2.0},
    };
    for (const auto& one : cases)
        EXPECT_TRUE(Vectors::Near(Measure::FindCrossing(one.Samples, one.Threshold, 1), one.Position, 1e-12))
            << one.Samples[0] << " " << one.Threshold << " "
            << Measure::FindCrossing(one.Samples, one.Threshold, 1);
}

// As documented, mean by mean.
double WalkedCrossing(const std::vector<float>& samples, double threshold, std::size_t average) {
    const std::size_t end = samples.size() - average;
    const auto mean = [&](std::size_t at) { return Measure::MeanAt(samples, at, average); };
    std::size_t at = 0;
    while (at < end && mean(at) == threshold) ++at;
    if (mean(at) == threshold) return -1.0;
    const bool above = mean(at) > threshold;
    const auto crossed = [&](std::size_t i) { return above ? mean(i) <= threshold : mean(i) > threshold; };
    if (samples.size() > 10 * average)
        while (at + average <= end && !crossed(at + average)) at += average;
    while (++at <= end)
        if (crossed(at))
            return static_cast<double>(at) + static_cast<double>(average / 2) -
                   (mean(at) - threshold) / (mean(at) - mean(at - 1));
    return static_cast<double>(samples.size()) + 1.0;
}

// Means are carried from place to place; what they say is what each says that is summed anew.
TEST(Measurements, ACarriedMeanCrossesWhereAFreshOneDoes) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> noise(-1.0F, 1.0F);
    const auto made = [](std::size_t size, const auto& sample) {
        std::vector<float> samples;
        while (samples.size() < size) samples.push_back(sample(samples.size()));
        return samples;
    };
    const std::vector<std::vector<float>> signals = {
        made(900, [](std::size_t i) { return i < 700 ? (i % 2 ? 1.0F : -1.0F) : 0.25F; }), // means of 0
        made(900, [&](std::size_t) { return noise(random); }),
        made(900, [&](std::size_t i) { return noise(random) + 0.001F * static_cast<float>(i) - 0.3F; }),
        made(900,
             [&](std::size_t i) { return i < 9 ? 1e17F : 0.5F + 0.1F * noise(random); }), // stays in a sum
        made(900, [&](std::size_t i) { return (i % 2 ? 0.1F : -0.1F) + 1e-9F * noise(random); }), // no grid
        made(900, [&](std::size_t i) { return i == 400   ? NAN
                                              : i == 600 ? INFINITY
                                                         : noise(random); }),
        made(900, [&](std::size_t i) { return i < 300 ? -INFINITY : 1e-40F * noise(random); }),
        made(2000, [](std::size_t i) { return 0.1F * static_cast<float>(i % 7) - 0.3F; }),
    };
    for (std::size_t i = 0; i < signals.size(); ++i)
        for (const std::size_t average : {2U, 7U, 63U, 64U, 65U, 100U, 128U, 500U, 900U})
            for (const double threshold : {0.0, 0.45, 0.05, -0.1, 1e19, static_cast<double>(0.1F) / 3.0})
                EXPECT_PRED3(Vectors::Near, Measure::FindCrossing(signals[i], threshold, average),
                             WalkedCrossing(signals[i], threshold, average), 0.0)
                    << "signal " << i << ", average " << average << ", threshold " << threshold;
}

// Each would take many seconds, mean by mean.
TEST(Measurements, ALongAverageIsCarriedThroughALongTrace) {
    std::vector<float> samples(300'000), flat(3'000'000, 0.0F);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = i % 2 ? 1.0F : -1.0F;
    EXPECT_EQ(Measure::FindCrossing(samples, 0.0, 32766), -1.0); // meets the threshold everywhere
    EXPECT_EQ(Measure::FindCrossing(samples, 0.5, 32767), 300'001.0);
    EXPECT_EQ(Measure::FindCrossing(flat, 0.0, 32767), -1.0);
    EXPECT_EQ(Measure::FindCrossing(std::vector<float>{-1, 1}, 0.0, 3), -1.0); // longer than the trace
    flat.back() = 1.0F;                                                        // the last mean alone differs
    EXPECT_EQ(Measure::FindCrossing(flat, 0.0, 32767), 3'000'001.0);
}

// What machines of every kind have to get to.
LaneSums::Moments InLanes(const std::vector<float>& samples) {
    constexpr std::size_t Lanes = 16;
    struct Lane {
        double Sum = 0, Squares = 0, ByRow = 0, ByIndex = 0;
    } lanes[Lanes];
    for (std::size_t i = 0; i < samples.size(); ++i) {
        Lane& lane = lanes[i % Lanes];
        const double y = samples[i], square = y * y, byRow = static_cast<double>(i / Lanes) * y;
        lane.Sum += y;
        lane.Squares += square;
        lane.ByRow += byRow;
    }
    for (std::size_t i = 0; i < Lanes; ++i)
        lanes[i].ByIndex = 16.0 * lanes[i].ByRow + static_cast<double>(i) * lanes[i].Sum;
    for (std::size_t left = Lanes / 2; left > 0; left /= 2)
        for (std::size_t i = 0; i < left; ++i) {
            lanes[i].Sum += lanes[i + left].Sum;
            lanes[i].Squares += lanes[i + left].Squares;
            lanes[i].ByIndex += lanes[i + left].ByIndex;
        }
    return {lanes[0].Sum, lanes[0].Squares, lanes[0].ByIndex};
}

TEST(Measurements, LanesFindWhatALoopFinds) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> value(-40, 40);
    for (const std::size_t size : {1U, 2U, 7U, 8U, 9U, 31U, 1023U, 1024U, 1025U, 3500U}) {
        std::vector<float> samples(size);
        for (float& y : samples) y = static_cast<float>(value(random)) / 8.0F; // sums are exact
        double above = 0, below = 0;
        std::size_t notZero = 0;
        for (const float y : samples) {
            (y > 0 ? above : below) += y;
            notZero += y != 0;
        }
        EXPECT_EQ(LaneSums::Sum(samples), above + below);
        EXPECT_EQ(LaneSums::SumAbove(samples), above);
        EXPECT_EQ(LaneSums::SumBelow(samples), below);
        EXPECT_EQ(LaneSums::CountNotZero(samples), notZero);
        for (float& y : samples) y *= 1.1F; // sums are rounded, step by step as promised
        const LaneSums::Moments moments = LaneSums::AllMoments(samples), want = InLanes(samples);
        EXPECT_EQ(moments.Sum, LaneSums::Sum(samples)) << size;
        EXPECT_EQ(moments.Sum, want.Sum) << size;
        EXPECT_EQ(moments.Squares, want.Squares) << size;
        EXPECT_EQ(moments.ByIndex, want.ByIndex) << size;
        const LaneSums::Places places = LaneSums::Extremes(samples);
        EXPECT_EQ(&samples[places.Least], &*std::ranges::min_element(samples)) << size;
        EXPECT_EQ(&samples[places.Greatest], &*std::ranges::max_element(samples)) << size;
    }
    std::vector<float> late(2000, NAN);
    late[1500] = INFINITY; // the only number, and no less than the start of a search
    EXPECT_EQ(LaneSums::Extremes(late).Least, 1500U);
    EXPECT_EQ(LaneSums::Extremes(late).Greatest, 1500U);
    EXPECT_EQ(LaneSums::Extremes(std::vector<float>{NAN, NAN}).Least, 0U);
}

TEST(Measurements, ARangeOfSenselessNumbersIsEmpty) {
    EXPECT_LE(Measure::FindRange(0, NAN, 0, 1, 1e-3, 100).Count(), 0);
    EXPECT_LE(Measure::FindRange(0, 1, 0, 1, 0, 0).Count(), 0);
    EXPECT_LE(Measure::FindRange(200, 1, 0, 1, 1e-2, 100).Count(), 0); // beyond the trace
    EXPECT_EQ(Measure::FindRange(0, 1e300, -1e300, 1e300, 1e-9, 100).Count(), 100);
    EXPECT_EQ(Measure::FindRange(10, 1.0, -0.005, 0.5, 1e-2, 100).Left, 10); // -0.5 goes to 0
}

}
