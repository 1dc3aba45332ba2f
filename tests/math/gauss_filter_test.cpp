#include "math/gauss_filter.h"

#include "math/gauss_kernels.h"
#include "vectors.h"

#include <random>

namespace {

using GaussFilter::FilterRecord;

std::string Lines(const nlohmann::json& log) {
    std::string lines;
    for (const auto& line : log) lines += line.get<std::string>() + "\n";
    return lines;
}

// The rule as it reads, one sample at a time: what the fast sums are held against.
template <class Real>
std::vector<Real> ByTheRule(const FilterRecord& record, const std::vector<Real>& samples) {
    const long half = record.HalfWidth;
    const long last = std::ssize(samples) - 1;
    const auto at = [&](long i) {
        if (i > last) i = record.MirrorRight ? 2 * last - i : last;
        return static_cast<double>(samples[static_cast<std::size_t>(std::max(i, 0L))]);
    };
    std::vector<Real> results;
    for (long i = 0; i <= last; ++i) {
        double sum = record.Coefficients[static_cast<std::size_t>(half)] * at(i);
        for (long j = 1; j <= half; ++j) {
            sum += record.Coefficients[static_cast<std::size_t>(half + j)] * at(i - j);
            if (j <= record.RightHalfWidth)
                sum += record.Coefficients[static_cast<std::size_t>(half - j)] * at(i + j);
        }
        results.push_back(static_cast<Real>(sum));
    }
    return results;
}

template <class Real>
std::vector<Real> Noise(std::size_t count) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    std::vector<Real> samples(count);
    for (Real& value : samples) value = static_cast<Real>(normal(random));
    return samples;
}

}

TEST(GaussFilter, DesignsAndRunsAsTheVectorsSay) {
    const auto vectors = Vectors::Cases("filter");
    EXPECT_GE(vectors.size(), 8u);
    for (const auto& vector : vectors) {
        const auto &in = vector["in"], &out = vector["out"];
        SCOPED_TRACE(vector["id"].get<std::string>());
        const Messages::Recorder said;
        FilterRecord record;
        const int half = GaussFilterDesign(record, in["fc"], in["delay_factor"], in["delay"] != 0);
        if (in["fn"] == "design") {
            EXPECT_EQ(half, out["half"]);
            EXPECT_EQ(record.Valid, out["valid"].get<bool>());
            EXPECT_EQ(record.RightHalfWidth, out["right"]);
            const auto wanted = out["coefficients"].get<std::vector<double>>();
            ASSERT_EQ(wanted.size(), 2 * static_cast<std::size_t>(half) + 1);
            for (std::size_t i = 0; i < wanted.size(); ++i)
                EXPECT_NEAR(record.Coefficients[i], wanted[i], 1e-13 * wanted[i]) << i;
        } else {
            record.MirrorRight = in["mirror_right"] != 0;
            record.SkipTail = in["skip_tail"] != 0;
            const auto samples = in["x"].get<std::vector<double>>(),
                       wanted = out["y"].get<std::vector<double>>();
            std::vector<double> target(samples.size(), in["target_before"].get<double>());
            EXPECT_NE(GaussFilterApply64(record, samples, target), out["untouched"].get<bool>());
            ASSERT_EQ(wanted.size(), target.size());
            for (std::size_t i = 0; i < wanted.size(); ++i)
                EXPECT_NEAR(target[i], wanted[i], 1e-12 * std::abs(wanted[i]) + 1e-14) << i;
        }
        EXPECT_EQ(said.Notes, Lines(out["log"]));
    }
}

TEST(GaussFilter, EveryUsableKernelSumsTheSameBits) {
    const auto kernels = GaussKernels::Usable();
    ASSERT_GE(kernels.size(), 2u);
    const auto samples = Noise<double>(700);
    FilterRecord record;
    const Messages::Recorder said;
    for (const auto& [corner, delayFactor] : {std::pair{0.3, 0.0}, {0.05, 0.0}, {0.001, 0.0}, {0.02, 5.0}}) {
        const int half = GaussFilterDesign(record, corner, delayFactor, delayFactor > 0);
        const GaussKernels::Taps taps{.Centre = record.Coefficients[static_cast<std::size_t>(half)],
                                      .Past = record.Coefficients.data() + half + 1,
                                      .Future = record.Coefficients.data() + half,
                                      .PastCount = half,
                                      .FutureCount = record.RightHalfWidth};
        for (const std::size_t count : {1u, 15u, 64u, 129u, 400u}) {
            std::vector<double> plain(count), fast(count);
            kernels.back().Sum(samples.data() + 150, count, taps, plain.data());
            for (const auto& kernel : kernels) {
                kernel.Sum(samples.data() + 150, count, taps, fast.data());
                EXPECT_EQ(fast, plain) << kernel.Name << " " << corner << " " << count;
            }
        }
    }
}

