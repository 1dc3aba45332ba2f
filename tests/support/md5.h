// MD5 of a byte string, in hexadecimal (RFC 1321): a fingerprint of a file image, nothing else.
#pragma once
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace Support {

inline std::string Md5(std::string_view data) {
    static constexpr int Shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    std::string padded(data);
    padded.push_back('\x80');
    padded.resize((padded.size() + 8 + 63) / 64 * 64 - 8);
    for (int i = 0; i < 8; ++i)
        padded.push_back(static_cast<char>(std::uint64_t{data.size()} * 8 >> (8 * i)));

    std::array<std::uint32_t, 4> sum = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    for (std::size_t block = 0; block < padded.size(); block += 64) {
        std::array<std::uint32_t, 16> words{};
        for (std::size_t i = 0; i < 64; ++i)
            words[i / 4] |= std::uint32_t{static_cast<unsigned char>(padded[block + i])} << (8 * (i % 4));
        auto [a, b, c, d] = sum;
        for (std::uint32_t i = 0; i < 64; ++i) {
            const std::uint32_t round = i / 16;
            const std::uint32_t mixed = round == 0   ? (b & c) | (~b & d)
                                        : round == 1 ? (b & d) | (c & ~d)
                                        : round == 2 ? b ^ c ^ d
                                                     : c ^ (b | ~d);
            constexpr std::uint32_t Steps[] = {1, 5, 3, 7}, Starts[] = {0, 1, 5, 0};
            const auto constant =
                static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(i + 1.0)) * 0x1p32));
            const std::uint32_t turned =
                a + mixed + constant + words[(i * Steps[round] + Starts[round]) % 16];
            a = d;
            d = c;
            c = b;
            b += std::rotl(turned, Shifts[round][i % 4]);
        }
        sum = {sum[0] + a, sum[1] + b, sum[2] + c, sum[3] + d};
    }
    std::string text;
    for (std::size_t i = 0; i < 16; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", sum[i / 4] >> (8 * (i % 4)) & 0xFF);
        text += digits;
    }
    return text;
}

}
