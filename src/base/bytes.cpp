#include "base/bytes.h"

namespace Bytes {

namespace {

template <class Word>
void ReverseWords(std::span<std::byte> data) {
    for (std::size_t at = 0; at + sizeof(Word) <= data.size(); at += sizeof(Word))
        Store(data.data() + at, Swapped(Load<Word>(data.data() + at)));
}

}

void ReverseElements(std::span<std::byte> data, std::size_t elementSize) {
    switch (elementSize) {
    case 2: ReverseWords<std::uint16_t>(data); break;
    case 4: ReverseWords<std::uint32_t>(data); break;
    case 8: ReverseWords<std::uint64_t>(data); break;
    default: break;
    }
}

}
