#include "data/sample_format.h"

#include "base/bytes.h"
#include "math/gauss_filter.h"
#include "support/testing.h"

using SampleFormat::Reduction;

namespace {

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
    const std::vector<float> wild{2.5f, -2.5f, 1e30f, -1e30f, HUGE_VALF, std::nanf(""), 32767.4f};
    EXPECT_EQ(Converted<std::int16_t>(wild, 1.0, 0.0),
              (std::vector<std::int16_t>{3, -3, 32767, -32768, 32767, 0, 32767}));
}

TEST(SampleFormat, RefusedConversionsTouchNothing) {
    const Messages::Recorder said;
    const std::vector<std::byte> source(16), former(16, std::byte{9});
    std::vector<std::byte> target = former;
    using enum DataFormat;
    // No format of the RAM, none at all, a source and a target that are too short.
    for (const auto& [from, to, points] : {std::tuple{Int16, Int16, 2U},
                                           {Real32, static_cast<DataFormat>(4), 2U},
                                           {Real64, Real32, 3U},
                                           {Int16, Real64, 3U}})
        EXPECT_FALSE(SampleFormat::ConvertFormat(from, to, source, target, points, 1, 0, true));
    EXPECT_EQ(target, former);
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

TEST(Compress, AnalogGroupsGiveFirstSamplesOrMeansBehindTheFilter) {
    const std::vector<float> source{1, 2, 3, 4, 5, 6, 7, 8}, ones(40, 1.0f);
    std::vector<float> target(3, 100.0f), filtered(10);
    EXPECT_EQ(Reduced(source, target, {.Stride = 3, .Plain = true, .Scale = 2, .Offset = 1}), 2u);
    EXPECT_EQ(target, (std::vector<float>{3, 9, 100}));
    EXPECT_EQ(Reduced(source, target, {.Stride = 3, .Block = 2, .Add = true, .Scale = 2, .Offset = 1}), 2u);
    EXPECT_EQ(target, (std::vector<float>{3 + 4, 9 + 10, 100}));
    ASSERT_EQ(Reduced(ones, filtered, {.Stride = 4, .Plain = true, .Filter = true}), 10u);
    GaussFilter::FilterRecord record;
    ASSERT_EQ(GaussFilterDesign(record, 0.25), 1);
    EXPECT_EQ(filtered[0], static_cast<float>(1.0 - record.Coefficients[0])); // zeros around the data
    EXPECT_FLOAT_EQ(filtered[5], 1.0f);
    EXPECT_EQ(Reduced(source, target, {.Stride = 2, .Block = 3}), 0u);
    EXPECT_EQ(Reduced(source, target, {.Stride = 1u << 31, .Filter = true}), 0u);
    EXPECT_EQ(SampleFormat::Compress(std::as_bytes(std::span(source)), target, 9, {}), 0u);
}

TEST(Compress, DigitalWordsAreMaskedAndMerged) {
    const std::vector<std::int16_t> words{-1, 0, 0x55, 0};
    std::vector<float> target{512, 512}, masked(3);
    const auto reduced = [&](std::uint32_t mask, bool add) {
        Reduction how{.Stride = 2, .DigitalMask = mask, .Format = DataFormat::Int16, .Add = add};
        EXPECT_EQ(SampleFormat::Compress(std::as_bytes(std::span(words)), target, 4, how), 2u);
        return target;
    };
    EXPECT_EQ(reduced(0x8011, true), (std::vector<float>{512 + 0x8011, 512 + 0x11}));
    EXPECT_EQ(reduced(0x8011, false), (std::vector<float>{0x8011, 0x11}));
    EXPECT_EQ(reduced(65535, false)[0], -1.0f); // as good as no mask: the sign survives
    EXPECT_EQ(Reduced({std::nanf(""), 6.6f, -1.0f}, masked, {.DigitalMask = 0xFFF}), 3u);
    EXPECT_EQ(masked, (std::vector<float>{0, 7, 4095}));
    std::vector<std::uint16_t> bits{0x8001, 0x7FFE};
    SampleFormat::SetDigitalValue(bits, 0xFF0F, 0x0030);
    EXPECT_EQ(bits, (std::vector<std::uint16_t>{0x8031, 0x7F3E}));
    SampleFormat::ExtractBit(bits, 15);
    EXPECT_EQ(bits, (std::vector<std::uint16_t>{1, 0}));
}
