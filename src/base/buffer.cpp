#include "base/buffer.h"

#include "base/messages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <list>
#include <new>
#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace Buffer {

namespace {

// Areas grow with the heap, so that a small heap stays small, a large one has few areas, and the unused rest
// is at most a quarter.
constexpr std::size_t AreaMin = std::size_t{64} << 10;
constexpr std::size_t AreaMax = std::size_t{16} << 20;

// Large areas come straight from the system, in its large pages where it has them: a tree of a hundred
// megabytes is then some fifty pages instead of thirty thousand, which its first use and its removal would
// pay for one by one.
constexpr std::size_t LargePage = std::size_t{2} << 20;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
bool IsMapped(std::size_t bytes) {
    return bytes >= LargePage;
}

std::byte* MapArea(std::size_t bytes) {
    void* const mapped =
        ::mmap(nullptr, bytes + LargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    // Only an aligned stretch can consist of large pages: what stands over on both sides goes back.
    auto* const from = static_cast<std::byte*>(mapped);
    const std::size_t before = (LargePage - reinterpret_cast<std::uintptr_t>(from) % LargePage) % LargePage;
    if (before > 0) ::munmap(from, before);
    ::munmap(from + before + bytes, LargePage - before);
    ::madvise(from + before, bytes, MADV_HUGEPAGE);
    return from + before;
}

void UnmapArea(std::byte* start, std::size_t bytes) {
    ::munmap(start, bytes);
}
#else
// The sanitizer watches over what the library hands out.
bool IsMapped(std::size_t) {
    return false;
}
std::byte* MapArea(std::size_t) {
    return nullptr;
}
void UnmapArea(std::byte*, std::size_t) {}
#endif

// None when the system has no memory left. bytes is a multiple of LargePage for a mapped area.
std::byte* TakeArea(std::size_t bytes) {
    return IsMapped(bytes) ? MapArea(bytes) : static_cast<std::byte*>(std::malloc(bytes));
}

void GiveArea(std::byte* start, std::size_t bytes) {
    if (IsMapped(bytes))
        UnmapArea(start, bytes);
    else
        std::free(start);
}

std::list<Heap> Heaps;
std::size_t Total = 0;

std::size_t RoundUp(std::size_t bytes) {
    return (std::max<std::size_t>(bytes, 1) + BlockAlignment - 1) & ~(BlockAlignment - 1);
}

// A corrupted heap: whoever goes on does so at his own risk.
void FatalAlert(const char* text) {
    static constexpr const char* Buttons[] = {"BREAK", "Continue"};
    enum { Break, Continue };
    const Messages::Choice choice{.Buttons = Buttons, .Default = Break, .Yes = Continue, .No = Break};
    if (Messages::AskChoice(text, choice) == Break) std::abort();
}

Heap* Find(std::string_view name, const Heap* owner) {
    for (Heap& heap : Heaps)
        if (heap.HeapName == name && heap.Owner == owner) return &heap;
    return nullptr;
}

// The first part of a path and what follows it; a leading "/" is not a part.
std::string_view TakePart(std::string_view& path) {
    while (!path.empty() && path.front() == '/') path.remove_prefix(1);
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view part = path.substr(0, end);
    path.remove_prefix(end);
    return part;
}

// Looked through before anything is made: a rejected name leaves no heaps behind on its way.
bool IsPath(std::string_view name) {
    do {
        const std::string_view part = TakePart(name);
        if (part.empty() || part.size() > NameMax) return false;
    } while (!name.empty());
    return true;
}

}

Heap::Heap(std::string name, Heap* owner, Buffer::Kind kind)
    : HeapName(std::move(name)), Owner(owner), Kind(kind) {}

Heap::~Heap() {
    Clear();
}

void* Heap::Allocate(std::size_t bytes) {
    if (bytes > SIZE_MAX / 2) return nullptr;
    const std::size_t size = RoundUp(bytes);
    if (size <= LargestHole) {
        std::size_t largest = 0;
        for (Hole* hole = FreeList; hole; hole = hole->Next) {
            if (hole->Size >= size) {
                auto* block = reinterpret_cast<std::byte*>(hole);
                RemoveFree(size, block);
                Used += size;
                return block;
            }
            largest = std::max(largest, hole->Size);
        }
        LargestHole = largest;
    }
    if (size > TailBytes && !AddArea(size)) return nullptr;
    std::byte* const block = Tail;
    Tail += size;
    TailBytes -= size;
    Used += size;
    return block;
}

void Heap::Free(void* block, std::size_t bytes) {
    if (!block) return;
    const std::size_t size = RoundUp(bytes);
    Used -= size;
    auto* const start = static_cast<std::byte*>(block);
    if (start + size == Tail) {
        Tail = start;
        TailBytes += size;
        return;
    }
    AddHole(start, size);
}

void Heap::Clear() {
    for (const Area& area : Areas) GiveArea(area.Start, area.Size);
    Areas.clear();
    Total -= Taken;
    FreeList = nullptr;
    LargestHole = Used = Taken = TailBytes = 0;
    Tail = nullptr;
}

std::size_t Heap::HoleCount() const {
    std::size_t count = 0;
    for (const Hole* hole = FreeList; hole; hole = hole->Next) ++count;
    return count;
}

void Heap::AddHole(std::byte* start, std::size_t size) {
    Hole** link = &FreeList;
    Hole* before = nullptr;
    while (*link && reinterpret_cast<std::byte*>(*link) < start) {
        before = *link;
        link = &before->Next;
    }
    Hole* after = *link;
    Hole* hole = nullptr;
    if (before && reinterpret_cast<std::byte*>(before) + before->Size == start) {
        hole = before;
        hole->Size += size;
    } else {
        hole = new (start) Hole{after, size};
        *link = hole;
    }
    if (after && reinterpret_cast<std::byte*>(hole) + hole->Size == reinterpret_cast<std::byte*>(after)) {
        hole->Size += after->Size;
        hole->Next = after->Next;
    }
    LargestHole = std::max(LargestHole, hole->Size);
}

void Heap::RemoveFree(std::size_t size, std::byte* block) {
    Hole** link = &FreeList;
    while (*link && reinterpret_cast<std::byte*>(*link) + (*link)->Size <= block) link = &(*link)->Next;
    Hole* const hole = *link;
    auto* const start = reinterpret_cast<std::byte*>(hole);
    if (!hole || start > block) {
        FatalAlert("Fatal error 1 in 'Buffer.RemoveFree'!");
        return;
    }
    const auto before = static_cast<std::size_t>(block - start);
    if (before + size > hole->Size) {
        FatalAlert("Fatal error 2 in 'Buffer.RemoveFree'!");
        return;
    }
    const std::size_t after = hole->Size - before - size;
    Hole* next = hole->Next;
    if (after > 0) next = new (block + size) Hole{next, after};
    if (before > 0) {
        hole->Size = before;
        hole->Next = next;
    } else {
        *link = next;
    }
}

bool Heap::AddArea(std::size_t bytes) {
    std::size_t wanted = RoundUp(std::max(bytes, std::clamp(Taken / 4, AreaMin, AreaMax)));
    if (IsMapped(wanted)) wanted = (wanted + LargePage - 1) / LargePage * LargePage;
    if (LimitBytes != 0 && Taken + wanted > LimitBytes) return false;
    std::byte* const start = TakeArea(wanted);
    if (!start) return false;
    if (TailBytes > 0) AddHole(Tail, TailBytes);
    Areas.push_back({start, wanted});
    Tail = start;
    TailBytes = wanted;
    Taken += wanted;
    Total += wanted;
    return true;
}

void* Heap::do_allocate(std::size_t bytes, std::size_t alignment) {
    void* const block = alignment <= BlockAlignment ? Allocate(bytes) : nullptr;
    if (!block) throw std::bad_alloc();
    return block;
}

void Heap::do_deallocate(void* block, std::size_t bytes, std::size_t) {
    Free(block, bytes);
}

bool Heap::do_is_equal(const std::pmr::memory_resource& other) const noexcept {
    return this == &other;
}

bool Exists(std::string_view name) {
    Heap* heap = nullptr;
    do {
        heap = Find(TakePart(name), heap);
        if (!heap) return false;
    } while (!name.empty());
    return true;
}

Heap* Create(std::string_view name, Kind kind) {
    if (!IsPath(name)) return nullptr;
    Heap* heap = nullptr;
    do {
        const std::string_view part = TakePart(name);
        Heap* const found = Find(part, heap);
        const bool last = name.empty();
        if (found && last && (kind == Kind::Unique || found->Kind == Kind::Unique)) return nullptr;
        heap = found ? found : &Heaps.emplace_back(std::string(part), heap, last ? kind : Kind::Shared);
    } while (!name.empty());
    return heap;
}

void Release(Heap*& heap) {
    if (!heap) return;
    for (auto it = Heaps.begin(); it != Heaps.end();) {
        if (it->Owner == heap) {
            Heap* below = &*it;
            Release(below);
            it = Heaps.begin();
        } else {
            ++it;
        }
    }
    const auto gone = std::find_if(Heaps.begin(), Heaps.end(), [&](const Heap& h) { return &h == heap; });
    if (gone == Heaps.end())
        FatalAlert("Fatal error in 'Buffer.RemoveEntry'!");
    else
        Heaps.erase(gone);
    heap = nullptr;
}

void Rename(Heap& heap, std::string_view name, Heap* owner) {
    heap.HeapName = name;
    heap.Owner = owner;
}

std::size_t TotalBytes() {
    return Total;
}

void Zero(void* address, std::size_t size, std::uint8_t value) {
    std::memset(address, value, size);
}

void Copy(const void* source, void* target, std::size_t size) {
    std::memmove(target, source, size);
}

}
