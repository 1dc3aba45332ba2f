#include "trees/stim_tree.h"

#include "base/messages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr std::size_t RamSizes[] = {sizeof(StimRoot), sizeof(StimStimulation), sizeof(StimChannel),
                                    sizeof(StimSegment)};

}

// Each field holds bytes found nowhere else in the record, so a field that meets a neighbour's place in the
// file or in RAM comes back changed.
TEST(StimTree, EveryFieldHasAPlaceOfItsOwnInFileAndRam) {
    constexpr std::size_t FieldBytes[] = {576, 177, 360, 76}; // without the gaps between the fields
    for (int level = 0; level < StimTree::Levels; ++level) {
        const auto fields = StimTree::FieldsOf(level);
        const std::size_t size = StimTree::FileSize(level);
        std::vector<std::byte> image(size);
        std::vector<bool> taken(size);
        for (std::size_t i = 0; i < size; ++i) image[i] = static_cast<std::byte>(1 + (i * 7 + i / 256) % 251);
        std::size_t bytes = 0;
        for (const auto& field : fields) {
            for (std::size_t i = 0; i < std::size_t{field.Size} * field.Count; ++i) {
                EXPECT_FALSE(taken[field.At + i]) << field.Name;
                taken[field.At + i] = true;
                ++bytes;
            }
        }
        EXPECT_EQ(bytes, FieldBytes[level]);
        for (const auto mode : {Conversion::Mode::Plain, Conversion::Mode::Swap}) {
            std::vector<std::byte> ram(RamSizes[level]);
            std::vector<std::byte> written(size);
            std::vector<std::byte> source = image;
            Conversion::Convert(fields, source.data(), ram.data(), mode);
            Conversion::Convert(fields, written.data(), ram.data(), Conversion::Mode::Write);
            // A second swap of what was written undoes the first one.
            Conversion::Convert(fields, written.data(), ram.data(), mode);
            std::vector<std::byte> again(size);
            Conversion::Convert(fields, again.data(), ram.data(), Conversion::Mode::Write);
            for (const auto& field : fields) {
                const std::size_t length = std::size_t{field.Size} * field.Count;
                const bool check = field.Kind == Conversion::Kind::Check;
                for (std::size_t i = field.At; i < field.At + length; ++i)
                    EXPECT_EQ(again[i], check ? std::byte{0} : image[i]) << field.Name;
            }
        }
    }
}

TEST(StimTree, AForeignSegmentReadsItsFields) {
    std::vector<std::byte> image(80);
    const auto put = [&](std::size_t at, std::initializer_list<int> bytes) {
        for (const int byte : bytes) image[at++] = static_cast<std::byte>(byte);
    };
    put(0, {0, 0, 0, 3});                    // marks
    put(4, {1, 0, 10, 5});                   // ramp, not stored, toggle, logarithmic
    put(8, {0xBF, 0xF8, 0, 0, 0, 0, 0, 0});  // -1.5
    put(16, {0, 0, 1, 2});                   // source 258
    put(28, {0x3F, 0xE0, 0, 0, 0, 0, 0, 0}); // increment 0.5
    put(36, {0x40, 0x10, 0, 0, 0, 0, 0, 0}); // 4 s
    put(48, {0x40, 0, 0, 0, 0, 0, 0, 0});    // factor 2
    put(68, {0, 0, 0, 9});                   // checksum of another program
    StimSegment segment{};
    Conversion::Convert(StimTree::SegmentFields, image.data(), reinterpret_cast<std::byte*>(&segment),
                        Conversion::Mode::Swap);
    EXPECT_EQ(segment.SgMark, 3);
    EXPECT_EQ(segment.SgClass, 1);
    EXPECT_EQ(segment.SgStoreKind, 0);
    EXPECT_EQ(segment.SgVoltageIncMode, 10);
    EXPECT_EQ(segment.SgDurationIncMode, 5);
    EXPECT_EQ(segment.SgVoltage, -1.5);
    EXPECT_EQ(segment.SgVoltageSource, 258);
    EXPECT_EQ(segment.SgDeltaVIncrement, 0.5);
    EXPECT_EQ(segment.SgDuration, 4.0);
    EXPECT_EQ(segment.SgDeltaTFactor, 2.0);
    EXPECT_EQ(segment.SgCRC, 9);
}

TEST(StimTree, AnIllegalLevelIsRefused) {
    for (const int level : {-1, 4, 1000}) {
        Messages::Recorder said;
        EXPECT_EQ(StimTree::FileSize(level), 0u);
        EXPECT_EQ(said.Alerts, "Fatal error: Illegal Stim.Tree level!\n");
        EXPECT_TRUE(StimTree::FieldsOf(level).empty());
    }
    EXPECT_EQ(StimTree::FileSize(2), 400u);
}
