#include "windows/start_window.h"

#include "platform/platform.h"
#include "ui/theme.h"

#include <string>

namespace StartWindow {

namespace {

constexpr Platform::Size Extent{420, 150};
enum Layers : std::uint8_t { Ground, Line };

struct StartState {
    Platform::WindowId Window = 0;
};
StartState State;

}

void Open(std::string_view programName, std::string_view version) {
    State.Window = Platform::Ops().OpenWindow({.Kind = Platform::WindowKind::Start,
                                               .Title = std::string(programName),
                                               .Name = "Start",
                                               .Content = Extent,
                                               .Least = Extent,
                                               .Sizable = false,
                                               .CloseBox = false});
    const Themes::Palette& colors = Themes::Colors();
    Platform::Drawing ground;
    ground.Fill({0, 0, Extent.Width, Extent.Height}, colors.Panel);
    ground.Frame({0, 0, Extent.Width, Extent.Height}, colors.Line);
    ground.Fill({0, 0, 6, Extent.Height}, colors.Accent);
    // An action potential and its after-hyperpolarisation.
    ground.Polyline({{286, 86},
                     {318, 86},
                     {326, 78},
                     {332, 30},
                     {336, 26},
                     {342, 78},
                     {348, 100},
                     {358, 96},
                     {374, 88},
                     {398, 86}},
                    colors.Accent, 2);
    Platform::Font name{.Size = 26, .Bold = true};
    ground.Text({30, 30, 250, 40}, programName, name, colors.Text);
    ground.Text({30, 68, 250, 24}, version, {.Size = 13}, colors.Secondary);
    Platform::Ops().DrawLayer(State.Window, Ground, {0, 0, Extent.Width, Extent.Height}, std::move(ground));
    Platform::Ops().Pump();
}

void SetLine(std::string_view line) {
    if (State.Window == 0) return;
    Platform::Drawing drawing;
    const Platform::Area place{30, 108, Extent.Width - 60, 24};
    drawing.Text(place, line, {.Size = 13}, Themes::Colors().Text);
    Platform::Ops().DrawLayer(State.Window, Line, place, std::move(drawing));
    Platform::Ops().Pump();
}

void Close() {
    if (State.Window != 0) Platform::Ops().CloseWindow(State.Window);
    State.Window = 0;
}

}
