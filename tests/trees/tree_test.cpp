#include "trees/tree.h"

#include "base/buffer.h"
#include "base/bytes.h"
#include "support/failing_files.h"
#include "support/tree_bytes.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <initializer_list>

namespace {

struct Record {
    std::int32_t Mark;
    std::int32_t Value;
};

constexpr std::array<std::uint32_t, 3> Sizes = {8, 8, 8};
constexpr std::size_t HeaderBytes = 8 + 4 * 3;
constexpr std::size_t StoredBytes = 8 + 4; // a record and its child count

Record Image;
bool Convertible = true;

Tree::Procedures PlainProcedures() {
    return {.FileToRam =
                [](void* record, int, std::size_t, bool swap) {
                    auto& r = *static_cast<Record*>(record);
                    if (swap) r = {Bytes::Swapped(r.Mark), Bytes::Swapped(r.Value)};
                    return Convertible;
                },
            .RamToFile = [](void* record, int) -> std::byte* {
                Image = *static_cast<Record*>(record);
                return Convertible ? reinterpret_cast<std::byte*>(&Image) : nullptr;
            },
            .InitRecord = {},
            .Copied = {}};
}

class TreeEngine : public testing::Test {
protected:
    ~TreeEngine() override { Convertible = true; }

    static Tree::Handle* Define(const char* name, int levels = 3) {
        return Tree::Define(name, levels, Sizes, Sizes, PlainProcedures());
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

int ValueOf(const void* record) {
    return record ? static_cast<const Record*>(record)->Value : -1;
}

// The values of a record's children; -2 behind them where index or parent of one is wrong.
std::vector<int> Values(void* parent) {
    std::vector<int> values;
    for (int i = 1; i <= Tree::ChildCount(parent); ++i) {
        values.push_back(ValueOf(Tree::Child(parent, i)));
        if (Tree::IndexOf(Tree::Child(parent, i)) != i || Tree::Parent(Tree::Child(parent, i)) != parent)
            values.push_back(-2);
    }
    return values;
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

TEST_F(TreeEngine, DefineRefusesInWords) {
    EXPECT_EQ(Tree::Define("", 1, Sizes, Sizes, {}), nullptr);
    EXPECT_EQ(Tree::LastError(), "Tree.Define - empty heap name");
    EXPECT_EQ(Tree::Define("T.HE", 0, Sizes, Sizes, {}), nullptr);
    EXPECT_EQ(Tree::LastError(), "Tree.Define - illegal parameters: 0, 3, 3");
    EXPECT_EQ(Tree::Define("T.HE", 3, Sizes, std::span(Sizes).first(2), {}), nullptr);
    EXPECT_EQ(Tree::LastError(), "Tree.Define - illegal parameters: 3, 3, 2");
    EXPECT_EQ(Define("TreeTest.HE"), nullptr);
    EXPECT_EQ(Tree::LastError(), "Tree.Define - allocation of heap failed");
    EXPECT_FALSE(Buffer::Exists("T.HE"));
}

TEST_F(TreeEngine, WalkingTakesNoneForNoneAndEndsAtTheEdges) {
    void* const root = Grow(2);
    void* const leaf = Tree::Child(Tree::Child(root, 2), 3);
    EXPECT_EQ(ValueOf(leaf), 203);
    EXPECT_EQ(Tree::Level(leaf), 2);
    EXPECT_EQ(Tree::Ancestor(leaf, 0), leaf);
    EXPECT_EQ(Tree::Ancestor(leaf, 2), root);
    for (void* const none :
         {Tree::Ancestor(leaf, 3), Tree::Ancestor(leaf, -1), Tree::Child(root, 0), Tree::Child(root, 3),
          Tree::Child(root, -1), Tree::Child(leaf, 1), Tree::Child(nullptr, 1), Tree::Parent(root),
          Tree::Parent(nullptr), Tree::Ancestor(nullptr, 0), Tree::Root(nullptr)})
        EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Tree::IndexOf(root), 1);
    EXPECT_EQ(Tree::ChildCount(nullptr) + Tree::IndexOf(nullptr) + Tree::Level(nullptr), 0);
    EXPECT_FALSE(Tree::IsValid(nullptr));
}

TEST_F(TreeEngine, InsertAndDeleteKeepOrderIndexAndParent) {
    void* const root = Add(nullptr, 1);
    EXPECT_EQ(Tree::Append(Trees, nullptr), nullptr); // there is a root
    for (int i = 1; i <= 8; ++i) ASSERT_NE(Add(root, i), nullptr);
    const std::size_t full = Trees.Handle->Heap->UsedBytes();
    static_cast<Record*>(Tree::Insert(Trees, root, 3))->Value = 33;
    EXPECT_EQ(Values(root), (std::vector{1, 2, 33, 3, 4, 5, 6, 7, 8}));
    // One record, and room for 16 references instead of 8.
    EXPECT_EQ(Trees.Handle->Heap->UsedBytes(), full + (48 + 16) + 8 * sizeof(void*));
    for (int i = 9; i <= 15; ++i) (void)Add(root, i);
    EXPECT_EQ(Trees.Handle->Heap->UsedBytes(), full + 8 * (48 + 16) + 8 * sizeof(void*));
    for (const int position : {0, -1, 18}) EXPECT_EQ(Tree::Insert(Trees, root, position), nullptr);
    static_cast<Record*>(Tree::Insert(Trees, root, 17))->Value = 17;
    static_cast<Record*>(Tree::Insert(Trees, root, 1))->Value = -7;

    for (const int index : {18, 1, 3}) {
        void* gone = Tree::Child(root, index);
        Tree::Delete(Trees, gone);
        EXPECT_EQ(gone, nullptr);
    }
    EXPECT_EQ(Values(root), (std::vector{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));

    void* const child = Tree::Child(root, 1);
    void* const leaf = Add(child, 5);
    EXPECT_EQ(Tree::Append(Trees, leaf), nullptr); // the last level
    EXPECT_EQ(Values(child), std::vector{5});
}

TEST_F(TreeEngine, WhatIsDeletedGoesBackToTheHeap) {
    void* const root = Add(nullptr, 1);
    const std::size_t bare = Trees.Handle->Heap->UsedBytes();
    for (int i = 0; i < 3; ++i) (void)Add(Add(root, i), i);
    while (void* child = Tree::Child(root, 1)) Tree::Delete(Trees, child);
    EXPECT_EQ(Trees.Handle->Heap->UsedBytes(), bare);
    void* gone = root;
    Tree::Delete(Trees, gone);
    EXPECT_EQ(Tree::Root(Trees), nullptr);
    EXPECT_NE(Add(nullptr, 2), nullptr);
}

TEST_F(TreeEngine, CopyTakesTheWholeSubtreeIntoTheSameOrAnotherTree) {
    void* const root = Grow(2);
    void* const first = Tree::Child(root, 1);
    EXPECT_EQ(Tree::Copy(Trees, first, root, 3), 0);
    EXPECT_EQ(Tree::Copy(Trees, Tree::Child(first, 2), first, 1), 0);
    EXPECT_EQ(Values(root), (std::vector{10, 20, 10}));
    EXPECT_EQ(Values(first), (std::vector{102, 101, 102, 103}));
    EXPECT_EQ(Values(Tree::Child(root, 3)), (std::vector{101, 102, 103}));

    const Support::OwnedTree other{Define("OtherTree.HE")};
    void* const otherRoot = Tree::Append(other, nullptr);
    Tree::SetValid(first, false);
    EXPECT_EQ(Tree::Copy(other, first, otherRoot, 1), 0);
    EXPECT_TRUE(Tree::IsValid(Tree::Child(otherRoot, 1)));
    EXPECT_EQ(Values(Tree::Child(otherRoot, 1)), (std::vector{102, 101, 102, 103}));
    for (const int position : {0, 3}) EXPECT_EQ(Tree::Copy(other, first, otherRoot, position), -1);
    EXPECT_EQ(Tree::Copy(other, first, Tree::Child(otherRoot, 1), 1), -1); // the levels do not fit
    EXPECT_EQ(Tree::Copy(other, nullptr, otherRoot, 1), -1);
    EXPECT_EQ(Tree::ChildCount(otherRoot), 1);
}

TEST_F(TreeEngine, ReplaceMovesATreeUnderTheNameOfAnother) {
    void* root = Grow(1);
    Tree::Handle* source = Define("NewTree.HE");
    void* sourceRoot = Tree::Append(source, nullptr);
    static_cast<Record*>(sourceRoot)->Value = 77;
    ASSERT_TRUE(Tree::Replace(source, sourceRoot, Trees.Handle, root));
    EXPECT_EQ(source, nullptr);
    EXPECT_EQ(sourceRoot, nullptr);
    EXPECT_EQ(ValueOf(root), 77);
    EXPECT_EQ(Tree::Root(Trees), root);
    EXPECT_TRUE(Buffer::Exists("TreeTest.HE"));
    EXPECT_FALSE(Buffer::Exists("NewTree.HE"));
    EXPECT_FALSE(Tree::Replace(source, sourceRoot, Trees.Handle, root));
}

TEST_F(TreeEngine, MemorySizeCountsDownToTheDeepestLevel) {
    (void)Grow(4);
    std::vector<int> counts;
    EXPECT_EQ(Tree::MemorySize(Trees, counts, 2), (8 + 4) * (1 + 4 + 12));
    EXPECT_EQ(counts, (std::vector{1, 4, 12}));
    EXPECT_EQ(Tree::MemorySize(Trees, counts, 1), (8 + 4) * (1 + 4));
    EXPECT_EQ(counts, (std::vector{1, 4, 0}));
}

TEST_F(TreeEngine, MarksAreTwoBitsAndOnlyWhereALevelHasThem) {
    const Support::OwnedTree tree{
        Tree::Define("MarkTree.HE", 2, Sizes, Sizes, PlainProcedures(), {true, false})};
    auto* const root = static_cast<Record*>(Tree::Append(tree, nullptr));
    auto* const plain = static_cast<Record*>(Tree::Append(tree, root));
    root->Mark = plain->Mark = 0x70;
    for (Record* record : {root, plain}) {
        Tree::SetSelected(record, true);
        Tree::SetOpen(record, false);
    }
    EXPECT_EQ(root->Mark, 0x73);
    EXPECT_TRUE(Tree::GetSelected(root));
    EXPECT_FALSE(Tree::GetOpen(root));
    Tree::SetSelected(root, false);
    Tree::SetOpen(root, true);
    EXPECT_EQ(root->Mark, 0x70);
    EXPECT_EQ(plain->Mark, 0x70);
    EXPECT_FALSE(Tree::GetSelected(plain));
    EXPECT_TRUE(Tree::GetOpen(plain));
}

TEST_F(TreeEngine, AnImageIsTheHeaderAndTheRecordsDepthFirst) {
    void* const root = Add(nullptr, 1);
    (void)Add(Add(root, 2), 3);
    (void)Add(root, 4);
    EXPECT_EQ(Support::StoredImage(Trees),
              Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 1, 0, 3, 0, 0, 4, 0}));
}

TEST_F(TreeEngine, LoadsWhatTheHeaderSays) {
    struct Case {
        const char* Name;
        std::string Bytes;
        bool Swapped;
        std::vector<int> Children, First; // values of the root's children, and of the first one's
    };
    const Case cases[] = {
        {"native", Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 1, 0, 3, 0, 0, 4, 0}), false, {2, 4}, {3}},
        {"foreign",
         Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 1, 0, 3, 0, 0, 4, 0}, true),
         true,
         {2, 4},
         {3}},
        {"shorter records: the missing tail is 0",
         Words({Tree::Magic, 3, 8, 4, 0, 0, 1, 1, 9, 1, 0}),
         false,
         {0},
         {0}},
        {"longer records: the surplus is skipped",
         Words({Tree::Magic, 3, 12, 16, 8, 0, 1, 99, 1, 0, 2, 99, 99, 1, 0, 3, 0}),
         false,
         {2},
         {3}},
        {"fewer levels: the last count is not followed",
         Words({Tree::Magic, 2, 8, 8, 0, 1, 1, 0, 2, 5}),
         false,
         {2},
         {}},
        {"one level", Words({Tree::Magic, 1, 8, 0, 1, 3}), false, {}, {}},
        {"a count on the last level is ignored",
         Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 1, 0, 2, 1, 0, 3, 7}),
         false,
         {2},
         {3}},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.Name);
        Tree::FileInfo info;
        ASSERT_EQ(Support::LoadImage(Trees, one.Bytes, info), 0) << Tree::LastError();
        EXPECT_EQ(info.Swapped, one.Swapped);
        void* const root = Tree::Root(Trees);
        EXPECT_EQ(ValueOf(root), 1);
        EXPECT_EQ(Values(root), one.Children);
        EXPECT_EQ(Values(Tree::Child(root, 1)), one.First);
    }
}

