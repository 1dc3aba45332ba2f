#include "base/text.h"

#include <algorithm>

namespace Texts {

namespace {

// Length of the well-formed sequence at the start, 0 when there is none (RFC 3629, table of section 4).
std::size_t SequenceLength(std::string_view s) {
    const auto byte = [&](std::size_t i) { return i < s.size() ? static_cast<unsigned char>(s[i]) : 0u; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    std::size_t length = 0;
    unsigned low = 0x80, high = 0xBF;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        if (first == 0xE0) low = 0xA0;
        if (first == 0xED) high = 0x9F;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        if (first == 0xF0) low = 0x90;
        if (first == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (byte(1) < low || byte(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
    return length;
}

bool IsUtf8(std::string_view s) {
    while (!s.empty()) {
        const std::size_t length = SequenceLength(s);
        if (length == 0) return false;
        s.remove_prefix(length);
    }
    return true;
}

}

std::string_view FromField(std::span<const char> field) {
    const auto end = std::find(field.begin(), field.end(), '\0');
    return {field.data(), static_cast<std::size_t>(end - field.begin())};
}

void ToField(std::span<char> field, std::string_view text) {
    if (field.empty()) return;
    const std::size_t n = std::min(text.size(), field.size() - 1);
    std::fill(std::copy_n(text.begin(), n, field.begin()), field.end(), '\0');
}

std::string Utf8(std::string_view bytes) {
    if (IsUtf8(bytes)) return std::string(bytes);
    std::string out;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            out.push_back(c);
        } else {
            out.push_back(static_cast<char>(0xC0 | (code >> 6)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    return out;
}

std::string CutUtf8(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) return std::string(text);
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
    return std::string(text.substr(0, bytes));
}

std::string Utf8Of(std::uint32_t character) {
    if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF)) return {};
    if (character < 0x80) return std::string(1, static_cast<char>(character));
    std::string out;
    int left = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    const std::uint32_t lead = left == 1 ? 0xC0 : left == 2 ? 0xE0 : 0xF0;
    out += static_cast<char>(lead | character >> (6 * left));
    while (left-- > 0) out += static_cast<char>(0x80 | (character >> (6 * left) & 0x3F));
    return out;
}

std::uint32_t TakeCharacter(std::string_view& text) {
    const std::size_t length = std::max<std::size_t>(SequenceLength(text), 1);
    std::uint32_t character = static_cast<unsigned char>(text[0]);
    if (length > 1) character &= 0xFFu >> (length + 1);
    for (std::size_t i = 1; i < length; ++i)
        character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    text.remove_prefix(length);
    return character;
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(), Upper);
    return upper;
}

bool SameFolded(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Upper(x) == Upper(y); });
}

std::string Hex(std::span<const std::byte> bytes) {
    static constexpr char Digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const std::byte b : bytes) {
        out.push_back(Digits[std::to_integer<unsigned>(b) >> 4]);
        out.push_back(Digits[std::to_integer<unsigned>(b) & 15]);
    }
    return out;
}

}
