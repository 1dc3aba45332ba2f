#include "data/sample_format.h"

#include "base/bytes.h"
#include "base/messages.h"
#include "math/gauss_filter.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <type_traits>
#include <vector>

using SampleFormat::Reduction;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

template <class T>
constexpr DataFormat FormatOf = std::is_same_v<T, std::int16_t>   ? DataFormat::Int16
                                : std::is_same_v<T, std::int32_t> ? DataFormat::Int32
                                : std::is_same_v<T, float>        ? DataFormat::Real32
                                                                  : DataFormat::Real64;

// Converts through buffers whose samples start at an odd address.
template <class To, class From>
std::vector<To> Converted(const std::vector<From>& source, double scale, double offset) {
    std::vector<std::byte> in(1 + source.size() * sizeof(From));
    std::vector<std::byte> out(1 + source.size() * sizeof(To));
    std::memcpy(in.data() + 1, source.data(), in.size() - 1);
    EXPECT_TRUE(SampleFormat::ConvertFormat(FormatOf<From>, FormatOf<To>, std::span(in).subspan(1),
                                            std::span(out).subspan(1), source.size(), scale, offset, false));
    std::vector<To> target(source.size());
    std::memcpy(target.data(), out.data() + 1, out.size() - 1);
    return target;
}

std::size_t Reduced(const std::vector<float>& source, std::vector<float>& target, const Reduction& how) {
    return SampleFormat::Compress(std::as_bytes(std::span(source)), target, source.size(), how);
}

}

// 19 samples: two vector passes and a rest, so that each rule is met in both.
TEST(SampleFormat, RealTargetsAreScaledInTheirOwnPrecision) {
    std::vector<std::int16_t> words;
    std::vector<float> narrow;
    std::vector<double> wide;
    for (int i = 0; i < 19; ++i) {
        words.push_back(static_cast<std::int16_t>(i * 3641 - 32768));
        narrow.push_back(static_cast<float>(words.back()) * 0.1f + -0.07f);
        wide.push_back(words.back() * 0.1 + -0.07);
    }
    EXPECT_EQ(Converted<float>(words, 0.1, -0.07), narrow);
    EXPECT_EQ(Converted<double>(words, 0.1, -0.07), wide);
    // Beyond 24 bits the widening itself rounds, before the scale comes.
    EXPECT_EQ(Converted<float>(std::vector<std::int32_t>{16777217}, 3.0, 0.0)[0], 16777216.0f * 3.0f);
    EXPECT_EQ(Converted<double>(std::vector<std::int32_t>{16777217}, 3.0, 0.0)[0], 50331651.0);
}

TEST(SampleFormat, IntegerTargetsTruncateIntegersAndRoundReals) {
    const std::vector<std::int16_t> words(19, 5);
    EXPECT_EQ(Converted<std::int16_t>(words, 0.5, 0.0), std::vector<std::int16_t>(19, 2));
    EXPECT_EQ(Converted<std::int32_t>(words, -0.5, 0.0), std::vector<std::int32_t>(19, -2));
    EXPECT_EQ(Converted<std::int32_t>(std::vector<double>{2.5, 1.25, -2.5}, 1.0, 0.25),
              (std::vector<std::int32_t>{3, 2, -2}));
    const std::vector<float> wild{2.5f, -2.5f, 1e30f, -1e30f, HUGE_VALF, static_cast<float>(NaN), 32767.4f};
    EXPECT_EQ(Converted<std::int16_t>(wild, 1.0, 0.0),
              (std::vector<std::int16_t>{3, -3, 32767, -32768, 32767, 0, 32767}));
}

TEST(SampleFormat, RefusedConversionsSayWhyAndTouchNothing) {
    constexpr auto unknown = static_cast<DataFormat>(4);
    const struct {
        DataFormat From, To;
        std::size_t Points;
        const char* Said;
    } cases[] = {
        {DataFormat::Int16, DataFormat::Int16, 2, "Error: \"int16\" RAM-format not supported.\n"},
        {DataFormat::Real32, unknown, 2, "Error: unknown data-format of target\n"},
        {DataFormat::Real64, DataFormat::Real32, 3, ""}, // source too short
        {DataFormat::Int16, DataFormat::Real64, 3, ""},  // target too short
    };
    for (const auto& one : cases) {
        const Messages::Recorder said;
        const std::vector<std::byte> source(16);
        std::vector<std::byte> target(16, std::byte{9});
        EXPECT_FALSE(SampleFormat::ConvertFormat(one.From, one.To, source, target, one.Points, 1, 0, true));
        EXPECT_EQ(said.Alerts, one.Said);
        EXPECT_EQ(target, std::vector<std::byte>(16, std::byte{9}));
    }
}

