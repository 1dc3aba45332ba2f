#include "data/bundle.h"

#include "base/bytes.h"
#include "support/failing_files.h"
#include "support/fixtures.h"
#include "support/tree_bytes.h"

namespace {

struct ReadBack {
    ReadBack(std::string_view bytes, bool forWriting = false, bool check = true) {
        const Support::TempFolder folder;
        Files::File file;
        EXPECT_EQ(Files::Open(file, folder.Write("f.dat", bytes), Files::Mode::Read), 0);
        const Messages::Recorder said;
        Ok = Bundle::ReadBundleHeader(Header, file, forWriting, check);
    }
    [[nodiscard]] int Kind() const {
        return static_cast<int>(Bundle::BundleKind(Texts::FromField(Header.Signature)));
    }

    Bundle::Header Header{};
    bool Ok = false;
};

}

TEST(BundleHeader, TheFirstBytesDecideTheKind) {
    const std::string sound = Support::SoundData();
    std::string reserved = sound.substr(0, 256);
    reserved[56] = 1;
    const std::pair<std::string, int> cases[] = {{"", 0},
                                                 {"DAT", 0},
                                                 {"DATA and samples", 1},
                                                 {"DAT1 a short file", 2},
                                                 {sound.substr(0, 255), 3},
                                                 {sound, 3},
                                                 {reserved, 3},
                                                 {std::string(300, 'x'), 0}};
    for (const auto& [bytes, kind] : cases) {
        const ReadBack read(bytes);
        EXPECT_TRUE(read.Ok);
        EXPECT_EQ(read.Kind(), kind) << bytes.substr(0, 8);
        EXPECT_EQ(read.Header.Items, bytes == sound ? 7 : 0); // only the signature stays of what is no header
        EXPECT_EQ(read.Header.Entries[0].Start, bytes == sound ? 256 : 0);
    }
    EXPECT_EQ(Bundle::DataStart(Bundle::FileKind::Bundle), 256);
}

TEST(BundleHeader, AnOlderBundleOfSamplesAloneIsAPlainDataFile) {
    const auto kind = [](int mark, int items, int length) {
        std::string bytes = Support::SoundData().substr(0, 1216); // the samples end here
        bytes[53] = static_cast<char>(mark);
        Support::Patch(bytes, 48, items);
        Support::Patch(bytes, 68, length);
        return ReadBack(bytes).Kind();
    };
    EXPECT_EQ(kind(0, 7, 960), 2);
    for (const int other : {kind(2, 7, 960), kind(0, 6, 960), kind(0, 7, 959), kind(0, 7, INT32_MAX)})
        EXPECT_EQ(other, 3); // the last one: start plus length beyond 31 bits
}

TEST(BundleHeader, WhatIsWrittenIsReadBackInThisMachinesOrder) {
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.At("f.dat"), Files::Mode::Create), 0);
    Bundle::Header header = ReadBack(Support::ReadWhole(Support::Recording("bigtree.dat"))).Header;
    const double time = header.Time;
    header.HeaderCRC = 5;
    ASSERT_TRUE(Bundle::WriteBundleHeader(header, file, false, false, "ignored"));
    const Bundle::Header again = ReadBack(Support::ReadWhole(folder.At("f.dat"))).Header;
    EXPECT_EQ(again.IsLittleEndian, Bytes::MachineIsLittle);
    EXPECT_TRUE(again.HeaderCRC == 0 && again.Time == time && again.Entries[3].Start == 28696);
    ASSERT_TRUE(Bundle::WriteBundleHeader(header, file, true, true, "Qorvanite v9"));
    const ReadBack fresh(Support::ReadWhole(folder.At("f.dat")));
    EXPECT_EQ(Texts::FromField(fresh.Header.Version), "Qorvanite v9");
    EXPECT_TRUE(fresh.Kind() == 2 && fresh.Header.Time == time);
    const Support::FailingFiles disk;
    Support::TheDisk.Room = 255;
    EXPECT_FALSE(Bundle::WriteBundleHeader(header, file, true, false, ""));
    EXPECT_GT(header.Time, time);
    Support::TheDisk.ReadError = EIO;
    EXPECT_FALSE(Bundle::ReadBundleHeader(header, file, false, true));
}
