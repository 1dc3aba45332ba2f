#include "trees/tree.h"

#include "base/buffer.h"
#include "base/bytes.h"
#include "base/journal.h"
#include "support/failing_files.h"
#include "support/faulty_disk.h"
#include "support/tree_bytes.h"

#include <random>

namespace {

struct Record {
    std::int32_t Mark;
    std::int32_t Value;
};

constexpr std::array<std::uint32_t, 3> Sizes = {8, 8, 8};
constexpr std::size_t HeaderBytes = 8 + 4 * 3;
constexpr std::size_t StoredBytes = 8 + 4; // a record and its child count

bool Convertible = true;

Tree::Procedures PlainProcedures() {
    Tree::Procedures procedures;
    procedures.FileToRam = [](void* record, int, std::size_t, bool swap) {
        auto& r = *static_cast<Record*>(record);
        if (swap) r = {Bytes::Swapped(r.Mark), Bytes::Swapped(r.Value)};
        return Convertible;
    };
    procedures.RamToFile = [](void* record, int) {
        return Convertible ? static_cast<std::byte*>(record) : nullptr;
    };
    return procedures;
}

class TreeEngine : public testing::Test {
protected:
    ~TreeEngine() override { Convertible = true; }

    static Tree::Handle* Define(const char* name) {
        return Tree::Define(name, 3, Sizes, Sizes, PlainProcedures());
    }
    Record* Add(void* parent, int value) {
        auto* const record = static_cast<Record*>(Tree::Append(Trees, parent));
        if (record) record->Value = value;
        return record;
    }
    // A root with so many children, each with three of its own.
    void* Grow(int children) {
        void* const root = Add(nullptr, 1);
        for (int i = 1; i <= children; ++i) {
            void* const child = Add(root, 10 * i);
            for (int k = 1; k <= 3; ++k) (void)Add(child, 100 * i + k);
        }
        return root;
    }

    Support::OwnedTree Trees{Define("TreeTest.HE")};
};

// The values of a record and, in brackets, of its valid children; "!" where index or parent of one is wrong.
std::string Outline(void* record) {
    std::string text = std::to_string(static_cast<Record*>(record)->Value), below;
    for (int i = 1; i <= Tree::ChildCount(record); ++i) {
        void* const child = Tree::Child(record, i);
        if (Tree::IndexOf(child) != i || Tree::Parent(child) != record) below += "!";
        if (Tree::IsValid(child)) below += " " + Outline(child);
    }
    return below.empty() ? text : text + "[" + below.substr(1) + "]";
}

void DeleteChild(Tree::Handle* tree, const void* parent, int index) {
    void* gone = Tree::Child(parent, index);
    Tree::Delete(tree, gone);
    EXPECT_EQ(gone, nullptr);
}

// The numbers of a file, in one byte order.
std::string Words(std::initializer_list<std::uint32_t> words, bool swap = false) {
    std::string bytes;
    for (const std::uint32_t word : words) {
        const std::uint32_t stored = swap ? Bytes::Swapped(word) : word;
        bytes.append(reinterpret_cast<const char*>(&stored), 4);
    }
    return bytes;
}

}

TEST_F(TreeEngine, WalkingTakesNoneForNoneAndEndsAtTheEdges) {
    void* const root = Grow(2);
    void* const leaf = Tree::Child(Tree::Child(root, 2), 3);
    EXPECT_EQ(Tree::Level(leaf), 2);
    EXPECT_EQ(Tree::Ancestor(leaf, 2), root);
    for (void* const none :
         {Tree::Ancestor(leaf, 3), Tree::Ancestor(leaf, -1), Tree::Child(root, 0), Tree::Child(root, 3),
          Tree::Child(nullptr, 1), Tree::Parent(nullptr), Tree::Ancestor(nullptr, 0), Tree::Root(nullptr)})
        EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Tree::ChildCount(nullptr) + Tree::IndexOf(nullptr) + Tree::Level(nullptr), 0);
    EXPECT_EQ(Tree::Define("T.HE", 3, Sizes, std::span(Sizes).first(2), {}), nullptr);
    EXPECT_EQ(Define("TreeTest.HE"), nullptr);
}

