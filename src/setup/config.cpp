#include "setup/config.h"

#include "base/bytes.h"
#include "base/files.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <memory>
#include <utility>

namespace Setup {

ConfigState Config;

namespace {

// A line that starts with a key word, by offsets into the content.
struct KeyLine {
    std::uint32_t Start, Word, WordEnd, End;
};

// The parts of a pass that nobody else sees.
struct PassState {
    std::string Content;        // read, or written so far
    std::vector<KeyLine> Lines; // in the order of their words, lines of one word in that of the file
    std::size_t Place = 0;      // end of the line of the last key found
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

void SetText(std::string text) {
    Config.ConfigText = std::move(text);
    if (Config.ConfigText.size() > ConfigTextMax) Config.ConfigText.resize(ConfigTextMax);
}

bool Fail(int error, const std::string& text) {
    Config.ConfigError = error;
    SetText(text);
    return false;
}

// A file of nothing but such values must not fill the memory with their texts.
constexpr std::size_t UndecodedMax = 100;

void Undecoded(std::string_view key, const char* reason) {
    SetText("\"" + std::string(key) + "\"" + reason);
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
    std::size_t at = 0;
    while (at < content.size()) {
        const std::size_t end = std::min(content.find_first_of("\r\n", at), content.size());
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

void IndexLines() {
    Pass.Lines.clear();
    ForEachLine(Pass.Content, [](std::size_t start, std::size_t end) {
        std::size_t word = start;
        while (word < end && IsBlank(Pass.Content[word])) ++word;
        std::size_t wordEnd = word;
        while (wordEnd < end && IsWordCharacter(Pass.Content[wordEnd])) ++wordEnd;
        if (wordEnd > word)
            Pass.Lines.push_back({static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(word),
                                  static_cast<std::uint32_t>(wordEnd), static_cast<std::uint32_t>(end)});
    });
    std::sort(Pass.Lines.begin(), Pass.Lines.end(), [](const KeyLine& a, const KeyLine& b) {
        const int order = WordOf(a).compare(WordOf(b));
        return order != 0 ? order < 0 : a.Start < b.Start;
    });
}

// The line of the key from a place on; null when there is none.
const KeyLine* LineFrom(std::string_view key, std::size_t place) {
    const auto found =
        std::lower_bound(Pass.Lines.begin(), Pass.Lines.end(), std::pair(key, place),
                         [](const KeyLine& line, const std::pair<std::string_view, std::size_t>& wanted) {
                             const int order = WordOf(line).compare(wanted.first);
                             return order != 0 ? order < 0 : line.Start < wanted.second;
                         });
    return found != Pass.Lines.end() && WordOf(*found) == key ? &*found : nullptr;
}

// The text of the key's value, to the end of its line. False for a key that is missing or has no value.
bool Find(std::string_view key, std::string_view& value) {
    if (Config.ConfigError != 0) return false;
    const KeyLine* line = LineFrom(key, Pass.Place);
    if (!line) line = LineFrom(key, 0);
    if (!line) {
        ++Config.ConfigMissing;
        SetText("\"" + std::string(key) + "\"" + NotFound);
        return false;
    }
    Pass.Place = line->End;
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

std::string RealText(double value) {
    char text[32];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 16);
    return error == std::errc{} ? std::string(text, end) : "0";
}

bool Writing() {
    return Config.Write && Config.ConfigError == 0;
}

void AppendLine(std::string_view key, std::string_view value) {
    if (key.size() + 1 + value.size() >= ConfigLineBytes) return Undecoded(key, OutputOverflow);
    Pass.Content.append(key).append(" ").append(value).append("\n");
}

void Emit(std::string_view key, ConfigKind kind, std::string value) {
    if (!Writing()) return;
    if (Pass.Listing) {
        Pass.Entries.push_back({std::string(key), kind, std::move(value)});
    } else if (kind == ConfigKind::Bool) {
        AppendLine(key, " " + value);
    } else if (kind == ConfigKind::String) {
        AppendLine(key, "\"" + value + "\"");
    } else {
        AppendLine(key, value);
    }
}

// All whole numbers are read through the 32-bit form; one that its place cannot hold is not decoded.
template <class Place, class Read = std::int32_t>
void ConfigNumber(std::string_view key, Place& place) {
    if (Config.Write) return Emit(key, ConfigKind::Number, std::to_string(place));
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
        std::string value = "\"";
        for (const std::uint8_t byte : block.subspan(at, std::min(ConfigBlockLineBytes, block.size() - at))) {
            value.push_back(static_cast<char>((byte & 15) + 32));
            value.push_back(static_cast<char>((byte >> 4) + 32));
        }
        step(BlockKey(key, block.size(), at), value + "\"");
    }
}

// Null, or what is wrong with the line of a block.
const char* DecodeBlockLine(std::string_view value, std::span<std::uint8_t> bytes) {
    if (!value.starts_with('"')) return NoQuotes;
    value.remove_prefix(1);
    for (std::uint8_t& byte : bytes) {
        unsigned nibbles[2];
        for (unsigned& nibble : nibbles) {
            if (value.empty()) return InputOverflow;
            nibble = static_cast<unsigned char>(value[0]) - 32u;
            if (nibble > 15) return EncodingError;
            value.remove_prefix(1);
        }
        byte = static_cast<std::uint8_t>(nibbles[0] | nibbles[1] << 4);
    }
    // A double quote is also a pair's half: only the one behind the last byte ends the line.
    return value.starts_with('"') ? nullptr : value.empty() ? InputOverflow : OutputOverflow;
}

std::uint32_t LineSum(std::string_view line) {
    const auto byte = [&](std::size_t i) { return std::uint32_t{static_cast<unsigned char>(line[i])}; };
    std::uint32_t sum = 0;
    std::size_t at = 0;
    for (; line.size() - at >= 4; at += 4)
        sum += byte(at) | byte(at + 1) << 8 | byte(at + 2) << 16 | byte(at + 3) << 24;
    if (line.size() - at >= 2) {
        sum += byte(at) | byte(at + 1) << 8;
        at += 2;
    }
    if (at < line.size()) sum += byte(at);
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
    IndexLines();
    return true;
}

void BeginConfigText(std::string text) {
    Config = {};
    Pass = {};
    Pass.Content = std::move(text);
    IndexLines();
}

void RewindConfig() {
    Config.ConfigMissing = 0;
    Config.ConfigUndecoded.clear();
    Config.ConfigIndex = 0;
    Config.ConfigText.clear();
    Pass.Place = 0;
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
                    static_cast<unsigned char>(place) < 32 ? "\"\"" : std::string(1, place));
    std::string_view value;
    if (Find(key, value)) place = value.starts_with("\"\"") ? '\0' : value[0];
}

void ConfigReal(std::string_view key, double& place) {
    if (Config.Write) return Emit(key, ConfigKind::Real, RealText(place));
    std::string_view value;
    if (Find(key, value) && !TakeNumber(value, place)) Undecoded(key, NoNumber);
}

void ConfigString(std::string_view key, std::string& place, std::size_t longest) {
    if (Config.Write) {
        std::string text = place.substr(0, longest);
        std::replace_if(
            text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 32; }, ' ');
        return Emit(key, ConfigKind::String, std::move(text));
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
        ForEachBlockLine(key, place, AppendLine);
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
                Emit(line.substr(0, keyEnd), ConfigKind::Kept, std::string(value));
            else
                Pass.Content.append(line).append("\n");
        }
        return;
    }
    std::vector<KeyLine> found;
    auto line = std::lower_bound(Pass.Lines.begin(), Pass.Lines.end(), keyStart,
                                 [](const KeyLine& a, std::string_view start) { return WordOf(a) < start; });
    for (; line != Pass.Lines.end() && WordOf(*line).starts_with(keyStart); ++line) found.push_back(*line);
    std::sort(found.begin(), found.end(),
              [](const KeyLine& a, const KeyLine& b) { return a.Start < b.Start; });
    lines.clear();
    for (const KeyLine& one : found) lines.emplace_back(Piece(one.Word, one.End));
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
