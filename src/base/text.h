// Texts in fixed fields, and their way to the screen.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Texts {

// The characters before the first zero byte, at most the whole field.
[[nodiscard]] std::string_view FromField(std::span<const char> field);

// Fills a field: cut to its size less one, the rest zero.
void ToField(std::span<char> field, std::string_view text);

// Valid UTF-8 as it is; any other bytes are taken for Latin-1, in which older programs wrote.
[[nodiscard]] std::string Utf8(std::string_view bytes);

// The front of a text of valid UTF-8, at most so many bytes, with no character cut in two.
[[nodiscard]] std::string CutUtf8(std::string_view text, std::size_t bytes);

// A character by its number, as UTF-8; empty for a number that is none.
[[nodiscard]] std::string Utf8Of(std::uint32_t character);
// Takes the first character off a text and returns its number; a byte that begins none counts for itself. The
// text must not be empty.
[[nodiscard]] std::uint32_t TakeCharacter(std::string_view& text);

// A letter a to z as A to Z, anything else as it is.
[[nodiscard]] constexpr char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
[[nodiscard]] std::string UpperCase(std::string_view text);

// Equal without regard to case of the letters A to Z.
[[nodiscard]] bool SameFolded(std::string_view a, std::string_view b);

// Two lower-case digits a byte.
[[nodiscard]] std::string Hex(std::span<const std::byte> bytes);

}
