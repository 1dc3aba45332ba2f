#include "app/npy.h"

#include "base/bytes.h"

namespace Npy {

std::string Vector(std::span<const float> values) {
    std::string header = std::string("{'descr': '") + (Bytes::MachineIsLittle ? "<" : ">") +
                         "f4', 'fortran_order': False, 'shape': (" + std::to_string(values.size()) + ",), }";
    constexpr std::size_t Preamble = 10, Alignment = 64;
    const std::size_t unpadded = Preamble + header.size() + 1;
    header.append((Alignment - unpadded % Alignment) % Alignment, ' ');
    header.push_back('\n');
    std::string file = "\x93NUMPY";
    file.push_back('\1');
    file.push_back('\0');
    file.push_back(static_cast<char>(header.size() & 0xFF));
    file.push_back(static_cast<char>(header.size() >> 8));
    file += header;
    file.append(reinterpret_cast<const char*>(values.data()), values.size_bytes());
    return file;
}

}
