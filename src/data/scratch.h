// The working memory that all steps of trace access share: one scratch vector, the de-interleave buffer, the
// display slots and the buffer of the reference trace. Not re-entrant: a step that uses one of them ends
// before another begins. All of it is allocated at first use and sized by Setup.Settings.MaxSamplePoints.
#pragma once
#include <cstddef>
#include <span>

namespace Scratch {

inline constexpr int DisplaySlots = 37;

// 16 bytes a point of MaxSamplePoints; empty when there is no memory.
[[nodiscard]] std::span<std::byte> Vector();
// 4 bytes a point.
[[nodiscard]] std::span<std::byte> Deinterleave();
// The slot's buffer of MaxSamplePoints values; empty, with an alert, when it cannot be had.
[[nodiscard]] std::span<float> DisplaySlot(int slot);
// The buffer of the reference trace, MaxSamplePoints values; empty, with an alert, when it cannot be had.
[[nodiscard]] std::span<float> TempData();

// Gives everything back, at the end of the program or before MaxSamplePoints changes.
void Release();

}
