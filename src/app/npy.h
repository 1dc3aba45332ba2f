// NumPy's array file, version 1.0 (numpy.lib.format): magic, header length, a header of text, the raw values.
#pragma once
#include <span>
#include <string>

namespace Npy {

// The bytes of a file with one vector of 32-bit reals in this machine's order.
[[nodiscard]] std::string Vector(std::span<const float> values);

}
