#include "ui/theme.h"

#include "setup/settings.h"

#include <cmath>

namespace Themes {

bool SettingsCount = true;

namespace {

using Platform::Color;
using Platform::FromHex;

constexpr Palette LightPalette = {
    .Window = FromHex(0xf3f5f8),
    .Panel = FromHex(0xffffff),
    .Soft = FromHex(0xeef1f5),
    .Line = FromHex(0xd8dde5),
    .Text = FromHex(0x1c2330),
    .Secondary = FromHex(0x5d6879),
    .Accent = FromHex(0x2463c4),
    .OnAccent = FromHex(0xffffff),
    .Grid = FromHex(0xe6eaf0),
    .ZeroLine = FromHex(0x9aa5b5),
    .Trace = FromHex(0x1f3a5f),
    .Overlaid = FromHex(0xb9c2cf),
    .Fit = FromHex(0xc30000),
    .Cursor = FromHex(0xc77700),
    .Stimulus = FromHex(0x00795a),
    .Marked = FromHex(0xfff3d6),
    .Good = FromHex(0x18794e),
    .Warning = FromHex(0xb45309),
};

constexpr Palette DarkPalette = {
    .Window = FromHex(0x171a20),
    .Panel = FromHex(0x1f232b),
    .Soft = FromHex(0x272c36),
    .Line = FromHex(0x343b47),
    .Text = FromHex(0xe4e8ee),
    .Secondary = FromHex(0x98a2b3),
    .Accent = FromHex(0x6ea2ff),
    .OnAccent = FromHex(0x0d1420),
    .Grid = FromHex(0x2b313c),
    .ZeroLine = FromHex(0x5d6879),
    .Trace = FromHex(0xcfe0ff),
    .Overlaid = FromHex(0x56606f),
    .Fit = FromHex(0xff6b6b),
    .Cursor = FromHex(0xffb454),
    .Stimulus = FromHex(0x4fd1a5),
    .Marked = FromHex(0x3a3320),
    .Good = FromHex(0x5fd39b),
    .Warning = FromHex(0xffb454),
};

struct ThemeState {
    Choice Chosen = Choice::Desktop;
    bool Dark = false;
    Palette InUse = LightPalette;
};
ThemeState State;

Color FromSetting(Setup::Color color) {
    const auto byte = [](std::uint16_t part) { return static_cast<std::uint8_t>(part >> 8); };
    return {byte(color.Red), byte(color.Green), byte(color.Blue), 255};
}

// Which role a colour of the settings stands for.
struct SettingRow {
    Setup::Color Setup::ColorSettings::*Setting;
    Color Palette::*Role;
};
constexpr SettingRow SettingRoles[] = {
    {&Setup::ColorSettings::Back, &Palette::Window},
    {&Setup::ColorSettings::WBack, &Palette::Panel},
    {&Setup::ColorSettings::Button, &Palette::Soft},
    {&Setup::ColorSettings::Text, &Palette::Text},
    {&Setup::ColorSettings::TextLow, &Palette::Secondary},
    {&Setup::ColorSettings::SwitchOn, &Palette::Accent},
    {&Setup::ColorSettings::TreeSelect, &Palette::Marked},
    {&Setup::ColorSettings::DimmedTrace, &Palette::Overlaid},
    {&Setup::ColorSettings::Grid, &Palette::Grid},
    {&Setup::ColorSettings::Fit, &Palette::Fit},
};

double Luminance(Color color) {
    const auto linear = [](std::uint8_t part) {
        const double c = part / 255.0;
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.Red) + 0.7152 * linear(color.Green) + 0.0722 * linear(color.Blue);
}

}

void Apply(Choice choice) {
    State.Chosen = choice;
    State.Dark = choice == Choice::Dark || (choice == Choice::Desktop && Platform::Ops().DesktopIsDark());
    State.InUse = State.Dark ? DarkPalette : LightPalette;
    const Setup::ColorSettings builtIn;
    const Setup::ColorSettings& user = Setup::Settings.Colors;
    for (const SettingRow& row : SettingRoles)
        if (SettingsCount && !(user.*row.Setting == builtIn.*row.Setting))
            State.InUse.*row.Role = FromSetting(user.*row.Setting);
    if (SettingsCount && !(user.Trace[1] == builtIn.Trace[1])) State.InUse.Trace = FromSetting(user.Trace[1]);
    const Palette& c = State.InUse;
    Platform::Ops().SetTheme({.Dark = State.Dark,
                              .Window = c.Window,
                              .Panel = c.Panel,
                              .Soft = c.Soft,
                              .Line = c.Line,
                              .Text = c.Text,
                              .Secondary = c.Secondary,
                              .Accent = c.Accent,
                              .OnAccent = c.OnAccent,
                              .Warning = c.Warning,
                              .Good = c.Good});
}

Choice Chosen() {
    return State.Chosen;
}

bool IsDark() {
    return State.Dark;
}

const Palette& Colors() {
    return State.InUse;
}

Color Mixed(Color over, Color under, double share) {
    const auto part = [share](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(std::lround(a * share + b * (1 - share)));
    };
    return {part(over.Red, under.Red), part(over.Green, under.Green), part(over.Blue, under.Blue), 255};
}

double Contrast(Color a, Color b) {
    const double la = Luminance(a), lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

std::vector<std::string> FontList() {
    std::vector<std::string> list = {"Interface", "Notebook", "Formula"};
    for (std::string& name : Platform::Ops().FontNames()) list.push_back(std::move(name));
    return list;
}

Platform::Font FontOf(std::int16_t number, double points, std::uint8_t style) {
    Platform::Font font;
    font.Size = points * 1.3;
    if (number == 0 && Setup::Settings.Windows.DialogFont.Name != Setup::FontChoice{}.Name)
        font.Family = Setup::Settings.Windows.DialogFont.Name;
    if (number == 1) font.Face = Platform::FontFace::Fixed;
    if (number == 2) font.Face = Platform::FontFace::Formula;
    if (number > 2) {
        const std::vector<std::string> names = Platform::Ops().FontNames();
        if (static_cast<std::size_t>(number - 3) < names.size())
            font.Family = names[static_cast<std::size_t>(number - 3)];
    }
    const auto has = [style](unsigned bit) { return (style & bit) != 0; };
    font.Bold = has(1);
    font.Italic = has(2);
    font.Underline = has(4);
    font.Outline = has(8);
    font.Shadow = has(16);
    font.Condense = has(32);
    font.Extend = has(64);
    return font;
}

}
