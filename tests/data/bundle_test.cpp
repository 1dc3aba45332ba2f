#include "data/bundle.h"

#include "base/bytes.h"
#include "base/messages.h"
#include "base/text.h"
#include "support/failing_files.h"
#include "support/fixtures.h"
#include "support/tree_bytes.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

struct ReadBack {
    ReadBack(std::string_view bytes, bool forWriting = false, bool check = true) {
        const Support::TempFolder folder;
        Files::File file;
        EXPECT_EQ(Files::Open(file, folder.Write("f.dat", bytes), Files::Mode::Read), 0);
        const Messages::Recorder said;
        Ok = Bundle::ReadBundleHeader(Header, file, forWriting, check);
        Alerts = said.Alerts;
        Notes = said.Notes;
    }
    [[nodiscard]] int Kind() const {
        return static_cast<int>(Bundle::BundleKind(Texts::FromField(Header.Signature)));
    }

    Bundle::Header Header{};
    bool Ok = false;
    std::string Alerts, Notes;
};

std::string Sound() {
    return Support::ReadWhole(Support::DataFile("damage/sound.dat"));
}

}

TEST(BundleHeader, TheFirstBytesDecideTheKind) {
    struct Case {
        std::string Bytes;
        int Kind;
        std::int64_t DataStart;
    };
    std::string reserved = Sound().substr(0, 256);
    reserved[56] = 1;
    const Case cases[] = {
        {"", 0, 0},
        {"DAT", 0, 0},
        {"DATA and samples", 1, 4},
        {"DAT1 a short file", 2, 256},
        {Sound().substr(0, 255), 3, 256},
        {Sound(), 3, 256},
        {reserved, 3, 256},
        {std::string(300, 'x'), 0, 0},
    };
    for (const Case& one : cases) {
        const ReadBack read(one.Bytes);
        EXPECT_TRUE(read.Ok);
        EXPECT_EQ(read.Kind(), one.Kind) << one.Bytes.substr(0, 8);
        EXPECT_EQ(Bundle::DataStart(static_cast<Bundle::FileKind>(read.Kind())), one.DataStart);
        const bool isHeader = one.Bytes == Sound();
        EXPECT_EQ(read.Header.Items, isHeader ? 7 : 0); // only the signature stays of what is no header
        EXPECT_EQ(read.Header.Entries[0].Start, isHeader ? 256 : 0);
    }
}

TEST(BundleHeader, ForeignNumbersAreReversedAndTextsAreNot) {
    for (const char* const set : {"bigtree", "steps", "plain"}) {
        const Support::Json wanted = Support::Expected(set)["header"];
        const ReadBack read(Support::ReadWhole(Support::Recording(std::string(set) + ".dat")));
        const Bundle::Header& header = read.Header;
        EXPECT_EQ(Texts::FromField(header.Signature), wanted["Signature"].get<std::string>());
        EXPECT_EQ(Texts::FromField(header.Version), wanted["Version"].get<std::string>());
        EXPECT_EQ(header.Time, wanted["Time"].get<double>());
        EXPECT_EQ(header.Items, wanted["Items"].get<int>());
        EXPECT_EQ(header.IsLittleEndian, wanted["IsLittleEndian"].get<int>());
        for (std::size_t i = 0; i < wanted["Item"].size(); ++i) {
            EXPECT_EQ(header.Entries[i].Start, wanted["Item"][i]["Start"].get<int>());
            EXPECT_EQ(header.Entries[i].Length, wanted["Item"][i]["Length"].get<int>());
            EXPECT_EQ(Texts::FromField(header.Entries[i].Extension),
                      wanted["Item"][i]["Extension"].get<std::string>());
        }
        const bool bundle = std::string(set) != "plain";
        EXPECT_EQ(Bundle::FindItem(header, ".vnc") != nullptr, bundle);
        EXPECT_EQ(Bundle::FindItem(header, ".vn"), nullptr);
    }
}

