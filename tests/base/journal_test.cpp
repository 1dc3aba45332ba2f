#include "base/journal.h"

#include "base/checksum.h"
#include "support/failing_files.h"
#include "support/faulty_disk.h"
#include "support/temp_folder.h"

#include <thread>

namespace {

using Journal::Found;

std::span<const std::byte> BytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

// Entries of a journal as they lie in the file.
std::string Number(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}
std::string Named(char kind, const std::string& name) {
    return kind + Number(name.size(), 2) + name;
}
std::string W(const std::string& name, std::uint64_t position, const std::string& bytes) {
    return Named('W', name) + Number(position, 8) + Number(bytes.size(), 8) + bytes;
}
std::string L(const std::string& name, std::uint64_t length) {
    return Named('L', name) + Number(length, 8);
}
std::string R(const std::string& name, const std::string& newName) {
    return Named('R', name) + Number(newName.size(), 2) + newName;
}
std::string D(const std::string& name) {
    return Named('D', name);
}
std::string F(const std::string& name, std::int64_t length) {
    return Named('F', name) + Number(static_cast<std::uint64_t>(length), 8);
}
std::string Complete(const std::string& entries) {
    const std::string bytes = "QvJournl" + Number(1, 4) + entries + "E";
    return bytes + Number(Checksum::Crc32(0, BytesOf(bytes)), 4);
}

// A folder with the files of a change and what its owner is called.
class Journals : public testing::Test {
protected:
    Journals() { Folder.Put(Old); }
    [[nodiscard]] Found Recover() { return Journal::Recover(Owner, Error); }
    // What lies there; an empty journal is as good as none.
    [[nodiscard]] Support::FolderState Seen() const {
        Support::FolderState files = Folder.Files();
        if (files.contains("a.journal") && files["a.journal"].empty()) files.erase("a.journal");
        return files;
    }
    // One step of each kind, and a second write.
    [[nodiscard]] int Change(bool& decided) const {
        Journal::Change change;
        int error = change.Begin(Owner);
        if (error == 0) error = change.Write(Folder.At("a"), 8, BytesOf("XYZ"));
        if (error == 0) error = change.SetLength(Folder.At("a"), 12);
        if (error == 0) error = change.Rename(Folder.At("new"), Folder.At("b"));
        if (error == 0) error = change.Remove(Folder.At("c"));
        if (error == 0) error = change.Write(Folder.At("a"), 1, BytesOf("!"));
        if (error == 0) error = change.Write(Folder.At("made"), 0, BytesOf("M"));
        return error == 0 ? change.Commit(decided) : error;
    }

    Support::TempFolder Folder{Support::Memory()};
    const std::string Owner = Folder.At("a"), Path = Owner + ".journal";
    int Error = 0;
    const Support::FolderState Old = {{"a", "0123456789"}, {"b", "old b"}, {"c", "goes"}, {"new", "new b"}};
    const Support::FolderState New = {{"a", std::string("0!234567XYZ\0", 12)}, {"b", "new b"}, {"made", "M"}};
    const std::string Entries = W("a", 8, "XYZ") + L("a", 12) + R("new", "b") + D("c") + W("a", 1, "!") +
                                W("made", 0, "M") + F("a", 10) + F("b", 5) + F("c", 4) + F("made", -1) +
                                F("new", 5);
};

}

TEST_F(Journals, AChangeIsDoneOrWaitsWholeForRecover) {
    EXPECT_EQ(Checksum::Crc32(Checksum::Crc32(0, BytesOf("1234")), BytesOf("56789")), 0xCBF43926u);
    bool decided = false;
    {
        const Support::FailingFiles disk;
        Support::TheDisk.RenameError = EPERM;
        EXPECT_EQ(Change(decided), EPERM);
        EXPECT_TRUE(decided);
        EXPECT_EQ(Support::ReadWhole(Path), Complete(Entries));
        EXPECT_EQ(Change(decided), EBUSY);
        EXPECT_EQ(Recover(), Found::Failed);
        EXPECT_EQ(Error, EPERM);
    }
    EXPECT_EQ(Recover(), Found::Completed);
    EXPECT_EQ(Folder.Files(), New);
    EXPECT_EQ(Recover(), Found::Nothing);
    Folder.Put(Old);
    EXPECT_EQ(Change(decided), 0);
    EXPECT_TRUE(decided);
    EXPECT_EQ(Folder.Files(), New);
}

