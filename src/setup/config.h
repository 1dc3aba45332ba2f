// The key-and-value engine: records to and from lines of text, "Key value", one key a line.
//
// One procedure per record names each key once; it serves both directions, so that what is written is what is
// read. The direction is that of the pass: BeginConfig, the records' procedures, EndConfig. There is one
// engine, which reads or writes one file at a time.
//
//   form      text after the key and one blank    read rule
//   boolean   " TRUE", " FALSE" (so two blanks)   first character T or t, F or f
//   numbers   decimal                             must fit their place: 32-bit, 16-bit, one byte
//   character the character; 0 is ""              a blank is no character: blanks in front of values are
//                                                 skipped
//   real      16 significant digits               finite
//   string    the text between double quotes      up to the longest length of the place; a double quote in
//   the
//                                                 last place taken is dropped
//   colour    red, green, blue                    three 16-bit numbers
//   block     bytes, two characters each, between double quotes: low nibble + 32, high nibble + 32. At most
//   32
//             bytes a line; a longer block has a line number from 1 behind its key. Nothing of a block is
//             taken unless all of it can be read.
//
// Indexed keys have the decimal of index + ConfigIndex behind the key: FixedYmin1, Value-12.
//
// Finding a key. A line belongs to the key whose word it starts with, behind blanks and tabs. The word ends
// at the first character that is no letter, digit, "_" or "-": Value is not found in the lines of ValueName,
// Value1 and Value-1, nor OnlineFont in that of OnlineFontSize, whatever the order of the lines. What stands
// between the word and the next blank is skipped. The search goes on from the line after the last key found,
// and once from the start: the first line in this order counts. A key without a line is counted in
// ConfigMissing and leaves its place as it was; so does a value that cannot be decoded, and ConfigText tells.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Setup {

inline constexpr std::size_t ConfigLineBytes = 10240;         // of the line buffer: a line has one less
inline constexpr std::int64_t ConfigFileBytesMax = 4'000'000; // a longer file is not read
inline constexpr std::size_t ConfigTextMax = 127;             // characters of ConfigText
inline constexpr std::size_t ConfigBlockLineBytes = 32;

struct Color {
    std::uint16_t Red = 0, Green = 0, Blue = 0;
    bool operator==(const Color&) const = default;
};

// The pass that is under way.
struct ConfigState {
    std::string File;
    bool Write = false;
    int ConfigError = 0;    // the system's code of the last step; the procedures do nothing while it is set
    int ConfigMissing = 0;  // keys without a line
    int ConfigIndex = 0;    // added to the index of indexed keys
    std::string ConfigText; // of the last key that was not read, or of ConfigError
    std::vector<std::string> ConfigUndecoded; // the texts of the values that could not be decoded
};
extern ConfigState Config;

// Starts a pass. Reading takes in the whole file, writing makes a new content that replaces the file at
// EndConfig. False with ConfigError and ConfigText set.
[[nodiscard]] bool BeginConfig(const std::string& file, bool write);
// A pass that reads the lines of a text.
void BeginConfigText(std::string text);
// Back to the first line, and the counts to 0.
void RewindConfig();
// Ends the pass. False when the new content could not be stored: the old file stands as it was.
[[nodiscard]] bool EndConfig();

// What a reading pass reads.
[[nodiscard]] const std::string& ConfigContent();

void ConfigBool(std::string_view key, bool& place);
void ConfigCardinal(std::string_view key, std::uint32_t& place);
void ConfigInt(std::string_view key, std::int32_t& place);
void ConfigShort(std::string_view key, std::int16_t& place);
void ConfigEnum(std::string_view key, std::uint8_t& place);
void ConfigChar(std::string_view key, char& place);
void ConfigReal(std::string_view key, double& place);
void ConfigString(std::string_view key, std::string& place, std::size_t longest);
void ConfigString(std::string_view key, std::span<char> place); // with its terminating zero
void ConfigColor(std::string_view key, Color& place);
void ConfigBlock(std::string_view key, std::span<std::uint8_t> place);

template <class T>
requires std::is_enum_v<T> &&(sizeof(T) == 1) void ConfigEnum(std::string_view key, T& place) {
    auto byte = static_cast<std::uint8_t>(place);
    ConfigEnum(key, byte);
    place = static_cast<T>(byte);
}

void ConfigBoolAt(std::string_view key, int index, bool& place);
void ConfigIntAt(std::string_view key, int index, std::int32_t& place);
void ConfigShortAt(std::string_view key, int index, std::int16_t& place);
void ConfigEnumAt(std::string_view key, int index, std::uint8_t& place);
void ConfigRealAt(std::string_view key, int index, double& place);
void ConfigStringAt(std::string_view key, int index, std::string& place, std::size_t longest);
void ConfigColorAt(std::string_view key, int index, Color& place);

// Keys that are only kept: reading collects the lines whose key starts so, in their order; writing puts them
// back as they were. They are never missing.
void ConfigKept(std::string_view keyStart, std::vector<std::string>& lines);

// Writing: the sum over what was written so far becomes the line CRC, and both values. Reading: the value of
// that line (0 when there is none), and the sum over the content.
//
// Each line counts by itself, without its end: the sum of its bytes as little-endian 32-bit words, and of its
// last one to three bytes as a byte, a 16-bit word, or a 16-bit word and a byte. Lines that start with "CRC"
// do not count.
void ConfigCheckSum(std::uint32_t& storedValue, std::uint32_t& computedValue);

// The contents of records as a list: what a writing pass would write, key by key, for people and scripts.
enum class ConfigKind : std::uint8_t {
    Bool,   // "TRUE", "FALSE"
    Number, // of all whole kinds
    Char,   // as in the file
    Real,   // as in the file
    String, // without quotes
    Color,  // "1, 2, 3"
    Block,  // two hexadecimal digits a byte
    Kept,   // what stands behind the key
};
struct ConfigEntry {
    std::string Key;
    ConfigKind Kind;
    std::string Value;
};
// Starts a writing pass without a file. EndConfigList ends it.
void BeginConfigList();
[[nodiscard]] std::vector<ConfigEntry> EndConfigList();

// The entry as lines of a file. False for a block whose value is not made of pairs of hexadecimal digits.
[[nodiscard]] bool ConfigLines(const ConfigEntry& entry, std::string& lines);

}