TEST(BundleHeader, TooManyItemsAndChecksumsForbidWritingOnly) {
    std::string eight = Sound(), checked = Sound();
    Support::Patch(eight, 48, 8);
    Support::Patch(checked, 60, 77);
    const std::string more = "File has more elements than the present version!";
    const ReadBack readEight(eight), writeEight(eight, true), uncheckedEight(eight, true, false);
    EXPECT_TRUE(readEight.Ok);
    EXPECT_EQ(readEight.Notes, more + "\n");
    EXPECT_NE(Bundle::FindItem(readEight.Header, ".txt"), nullptr);
    EXPECT_FALSE(writeEight.Ok);
    EXPECT_EQ(writeEight.Alerts, more + " It cannot be opened for writing!\n");
    EXPECT_TRUE(uncheckedEight.Ok);
    const ReadBack readChecked(checked), writeChecked(checked, true);
    EXPECT_TRUE(readChecked.Ok);
    EXPECT_EQ(readChecked.Alerts, "");
    EXPECT_FALSE(writeChecked.Ok);
    EXPECT_EQ(writeChecked.Alerts,
              "Files with GLP protection cannot be modified by programs without GLP support.\n");
    Support::Patch(eight, 48, -5);
    EXPECT_EQ(Bundle::FindItem(ReadBack(eight).Header, ".vnc"), nullptr);
}

TEST(BundleHeader, AnOlderBundleOfSamplesAloneIsAPlainDataFile) {
    const auto kind = [](int mark, int items, int length) {
        std::string bytes = Sound().substr(0, 1216); // the samples end here
        bytes[53] = static_cast<char>(mark);
        Support::Patch(bytes, 48, items);
        Support::Patch(bytes, 68, length);
        return ReadBack(bytes).Kind();
    };
    EXPECT_EQ(kind(0, 7, 960), 2);
    EXPECT_EQ(kind(2, 7, 960), 3);
    EXPECT_EQ(kind(0, 6, 960), 3);
    EXPECT_EQ(kind(0, 7, 959), 3);
    EXPECT_EQ(kind(0, 7, INT32_MAX), 3); // start plus length beyond 31 bits
}

TEST(BundleHeader, WhatIsWrittenIsReadBackInThisMachinesOrder) {
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.At("f.dat"), Files::Mode::Create), 0);
    Bundle::Header header = ReadBack(Support::ReadWhole(Support::Recording("bigtree.dat"))).Header;
    const Bundle::Header foreign = header;
    header.HeaderCRC = 5;
    ASSERT_TRUE(Bundle::WriteBundleHeader(header, file, false, false, "ignored"));
    const std::string kept = Support::ReadWhole(folder.At("f.dat"));
    ASSERT_EQ(kept.size(), 256u);
    const ReadBack again(kept);
    EXPECT_EQ(again.Header.IsLittleEndian, Bytes::MachineIsLittle);
    EXPECT_EQ(again.Header.FileMark, 2);
    EXPECT_EQ(again.Header.HeaderCRC, 0);
    EXPECT_EQ(again.Header.Time, foreign.Time);
    EXPECT_EQ(again.Header.Entries[3].Start, foreign.Entries[3].Start);

    ASSERT_TRUE(Bundle::WriteBundleHeader(header, file, true, true, "Qorvanite v9"));
    const ReadBack fresh(Support::ReadWhole(folder.At("f.dat")));
    EXPECT_EQ(fresh.Kind(), 2);
    EXPECT_EQ(Texts::FromField(fresh.Header.Version), "Qorvanite v9");
    EXPECT_EQ(fresh.Header.Time, foreign.Time);
    EXPECT_EQ(fresh.Header.Items, 0);
    ASSERT_TRUE(Bundle::WriteBundleHeader(header, file, true, false, ""));
    EXPECT_GT(header.Time, foreign.Time);
    const Support::FailingFiles disk;
    Support::TheDisk.Room = 255;
    EXPECT_FALSE(Bundle::WriteBundleHeader(header, file, true, false, ""));
    Support::TheDisk.ReadError = EIO;
    const Messages::Recorder said;
    EXPECT_FALSE(Bundle::ReadBundleHeader(header, file, false, true));
    EXPECT_EQ(said.Alerts, "Error reading file header: " + Files::ErrorText(EIO) + "\n");
}

TEST(BundleHeader, AFileMessageIsAtMost80Characters) {
    EXPECT_EQ(Bundle::FileMessage("Error closing data file", ENOENT).size(),
              23 + 2 + Files::ErrorText(ENOENT).size());
    EXPECT_EQ(Bundle::FileMessage(std::string(78, 'm'), ENOENT).size(), 80u);
}