TEST_F(TreeEngine, InsertAndDeleteKeepOrderIndexAndParent) {
    void* root = Add(nullptr, 1);
    const std::size_t bare = Trees.Handle->Heap->UsedBytes();
    EXPECT_EQ(Tree::Append(Trees, nullptr), nullptr); // there is a root
    for (int i = 1; i <= 8; ++i) ASSERT_NE(Add(root, i), nullptr);
    const std::size_t full = Trees.Handle->Heap->UsedBytes();
    static_cast<Record*>(Tree::Insert(Trees, root, 3))->Value = 33;
    // One record, and room for 16 references instead of 8.
    EXPECT_EQ(Trees.Handle->Heap->UsedBytes(), full + (48 + 16) + 8 * sizeof(void*));
    for (const int position : {0, -1, 11}) EXPECT_EQ(Tree::Insert(Trees, root, position), nullptr);
    static_cast<Record*>(Tree::Insert(Trees, root, 10))->Value = 17;
    static_cast<Record*>(Tree::Insert(Trees, root, 1))->Value = -7;
    EXPECT_EQ(Outline(root), "1[-7 1 2 33 3 4 5 6 7 8 17]");
    for (const int index : {11, 1, 3}) DeleteChild(Trees, root, index);
    void* const leaf = Add(Tree::Child(root, 1), 5);
    EXPECT_EQ(Tree::Append(Trees, leaf), nullptr); // the last level
    EXPECT_EQ(Outline(root), "1[1[5] 2 3 4 5 6 7 8]");
    while (Tree::ChildCount(root) > 0) DeleteChild(Trees, root, 1);
    EXPECT_EQ(Trees.Handle->Heap->UsedBytes(), bare);
    Tree::Delete(Trees, root);
    EXPECT_EQ(Tree::Root(Trees), nullptr);
}

TEST_F(TreeEngine, CopyAndReplaceTakeWholeSubtrees) {
    void* root = Grow(2);
    void* const first = Tree::Child(root, 1);
    EXPECT_EQ(Tree::Copy(Trees, first, root, 3), 0);
    EXPECT_EQ(Tree::Copy(Trees, Tree::Child(first, 2), first, 1), 0);
    EXPECT_EQ(Outline(root), "1[10[102 101 102 103] 20[201 202 203] 10[101 102 103]]");

    Tree::Handle* other = Define("OtherTree.HE");
    void* otherRoot = Tree::Append(other, nullptr);
    Tree::SetValid(first, false);
    EXPECT_EQ(Tree::Copy(other, first, otherRoot, 1), 0);
    for (const int position : {0, 3}) EXPECT_EQ(Tree::Copy(other, first, otherRoot, position), -1);
    EXPECT_EQ(Tree::Copy(other, first, Tree::Child(otherRoot, 1), 1), -1); // the levels do not fit
    EXPECT_EQ(Tree::Copy(other, nullptr, otherRoot, 1), -1);
    EXPECT_EQ(Outline(otherRoot), "0[10[102 101 102 103]]"); // valid in its new place

    ASSERT_TRUE(Tree::Replace(other, otherRoot, Trees.Handle, root));
    EXPECT_TRUE(!other && !otherRoot && Tree::Root(Trees) == root);
    EXPECT_EQ(Outline(root), "0[10[102 101 102 103]]");
    EXPECT_TRUE(Buffer::Exists("TreeTest.HE") && !Buffer::Exists("OtherTree.HE"));
    EXPECT_FALSE(Tree::Replace(other, otherRoot, Trees.Handle, root));
}