TEST_F(TreeEngine, WhatCannotBeLoadedLeavesNoTree) {
    struct Case {
        std::string Bytes;
        int Code;
        const char* Message;
    };
    const Case cases[] = {
        {"", -1, "Tree.Load - reading magic number failed"},
        {"eer", -1, "Tree.Load - reading magic number failed"},
        {Words({0x54726564, 1}), -1, "Tree.Load - not a Tree file"},
        {Words({Tree::Magic}), -1, "Tree.Load - reading number of levels failed"},
        {Words({Tree::Magic, 0}), -2, "Tree.Load - illegal number of levels: 0, 3"},
        {Words({Tree::Magic, 4, 8, 8, 8, 8}), -2, "Tree.Load - illegal number of levels: 4, 3"},
        {Words({Tree::Magic, 0x80000000}), -2, "Tree.Load - illegal number of levels: -2147483648, 3"},
        {Words({Tree::Magic, 3, 8, 8}), -1, "Tree.Load - reading level sizes failed"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0}), -1, "Tree.LoadRead failed (1): unexpected end of file"},
        {Words({Tree::Magic, 3, 12, 8, 8, 0}), -1, "Tree.LoadRead failed (2): unexpected end of file"},
        {Words({Tree::Magic, 3, 12, 8, 8, 0, 1}), -1, "Tree.LoadRead failed (3): unexpected end of file"},
        {Words({Tree::Magic, 3, 0xFFFFFFFF, 8, 8, 0, 1, 0}), -1,
         "Tree.LoadRead failed (3): unexpected end of file"},
        {Words({Tree::Magic, 3, 4, 8, 8}), -1, "Tree.LoadRead failed (4): unexpected end of file"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1}), -1, "Tree.LoadRecord - reading number of children failed"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 0xFFFFFFFF}), -1,
         "Tree.LoadRecord: negative number of children."},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 1, 0, 2, 1, 0, 3, 0x80000000}), -1,
         "Tree.LoadRecord: negative number of children."},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 0x7FFFFFFF}), -1,
         "Tree.LoadRecord - allocating child entries failed"},
        {Words({Tree::Magic, 3, 8, 8, 8, 0, 1, 2, 0, 2, 0}), -1,
         "Tree.LoadRead failed (1): unexpected end of file"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(Support::LoadImage(Trees, one.Bytes), one.Code) << one.Message;
        EXPECT_EQ(Tree::LastError(), one.Message);
        EXPECT_EQ(Tree::Root(Trees), nullptr);
        EXPECT_EQ(Trees.Handle->Heap->AreaBytes(), 0u);
    }
    Convertible = false;
    EXPECT_EQ(Support::LoadImage(Trees, Words({Tree::Magic, 1, 8, 0, 1, 0})), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.LoadRecord: converting file to RAM failed.");

    Tree::FileInfo info;
    EXPECT_EQ(Tree::Load("x", nullptr, info), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.Load: NIL handle.");
    const Support::TempFolder folder;
    EXPECT_EQ(Tree::Load(folder.At("none"), Trees, info), ENOENT);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - opening file failed");
    const Support::FailingFiles disk;
    const std::string path = folder.Write("f", Words({Tree::Magic, 1, 8, 0, 1, 0}));
    Support::TheDisk.LengthError = EIO;
    EXPECT_EQ(Tree::Load(path, Trees, info), EIO);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - setting offset failed");
    Support::TheDisk.LengthError = 0;
    Support::TheDisk.ReadError = EIO;
    EXPECT_EQ(Tree::Load(path, Trees, info), EIO);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - reading magic number failed");
    EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
}

TEST_F(TreeEngine, ARecordOfNoBytesCannotMakeALoadTakeAllMemory) {
    // Each child costs 4 bytes in the file and a header in RAM: allowed, but only in proportion.
    std::string bytes = Words({Tree::Magic, 3, 0, 0, 0, 400'000});
    bytes.resize(bytes.size() + 1'600'000);
    EXPECT_EQ(Support::LoadImage(Trees, bytes), 0);
    EXPECT_EQ(Tree::ChildCount(Tree::Root(Trees)), 400'000);
    EXPECT_LT(Trees.Handle->Heap->AreaBytes(), (64u << 20) + 16 * bytes.size());
}

TEST_F(TreeEngine, LoadInfoReadsTheHeaderAndTheBytesAskedFor) {
    const Support::TempFolder folder;
    const std::string path = folder.Write("t", Words({Tree::Magic, 2, 8, 4, 9, 7, 0}, true));
    Tree::FileInfo info;
    std::array<std::byte, 8> root{};
    ASSERT_EQ(Tree::LoadInfo(path, 2, info, root), 0);
    EXPECT_TRUE(info.Swapped);
    EXPECT_EQ(info.Sizes, (std::vector<std::uint32_t>{8, 4}));
    EXPECT_EQ(Bytes::Swapped(Bytes::Load<std::int32_t>(root.data())), 9);
    EXPECT_EQ(Tree::LoadInfo(path, 2, info, {}), 0);
    EXPECT_EQ(Tree::LoadInfo(path, 0, info, root), -2);
    std::array<std::byte, 64> tooMany{};
    EXPECT_EQ(Tree::LoadInfo(path, 2, info, tooMany), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.LoadInfo: reading block failed.");
}

TEST_F(TreeEngine, ATreeLiesAnywhereInAFile) {
    (void)Grow(2);
    const std::string image = Support::StoredImage(Trees);
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.Write("b", std::string(1000, '.')), Files::Mode::ReadWrite), 0);
    std::int64_t size = 0;
    ASSERT_EQ(Tree::StoreAt(file, 300, Trees, size), 0);
    EXPECT_EQ(size, static_cast<std::int64_t>(image.size()));
    EXPECT_EQ(Trees.Handle->StoredSize, size);
    EXPECT_EQ(Support::ReadWhole(folder.At("b")),
              std::string(300, '.') + image + std::string(700 - image.size(), '.'));
    Tree::FileInfo info;
    ASSERT_EQ(Tree::LoadAt(file, 300, Trees, info), 0);
    EXPECT_EQ(Support::StoredImage(Trees), image);
    EXPECT_EQ(Tree::LoadAt(file, 301, Trees, info), -1);
    EXPECT_EQ(Tree::LoadAt(file, -1, Trees, info), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.Load - setting offset failed");
}

TEST_F(TreeEngine, PositionsBeyond31BitsAreRefusedBeforeAnythingIsWritten) {
    (void)Grow(1);
    const Support::TempFolder folder;
    Files::File file;
    ASSERT_EQ(Files::Open(file, folder.At("b"), Files::Mode::Create), 0);
    const Support::FailingFiles disk;
    std::int64_t size = 0;
    for (const std::int64_t offset :
         {std::int64_t{-1}, std::int64_t{INT32_MAX} - 30, std::int64_t{1} << 40}) {
        EXPECT_EQ(Tree::StoreAt(file, offset, Trees, size), -1);
        EXPECT_NE(Tree::LastError(), "");
        EXPECT_EQ(Trees.Handle->StoredSize, 0);
    }
    EXPECT_EQ(Support::TheDisk.BytesWritten, 0);
}

TEST_F(TreeEngine, OmittedRecordsAreNeitherStoredNorCounted) {
    void* const root = Grow(3);
    Tree::SetValid(Tree::Child(root, 2), false);
    const std::string image = Support::StoredImage(Trees);
    ASSERT_EQ(Support::LoadImage(Trees, image), 0);
    EXPECT_EQ(Values(Tree::Root(Trees)), (std::vector{10, 30}));
}

TEST_F(TreeEngine, AnIncrementalStoreWritesFromTheFirstChangedPlaceOn) {
    void* const root = Grow(3);
    const Support::TempFolder folder;
    const std::string path = folder.At("t");
    const Support::FailingFiles disk;
    ASSERT_EQ(Tree::Store(path, Trees, false), 0); // there is no file yet: written whole
    const auto childAt = [](int index) {
        return static_cast<std::int64_t>(HeaderBytes +
                                         StoredBytes * static_cast<std::size_t>(1 + 4 * (index - 1)));
    };
    struct Step {
        const char* Name;
        void (*Change)(Tree::Handle* tree, void* root);
        std::int64_t From;
    };
    const Step steps[] = {
        {"nothing", [](Tree::Handle*, void*) {}, INT64_MAX},
        {"a record behind the last child",
         [](Tree::Handle* t, void* r) { (void)Tree::Append(t, Tree::Child(r, 3)); }, childAt(3)},
        {"a record in the middle",
         [](Tree::Handle* t, void* r) { (void)Tree::Insert(t, Tree::Child(r, 2), 2); }, childAt(2)},
        {"one gone",
         [](Tree::Handle* t, void* r) {
             void* gone = Tree::Child(Tree::Child(r, 2), 1);
             Tree::Delete(t, gone);
         },
         childAt(2)},
        {"a new child", [](Tree::Handle* t, void* r) { (void)Tree::Append(t, r); }, HeaderBytes},
        {"one omitted, another back",
         [](Tree::Handle*, void* r) { Tree::SetValid(Tree::Child(r, 1), false); }, HeaderBytes},
        {"the other way round",
         [](Tree::Handle*, void* r) {
             Tree::SetValid(Tree::Child(r, 1), true);
             Tree::SetValid(Tree::Child(r, 2), false);
         },
         HeaderBytes},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.Name);
        step.Change(Trees, root);
        Support::TheDisk.LowestWrite = INT64_MAX;
        ASSERT_EQ(Tree::Store(path, Trees, false), 0);
        EXPECT_EQ(Support::TheDisk.LowestWrite, step.From);
        // The rest of a longer former image may stand behind.
        const Support::OwnedTree fresh{Define("FreshTree.HE")};
        ASSERT_EQ(Support::LoadImage(fresh, Support::ReadWhole(path)), 0);
        const Support::OwnedTree whole{Define("WholeTree.HE")};
        std::string image;
        {
            void* const copied = Tree::Append(whole, nullptr);
            *static_cast<Record*>(copied) = *static_cast<Record*>(root);
            int n = 0;
            for (int i = 1; i <= Tree::ChildCount(root); ++i) {
                void* const child = Tree::Child(root, i);
                if (!Tree::IsValid(child)) continue;
                ASSERT_EQ(Tree::Copy(whole, child, copied, ++n), 0);
            }
            image = Support::StoredImage(whole);
        }
        EXPECT_EQ(Support::StoredImage(fresh), image);
    }
}

TEST_F(TreeEngine, AnIncrementalStoreTrustsOnlyItsOwnFile) {
    void* const root = Grow(2);
    const Support::TempFolder folder;
    ASSERT_EQ(Tree::Store(folder.At("a"), Trees, true), 0);
    static_cast<Record*>(root)->Value = 5; // a change inside of a record alone needs the flag
    ASSERT_EQ(Tree::Store(folder.At("a"), Trees, false), 0);
    EXPECT_NE(Support::ReadWhole(folder.At("a")), Support::StoredImage(Trees));

    const std::string image = Support::StoredImage(Trees);
    const std::string other = folder.Write("b", "something else");
    ASSERT_EQ(Tree::Store(other, Trees, false), 0);
    EXPECT_EQ(Support::ReadWhole(other), image);
    std::filesystem::remove(other);
    ASSERT_EQ(Tree::Store(other, Trees, false), 0);
    EXPECT_EQ(Support::ReadWhole(other), image);
    Tree::FileInfo info;
    ASSERT_EQ(Tree::Load(other, Trees, info), 0);
    static_cast<Record*>(Tree::Root(Trees))->Value = 6;
    ASSERT_EQ(Tree::Store(other, Trees, false), 0); // the first one of a loaded tree
    EXPECT_EQ(Support::ReadWhole(other), Support::StoredImage(Trees));
}

TEST_F(TreeEngine, AFailedStoreKeepsTheOldFileAndCanBeRepeated) {
    void* const root = Grow(2);
    const Support::TempFolder folder;
    const std::string path = folder.At("t");
    ASSERT_EQ(Tree::Store(path, Trees, true), 0);
    const std::string old = Support::ReadWhole(path);
    (void)Add(root, 30);
    struct Case {
        const char* Message;
        int Code;
        bool Rewrite;
        void (*Break)();
    };
    const Case cases[] = {
        {"Tree.Store - opening file failed", EACCES, true, [] { Support::TheDisk.OpenError = EACCES; }},
        {"Tree.Store - write error (4)", ENOSPC, true, [] { Support::TheDisk.Room = 20; }},
        {"Tree.Store - write error (4)", EIO, true, [] { Support::TheDisk.FlushError = EIO; }},
        {"Tree.Store - write error (4)", EPERM, true, [] { Support::TheDisk.RenameError = EPERM; }},
        {"Tree.Store - RamToFile failed", -1, true, [] { Convertible = false; }},
        {"Tree.Store - opening file failed", EACCES, false, [] { Support::TheDisk.OpenError = EACCES; }},
        {"Tree.Store - set file position failed (2)", ENOSPC, false, [] { Support::TheDisk.Room = -1; }},
        {"Tree.Store - write error (4)", ENOSPC, false, [] { Support::TheDisk.Room = 20; }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.Message);
        Support::WriteWhole(path, old);
        Trees.Handle->StoredSize = static_cast<std::int64_t>(old.size()); // as if the last store had left it
        const Support::FailingFiles disk;
        one.Break();
        EXPECT_EQ(Tree::Store(path, Trees, one.Rewrite), one.Code);
        EXPECT_EQ(Tree::LastError(), one.Message);
        EXPECT_EQ(Support::ReadWhole(path), old);
        EXPECT_EQ(folder.Count(), 1);
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
        Convertible = true;
    }
    EXPECT_EQ(Tree::Store(path, nullptr, true), -1);
    EXPECT_EQ(Tree::LastError(), "Tree.Store: NIL handle.");
    EXPECT_EQ(Tree::Store(path, Trees, false), 0);
    EXPECT_EQ(Support::ReadWhole(path), Support::StoredImage(Trees));
}
