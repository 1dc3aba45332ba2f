// Searches for the first sample that matters, and the transform of blocks.
#include "math/fft.h"
#include "math/scan.h"
#include "support/testing.h"

#include <numbers>
#include <random>

namespace {

TEST(Scans, FindTheFirstSampleAtEveryPlace) {
    std::vector<float> samples(300, 1.0F);
    for (const std::size_t place : {0U, 1U, 63U, 64U, 65U, 200U, 299U}) {
        samples[place] = 2.0F;
        for (const std::size_t from : {std::size_t{0}, place, place + 1}) {
            const std::size_t want = from <= place ? place : samples.size();
            EXPECT_EQ(Scan::FirstAbove(samples, from, 1.5), want);
            EXPECT_EQ(Scan::FirstOutside(samples, from, 0.5F, 1.5F), want);
            EXPECT_EQ(Scan::FirstEqual(samples, from, 2.0F), want);
        }
        samples[place] = std::numeric_limits<float>::quiet_NaN();
        EXPECT_EQ(Scan::FirstAbove(samples, 0, 0.5), place == 0 ? 1U : 0U);
        EXPECT_EQ(Scan::FirstAbove(samples, 0, 1.5), samples.size());
        EXPECT_EQ(Scan::FirstBelow(samples, 0, 0.5), samples.size());
        EXPECT_EQ(Scan::FirstOutside(samples, 0, 0.5F, 1.5F), place);
        EXPECT_EQ(Scan::FirstEqual(samples, place, samples[place]), samples.size());
        samples[place] = 0.25F;
        EXPECT_EQ(Scan::FirstBelow(samples, 0, 0.5), place);
        samples[place] = 1.0F;
    }
    EXPECT_EQ(Scan::FirstAbove({}, 0, 0), 0U);
}

TEST(Scans, BoundsBetweenTwo32BitRealsAreExact) {
    const std::vector<float> samples = {0.1F}; // a hair above 0.1
    EXPECT_EQ(Scan::FirstAbove(samples, 0, 0.1), 0U);
    EXPECT_EQ(Scan::FirstBelow(samples, 0, 0.1), 1U);
    EXPECT_EQ(Scan::FirstAbove(samples, 0, static_cast<double>(0.1F)), 1U);
    EXPECT_EQ(Scan::FirstBelow(samples, 0, std::nextafter(static_cast<double>(0.1F), 1.0)), 0U);
    EXPECT_EQ(Scan::FirstAbove(samples, 0, -1e300), 0U);
    EXPECT_EQ(Scan::FirstAbove(samples, 0, NAN), 1U);
}

TEST(Transforms, AgreeWithTheDefinitionAtEveryLength) {
    std::mt19937 random(3);
    std::normal_distribution<float> noise;
    for (const std::size_t length : {2U, 4U, 8U, 16U, 32U, 64U, 512U, 1024U}) {
        const Fft::Plan plan = Fft::MakePlan(length);
        std::vector<float> samples(length * 3);
        for (float& y : samples) y = noise(random) + 3.0F;
        const std::size_t places = length / 2 + 1;
        std::vector<double> power(places * 3), alone(places);
        Fft::Work work;
        Fft::Power(plan, samples, 3, false, work, power);
        for (std::size_t block = 0; block < 3; ++block) {
            const std::span<const float> x = std::span(samples).subspan(block * length, length);
            for (std::size_t k = 0; k < places; ++k) {
                long double re = 0, im = 0;
                for (std::size_t n = 0; n < length; ++n) {
                    const long double angle = 2 * std::numbers::pi_v<long double> *
                                              static_cast<long double>(k * n % length) /
                                              static_cast<long double>(length);
                    re += x[n] * std::cos(angle);
                    im -= x[n] * std::sin(angle);
                }
                const auto want = static_cast<double>(re * re + im * im);
                const double largest = 9.0 * static_cast<double>(length * length);
                EXPECT_NEAR(power[block * places + k], want, 1e-14 * largest) << length << " " << k;
            }
        }
        Fft::Power(plan, std::span(samples).subspan(2 * length), 1, false, work, alone);
        for (std::size_t k = 0; k < places; ++k) EXPECT_EQ(alone[k], power[2 * places + k]);
        Fft::Power(plan, samples, 1, true, work, alone);
        EXPECT_NEAR(alone[0], 0.0, 1e-12);
    }
    EXPECT_EQ(Fft::MakePlan(12).Length, 0U);
    EXPECT_EQ(Fft::MakePlan(0).Length, 0U);
}

}