TEST_F(TreeEngine, MarksAreTwoBitsAndOnlyWhereALevelHasThem) {
    const Support::OwnedTree tree{
        Tree::Define("MarkTree.HE", 2, Sizes, Sizes, PlainProcedures(), {true, false})};
    auto* const root = static_cast<Record*>(Tree::Append(tree, nullptr));
    auto* const plain = static_cast<Record*>(Tree::Append(tree, root));
    root->Mark = plain->Mark = 0x70;
    for (const bool on : {true, false}) {
        for (Record* record : {root, plain}) {
            Tree::SetSelected(record, on);
            Tree::SetOpen(record, !on);
        }
        EXPECT_EQ(root->Mark, on ? 0x73 : 0x70);
        EXPECT_TRUE(Tree::GetSelected(root) == on && Tree::GetOpen(root) != on);
        EXPECT_EQ(plain->Mark, 0x70);
        EXPECT_TRUE(Tree::GetOpen(plain) && !Tree::GetSelected(plain));
    }
}

TEST_F(TreeEngine, LoadsWhatTheHeaderSays) {
    const struct {
        std::string Bytes;
        const char* Outline;
        bool Swapped = false;
    } cases[] = {
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 1, 0, 3, 0, 0, 4, 0}), "1[2[3] 4]"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 1, 0, 3, 0, 0, 4, 0}, true), "1[2[3] 4]", true},
        // Of shorter records the missing tail is 0, of longer ones the surplus is skipped; with fewer levels
        // the last count is not followed.
        {Words({Tree::Magic, 3, 8, 4, 0, 0, 1, 1, 9, 1, 0}), "1[0[0]]"},
        {Words({Tree::Magic, 3, 12, 16, 8, 0, 1, 99, 1, 0, 2, 99, 99, 1, 0, 3, 0}), "1[2[3]]"},
        {Words({Tree::Magic, 2, 8, 8, 0, 1, 1, 0, 2, 5}), "1[2]"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Outline);
        Tree::FileInfo info;
        ASSERT_EQ(Support::LoadImage(Trees, one.Bytes, info), 0) << Tree::LastError();
        EXPECT_EQ(info.Swapped, one.Swapped);
        EXPECT_EQ(Outline(Tree::Root(Trees)), one.Outline);
        EXPECT_EQ(Support::StoredImage(Trees) == cases[0].Bytes, &one - cases < 2);
    }
}

TEST_F(TreeEngine, WhatCannotBeLoadedLeavesNoTree) {
    const struct {
        std::string Bytes;
        int Code;
        const char* Message;
    } cases[] = {
        {Words({Tree::Magic, 4, 8, 8, 8, 8}), -2, "Tree.Load - illegal number of levels: 4, 3"},
        {Words({Tree::Magic, 3, 12, 8, 8, 0}), -1, "Tree.LoadRead failed (2): unexpected end of file"},
        {Words({Tree::Magic, 3, ~0u, 8, 8, 0, 1, 0}), -1, "Tree.LoadRead failed (3): unexpected end of file"},
        {Words({Tree::Magic, 3, 4, 8, 8}), -1, "Tree.LoadRead failed (4): unexpected end of file"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 0x7FFFFFFF}), -1,
         "Tree.LoadRecord - allocating child entries failed"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(Support::LoadImage(Trees, one.Bytes), one.Code) << one.Message;
        EXPECT_EQ(Tree::LastError(), one.Message);
        EXPECT_EQ(Tree::Root(Trees), nullptr);
        EXPECT_EQ(Trees.Handle->Heap->AreaBytes(), 0u);
    }
    const std::string sound = Words({Tree::Magic, 1, 8, 0, 1, 0});
    using Support::Disk;
    for (int Disk::*error : {&Disk::OpenError, &Disk::LengthError, &Disk::ReadError}) {
        const Support::FailingFiles disk;
        Support::TheDisk.*error = EIO;
        EXPECT_EQ(Support::LoadImage(Trees, sound), EIO);
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
    }
    Convertible = false;
    EXPECT_EQ(Support::LoadImage(Trees, sound), -1);
}