TEST(SampleFormat, ExtremesIgnoreWhatIsNoNumber) {
    constexpr float Nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::size_t place : {0u, 7u, 15u, 16u, 18u}) // in a pass, and in the rest
        for (const float odd : {-3.0f, 3.0f}) {
            std::vector<float> samples(19, 1.0f);
            samples[(place + 1) % 19] = Nan;
            samples[place] = odd;
            EXPECT_EQ(SampleFormat::FindExtremes(samples).Min, std::min(odd, 1.0f)) << place;
            EXPECT_EQ(SampleFormat::FindExtremes(samples).Max, std::max(odd, 1.0f)) << place;
        }
    EXPECT_FALSE(SampleFormat::FindExtremes({}).Known);
    EXPECT_FALSE(SampleFormat::FindExtremes(std::vector<float>(19, Nan)).Known);
    EXPECT_TRUE(SampleFormat::FindExtremes(std::vector<float>{HUGE_VALF}).Known);
}

TEST(Compress, AnalogGroupsGiveFirstSamplesOrMeans) {
    const std::vector<float> source{1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<float> target(3, 100.0f);
    EXPECT_EQ(Reduced(source, target, {.Stride = 3, .Plain = true, .Scale = 2, .Offset = 1}), 2u);
    EXPECT_EQ(target, (std::vector<float>{3, 9, 100}));
    EXPECT_EQ(Reduced(source, target, {.Stride = 3, .Block = 2, .Add = true, .Scale = 2, .Offset = 1}), 2u);
    EXPECT_EQ(target, (std::vector<float>{3 + 4, 9 + 10, 100}));
    const std::vector<std::int16_t> words{-1, -2, -3, -4};
    EXPECT_EQ(SampleFormat::Compress(std::as_bytes(std::span(words)), target, 4,
                                     {.Stride = 2, .Block = 2, .Format = DataFormat::Int16}),
              2u);
    EXPECT_EQ(target[1], -3.5f);
}

TEST(Compress, FilterRunsFirstWithZerosAroundTheData) {
    const std::vector<float> source(40, 1.0f);
    std::vector<float> target(10), unfiltered(40);
    ASSERT_EQ(Reduced(source, target, {.Stride = 4, .Plain = true, .Filter = true}), 10u);
    GaussFilter::FilterRecord record;
    ASSERT_EQ(GaussFilterDesign(record, 0.25), 1);
    EXPECT_EQ(target[0], static_cast<float>(1.0 - record.Coefficients[0]));
    EXPECT_FLOAT_EQ(target[5], 1.0f);
    ASSERT_EQ(Reduced(source, unfiltered, {.Stride = 1, .Filter = true}), 40u);
    EXPECT_EQ(unfiltered, source);
}

TEST(Compress, DigitalWordsAreMaskedAndMerged) {
    const std::vector<std::int16_t> words{-1, 0, 0x55, 0};
    std::vector<float> target{512, 512};
    const auto reduced = [&](std::uint32_t mask, bool add) {
        EXPECT_EQ(SampleFormat::Compress(std::as_bytes(std::span(words)), target, 4,
                                         {.Stride = 2,
                                          .DigitalMask = mask,
                                          .Format = DataFormat::Int16,
                                          .Add = add,
                                          .Scale = add ? 7.0 : 1.0}),
                  2u);
        return target;
    };
    EXPECT_EQ(reduced(0x8011, true), (std::vector<float>{512 + 0x8011, 512 + 0x11}));
    EXPECT_EQ(reduced(0x8011, false), (std::vector<float>{0x8011, 0x11}));
    EXPECT_EQ(reduced(65535, false)[0], -1.0f); // as good as no mask: the sign survives
    std::vector<float> masked(3);
    EXPECT_EQ(Reduced({static_cast<float>(NaN), 6.6f, -1.0f}, masked, {.DigitalMask = 0xFFF}), 3u);
    EXPECT_EQ(masked, (std::vector<float>{0, 7, 4095}));
}

TEST(Compress, RefusesWhatItCannotReduce) {
    Messages::Recorder said;
    const std::vector<float> source(4, 1.0f);
    std::vector<float> target(4, -99.0f);
    EXPECT_EQ(Reduced(source, target, {.Format = DataFormat::Int32}), 0u);
    EXPECT_EQ(said.Alerts, "Compress: illegal data format\n");
    for (const Reduction& how : {Reduction{.Stride = 0}, Reduction{.Stride = 2, .Block = 3},
                                 Reduction{.Stride = 1u << 31, .Filter = true}})
        EXPECT_EQ(Reduced(source, target, how), 0u);
    EXPECT_EQ(SampleFormat::Compress(std::as_bytes(std::span(source)), target, 5, {}), 0u);
    EXPECT_EQ(target, std::vector<float>(4, -99.0f));
}

TEST(DigitalWords, BitsAreExtractedKeptAndSet) {
    std::vector<std::uint16_t> words{0x8001, 0x7FFE};
    SampleFormat::SetDigitalValue(words, 0xFF0F, 0x0030);
    EXPECT_EQ(words, (std::vector<std::uint16_t>{0x8031, 0x7F3E}));
    SampleFormat::ExtractBit(words, 15);
    EXPECT_EQ(words, (std::vector<std::uint16_t>{1, 0}));
}
