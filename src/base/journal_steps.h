// What writing a change down and completing it share: the layout of a journal's entries, the lock under which
// a journal is used, and the doing of its steps. For journal.cpp and journal_recover.cpp only.
#pragma once
#include "base/files.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Journal {

inline constexpr std::string_view Magic = "QvJournl";
inline constexpr std::uint32_t Version = 1;
inline constexpr std::int64_t HeaderBytes = 12;
inline constexpr std::int64_t EndBytes = 1 + 4;
inline constexpr std::size_t NamesMax = 256;
inline constexpr std::size_t NameBytesMax = 255;

enum Kind : char {
    KindWrite = 'W',
    KindLength = 'L',
    KindRename = 'R',
    KindRemove = 'D',
    KindFile = 'F',
    KindEnd = 'E',
};

struct Entry {
    char Kind = KindEnd;
    std::string Name;
    std::string NewName;        // of a rename
    std::int64_t Position = 0;  // of a write
    std::int64_t Count = 0;     // of a write: the bytes follow in the file
    std::int64_t NewLength = 0; // of a length entry and of a file entry
};

// Reads the next entry up to the bytes of a write. False when there is none that follows the layout.
[[nodiscard]] bool ReadEntry(Files::Reader& reader, Entry& entry);

[[nodiscard]] bool IsBareName(std::string_view name);
// The path of a name beside the journal.
[[nodiscard]] std::string Beside(const std::string& journal, const std::string& name);
// The length of a file, -1 when there is none.
[[nodiscard]] int PresentLength(const std::string& path, std::int64_t& length);
// No file can be there, as the error of opening it tells.
[[nodiscard]] bool NotThere(int error);

// Opens a journal for this program alone. Waits up to two seconds for another one to be done with it
// (EWOULDBLOCK).
[[nodiscard]] int Acquire(Files::File& file, const std::string& path, Files::Mode mode);

// Does the steps of a complete journal; at the return they are on the disk. begun: something has been
// changed.
[[nodiscard]] int DoSteps(Files::File& journal, bool& begun);

// Makes a journal that has been done, or must not be done, say nothing any more, also after a power cut.
[[nodiscard]] int Discard(Files::File& journal);

}
