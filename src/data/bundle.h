// The header of a data file, and what kind of file it makes it.
//
//     kind  signature  samples start at
//     0     none       0                 plain binary file
//     1     "DATA"     4                 old format: the signature only
//     2     "DAT1"     256               header, trees in files of their own
//     3     "DAT2"     256               bundle: the trees are items of the file
//
// The header, 256 bytes, zero where nothing is said (numbers in the order that IsLittleEndian tells):
//
//     offset  size  field
//     0       8     Signature
//     8       32    Version         the writing program
//     40      8     Time            seconds, scale of base/time_scale.h
//     48      4     Items           entries in use
//     52      1     IsLittleEndian
//     53      1     FileMark        2; 0 from an older writer
//     56      4                     0: anything else is no header
//     60      4     HeaderCRC       0 in every file written here
//     64      16    Item            7 entries: Start, Length (4 bytes each), Extension (8)
#pragma once
#include "base/files.h"
#include "trees/conversion.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Bundle {

inline constexpr std::size_t HeaderBytes = 256;
inline constexpr int ItemMax = 7;

enum class FileKind : std::uint8_t { Plain = 0, Old = 1, WithHeader = 2, Bundle = 3 };

struct Item {
    std::int32_t Start;
    std::int32_t Length;
    char Extension[8];
};

struct Header {
    char Signature[8];
    char Version[32];
    double Time;
    std::int32_t Items;
    std::uint8_t IsLittleEndian;
    std::uint8_t FileMark;
    std::int32_t HeaderCRC;
    Item Entries[ItemMax];
};

// One list for reading, swapping and writing.
[[nodiscard]] std::span<const Conversion::Field> HeaderFields();

// The order in which a bundle's items are written.
inline constexpr std::array<std::string_view, 6> Extensions = {".dat", ".vnc", ".pgf",
                                                               ".amp", ".sol", ".txt"};

[[nodiscard]] FileKind BundleKind(std::string_view signature);
[[nodiscard]] std::int64_t DataStart(FileKind kind);

// Reads the header of an open file. A file without one, however short, leaves a header of which only the
// first four bytes of the signature are set. False with an alert: the file cannot be read, or not be opened
// for writing. Without the check flag the item count and the checksum are not looked at.
[[nodiscard]] bool ReadBundleHeader(Header& header, Files::File& file, bool forWriting, bool check);

// The header's bytes for a file written here; a fresh one is "DAT1" without items, of the present time unless
// keepTime is set. The header becomes what is written.
[[nodiscard]] std::array<std::byte, HeaderBytes> HeaderImage(Header& header, bool fresh, bool keepTime,
                                                             std::string_view version);
// Writes them.
[[nodiscard]] bool WriteBundleHeader(Header& header, Files::File& file, bool fresh, bool keepTime,
                                     std::string_view version);

// The entry of an item among those in use; none when there is no such item.
[[nodiscard]] const Item* FindItem(const Header& header, std::string_view extension);

// Logs what the header says of the file: signature, writing program, time, item count and byte order.
void DumpBundleHeader(const Header& header);

// The message, the system's text of the error behind it, at most 80 characters.
[[nodiscard]] std::string FileMessage(std::string_view message, int error);

}