TEST_F(TreeEngine, ARecordOfNoBytesCannotMakeALoadTakeAllMemory) {
    // Each child costs 4 bytes in the file and a header in RAM: allowed, but only in proportion.
    std::string bytes = Words({Tree::Magic, 3, 0, 0, 0, 400'000});
    bytes.resize(bytes.size() + 1'600'000);
    EXPECT_EQ(Support::LoadImage(Trees, bytes), 0);
    EXPECT_EQ(Tree::ChildCount(Tree::Root(Trees)), 400'000);
    EXPECT_LT(Trees.Handle->Heap->AreaBytes(), (64u << 20) + 16 * bytes.size());
}

TEST_F(TreeEngine, ATreeLiesAnywhereInTheFirst31BitsOfAFile) {
    (void)Grow(2);
    const std::string image = Support::StoredImage(Trees);
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.Write("b", std::string(1000, '.')), Files::Mode::ReadWrite), 0);
    std::int64_t size = 0;
    ASSERT_EQ(Tree::StoreAt(file, 300, Trees, size), 0);
    EXPECT_EQ(size, static_cast<std::int64_t>(image.size()));
    const std::string whole = std::string(300, '.') + image + std::string(700 - image.size(), '.');
    EXPECT_EQ(Support::ReadWhole(folder.At("b")), whole);
    Tree::FileInfo info;
    std::array<std::byte, 8> first{};
    ASSERT_EQ(Tree::LoadInfoAt(file, 300, 2, info, first), 0);
    EXPECT_EQ(Bytes::Load<std::int32_t>(&first[4]), 1);
    ASSERT_EQ(Tree::LoadAt(file, 300, Trees, info), 0);
    EXPECT_EQ(Support::StoredImage(Trees), image);
    for (const std::int64_t offset : {301, -1}) EXPECT_EQ(Tree::LoadAt(file, offset, Trees, info), -1);
    for (const std::int64_t offset : {std::int64_t{-1}, std::int64_t{INT32_MAX} - 30, std::int64_t{1} << 40})
        EXPECT_EQ(Tree::StoreAt(file, offset, Trees, size), -1);
    EXPECT_EQ(Support::ReadWhole(folder.At("b")), whole); // refused before anything is written
}

TEST_F(TreeEngine, AnIncrementalStoreWritesWhatHasMovedOrIsNew) {
    void* const root = Grow(3);
    const Support::TempFolder folder;
    const std::string path = folder.At("t");
    const Support::FailingFiles disk;
    ASSERT_EQ(Tree::Store(path, Trees, false), 0); // there is no file yet: written whole
    constexpr std::int64_t ChildAt[] = {HeaderBytes, HeaderBytes + StoredBytes, HeaderBytes + 5 * StoredBytes,
                                        HeaderBytes + 9 * StoredBytes};
    const struct {
        const char* Name;
        void (*Change)(Tree::Handle* tree, void* root);
        std::int64_t From;
        std::int64_t Records; // that are written
    } steps[] = {
        {"nothing", [](auto*, auto*) {}, INT64_MAX, 0},
        {"one at the end", [](auto* t, auto* r) { (void)Tree::Append(t, Tree::Child(r, 3)); }, ChildAt[3], 2},
        {"one amid", [](auto* t, auto* r) { (void)Tree::Insert(t, Tree::Child(r, 2), 2); }, ChildAt[2], 9},
        {"one gone", [](auto* t, auto* r) { DeleteChild(t, Tree::Child(r, 2), 1); }, ChildAt[2], 9},
        {"a new child", [](auto* t, auto* r) { (void)Tree::Append(t, r); }, HeaderBytes, 2},
        {"one omitted", [](auto*, auto* r) { Tree::SetValid(Tree::Child(r, 1), false); }, HeaderBytes, 11},
        {"back, and another omitted",
         [](auto*, auto* r) {
             for (const int i : {1, 2}) Tree::SetValid(Tree::Child(r, i), i == 1);
         },
         HeaderBytes, 5},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.Name);
        step.Change(Trees, root);
        Support::TheDisk = {};
        ASSERT_EQ(Tree::Store(path, Trees, false), 0);
        EXPECT_EQ(Support::TheDisk.LowestWrite, step.From);
        EXPECT_EQ(Support::TheDisk.Written, step.Records * static_cast<std::int64_t>(StoredBytes));
        // The rest of a longer former image may stand behind.
        const Support::OwnedTree fresh{Define("FreshTree.HE")};
        ASSERT_EQ(Support::LoadImage(fresh, Support::ReadWhole(path)), 0);
        EXPECT_EQ(Outline(Tree::Root(fresh)), Outline(root));
    }
}

