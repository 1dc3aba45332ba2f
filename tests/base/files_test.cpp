#include "base/files.h"

#include "support/faulty_disk.h"
#include "support/temp_folder.h"

#include <sys/stat.h>

namespace {

std::span<const std::byte> BytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

int Replace(const std::string& path, std::string_view content) {
    Files::Replacement file;
    int error = file.Begin(path);
    if (error == 0) error = Files::WriteAt(file.Content, 0, BytesOf(content));
    return error == 0 ? file.Commit() : error;
}

}

// The file is longer than what a copy takes at once, by whatever way.
TEST(CopyFile, NoFaultLeavesPartOfACopy) {
    const Support::TempFolder folder{Support::Memory()};
    std::string content(600'001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 + i / 997);
    using CopyOperation = decltype(Files::Platform::Copy);
    const CopyOperation refuse = [](int, std::int64_t, std::size_t, int, std::int64_t) {
        return std::int64_t{-EXDEV};
    };
    for (const CopyOperation copy : {Files::Native().Copy, refuse}) {
        Support::FaultyDisk::SystemCopy = copy;
        Support::ForEveryFault(
            folder,
            [&] {
                folder.Put({{"cell.dat", content}});
            },
            [&] { return Files::CopyFile(folder.At("cell.dat"), folder.At("copy.dat")); },
            [&](const Support::FaultRun& run) {
                EXPECT_EQ(Support::ReadWhole(folder.At("cell.dat")), content);
                if (run.Kind == Support::Fault::Unplugged || run.Ended) return;
                EXPECT_EQ(Files::Exists(folder.At("copy.dat")), run.Result == 0);
                EXPECT_TRUE(run.Result != 0 || Support::ReadWhole(folder.At("copy.dat")) == content);
            });
    }
    Support::FaultyDisk::SystemCopy = Files::Native().Copy;
}

TEST(Replacement, KeepsLinksAndRightsAndTakesNoPlaceOfAFolderOrADevice) {
    const Support::TempFolder folder;
    const std::string target = folder.Write("real.ana", "old");
    std::filesystem::permissions(target, std::filesystem::perms{0640});
    std::filesystem::create_symlink(target, folder.At("link.ana"));
    ASSERT_EQ(Replace(folder.At("link.ana"), "new"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.At("link.ana")));
    EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms{0640});
    std::filesystem::create_directory(folder.At("sub"));
    ASSERT_EQ(::mkfifo(folder.At("pipe").c_str(), 0600), 0);
    EXPECT_EQ(Replace(folder.At("sub"), "x"), EISDIR);
    EXPECT_EQ(Replace(folder.At("pipe"), "x"), EINVAL);
    EXPECT_EQ(Replace(folder.At("missing/b"), "x"), ENOENT);
    {
        Files::Replacement forgotten; // without a commit nothing happens
        ASSERT_EQ(forgotten.Begin(target), 0);
    }
    EXPECT_EQ(Support::ReadWhole(target), "new");
    EXPECT_EQ(folder.Count(), 4);
}

TEST(Files, WhatCannotBeReadIsAnErrorAndNotContent) {
    const Support::TempFolder folder;
    Files::File file;
    EXPECT_EQ(Files::Open(file, folder.Path, Files::Mode::Read), EISDIR);
    EXPECT_EQ(Files::Open(file, folder.At("none"), Files::Mode::ReadWrite), ENOENT);
    EXPECT_EQ(Files::Open(file, std::string("a\0b", 3), Files::Mode::Create), EINVAL);
    ASSERT_EQ(Files::Open(file, folder.Write("f", "123456"), Files::Mode::Read), 0);
    std::array<std::byte, 4> four{};
    std::size_t got = 9;
    EXPECT_EQ(Files::ReadAt(file, -1, four, got), EINVAL);
    EXPECT_EQ(Files::ReadAt(file, 4, four, got), 0);
    EXPECT_EQ(got, 2u);
    EXPECT_NE(Files::WriteAt(file, 0, BytesOf("x")), 0);
}

TEST(Files, TheReaderCrossesItsBlocks) {
    std::string content(700'001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 + i / 251);
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.Write("long", content), Files::Mode::Read), 0);
    Files::Reader reader(file, 5);
    ASSERT_EQ(reader.Open(), 0);
    EXPECT_EQ(reader.Remaining(), 699'996);
    std::size_t at = 5;
    for (const std::size_t length : {100'000u, 1001u, 300'000u, 70'000u, 200'000u}) {
        std::string piece(length, '\0');
        ASSERT_TRUE(reader.Read(piece.data(), length) && reader.Skip(11));
        ASSERT_EQ(piece, content.substr(at, length)) << at;
        at += length + 11;
    }
    std::string rest(content.size() - at, '\0');
    EXPECT_FALSE(reader.Skip(rest.size() + 1) || reader.Skip(UINT64_MAX));
    ASSERT_TRUE(reader.Read(rest.data(), rest.size()));
    EXPECT_EQ(rest, content.substr(at));
    EXPECT_FALSE(reader.Read(rest.data(), 1));
    EXPECT_EQ(reader.LastError, 0);
}

TEST(Files, TheWriterKeepsTheOrderOfItsPieces) {
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.At("w"), Files::Mode::Create), 0);
    const std::string piece(100'003, 'p'), large(600'000, 'L');
    Files::Writer writer(file, 2);
    for (const std::string* part : {&piece, &piece, &piece, &large})
        ASSERT_EQ(writer.Write(part->data(), part->size()), 0);
    ASSERT_EQ(writer.SeekTo(0) + writer.Write("ab", 2) + writer.Finish(), 0);
    EXPECT_EQ(Support::ReadWhole(folder.At("w")), "ab" + piece + piece + piece + large);
}