TEST_F(Journals, WhatIsNotDecidedLeavesEverythingAsItWas) {
    const struct {
        const char* Name;
        int Error;
        int (*Step)(Journal::Change& change, const Support::TempFolder& folder);
    } cases[] = {
        {"dropped", -1, [](auto& c, auto& f) { return c.Remove(f.At("a")) - 1; }},
        {"nothing to rename", ENOENT, [](auto& c, auto& f) { return c.Rename(f.At("none"), f.At("b")); }},
        {"another folder", EXDEV, [](auto& c, auto& f) { return c.Remove(f.At("sub/a")); }},
        {"no name", EXDEV, [](auto& c, auto& f) { return c.Remove(f.Path); }},
        {"written and renamed", EINVAL,
         [](auto& c, auto& f) { return c.SetLength(f.At("a"), 3) + c.Rename(f.At("a"), f.At("b")); }},
        {"renamed and written", EINVAL,
         [](auto& c, auto& f) { return c.Rename(f.At("a"), f.At("b")) + c.Write(f.At("b"), 0, {}); }},
        {"removed and replaced", EINVAL,
         [](auto& c, auto& f) { return c.Remove(f.At("b")) + c.Rename(f.At("a"), f.At("b")); }},
        {"renamed to itself", EINVAL, [](auto& c, auto& f) { return c.Rename(f.At("b"), f.At("b")); }},
        {"negative", EINVAL, [](auto& c, auto& f) { return c.Write(f.At("a"), -1, {}); }},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Name);
        Journal::Change change;
        bool decided = true;
        ASSERT_EQ(change.Begin(Owner), 0);
        int error = one.Step(change, Folder);
        if (error == 0) error = change.Commit(decided);
        EXPECT_EQ(error, one.Error);
        EXPECT_EQ(error != 0 && !decided, one.Error == ENOENT);
    }
    EXPECT_EQ(Folder.Files(), Old);
}

TEST_F(Journals, AnUnfinishedJournalIsDroppedWhereverItEnds) {
    const std::string whole = Complete(Entries);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Support::WriteWhole(Path, whole.substr(0, length));
        ASSERT_EQ(Recover(), Found::Nothing) << length;
        ASSERT_EQ(Folder.Files(), Old) << length;
    }
    for (std::size_t at = 12; at < whole.size(); ++at) {
        std::string other = whole;
        other[at] = static_cast<char>(other[at] ^ 0x20);
        Support::WriteWhole(Path, other);
        ASSERT_EQ(Recover(), Found::Nothing) << at;
        ASSERT_EQ(Folder.Files(), Old) << at;
    }
    Support::WriteWhole(Path, std::string(5000, '\0')); // a length without its bytes, after a power cut
    EXPECT_EQ(Recover(), Found::Nothing);
    EXPECT_EQ(Folder.Files(), Old);
}

