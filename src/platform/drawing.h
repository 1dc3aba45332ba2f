// Drawings: what a window, a bitmap, a picture file or a printer page shows, as a list of calls.
//
// The logic makes the list, a backend plays it back, as often as it needs to and at any scale: nothing here
// knows of pixels of a device. All measures are in logical pixels (96 to the inch), x to the right and y
// down; texts are UTF-8.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Platform {

struct Color {
    std::uint8_t Red = 0, Green = 0, Blue = 0, Alpha = 255;
    bool operator==(const Color&) const = default;
};
[[nodiscard]] constexpr Color FromHex(std::uint32_t rgb) {
    return {static_cast<std::uint8_t>(rgb >> 16), static_cast<std::uint8_t>(rgb >> 8),
            static_cast<std::uint8_t>(rgb), 255};
}

struct Point {
    double X = 0, Y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double Width = 0, Height = 0;
    bool operator==(const Size&) const = default;
};

struct Area {
    double Left = 0, Top = 0, Width = 0, Height = 0;
    bool operator==(const Area&) const = default;
    [[nodiscard]] double Right() const { return Left + Width; }
    [[nodiscard]] double Bottom() const { return Top + Height; }
    [[nodiscard]] bool Holds(Point p) const {
        return p.X >= Left && p.X < Right() && p.Y >= Top && p.Y < Bottom();
    }
    [[nodiscard]] Area Inset(double x, double y) const {
        return {Left + x, Top + y, Width - 2 * x, Height - 2 * y};
    }
};

enum class FontFace : std::uint8_t { Interface, Fixed, Formula }; // sans-serif, monospace, serif

struct Font {
    FontFace Face = FontFace::Interface;
    double Size = 13;     // pixels
    std::string Family{}; // empty: the best the machine has for the face
    bool Bold = false, Italic = false, Underline = false;
    bool Outline = false, Shadow = false, Condense = false, Extend = false;
};

enum class Align : std::uint8_t { Left, Center, Right };

enum class DrawKind : std::uint8_t {
    Clip,     // to Place, until the matching Unclip; clips nest
    Unclip,   //
    Line,     // from Points[0] to Points[1]
    Polyline, // through Points
    Polygon,  // filled
    Frame,    // outline of Place, its line inside of it, with corners of Radius
    Fill,     // Place, filled, with corners of Radius
    Oval,     // outline of the ellipse in Place
    FillOval, //
    Text,     // in Place: aligned, in the middle of its height, cut with an ellipsis when it is too long
    Bitmap,   // number Bitmap, into Place
};

struct DrawCall {
    DrawKind Kind = DrawKind::Line;
    Color Ink{};
    double Width = 1; // of lines
    double Radius = 0;
    bool Dashed = false;
    Align Justify = Align::Left;
    Area Place{};
    std::vector<Point> Points{};
    std::string Text{};
    Font Type{};
    std::uint32_t Bitmap = 0;
};

struct Drawing {
    std::vector<DrawCall> Calls{};

    void Clip(Area place);
    void Unclip();
    void Line(Point from, Point to, Color ink, double width = 1, bool dashed = false);
    void Polyline(std::vector<Point> points, Color ink, double width = 1);
    void Polygon(std::vector<Point> points, Color ink);
    void Frame(Area place, Color ink, double radius = 0, double width = 1, bool dashed = false);
    void Fill(Area place, Color ink, double radius = 0);
    void Oval(Area place, Color ink, double width = 1);
    void FillOval(Area place, Color ink);
    void Text(Area place, std::string_view text, const Font& font, Color ink, Align align = Align::Left);
    void Bitmap(Area place, std::uint32_t bitmap);
    // The calls of another drawing, moved, and cut to the place.
    void Inside(Area place, const Drawing& part);
};

}
