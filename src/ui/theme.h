// Colours and measures of everything that is drawn, by role, light and dark.
//
// A colour of the settings (WBackRGB, TraceRGB, FitRGB and their kin) counts once the user has changed it;
// as long as it has its built-in value, the theme's colour stands in.
#pragma once
#include "platform/drawing.h"
#include "platform/platform.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Themes {

struct Palette {
    Platform::Color Window, Panel, Soft, Line;
    Platform::Color Text, Secondary;
    Platform::Color Accent, OnAccent;
    Platform::Color Grid, ZeroLine;
    Platform::Color Trace, Overlaid, Fit;
    Platform::Color Cursor, Stimulus, Marked;
    Platform::Color Good, Warning;
};

enum class Choice : std::uint8_t { Desktop, Light, Dark };

// Takes the theme, and the colours of the settings, into use, here and in the platform's own parts. Windows
// are not redrawn.
void Apply(Choice choice);
// Off: the theme's own colours count, whatever the settings say.
extern bool SettingsCount;
[[nodiscard]] Choice Chosen();
[[nodiscard]] bool IsDark();
[[nodiscard]] const Palette& Colors();

// Measures, in logical pixels.
inline constexpr double RowHeight = 24, Gap = 6, WideGap = 10, Margin = 16, Corner = 5, LineWidth = 1;
inline constexpr double TextSize = 13, SmallTextSize = 11.5;

// A colour on its way to "disabled": so much of it is left over the background.
[[nodiscard]] Platform::Color Mixed(Platform::Color over, Platform::Color under, double share);
// Ratio of the luminances, 1 to 21 (WCAG 2.1, relative luminance).
[[nodiscard]] double Contrast(Platform::Color a, Platform::Color b);

// Fonts by number: 0 the interface's, 1 the notebook's, 2 that of formulas, from 3 on those of the machine.
[[nodiscard]] std::vector<std::string> FontList();
// A size in points takes 1.3 pixels each, so that 10 points are the interface's text.
[[nodiscard]] Platform::Font FontOf(std::int16_t number, double points, std::uint8_t style);

}
