// The 32-bit checksum of files of our own: CRC-32 as in ISO 3309 (reflected polynomial 0xEDB88320), so that
// other tools can verify it.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

namespace Checksum {

// The checksum of what has been summed so far (0 for nothing yet) with these bytes behind it.
[[nodiscard]] std::uint32_t Crc32(std::uint32_t sum, std::span<const std::byte> bytes);

}