TEST(GaussFilter, AWholeRunAgreesWithTheRuleBitForBit) {
    const Messages::Recorder said;
    for (const double corner : {0.3, 0.05, 0.001})
        for (const bool mirror : {false, true}) {
            FilterRecord record{.MirrorRight = mirror};
            const auto half = static_cast<std::size_t>(GaussFilterDesign(record, corner));
            for (const std::size_t points : {half, half + 1, std::size_t{1024}, std::size_t{5000}}) {
                auto narrow = Noise<float>(points), narrowTarget = narrow;
                auto wide = Noise<double>(points), wideTarget = wide;
                ASSERT_TRUE(GaussFilterApply(record, narrow, narrowTarget));
                EXPECT_EQ(narrowTarget, ByTheRule(record, narrow)) << corner << " " << points;
                ASSERT_TRUE(GaussFilterApply64(record, wide, wideTarget));
                EXPECT_EQ(wideTarget, ByTheRule(record, wide)) << corner << " " << points;
            }
        }
    FilterRecord record; // compensation moves the results later
    ASSERT_EQ(GaussFilterDesign(record, 0.1, 3.0, true), 4);
    const auto samples = Noise<double>(2500), unmoved = ByTheRule(record, samples);
    std::vector<double> target(samples.size());
    ASSERT_TRUE(GaussFilterApply64(record, samples, target));
    EXPECT_EQ(std::vector(target.begin(), target.begin() + 3), std::vector(3, unmoved[0]));
    EXPECT_TRUE(std::equal(target.begin() + 3, target.end(), unmoved.begin()));
}

TEST(GaussFilter, APaddedRunOfAPieceEqualsThatPieceAndLeavesTheTail) {
    FilterRecord record;
    ASSERT_EQ(GaussFilterDesign(record, 0.02), 23);
    const auto samples = Noise<float>(3000), whole = ByTheRule(record, samples);
    record.PaddedLeft = record.SkipTail = true;
    std::vector<float> target(2023, -99.0f);
    ASSERT_TRUE(GaussFilterApply(record, std::span(samples).subspan(700 - 23, 23 + 2000 + 23), target));
    EXPECT_TRUE(std::equal(target.begin(), target.begin() + 2000, whole.begin() + 700));
    EXPECT_EQ(std::count(target.begin(), target.end(), -99.0f), 23);
}

TEST(GaussFilter, DelayCompensationCutsAndTapersTheFutureSide) {
    FilterRecord symmetric, record;
    // 23 coefficients a side, 1 / (5 * 0.02) = 10 of them kept, so 13 cut and the next 13 tapered.
    ASSERT_EQ(GaussFilterDesign(symmetric, 0.02), 23);
    ASSERT_EQ(GaussFilterDesign(record, 0.02, 5.0, true), 23);
    EXPECT_EQ(record.RightHalfWidth, 10);
    EXPECT_NEAR(std::accumulate(record.Coefficients.begin(), record.Coefficients.end(), 0.0), 1.0, 1e-14);
    for (std::size_t i = 0; i <= 13; ++i) EXPECT_EQ(record.Coefficients[i], 0.0) << i;
    const double scale = record.Coefficients[46] / symmetric.Coefficients[46];
    EXPECT_NEAR(record.Coefficients[19] / symmetric.Coefficients[19] / scale, 0.5, 1e-5); // half way up
    EXPECT_NEAR(record.Coefficients[25] / symmetric.Coefficients[25] / scale, 1.0, 1e-11);

    // With one coefficient cut, the next one is halved: 4 a side, 1 / (3 * 0.1) = 3 kept.
    ASSERT_EQ(GaussFilterDesign(symmetric, 0.1), 4);
    ASSERT_EQ(GaussFilterDesign(record, 0.1, 3.0, true), 4);
    EXPECT_EQ(record.RightHalfWidth, 3);
    EXPECT_NEAR(record.Coefficients[1] * symmetric.Coefficients[2],
                0.5 * symmetric.Coefficients[1] * record.Coefficients[2], 1e-17);
}

TEST(GaussFilter, RefusalsLeaveTheTargetAndTooLowACornerBecomesTheLowest) {
    const Messages::Recorder said;
    FilterRecord record, lowest;
    std::vector<float> target(10, -99.0f);
    const std::vector<float> samples(10, 1.0f);
    for (const double corner : {0.0, -0.1, std::nan(""), HUGE_VAL})
        EXPECT_EQ(GaussFilterDesign(record, corner), 0) << corner;
    for (const double delayFactor : {0.0, std::nan("")})
        EXPECT_EQ(GaussFilterDesign(record, 0.02, delayFactor, true), 0);
    EXPECT_FALSE(GaussFilterApply(record, samples, target)); // not designed
    ASSERT_EQ(GaussFilterDesign(record, 0.009268), 50);
    EXPECT_FALSE(GaussFilterApply(record, samples, target)); // wider than the data
    ASSERT_EQ(GaussFilterDesign(record, 0.1), 4);
    EXPECT_FALSE(GaussFilterApply(record, samples, std::span(target).first(9)));
    EXPECT_EQ(target, std::vector<float>(10, -99.0f));
    EXPECT_EQ(GaussFilterDesign(record, 1e-300) + GaussFilterDesign(lowest, 0.004216), 220);
    EXPECT_TRUE(said.Notes.find("Filter: Too many coefficients: ") != std::string::npos);
    EXPECT_EQ(record.Coefficients, lowest.Coefficients);
}
