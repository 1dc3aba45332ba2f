#include "setup/config.h"

#include "base/bytes.h"
#include "base/files.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <numeric>
#include <utility>

namespace Setup {

ConfigState Config;

namespace {

// A line that starts with a key word, by offsets into the content.
struct KeyLine {
    std::uint32_t Word, WordEnd, End;
};

// The parts of a pass that nobody else sees.
struct PassState {
    std::string Content;               // read, or written so far
    std::vector<KeyLine> Lines;        // in the order of the file
    std::vector<std::uint32_t> ByWord; // places in Lines in the order of words; empty until one is searched
    std::size_t Next = 0;              // place in Lines behind the last key found
    bool Listing = false;
    std::vector<ConfigEntry> Entries;
    std::unique_ptr<Files::Replacement> NewFile;
};
PassState Pass;

constexpr const char* NotFound = " not found.";
constexpr const char* NoNumber = ": number not found.";
constexpr const char* NoQuotes = ": starting quotes not found.";
constexpr const char* OutputOverflow = ": output buffer overflow.";
constexpr const char* InputOverflow = ": input buffer overflow.";
constexpr const char* EncodingError = ": encoding error.";

bool Fail(int error, const std::string& text) {
    Config.ConfigError = error;
    Config.ConfigText = text.substr(0, ConfigTextMax);
    return false;
}

// In place: of a file with few keys this is said of all others.
void SetText(std::string_view key, const char* reason) {
    Config.ConfigText.assign(1, '"').append(key).append(1, '"').append(reason);
    if (Config.ConfigText.size() > ConfigTextMax) Config.ConfigText.resize(ConfigTextMax);
}

// A file of nothing but such values must not fill the memory with their texts.
constexpr std::size_t UndecodedMax = 100;

void Undecoded(std::string_view key, const char* reason) {
    SetText(key, reason);
    if (Config.ConfigUndecoded.size() < UndecodedMax) Config.ConfigUndecoded.push_back(Config.ConfigText);
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool IsWordCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

// Lines end at LF, CR LF or CR; one that is longer than the line buffer comes in pieces.
template <class Step>
void ForEachLine(std::string_view content, Step step) {
    std::size_t at = 0, carriageReturn = content.find('\r'), lineFeed = content.find('\n');
    while (at < content.size()) {
        if (carriageReturn < at) carriageReturn = content.find('\r', at);
        if (lineFeed < at) lineFeed = content.find('\n', at);
        const std::size_t end = std::min({carriageReturn, lineFeed, content.size()});
        for (; end - at >= ConfigLineBytes; at += ConfigLineBytes - 1) step(at, at + ConfigLineBytes - 1);
        if (end > at) step(at, end);
        at = end + 1;
    }
}

std::string_view Piece(std::size_t start, std::size_t end) {
    return std::string_view(Pass.Content).substr(start, end - start);
}

std::string_view WordOf(const KeyLine& line) {
    return Piece(line.Word, line.WordEnd);
}

void FindLines() {
    Pass.Lines.clear();
    Pass.ByWord.clear();
    ForEachLine(Pass.Content, [](std::size_t start, std::size_t end) {
        const char* const text = Pass.Content.data();
        const char* const word = std::find_if_not(text + start, text + end, IsBlank);
        const char* const wordEnd = std::find_if_not(word, text + end, IsWordCharacter);
        if (wordEnd > word)
            Pass.Lines.push_back({static_cast<std::uint32_t>(word - text),
                                  static_cast<std::uint32_t>(wordEnd - text),
                                  static_cast<std::uint32_t>(end)});
    });
}

void SortWords() {
    Pass.ByWord.resize(Pass.Lines.size());
    std::iota(Pass.ByWord.begin(), Pass.ByWord.end(), 0u);
    std::sort(Pass.ByWord.begin(), Pass.ByWord.end(), [](std::uint32_t a, std::uint32_t b) {
        const int order = WordOf(Pass.Lines[a]).compare(WordOf(Pass.Lines[b]));
        return order != 0 ? order < 0 : a < b;
    });
}

// The first line of the key from the place of the last one on, else from the start; null when there is none.
const KeyLine* LineOf(std::string_view key) {
    // In a file as it is saved, a key follows the one before, or a line that nobody reads stands between.
    for (std::size_t place = Pass.Next; place < std::min(Pass.Next + 2, Pass.Lines.size()); ++place)
        if (WordOf(Pass.Lines[place]) == key) return &Pass.Lines[place];
    if (Pass.ByWord.empty()) SortWords();
    const auto word = [](std::uint32_t place) { return WordOf(Pass.Lines[place]); };
    const auto first = std::ranges::lower_bound(Pass.ByWord, key, {}, word);
    if (first == Pass.ByWord.end() || word(*first) != key) return nullptr;
    const auto onward = std::partition_point(first, Pass.ByWord.end(), [&](std::uint32_t place) {
        return place < Pass.Next && word(place) == key;
    });
    const bool found = onward != Pass.ByWord.end() && word(*onward) == key;
    return &Pass.Lines[found ? *onward : *first];
}

// The text of the key's value, to the end of its line. False for a key that is missing or has no value.
bool Find(std::string_view key, std::string_view& value) {
    if (Config.ConfigError != 0) return false;
    const KeyLine* const line = LineOf(key);
    if (!line) {
        ++Config.ConfigMissing;
        SetText(key, NotFound);
        return false;
    }
    Pass.Next = static_cast<std::size_t>(line - Pass.Lines.data()) + 1;
    value = Piece(line->WordEnd, line->End);
    value.remove_prefix(std::min(value.find(' '), value.size()));
    value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
    if (!value.empty()) return true;
    Undecoded(key, NoNumber);
    return false;
}

// Takes a number from the front of the text. It ends at a blank, at the text's end, or at a comma.
template <class T>
bool TakeNumber(std::string_view& text, T& number) {
    std::string_view digits = text;
    if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
    T parsed{};
    const auto [next, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
    const std::size_t taken = static_cast<std::size_t>(next - digits.data());
    if (error != std::errc{} || (taken < digits.size() && !IsBlank(digits[taken]) && digits[taken] != ','))
        return false;
    if constexpr (std::is_floating_point_v<T>)
        if (!std::isfinite(parsed)) return false;
    number = parsed;
    text = digits.substr(taken);
    return true;
}

bool Writing() {
    return Config.Write && Config.ConfigError == 0;
}

// A line of the content: the key, and behind it the pieces of its value.
void AppendLine(std::string_view key, std::initializer_list<std::string_view> value) {
    std::size_t bytes = key.size() + 1;
    for (const std::string_view piece : value) bytes += piece.size();
    if (bytes >= ConfigLineBytes) return Undecoded(key, OutputOverflow);
    Pass.Content.append(key).append(1, ' ');
    for (const std::string_view piece : value) Pass.Content.append(piece);
    Pass.Content.append(1, '\n');
}

void Emit(std::string_view key, ConfigKind kind, std::string_view value) {
    if (!Writing()) return;
    if (Pass.Listing) {
        Pass.Entries.push_back({std::string(key), kind, std::string(value)});
    } else if (kind == ConfigKind::Bool) {
        AppendLine(key, {" ", value});
    } else if (kind == ConfigKind::String) {
        AppendLine(key, {"\"", value, "\""});
    } else {
        AppendLine(key, {value});
    }
}

template <class T, class... Form>
void EmitNumber(std::string_view key, ConfigKind kind, T value, Form... form) {
    char text[32]; // for the longest real of 16 digits
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, form...);
    Emit(key, kind, error == std::errc{} ? std::string_view(text, end) : "0");
}

// All whole numbers are read through the 32-bit form; one that its place cannot hold is not decoded.
template <class Place, class Read = std::int32_t>
void ConfigNumber(std::string_view key, Place& place) {
    if (Config.Write) return EmitNumber(key, ConfigKind::Number, place);
    std::string_view value;
    Read number = 0;
    if (!Find(key, value)) return;
    if (TakeNumber(value, number) && std::in_range<Place>(number))
        place = static_cast<Place>(number);
    else
        Undecoded(key, NoNumber);
}

std::string KeyAt(std::string_view key, int index) {
    return std::string(key) + std::to_string(index + Config.ConfigIndex);
}

std::string BlockKey(std::string_view key, std::size_t blockBytes, std::size_t start) {
    return blockBytes <= ConfigBlockLineBytes
               ? std::string(key)
               : std::string(key) + std::to_string(start / ConfigBlockLineBytes + 1);
}

template <class Step>
void ForEachBlockLine(std::string_view key, std::span<const std::uint8_t> block, Step step) {
    for (std::size_t at = 0; at < block.size(); at += ConfigBlockLineBytes) {
        char value[2 * ConfigBlockLineBytes + 2] = {'"'};
        char* end = value + 1;
        for (const std::uint8_t byte : block.subspan(at, std::min(ConfigBlockLineBytes, block.size() - at))) {
            *end++ = static_cast<char>((byte & 15) + 32);
            *end++ = static_cast<char>((byte >> 4) + 32);
        }
        *end++ = '"';
        step(BlockKey(key, block.size(), at), std::string_view(value, end));
    }
}

// Null, or what is wrong with the line of a block.
const char* DecodeBlockLine(std::string_view value, std::span<std::uint8_t> bytes) {
    if (!value.starts_with('"')) return NoQuotes;
    value.remove_prefix(1);
    for (std::uint8_t& byte : bytes) {
        unsigned pair = 0;
        for (std::size_t half = 0; half < 2; ++half) {
            if (half == value.size()) return InputOverflow;
            const unsigned nibble = static_cast<unsigned char>(value[half]) - 32u;
            if (nibble > 15) return EncodingError;
            pair |= nibble << 4 * half;
        }
        byte = static_cast<std::uint8_t>(pair);
        value.remove_prefix(2);
    }
    // A double quote is also a pair's half: only the one behind the last byte ends the line.
    return value.starts_with('"') ? nullptr : value.empty() ? InputOverflow : OutputOverflow;
}

std::uint32_t LineSum(std::string_view line) {
    const char* const end = line.data() + line.size();
    const char* at = line.data();
    std::uint32_t sum = 0;
    for (; end - at >= 4; at += 4) sum += Bytes::Little(Bytes::Load<std::uint32_t>(at));
    if (end - at >= 2) {
        sum += Bytes::Little(Bytes::Load<std::uint16_t>(at));
        at += 2;
    }
    if (at < end) sum += static_cast<unsigned char>(*at);
    return sum;
}

std::uint32_t ContentSum() {
    std::uint32_t sum = 0;
    ForEachLine(Pass.Content, [&](std::size_t start, std::size_t end) {
        const std::string_view line = Piece(start, end);
        if (!line.starts_with("CRC")) sum += LineSum(line);
    });
    return sum;
}

}

bool BeginConfig(const std::string& file, bool write) {
    BeginConfigText("");
    Config.File = file;
    Config.Write = write;
    if (write) {
        Pass.NewFile = std::make_unique<Files::Replacement>();
        const int error = Pass.NewFile->Begin(file);
        return error == 0 || Fail(error, Files::ErrorText(error));
    }
    const int error = Files::ReadWhole(file, ConfigFileBytesMax, Pass.Content);
    if (error != 0) return Fail(error, Files::ErrorText(error));
    FindLines();
    return true;
}

void BeginConfigText(std::string text) {
    Config = {};
    Pass = {};
    Pass.Content = std::move(text);
    FindLines();
}

void RewindConfig() {
    Config.ConfigMissing = 0;
    Config.ConfigUndecoded.clear();
    Config.ConfigIndex = 0;
    Config.ConfigText.clear();
    Pass.Next = 0;
}

bool EndConfig() {
    if (Config.ConfigError == 0 && Pass.NewFile) {
        int error = Files::WriteAt(Pass.NewFile->Content, 0, std::as_bytes(std::span(Pass.Content)));
        if (error == 0) error = Pass.NewFile->Commit();
        if (error != 0) (void)Fail(error, Files::ErrorText(error));
    }
    Pass = {};
    return Config.ConfigError == 0;
}

const std::string& ConfigContent() {
    return Pass.Content;
}

void ConfigBool(std::string_view key, bool& place) {
    if (Config.Write) return Emit(key, ConfigKind::Bool, place ? "TRUE" : "FALSE");
    std::string_view value;
    if (!Find(key, value)) return;
    const char first = value[0];
    if (first == 'T' || first == 't')
        place = true;
    else if (first == 'F' || first == 'f')
        place = false;
    else
        Undecoded(key, EncodingError);
}

void ConfigCardinal(std::string_view key, std::uint32_t& place) {
    ConfigNumber<std::uint32_t, std::uint32_t>(key, place);
}

void ConfigInt(std::string_view key, std::int32_t& place) {
    ConfigNumber(key, place);
}

void ConfigShort(std::string_view key, std::int16_t& place) {
    ConfigNumber(key, place);
}

void ConfigEnum(std::string_view key, std::uint8_t& place) {
    ConfigNumber(key, place);
}

void ConfigChar(std::string_view key, char& place) {
    // A control character would break the line.
    if (Config.Write)
        return Emit(key, ConfigKind::Char,
                    static_cast<unsigned char>(place) < 32 ? "\"\"" : std::string_view(&place, 1));
    std::string_view value;
    if (Find(key, value)) place = value.starts_with("\"\"") ? '\0' : value[0];
}

void ConfigReal(std::string_view key, double& place) {
    if (Config.Write) return EmitNumber(key, ConfigKind::Real, place, std::chars_format::general, 16);
    std::string_view value;
    if (Find(key, value) && !TakeNumber(value, place)) Undecoded(key, NoNumber);
}

void ConfigString(std::string_view key, std::string& place, std::size_t longest) {
    if (Config.Write) {
        std::string text = place.substr(0, longest);
        std::replace_if(
            text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 32; }, ' ');
        return Emit(key, ConfigKind::String, text);
    }
    std::string_view value;
    if (!Find(key, value)) return;
    if (!value.starts_with('"')) return Undecoded(key, NoQuotes);
    value = value.substr(1, longest);
    if (value.ends_with('"')) value.remove_suffix(1);
    place = value;
}

void ConfigString(std::string_view key, std::span<char> place) {
    std::string text(Texts::FromField(place));
    ConfigString(key, text, place.size() - 1);
    if (!Config.Write) Texts::ToField(place, text);
}

void ConfigColor(std::string_view key, Color& place) {
    if (Config.Write)
        return Emit(key, ConfigKind::Color,
                    std::to_string(place.Red) + ", " + std::to_string(place.Green) + ", " +
                        std::to_string(place.Blue));
    std::string_view value;
    if (!Find(key, value)) return;
    Color color;
    for (std::uint16_t* const part : {&color.Red, &color.Green, &color.Blue}) {
        if (part != &color.Red) {
            value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
            if (!value.starts_with(',')) return Undecoded(key, NoNumber);
            value.remove_prefix(1);
            value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
        }
        if (!TakeNumber(value, *part)) return Undecoded(key, NoNumber);
    }
    place = color;
}

void ConfigBlock(std::string_view key, std::span<std::uint8_t> place) {
    if (Config.Write) {
        if (!Writing()) return;
        if (Pass.Listing) return Emit(key, ConfigKind::Block, Texts::Hex(std::as_bytes(place)));
        ForEachBlockLine(key, place, [](std::string_view lineKey, std::string_view value) {
            AppendLine(lineKey, {value});
        });
        return;
    }
    std::vector<std::uint8_t> bytes(place.size());
    for (std::size_t at = 0; at < bytes.size(); at += ConfigBlockLineBytes) {
        const std::string lineKey = BlockKey(key, bytes.size(), at);
        std::string_view value;
        if (!Find(lineKey, value)) return;
        const auto line = std::span(bytes).subspan(at, std::min(ConfigBlockLineBytes, bytes.size() - at));
        const char* const wrong = DecodeBlockLine(value, line);
        if (wrong) return Undecoded(lineKey, wrong);
    }
    std::copy(bytes.begin(), bytes.end(), place.begin());
}

void ConfigBoolAt(std::string_view key, int index, bool& place) {
    ConfigBool(KeyAt(key, index), place);
}

void ConfigIntAt(std::string_view key, int index, std::int32_t& place) {
    ConfigInt(KeyAt(key, index), place);
}

void ConfigShortAt(std::string_view key, int index, std::int16_t& place) {
    ConfigShort(KeyAt(key, index), place);
}

void ConfigEnumAt(std::string_view key, int index, std::uint8_t& place) {
    ConfigEnum(KeyAt(key, index), place);
}

void ConfigRealAt(std::string_view key, int index, double& place) {
    ConfigReal(KeyAt(key, index), place);
}

void ConfigStringAt(std::string_view key, int index, std::string& place, std::size_t longest) {
    ConfigString(KeyAt(key, index), place, longest);
}

void ConfigColorAt(std::string_view key, int index, Color& place) {
    ConfigColor(KeyAt(key, index), place);
}

void ConfigKept(std::string_view keyStart, std::vector<std::string>& lines) {
    if (Config.ConfigError != 0) return;
    if (Config.Write) {
        for (const std::string& line : lines) {
            const std::size_t keyEnd = std::min(line.find(' '), line.size());
            const std::string_view value = std::string_view(line).substr(std::min(keyEnd + 1, line.size()));
            if (Pass.Listing)
                Emit(std::string_view(line).substr(0, keyEnd), ConfigKind::Kept, value);
            else
                Pass.Content.append(line).append("\n");
        }
        return;
    }
    lines.clear();
    for (const KeyLine& line : Pass.Lines)
        if (WordOf(line).starts_with(keyStart)) lines.emplace_back(Piece(line.Word, line.End));
}

void ConfigCheckSum(std::uint32_t& storedValue, std::uint32_t& computedValue) {
    if (Config.ConfigError != 0) return;
    computedValue = ContentSum();
    storedValue = Config.Write ? computedValue : 0;
    Config.ConfigText.clear();
    if (!Pass.Listing) ConfigCardinal("CRC", storedValue);
    // A sum that is no number is a wrong one.
    if (Config.ConfigText.ends_with(NoNumber)) storedValue = computedValue == 1 ? 2 : 1;
}

void BeginConfigList() {
    BeginConfigText("");
    Config.Write = true;
    Pass.Listing = true;
}

std::vector<ConfigEntry> EndConfigList() {
    std::vector<ConfigEntry> entries = std::move(Pass.Entries);
    Pass = {};
    return entries;
}

bool ConfigLines(const ConfigEntry& entry, std::string& lines) {
    lines.clear();
    const auto append = [&](std::string_view key, std::string_view value) {
        lines.append(key).append(" ").append(value).append("\n");
    };
    if (entry.Kind == ConfigKind::String) {
        append(entry.Key, "\"" + entry.Value + "\"");
        return true;
    }
    if (entry.Kind != ConfigKind::Block) {
        append(entry.Key, entry.Value);
        return true;
    }
    if (entry.Value.size() % 2 != 0) return false;
    std::vector<std::uint8_t> bytes(entry.Value.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char* const digits = entry.Value.data() + 2 * i;
        const auto [next, error] = std::from_chars(digits, digits + 2, bytes[i], 16);
        if (error != std::errc{} || next != digits + 2) return false;
    }
    ForEachBlockLine(entry.Key, bytes, append);
    return true;
}

}
