// The record tree: a strict hierarchy of fixed-size records, one type a level, and its file.
//
// File: magic word, level count, one record size a level, then the records, depth first. A record is its
// bytes, then a 32-bit count of its children, then the children. All numbers are 32 bits wide, in the byte
// order of the machine that wrote the file; the magic word tells which. There is no padding.
//
//     offset  size        item
//     0       4           0x54726565 as a native word: "eerT" from a little-endian writer, "Tree" from a big
//     one 4       4           levels 8       4 * levels  size of a record of each level in this file 8 + 4n
//     the root record with all that is below it
//
// Example: the smallest solution tree written here, one level in use, is
//     65 65 72 54  03 00 00 00  58 00 00 00  A0 00 00 00  28 00 00 00  <88 bytes of root>  00 00 00 00
//
// The engine knows nothing of what a record holds: three procedures of the tree's owner turn a record's file
// form into its RAM form and back, and initialise it. A record is handed around as the address of its user
// part; what the engine keeps of it stands before that address.
#pragma once
#include "base/files.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Buffer {
class Heap;
}

namespace Tree {

inline constexpr int Success = 0;
inline constexpr int EngineFailure = -1;
inline constexpr int IllegalLevels = -2;
// Any other code is the system's code of the last file operation.

inline constexpr std::uint32_t Magic = 0x54726565;

struct Procedures {
    // The record holds the bytes read from the file, fileSize of them at most; they are converted in place.
    std::function<bool(void* record, int level, std::size_t fileSize, bool swap)> FileToRam;
    // Returns the record's file image, as many bytes as the level's file size; none is a failure.
    std::function<std::byte*(void* record, int level)> RamToFile;
    std::function<void(void* record, int level)> InitRecord; // each new or loaded record; may be absent
    std::function<void(void* record, int level)> Copied; // each copy, to drop what only the source may own
};

struct Handle {
    int Levels = 0;
    std::vector<std::uint32_t>
        RamSizes; // never below the level's file size, so that a record is read in place
    std::vector<std::uint32_t> FileSizes; // of files written by this program
    std::vector<bool> HasMark;            // the level's records begin with a mark word
    Procedures Procs;
    void* Root = nullptr;
    Buffer::Heap* Heap = nullptr; // all records and child vectors of the tree lie in it
    std::int64_t StoredSize = 0;  // of the last successful store, 0 for none
    std::string StoredName;       // the file of that store; empty when it went into a bundle
    Files::Stamp StoredStamp;     // of that file, right after the store
};

// The text of the last failure of any operation below; each of them clears it on entry.
[[nodiscard]] const std::string& LastError();
// The same with the system's reason behind it, where the code that was returned is the system's.
[[nodiscard]] std::string Reason(int error);

// None on failure. The levels must be at least 1 and not more than either vector has.
[[nodiscard]] Handle* Define(std::string_view heapName, int levels, std::span<const std::uint32_t> ramSizes,
                             std::span<const std::uint32_t> fileSizes, Procedures procedures,
                             std::vector<bool> hasMark = {});
// Gives back the heap with all records, and clears the handle.
void Dispose(Handle*& handle);

// Walking. All take none for none; positions count from 1.
[[nodiscard]] void* Root(const Handle* handle);
[[nodiscard]] void* Parent(const void* record);
[[nodiscard]] void* Ancestor(const void* record, int steps);
[[nodiscard]] void* Child(const void* record, int index);
[[nodiscard]] int ChildCount(const void* record);
[[nodiscard]] int IndexOf(const void* record);
[[nodiscard]] int Level(const void* record);

template <class T>
[[nodiscard]] T* ChildAs(const void* record, int index) {
    return static_cast<T*>(Child(record, index));
}

// Changing. A changed parent is written anew by the next incremental store.
[[nodiscard]] void* Append(Handle* handle, void* parent);
[[nodiscard]] void* Insert(Handle* handle, void* parent, int position);
void Delete(Handle* handle, void*& record);
// Copies a record with all below it under a parent of the same or another tree of equal level sizes. 0 or -1.
[[nodiscard]] int Copy(Handle* handle, void* source, void* targetParent, int position);
// The target takes over the source's tree under its own name; the source's references become none.
[[nodiscard]] bool Replace(Handle*& source, void*& sourceRoot, Handle*& target, void*& targetRoot);

// Counts the records of each level down to the deepest and returns the sum of (RAM size + 4) times count.
[[nodiscard]] std::int64_t MemorySize(const Handle* handle, std::vector<int>& counts, int deepestLevel);

// Bits of the mark word. Records of a level without one are never selected, always open, and not written to.
[[nodiscard]] bool GetSelected(const void* record);
void SetSelected(void* record, bool selected);
[[nodiscard]] bool GetOpen(const void* record);
void SetOpen(void* record, bool open);
// A record that is not valid stays in RAM, but is neither stored nor seen by the walks of other units.
[[nodiscard]] bool IsValid(const void* record);
void SetValid(void* record, bool valid);

struct FileInfo {
    int Levels = 0;
    std::vector<std::uint32_t> Sizes;
    bool Swapped = false;
};

// Loading and storing by name first complete what a crash has left of a change of the file; they fail when
// that cannot be done, and when another program is in the middle of one.

// Reads the header, and as many bytes of the root record as rootBytes has, without loading anything.
[[nodiscard]] int LoadInfo(const std::string& path, int highestLevel, FileInfo& info,
                           std::span<std::byte> rootBytes);
// The same from an open file.
[[nodiscard]] int LoadInfoAt(Files::File& file, std::int64_t offset, int highestLevel, FileInfo& info,
                             std::span<std::byte> rootBytes);

// Reads a tree into a handle that holds none. On failure the handle stays empty.
[[nodiscard]] int Load(const std::string& path, Handle* handle, FileInfo& info);
[[nodiscard]] int LoadAt(Files::File& file, std::int64_t offset, Handle* handle, FileInfo& info);

// Writes a tree as a file by itself: whole, beside the old file and put in its place at the end; or, without
// the rewrite flag, into the file that the last store left: the records that are new, have moved, or whose
// children have changed in number or order. That goes by way of a journal, so that a crash leaves the old
// tree or the new one; it costs time for what has changed, however large the tree is. A change inside of a
// record alone needs a rewrite. A file that is no longer as the last store left it is written whole.
[[nodiscard]] int Store(const std::string& path, Handle* handle, bool rewrite);
// Writes the whole tree into an open file at an offset.
[[nodiscard]] int StoreAt(Files::File& file, std::int64_t offset, Handle* handle, std::int64_t& size);

}
