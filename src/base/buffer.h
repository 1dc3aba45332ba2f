// Named memory. A heap has a path-like name ("VennicBuf.HE", "/Shell/Edit.Paste"), takes large areas from the
// system, hands out blocks from them, and gives everything back in one step, however many blocks it holds.
//
// A heap is a std::pmr::memory_resource, so that containers can live in it. Records that are simply left
// behind when their heap goes must not own anything outside of it.
//
// Invariants: blocks are multiples of 16 bytes, aligned to 16; the free list is ordered by address and two
// holes never touch; the unused rest of the newest area is not in the list.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

namespace Buffer {

inline constexpr std::size_t BlockAlignment = 16;
inline constexpr std::size_t NameMax = 31;

enum class Kind : std::uint8_t {
    Shared = 0, // a second request for the name gets the same heap
    Unique = 1, // a second request for the name gets none
};

class Heap final : public std::pmr::memory_resource {
public:
    Heap(std::string name, Heap* owner, Kind kind);
    ~Heap() override;
    Heap(const Heap&) = delete;
    Heap& operator=(const Heap&) = delete;

    // None when the system has no memory left or the limit is reached. The content is not cleared.
    [[nodiscard]] void* Allocate(std::size_t bytes);
    // Takes a block of that size back; none is allowed.
    void Free(void* block, std::size_t bytes);
    // Gives all areas back to the system.
    void Clear();

    // The most that the heap may take from the system; 0 means no limit.
    void SetLimit(std::size_t bytes) { LimitBytes = bytes; }

    [[nodiscard]] std::size_t UsedBytes() const { return Used; }  // in blocks
    [[nodiscard]] std::size_t AreaBytes() const { return Taken; } // from the system
    [[nodiscard]] std::size_t AreaCount() const { return Areas.size(); }
    [[nodiscard]] std::size_t HoleCount() const;

    std::string HeapName;
    Heap* Owner; // the heap whose path leads here; none at the top
    Buffer::Kind Kind;

private:
    struct Hole {
        Hole* Next;
        std::size_t Size;
    };
    struct Area {
        std::byte* Start;
        std::size_t Size;
    };

    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void* block, std::size_t bytes, std::size_t alignment) override;
    [[nodiscard]] bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override;

    void AddHole(std::byte* start, std::size_t size);
    void RemoveFree(std::size_t size, std::byte* block);
    [[nodiscard]] bool AddArea(std::size_t bytes);

    std::vector<Area> Areas;
    Hole* FreeList = nullptr;
    std::size_t LargestHole = 0; // no hole is larger: an allocation above it need not walk the list
    std::byte* Tail = nullptr;   // unused rest of the newest area
    std::size_t TailBytes = 0;
    std::size_t Used = 0, Taken = 0, LimitBytes = 0;
};

// True when a heap of that name is in use.
[[nodiscard]] bool Exists(std::string_view name);

// Makes the heap, and the heaps that lead to it where the name is a path, or returns the one that exists
// (none for kind Unique). None also for an empty name and for a part of more than 31 characters.
[[nodiscard]] Heap* Create(std::string_view name, Kind kind = Kind::Shared);

// Gives the heap back, with all heaps below it, and clears the reference.
void Release(Heap*& heap);

// Puts a heap under another name, which must not be in use.
void Rename(Heap& heap, std::string_view name, Heap* owner);

// Bytes that all heaps together hold from the system.
[[nodiscard]] std::size_t TotalBytes();

void Zero(void* address, std::size_t size, std::uint8_t value = 0);
void Copy(const void* source, void* target, std::size_t size);

}
