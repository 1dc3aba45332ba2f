// What the files of the tree engine share: the header that stands before each record's user part, new
// records, and the last message. For tree.cpp, tree_load.cpp and tree_store.cpp only.
#pragma once
#include "base/buffer.h"
#include "trees/tree.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Tree {

// What the engine keeps of a record, right before its user part.
struct alignas(Buffer::BlockAlignment) Header {
    void* Parent = nullptr;
    void** Children = nullptr;
    std::int32_t Index = 1; // among its siblings, from 1
    std::int32_t ChildCount = 0;
    std::int32_t ChildCapacity = 0;
    std::int32_t StoredPos = 0;      // file position of the last write, 0 for not known
    std::int32_t StoredChildren = 0; // child count of the last write, 0 for not known
    std::int32_t StoredBytes = 0;    // of the record with all below it, 0 for not stored
    std::int32_t FirstChanged = 0;   // the first child where something has changed since, 0 for none
    std::int16_t Level = 0;
    std::uint8_t Omitted = 0;
    std::uint8_t HasMark : 1 = 0;
    std::uint8_t HasOmitted : 1 = 0; // among its children, or had so lately
};
static_assert(sizeof(Header) == 48);

[[nodiscard]] inline Header& HeaderOf(const void* record) {
    return *reinterpret_cast<Header*>(static_cast<std::byte*>(const_cast<void*>(record)) - sizeof(Header));
}

[[nodiscard]] constexpr std::size_t LevelAt(int level) {
    return static_cast<std::size_t>(level);
}

// Clears the last message; every operation begins with it.
void ClearMessage();
// Keeps the text as the last message and returns the code.
int Fail(std::string_view text, int code = EngineFailure);
// The same with the system's code where there is one.
int FileFailure(std::string_view text, int error);

// Completes what a crash has left of a change of the file, before the operation of that name uses it.
[[nodiscard]] int RecoverFile(const char* operation, const std::string& path);

// A record with its header, its user part not cleared. None without memory.
[[nodiscard]] void* NewRecord(Handle& handle, void* parent, int level);

// Children of the parent have changed, from this one on: the next incremental store writes the parent's own
// record, and finds its way from the root. A marked record's parent is always marked at its place or before.
void NoteChange(Header& parent, int index);

}
