// Field lists: the layout of a file record as data, and the one routine that walks it.
// The same rows read a native image, read a foreign one, write, and list a record for people and scripts,
// so reader, writer and listing cannot drift apart.
//
// Rows are worked through in their order. Where two rows share file bytes, the later one wins on writing;
// where two share a RAM field, the later one wins on reading.
#pragma once
#include "base/bytes.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Conversion {

enum class Mode : std::uint8_t { Plain, Swap, Write };

enum class Kind : std::uint8_t {
    Byte,      // unsigned 8-bit
    Int16,     // signed 16-bit
    Word16,    // unsigned 16-bit
    Int32,     // signed 32-bit
    Check,     // 32-bit record checksum: read as it is, always written as 0
    Real32,    // 32-bit real in the file, 64-bit in RAM
    Real64,    // 64-bit real
    Text,      // zero-terminated bytes of a fixed size, never swapped
    Bytes,     // a block kept as it is, never swapped; listed in hexadecimal
    NameUnits, // 96 bytes: name (32) and unit (8) twice, then 16 bytes of a third name; never swapped
    FitParams, // a vector of 16-byte cells of value, state and store flag; never swapped
    Foreign,   // a block that belongs to another unit, converted by the tree itself; not listed
    Group,     // Count records of Members, each Size bytes long in the file and RamSize in RAM
};

struct Field {
    const char* Name;
    std::uint16_t At; // byte offset in the file record
    Conversion::Kind Kind;
    std::uint16_t Size;                  // bytes of one element in the file
    std::uint16_t Count;                 // elements; more than 1 is listed as a vector
    std::uint16_t RamAt;                 // byte offset in the RAM record
    const char* Unit = "";               // of the listed value, empty for counts, flags and texts
    std::span<const Field> Members = {}; // of a Group
    std::uint16_t RamSize = 0;           // bytes of one RAM element of a Group
};

// Converts between the file image and the RAM record of one level. A value outside of an image that is
// shorter than the list cannot occur: the caller hands over a full image (see EndOf).
void Convert(std::span<const Field> fields, std::byte* image, std::byte* ram, Mode mode);

// The first byte behind the last field in the file; a list must not reach beyond its record.
[[nodiscard]] constexpr std::size_t EndOf(std::span<const Field> fields) {
    std::size_t end = 0;
    for (const Field& field : fields) {
        const std::size_t last = std::size_t{field.At} + std::size_t{field.Size} * field.Count;
        if (last > end) end = last;
    }
    return end;
}

// Rows for the common cases; ramAt is offsetof the field in its RAM record.
constexpr Field Byte(const char* name, std::size_t at, std::size_t ramAt, std::size_t count = 1) {
    return {name, static_cast<std::uint16_t>(at),    Kind::Byte,
            1,    static_cast<std::uint16_t>(count), static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Int16(const char* name, std::size_t at, std::size_t ramAt) {
    return {name, static_cast<std::uint16_t>(at), Kind::Int16, 2, 1, static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Word16(const char* name, std::size_t at, std::size_t ramAt) {
    return {name, static_cast<std::uint16_t>(at), Kind::Word16, 2, 1, static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Int32(const char* name, std::size_t at, std::size_t ramAt, std::size_t count = 1) {
    return {name, static_cast<std::uint16_t>(at),    Kind::Int32,
            4,    static_cast<std::uint16_t>(count), static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Check(const char* name, std::size_t at, std::size_t ramAt) {
    return {name, static_cast<std::uint16_t>(at), Kind::Check, 4, 1, static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Real32(const char* name, std::size_t at, std::size_t ramAt, const char* unit = "") {
    return {name, static_cast<std::uint16_t>(at),    Kind::Real32, 4,
            1,    static_cast<std::uint16_t>(ramAt), unit};
}
constexpr Field Real64(const char* name, std::size_t at, std::size_t ramAt, const char* unit = "",
                       std::size_t count = 1) {
    return {name, static_cast<std::uint16_t>(at),    Kind::Real64,
            8,    static_cast<std::uint16_t>(count), static_cast<std::uint16_t>(ramAt),
            unit};
}
constexpr Field Text(const char* name, std::size_t at, std::size_t ramAt, std::size_t size,
                     std::size_t count = 1) {
    return {name,
            static_cast<std::uint16_t>(at),
            Kind::Text,
            static_cast<std::uint16_t>(size),
            static_cast<std::uint16_t>(count),
            static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Block(Kind kind, const char* name, std::size_t at, std::size_t ramAt, std::size_t size) {
    return {name, static_cast<std::uint16_t>(at),   kind, static_cast<std::uint16_t>(size),
            1,    static_cast<std::uint16_t>(ramAt)};
}
constexpr Field Group(const char* name, std::size_t at, std::size_t ramAt, std::span<const Field> members,
                      std::size_t size, std::size_t ramSize, std::size_t count = 1) {
    return {name,
            static_cast<std::uint16_t>(at),
            Kind::Group,
            static_cast<std::uint16_t>(size),
            static_cast<std::uint16_t>(count),
            static_cast<std::uint16_t>(ramAt),
            "",
            members,
            static_cast<std::uint16_t>(ramSize)};
}

}