TEST_F(Journals, WhatIsNoJournalOfTheseFilesStaysAndIsNotDone) {
    std::string many, manyFiles;
    for (int i = 0; i < 257; ++i) {
        many += D("n" + std::to_string(i));
        manyFiles += F("n" + std::to_string(i), -1);
    }
    const std::string a10 = F("a", 10), b5 = F("b", 5), new5 = F("new", 5);
    const std::string cases[] = {
        "notes of somebody",
        "QvJournl" + Number(2, 4) + "of a later version",
        Complete(W("../a", 0, "x") + F("../a", 10)),
        Complete(D("") + F("", 4)),
        Complete(D(".") + F(".", -1)),
        Complete(D("..") + F("..", -1)),
        Complete(D(std::string("c\0", 2)) + F("c", 4)),
        Complete(D(std::string(256, 'x'))),
        Complete(R("new", "/tmp/x") + new5),
        Complete("?" + D("c")),
        Complete(Named('W', "a") + Number(0, 8) + Number(1000, 8) + a10),
        Complete(Named('W', "a") + Number(0, 8) + Number(UINT64_MAX, 8) + a10),
        Complete(W("a", INT64_MAX, "x") + a10),
        Complete(W("a", UINT64_MAX, "x") + a10),
        Complete(L("a", UINT64_MAX) + a10),
        Complete(Named('L', "a") + "short"),
        Complete(W("a", 0, "x")),                        // its length is not told
        Complete(W("a", 0, "x") + a10 + a10),            // told twice
        Complete(W("a", 0, "x") + a10 + b5),             // told of another file
        Complete(W("a", 0, "x") + a10 + W("a", 2, "x")), // a step behind it
        Complete(W("a", 0, "x") + a10 + "E1234"),        // bytes behind the end
        Complete(W("a", 0, "x") + D("a") + a10),         // written and removed
        Complete(R("new", "new") + new5),
        Complete(many + manyFiles),
        // Other files than those of the change.
        Complete(W("a", 9, "xyz") + F("a", 11)),
        Complete(W("a", 0, "x") + F("a", -1)),
        Complete(L("a", 3) + W("a", 3, "xyz") + F("a", 20)),
        Complete(L("a", 11) + F("a", 12)),
        Complete(W("none", 0, "x") + F("none", 1)),
        Complete(D("c") + F("c", 5)),
        Complete(R("new", "b") + F("new", 6) + b5),
        Complete(R("new", "b") + new5 + F("b", 6)),
        Complete(R("none", "b") + F("none", 6) + b5),
        Complete(R("none", "b") + F("none", -1) + b5),
    };
    for (const std::string& bytes : cases) {
        SCOPED_TRACE(&bytes - cases);
        Support::WriteWhole(Path, bytes);
        EXPECT_EQ(Recover(), Found::Foreign);
        auto files = Folder.Files();
        EXPECT_EQ(files.extract("a.journal").mapped(), bytes);
        EXPECT_EQ(files, Old);
        bool decided = true;
        EXPECT_EQ(Change(decided), EBUSY);
    }
}

TEST_F(Journals, EveryStateOnTheWayLeadsToTheEnd) {
    const std::string long12 = "0123456789xy";
    const struct {
        std::string Entries;
        Support::FolderState Between; // beside the old files; "-" for a file that has gone
        std::string Name, Content;    // in the end
    } cases[] = {
        {W("a", 10, "xyz") + F("a", 12), {{"a", long12}}, "a", "0123456789xyz"},
        {L("a", 2) + W("a", 2, "xyz") + F("a", 10), {{"a", "01x"}}, "a", "01xyz"},
        {L("a", 2) + W("a", 2, "xyz") + L("a", 3) + F("a", 10), {{"a", "01xyz"}}, "a", "01x"},
        {W("n", 1, "x") + F("n", -1), {{"n", ""}}, "n", std::string("\0x", 2)},
        {R("new", "b") + F("new", 7) + F("b", 5), {{"new", "-"}, {"b", "renamed"}}, "b", "renamed"},
        {D("c") + F("c", 4), {{"c", "-"}}, "new", "new b"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Entries);
        Folder.Put(Old);
        for (const auto& [name, content] : one.Between) {
            (void)Folder.Write(name, content);
            if (content == "-") std::filesystem::remove(Folder.At(name));
        }
        Support::WriteWhole(Path, Complete(one.Entries));
        ASSERT_EQ(Recover(), Found::Completed);
        EXPECT_EQ(Support::ReadWhole(Folder.At(one.Name)), one.Content);
        EXPECT_FALSE(std::filesystem::exists(Path));
    }
}

