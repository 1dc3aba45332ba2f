// Which points of a wave are left out: by a text that the user types, or by a rectangle dragged in the graph.
//
// The text, without regard to case: "ON" anywhere in it takes every point in again; else "OFF" leaves every
// point out. Otherwise first the conditions in brackets, "[X>3.5]", "[Y<-2E-9]", each of which flags the
// points that meet it; then a list, separated by commas, of points "7" and ranges "5-END", counted from 1,
// whose flags are turned over. "END" is the last point. Reading stops at the first item that is neither.
#pragma once
#include "series/wave_store.h"

#include <string_view>

namespace SGFit {

inline constexpr std::string_view SkipPrompt = "Enter points to skip/resume";
inline constexpr std::size_t SkipTextMax = 80; // bytes; what is longer is cut

// Sets the flags of the wave.
void SelectPoints(const Wave& wave, std::string_view text);

struct Rectangle {
    double Left, Top, Width, Height; // in the units of the axes; a drag to the left or upwards is negative
};
// Turns over the flags of the points strictly inside.
void SelectPoints(const Wave& wave, Rectangle drag);

// The same for the active wave, and Refresh.
void SkipPoints(Store& store, std::string_view text);
void SkipPoints(Store& store, const Rectangle& drag);

}
