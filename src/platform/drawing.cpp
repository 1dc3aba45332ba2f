#include "platform/drawing.h"

#include <utility>

namespace Platform {

void Drawing::Clip(Area place) {
    Calls.push_back({.Kind = DrawKind::Clip, .Place = place});
}

void Drawing::Unclip() {
    Calls.push_back({.Kind = DrawKind::Unclip});
}

void Drawing::Line(Point from, Point to, Color ink, double width, bool dashed) {
    Calls.push_back(
        {.Kind = DrawKind::Line, .Ink = ink, .Width = width, .Dashed = dashed, .Points = {from, to}});
}

void Drawing::Polyline(std::vector<Point> points, Color ink, double width) {
    Calls.push_back({.Kind = DrawKind::Polyline, .Ink = ink, .Width = width, .Points = std::move(points)});
}

void Drawing::Polygon(std::vector<Point> points, Color ink) {
    Calls.push_back({.Kind = DrawKind::Polygon, .Ink = ink, .Points = std::move(points)});
}

void Drawing::Frame(Area place, Color ink, double radius, double width, bool dashed) {
    Calls.push_back({.Kind = DrawKind::Frame,
                     .Ink = ink,
                     .Width = width,
                     .Radius = radius,
                     .Dashed = dashed,
                     .Place = place});
}

void Drawing::Fill(Area place, Color ink, double radius) {
    Calls.push_back({.Kind = DrawKind::Fill, .Ink = ink, .Radius = radius, .Place = place});
}

void Drawing::Oval(Area place, Color ink, double width) {
    Calls.push_back({.Kind = DrawKind::Oval, .Ink = ink, .Width = width, .Place = place});
}

void Drawing::FillOval(Area place, Color ink) {
    Calls.push_back({.Kind = DrawKind::FillOval, .Ink = ink, .Place = place});
}

void Drawing::Text(Area place, std::string_view text, const Font& font, Color ink, Align align) {
    Calls.push_back({.Kind = DrawKind::Text,
                     .Ink = ink,
                     .Justify = align,
                     .Place = place,
                     .Text = std::string(text),
                     .Type = font});
}

void Drawing::Bitmap(Area place, std::uint32_t bitmap) {
    Calls.push_back({.Kind = DrawKind::Bitmap, .Place = place, .Bitmap = bitmap});
}

void Drawing::Inside(Area place, const Drawing& part) {
    Clip(place);
    for (DrawCall call : part.Calls) {
        call.Place.Left += place.Left;
        call.Place.Top += place.Top;
        for (Point& point : call.Points) {
            point.X += place.Left;
            point.Y += place.Top;
        }
        Calls.push_back(std::move(call));
    }
    Unclip();
}

}
