#include "base/buffer.h"
#include "support/testing.h"

namespace {

// A heap of its own for each test, gone at its end.
class Heap : public testing::Test {
protected:
    ~Heap() override { Buffer::Release(Of); }
    Buffer::Heap* Of = Buffer::Create("HeapTest.HE", Buffer::Kind::Unique);
};

}

TEST_F(Heap, TheFirstHoleThatIsLargeEnoughIsTaken) {
    void* const a = Of->Allocate(64);
    (void)Of->Allocate(32);
    void* const c = Of->Allocate(64);
    void* const last = Of->Allocate(64);
    Of->Free(a, 64);
    Of->Free(c, 64);
    EXPECT_EQ(Of->Allocate(40), a); // 48 in blocks: the rest of the hole stays one
    EXPECT_EQ(Of->HoleCount(), 2u);
    EXPECT_EQ(Of->Allocate(64), c); // an exact fit leaves nothing in the list
    EXPECT_EQ(Of->Allocate(1), static_cast<std::byte*>(a) + 48);
    EXPECT_EQ(Of->HoleCount(), 0u);
    EXPECT_EQ(Of->UsedBytes(), 64u + 32 + 64 + 64);
    Of->Free(last, 64); // the newest block goes back to the tail
    EXPECT_EQ(Of->HoleCount(), 0u);
    EXPECT_EQ(Of->Allocate(5000), last);
}

TEST_F(Heap, BlocksOfAnyMixtureOfSizesNeverOverlap) {
    struct Piece {
        unsigned char* At;
        std::size_t Size;
        unsigned char Fill;
    };
    std::vector<Piece> pieces;
    unsigned state = 1;
    const auto next = [&state](unsigned below) {
        return (state = state * 1664525u + 1013904223u) / 65536 % below;
    };
    for (int step = 0; step < 4000; ++step) {
        if (pieces.size() > 40 || (!pieces.empty() && next(2) == 0)) {
            const std::size_t index = next(static_cast<unsigned>(pieces.size()));
            const Piece gone = pieces[index];
            for (std::size_t i = 0; i < gone.Size; ++i) ASSERT_EQ(gone.At[i], gone.Fill);
            Of->Free(gone.At, gone.Size);
            pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(index));
        } else {
            const std::size_t size = 1 + next(6000);
            auto* const at = static_cast<unsigned char*>(Of->Allocate(size));
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(at) % Buffer::BlockAlignment, 0u);
            pieces.push_back({at, size, static_cast<unsigned char>(step)});
            std::memset(at, step & 0xFF, size);
        }
    }
    EXPECT_LT(Of->AreaBytes(), 1u << 20);
    for (const Piece& piece : pieces) Of->Free(piece.At, piece.Size);
    EXPECT_EQ(Of->UsedBytes(), 0u);
    EXPECT_LE(Of->HoleCount(), Of->AreaCount());
}

TEST_F(Heap, ManySmallBlocksNeedFewAreasAndALimitRefuses) {
    for (int i = 0; i < 100'000; ++i) {
        void* const block = Of->Allocate(256);
        ASSERT_NE(block, nullptr);
        std::memset(block, i & 0xFF, 256); // to the very ends of large areas
    }
    EXPECT_LT(Of->AreaCount(), 40u);
    EXPECT_LT(Of->AreaBytes(), Of->UsedBytes() / 4 * 5 + (1u << 20));
    EXPECT_LE(Of->HoleCount(), Of->AreaCount()); // the odd rests of full areas
    EXPECT_EQ(Of->AreaBytes() % Buffer::BlockAlignment, 0u);
    const std::size_t used = Of->UsedBytes();
    Of->SetLimit(Of->AreaBytes() + 200'000);
    for (const std::size_t tooMuch : {std::size_t{64'000'000}, SIZE_MAX, SIZE_MAX / 2})
        EXPECT_EQ(Of->Allocate(tooMuch), nullptr);
    EXPECT_EQ(Of->UsedBytes(), used);
    Of->SetLimit(0);
    EXPECT_NE(Of->Allocate(64'000'000), nullptr);
}

TEST(HeapNames, APathMakesItsHeapsAndARejectedNameMakesNone) {
    const std::string longest(Buffer::NameMax, 'x');
    Buffer::Heap* paste = Buffer::Create("/NameTest/Edit.Paste");
    ASSERT_NE(paste, nullptr);
    EXPECT_EQ(Buffer::Create("NameTest/Edit.Paste"), paste);
    EXPECT_FALSE(Buffer::Exists("Edit.Paste") || Buffer::Exists("/NameTest/Edit"));
    for (const std::string& bad :
         {std::string("/"), "/OtherTest/" + longest + "x", std::string("OtherTest/")})
        EXPECT_EQ(Buffer::Create(bad), nullptr) << bad;
    EXPECT_FALSE(Buffer::Exists("OtherTest"));
    Buffer::Heap* unique = Buffer::Create("UniqueTest.HE", Buffer::Kind::Unique);
    for (const auto kind : {Buffer::Kind::Unique, Buffer::Kind::Shared})
        EXPECT_EQ(Buffer::Create("UniqueTest.HE", kind), nullptr);
    Buffer::Release(unique);
    const std::size_t before = Buffer::TotalBytes();
    ASSERT_NE(paste->Allocate(10), nullptr);
    Buffer::Heap* top = paste->Owner;
    Buffer::Release(top); // with all below
    EXPECT_FALSE(Buffer::Exists("/NameTest/Edit.Paste"));
    EXPECT_EQ(Buffer::TotalBytes(), before);
}
