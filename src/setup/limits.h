// Settings come from files that anybody may have edited: a choice beyond the last one becomes the default, a
// count beyond its range the nearest one in it.
#pragma once
#include <algorithm>
#include <cstdint>

namespace Limits {

inline void Choice(std::uint8_t& field, std::uint8_t last, std::uint8_t byDefault) {
    if (field > last) field = byDefault;
}

template <class T>
void Range(T& field, T lowest, T highest) {
    field = std::clamp(field, lowest, highest);
}

template <class T>
void AtLeast(T& field, T lowest) {
    field = std::max(field, lowest);
}

}