TEST_F(TreeEngine, AfterAnyChangesTheFileOfAnIncrementalStoreIsTheWholeImage) {
    std::mt19937 random(7);
    const auto below = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const Support::TempFolder folder{Support::Memory()};
    const std::string path = folder.At("t");
    void* const root = Grow(4);
    const Support::OwnedTree fresh{Define("FreshTree.HE")};
    int value = 1000;
    for (int round = 0; round < 400; ++round) {
        for (int changes = below(4); changes >= 0; --changes) {
            const int children = Tree::ChildCount(root);
            void* parent = children == 0 || below(4) == 0 ? root : Tree::Child(root, 1 + below(children));
            const int count = Tree::ChildCount(parent);
            void* const one = count > 0 ? Tree::Child(parent, 1 + below(count)) : nullptr;
            switch (below(count > 6 ? 4 : 7)) {
            case 0:
            case 1:
                if (one) DeleteChild(Trees, parent, Tree::IndexOf(one));
                break;
            case 2:
                if (one) Tree::SetValid(one, !Tree::IsValid(one));
                break;
            case 3:
                if (one) (void)Tree::Copy(Trees, one, parent, 1 + below(count + 1));
                break;
            default: static_cast<Record*>(Tree::Insert(Trees, parent, 1 + below(count + 1)))->Value = ++value;
            }
        }
        ASSERT_EQ(Tree::Store(path, Trees, false), 0);
        const std::string file = Support::ReadWhole(path);
        Tree::FileInfo info;
        ASSERT_EQ(Tree::Load(path, fresh, info), 0) << round;
        ASSERT_EQ(Outline(Tree::Root(fresh)), Outline(root)) << round;
        ASSERT_EQ(file.substr(0, static_cast<std::size_t>(Trees.Handle->StoredSize)),
                  Support::StoredImage(fresh))
            << round;
    }
}