TEST_F(Journals, OneProgramAtATime) {
    bool decided = false;
    {
        Journal::Change change;
        ASSERT_EQ(change.Begin(Owner), 0);
        ASSERT_EQ(change.Remove(Folder.At("c")), 0);
        EXPECT_EQ(Recover(), Found::Busy);
        // Who waits long enough sees the change done.
        std::thread other([&] { EXPECT_EQ(Recover(), Found::Nothing); });
        EXPECT_EQ(change.Commit(decided), 0);
        other.join();
    }
    EXPECT_EQ(Folder.Files().count("c") + Folder.Files().count("a.journal"), 0u);
    // The journal of a link is that of its file, wherever the link lies.
    std::filesystem::create_directory(Folder.At("sub"));
    std::filesystem::create_symlink(Owner, Folder.At("sub/link"));
    EXPECT_EQ(Journal::NameFor(Folder.At("sub/link")), Path);
    Journal::Change change;
    ASSERT_EQ(change.Begin(Folder.At("sub/link")), 0);
    ASSERT_EQ(change.Write(Folder.At("sub/link"), 0, BytesOf("linked")), 0);
    ASSERT_EQ(change.Commit(decided), 0);
    EXPECT_EQ(Support::ReadWhole(Owner), "linked6789");
}

TEST_F(Journals, LargeStepsPassInPieces) {
    std::string large(3'000'001, '\0');
    for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 31 + i / 997);
    static std::size_t longest;
    longest = 0;
    Files::Platform disk = Files::Native();
    disk.ReadAt = [](int handle, void* data, std::size_t bytes, std::int64_t position) {
        longest = std::max(longest, bytes);
        return Files::Native().ReadAt(handle, data, bytes, position);
    };
    Files::Use(disk);
    Journal::Change change;
    bool decided = false;
    EXPECT_EQ(change.Begin(Owner) + change.Write(Owner, 5, BytesOf(large)) +
                  change.Write(Owner, 2, BytesOf("small")) + change.Commit(decided),
              0);
    Files::Use(Files::Native());
    EXPECT_EQ(Support::ReadWhole(Owner), "01small" + large.substr(2));
    EXPECT_LE(longest, std::size_t{1} << 20);
}

TEST_F(Journals, NoFaultLeavesAChangeHalfDone) {
    std::set<Support::FolderState> left; // by the first fault, with a journal
    const auto recovered = [this](bool mustBeNew) {
        const Found found = Recover();
        EXPECT_TRUE(found == Found::Nothing || found == Found::Completed) << static_cast<int>(found);
        const Support::FolderState files = Seen();
        EXPECT_TRUE(files == New || (files == Old && !mustBeNew));
    };
    Support::ForEveryFault(
        Folder, [this] { Folder.Put(Old); },
        [this] {
            bool decided = false;
            const int error = Change(decided);
            return error != 0 && !decided ? -1 : error;
        },
        [&](const Support::FaultRun& run) {
            const Support::FolderState files = Seen();
            if (files.contains("a.journal")) left.insert(files);
            EXPECT_TRUE(!run.Returned || run.Result != 0 || files == New);
            EXPECT_TRUE(!run.Returned || run.Result >= 0 || files == Old ||
                        run.Kind == Support::Fault::Unplugged);
            recovered(run.Returned && run.Result >= 0);
        });
    EXPECT_GE(left.size(), 10u);
    std::size_t completed = 0;
    for (const Support::FolderState& files : left) {
        Support::ForEveryFault(
            Folder, [&] { Folder.Put(files); }, [this] { return static_cast<int>(Recover()); },
            [&](const Support::FaultRun& run) {
                EXPECT_TRUE(run.Result != static_cast<int>(Found::Foreign) &&
                            run.Result != static_cast<int>(Found::Busy));
                const bool done = run.Returned && run.Result == static_cast<int>(Found::Completed);
                EXPECT_TRUE(!done || Seen() == New);
                completed += done;
                recovered(done);
            });
    }
    EXPECT_GE(completed, left.size() / 2);
}
