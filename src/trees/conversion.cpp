#include "trees/conversion.h"

namespace Conversion {

namespace {

// One element at a time: the loops are short (mostly one element), and a swap needs the element's size.
template <class Word>
void Move(std::byte* image, std::byte* ram, std::size_t count, Mode mode) {
    if (mode == Mode::Write) {
        std::memcpy(image, ram, count * sizeof(Word));
        return;
    }
    if constexpr (sizeof(Word) > 1) {
        if (mode == Mode::Swap) {
            for (std::size_t i = 0; i < count; ++i)
                Bytes::Store(ram + i * sizeof(Word),
                             Bytes::Swapped(Bytes::Load<Word>(image + i * sizeof(Word))));
            return;
        }
    }
    std::memcpy(ram, image, count * sizeof(Word));
}

void MoveReal32(std::byte* image, std::byte* ram, std::size_t count, Mode mode) {
    for (std::size_t i = 0; i < count; ++i) {
        if (mode == Mode::Write) {
            Bytes::Store(image + i * 4, static_cast<float>(Bytes::Load<double>(ram + i * 8)));
            continue;
        }
        auto bits = Bytes::Load<std::uint32_t>(image + i * 4);
        if (mode == Mode::Swap) bits = Bytes::Swapped(bits);
        Bytes::Store(ram + i * 8, static_cast<double>(std::bit_cast<float>(bits)));
    }
}

}

void Convert(std::span<const Field> fields, std::byte* image, std::byte* ram, Mode mode) {
    for (const Field& field : fields) {
        std::byte* const inFile = image + field.At;
        std::byte* const inRam = ram + field.RamAt;
        switch (field.Kind) {
        case Kind::Int16:
        case Kind::Word16: Move<std::uint16_t>(inFile, inRam, field.Count, mode); break;
        case Kind::Int32: Move<std::uint32_t>(inFile, inRam, field.Count, mode); break;
        case Kind::Real64: Move<std::uint64_t>(inFile, inRam, field.Count, mode); break;
        case Kind::Real32: MoveReal32(inFile, inRam, field.Count, mode); break;
        case Kind::Check:
            if (mode == Mode::Write)
                std::memset(inFile, 0, 4);
            else
                Move<std::uint32_t>(inFile, inRam, 1, mode);
            break;
        case Kind::Byte:
        case Kind::Text:
        case Kind::Bytes:
        case Kind::NameUnits:
        case Kind::FitParams:
            Move<std::uint8_t>(inFile, inRam, std::size_t{field.Size} * field.Count, mode);
            break;
        case Kind::Foreign: break;
        case Kind::Group:
            for (std::size_t i = 0; i < field.Count; ++i)
                Convert(field.Members, inFile + i * field.Size, inRam + i * field.RamSize, mode);
            break;
        }
    }
}

}
