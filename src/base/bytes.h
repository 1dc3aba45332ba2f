// Bytes, their order, and unaligned access. Stated once: the machine's order is known at compile time,
// files say theirs by a flag, and a foreign number is reversed in place.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace Bytes {

inline constexpr bool MachineIsLittle = std::endian::native == std::endian::little;

template <class T>
requires std::is_trivially_copyable_v<T>
[[nodiscard]] inline T Load(const void* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
requires std::is_trivially_copyable_v<T>
inline void Store(void* to, const T& value) {
    std::memcpy(to, &value, sizeof value);
}

[[nodiscard]] constexpr std::uint16_t Swapped(std::uint16_t v) {
    return __builtin_bswap16(v);
}
[[nodiscard]] constexpr std::uint32_t Swapped(std::uint32_t v) {
    return __builtin_bswap32(v);
}
[[nodiscard]] constexpr std::uint64_t Swapped(std::uint64_t v) {
    return __builtin_bswap64(v);
}
[[nodiscard]] constexpr std::int32_t Swapped(std::int32_t v) {
    return static_cast<std::int32_t>(__builtin_bswap32(static_cast<std::uint32_t>(v)));
}

// The number whose bytes stand in little-endian order in the value, or the other way round.
template <class T>
[[nodiscard]] constexpr T Little(T value) {
    return MachineIsLittle ? value : Swapped(value);
}

// Reverses the bytes of each element; elementSize is 1, 2, 4 or 8, and a rest shorter than it stays.
void ReverseElements(std::span<std::byte> data, std::size_t elementSize);

}