TEST_F(TreeEngine, NoFaultLeavesAHalfStoredTree) {
    // Leaves so large that some of the new ones are written behind the old end, and some into the journal.
    constexpr std::array<std::uint32_t, 3> LargeSizes = {8, 8, 90'000};
    const Support::TempFolder folder{Support::Memory()};
    const std::string path = folder.At("t");
    Tree::Handle* tree = nullptr;
    for (const bool rewrite : {false, true}) {
        SCOPED_TRACE(rewrite ? "whole" : "incremental");
        std::string before, after;
        const auto prepare = [&] {
            folder.Put({});
            Tree::Dispose(tree);
            tree = Tree::Define("LargeTree.HE", 3, LargeSizes, LargeSizes, PlainProcedures());
            void* const root = Tree::Append(tree, nullptr);
            for (const int leaves : {2, 1, 1})
                for (void* child = Tree::Append(tree, root); Tree::ChildCount(child) < leaves;)
                    (void)Tree::Append(tree, child);
            ASSERT_EQ(Tree::Store(path, tree, true), 0);
            before = Outline(root);
            void* gone = Tree::Child(Tree::Child(root, 2), 1);
            Tree::Delete(tree, gone);
            for (int i = 1; i <= 6; ++i)
                static_cast<Record*>(Tree::Append(tree, Tree::Child(root, i % 2 + 2)))->Value = i;
            after = Outline(root);
        };
        const auto loaded = [&] {
            const Support::OwnedTree fresh{
                Tree::Define("FreshTree.HE", 3, LargeSizes, LargeSizes, PlainProcedures())};
            Tree::FileInfo info;
            EXPECT_EQ(Tree::Load(path, fresh, info), 0) << Tree::LastError();
            return Tree::Root(fresh) ? Outline(Tree::Root(fresh)) : std::string("none");
        };
        Support::ForEveryFault(
            folder, prepare, [&] { return Tree::Store(path, tree, rewrite); },
            [&](const Support::FaultRun& run) {
                const std::string found = loaded();
                EXPECT_TRUE(found == after || (found == before && (!run.Returned || run.Result != 0)));
                if (run.Ended) return;
                EXPECT_EQ(Tree::Store(path, tree, false), 0) << Tree::LastError();
                EXPECT_EQ(loaded(), after);
            });
    }
    Tree::Dispose(tree);
}

TEST_F(TreeEngine, AFileWithAPendingChangeIsNeitherLoadedNorReplaced) {
    (void)Grow(1);
    const Support::TempFolder folder{Support::Memory()};
    const std::string path = folder.At("t");
    ASSERT_EQ(Tree::Store(path, Trees, true), 0);
    const std::string old = Support::ReadWhole(path);
    const Support::OwnedTree other{Define("OtherTree.HE")};
    Tree::FileInfo info;
    (void)folder.Write("t.journal", "somebody's notes");
    EXPECT_EQ(Tree::Load(path, other, info), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - the file's journal belongs to another file");
    EXPECT_EQ(Tree::LoadInfo(path, 2, info, {}), -1);
    for (const bool rewrite : {true, false}) {
        (void)Add(Tree::Root(Trees), 7);
        EXPECT_EQ(Tree::Store(path, Trees, rewrite), -1);
    }
    std::filesystem::remove(folder.At("t.journal"));
    Journal::Change change;
    ASSERT_EQ(change.Begin(path), 0);
    EXPECT_EQ(Tree::Load(path, other, info), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - the file is being changed by another program");
    EXPECT_EQ(Support::ReadWhole(path), old);
}

TEST_F(TreeEngine, AnIncrementalStoreTrustsOnlyItsOwnFile) {
    void* const root = Grow(2);
    const Support::TempFolder folder;
    const std::string path = folder.At("a"), other = folder.Write("b", "something else");
    ASSERT_EQ(Tree::Store(path, Trees, true), 0);
    static_cast<Record*>(root)->Value = 5; // a change inside of a record alone needs the flag
    ASSERT_EQ(Tree::Store(path, Trees, false), 0);
    const std::string image = Support::StoredImage(Trees);
    EXPECT_NE(Support::ReadWhole(path), image);
    for (int i = 0; i < 3; ++i) { // another file, one that has been replaced, and one that is gone
        ASSERT_EQ(Tree::Store(other, Trees, false), 0);
        EXPECT_EQ(Support::ReadWhole(other), image);
        if (i == 0) std::filesystem::rename(folder.Write("c", std::string(image.size(), 'c')), other);
        if (i == 1) std::filesystem::remove(other);
    }
    Tree::FileInfo info;
    ASSERT_EQ(Tree::Load(other, Trees, info), 0);
    static_cast<Record*>(Tree::Root(Trees))->Value = 6;
    ASSERT_EQ(Tree::Store(other, Trees, false), 0); // the first one of a loaded tree
    EXPECT_EQ(Support::ReadWhole(other), Support::StoredImage(Trees));
}

TEST_F(TreeEngine, AFailedStoreTellsWhy) { // that it keeps the old file the faults above show
    void* const root = Grow(2);
    const Support::TempFolder folder;
    const std::string path = folder.At("t");
    for (const bool rewrite : {true, false}) {
        ASSERT_EQ(Tree::Store(path, Trees, false), 0);
        const std::string old = Support::ReadWhole(path);
        (void)Add(root, 30);
        const Support::FailingFiles disk;
        Support::TheDisk.Room = 20;
        EXPECT_EQ(Tree::Store(path, Trees, rewrite), ENOSPC);
        EXPECT_EQ(Tree::LastError(), "Tree.Store - write error (4)");
        Support::TheDisk.OpenError = EACCES;
        EXPECT_EQ(Tree::Store(path, Trees, rewrite), EACCES);
        EXPECT_EQ(Tree::LastError(), "Tree.Store - opening file failed");
        Support::TheDisk = {};
        Convertible = false;
        EXPECT_EQ(Tree::Store(path, Trees, rewrite), -1);
        Convertible = true;
        EXPECT_EQ(Support::ReadWhole(path), old);
        EXPECT_EQ(folder.Count() + Support::TheDisk.OpenHandles, 1);
    }
}
