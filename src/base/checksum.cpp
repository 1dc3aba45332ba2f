#include "base/checksum.h"

#include <array>

namespace Checksum {

namespace {

constexpr std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ (value & 1 ? 0xEDB88320u : 0);
        table[i] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> Table = MakeTable();

}

std::uint32_t Crc32(std::uint32_t sum, std::span<const std::byte> bytes) {
    sum = ~sum;
    for (const std::byte b : bytes) sum = (sum >> 8) ^ Table[(sum ^ static_cast<std::uint32_t>(b)) & 0xFF];
    return ~sum;
}

}
