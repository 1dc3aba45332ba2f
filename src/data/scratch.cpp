#include "data/scratch.h"

#include "base/buffer.h"
#include "base/messages.h"
#include "setup/settings.h"

#include <array>

namespace Scratch {

namespace {

struct Block {
    void* Address = nullptr;
    std::size_t Bytes = 0;
};

struct State {
    Buffer::Heap* Heap = nullptr;
    Buffer::Heap* TempHeap = nullptr;
    Block Vector, Deinterleave, TempData;
    std::array<Block, DisplaySlots> Slots;
};

State Memory;

std::size_t Points() {
    return static_cast<std::size_t>(Setup::Settings.MaxSamplePoints);
}

bool Ensure(Block& block, Buffer::Heap*& heap, const char* heapName, std::size_t bytes) {
    if (block.Address) return true;
    if (!heap) heap = Buffer::Create(heapName);
    if (!heap) return false;
    block.Address = heap->Allocate(bytes);
    block.Bytes = block.Address ? bytes : 0;
    return block.Address != nullptr;
}

template <class T>
std::span<T> Values(const Block& block) {
    return {static_cast<T*>(block.Address), block.Bytes / sizeof(T)};
}

constexpr const char* ScratchHeap = "ScratchHeap.HE";

}

std::span<std::byte> Vector() {
    (void)Ensure(Memory.Vector, Memory.Heap, ScratchHeap, 16 * Points());
    return Values<std::byte>(Memory.Vector);
}

std::span<std::byte> Deinterleave() {
    (void)Ensure(Memory.Deinterleave, Memory.Heap, ScratchHeap, 4 * Points());
    return Values<std::byte>(Memory.Deinterleave);
}

std::span<float> DisplaySlot(int slot) {
    if (slot < 0 || slot >= DisplaySlots) {
        Messages::Alert("Display - too may traces to display.");
        return {};
    }
    Block& block = Memory.Slots[static_cast<std::size_t>(slot)];
    if (!Ensure(block, Memory.Heap, ScratchHeap, sizeof(float) * Points()))
        Messages::Alert("Display - trace buffer could not be allocated.");
    return Values<float>(block);
}

std::span<float> TempData() {
    if (!Ensure(Memory.TempData, Memory.TempHeap, "/Shell/TempDataBuffer", sizeof(float) * Points()))
        Messages::Alert(Memory.TempHeap ? "Error: temp. data buffer could not be allocated."
                                        : "Error: temp. data buffer could not be created.");
    return Values<float>(Memory.TempData);
}

void Release() {
    Buffer::Release(Memory.Heap);
    Buffer::Release(Memory.TempHeap);
    Memory = {};
}

}
