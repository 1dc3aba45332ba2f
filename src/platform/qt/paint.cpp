#include "platform/qt/paint.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QScreen>

#include <array>
#include <cmath>
#include <unordered_map>

namespace QtDesktop {

namespace {

using Platform::Align;
using Platform::Area;
using Platform::DrawCall;
using Platform::DrawKind;
using Platform::FontFace;

// In the order of preference; figures of equal width are what they have in common.
constexpr std::array<const char*, 6> InterfaceFamilies = {"Noto Sans",   "Segoe UI",        "Open Sans",
                                                          "DejaVu Sans", "Liberation Sans", "Sans Serif"};
constexpr std::array<const char*, 5> FixedFamilies = {"JetBrains Mono", "Noto Sans Mono", "DejaVu Sans Mono",
                                                      "Liberation Mono", "Monospace"};
constexpr std::array<const char*, 5> FormulaFamilies = {"Noto Serif", "STIX Two Text", "DejaVu Serif",
                                                        "Liberation Serif", "Serif"};

QString FirstOf(std::span<const char* const> families) {
    const QStringList known = QFontDatabase::families();
    for (const char* const family : families)
        if (known.contains(QLatin1String(family))) return QLatin1String(family);
    return QLatin1String(families.back());
}

const QString& FamilyOf(FontFace face) {
    static const QString interface = FirstOf(InterfaceFamilies);
    static const QString fixed = FirstOf(FixedFamilies);
    static const QString formula = FirstOf(FormulaFamilies);
    return face == FontFace::Fixed ? fixed : face == FontFace::Formula ? formula : interface;
}

QRectF RectOf(Area area) {
    return {area.Left, area.Top, area.Width, area.Height};
}

// Lines of whole widths lie between the pixels' edges, so that they come out crisp.
QRectF Inner(Area area, double width) {
    return RectOf(area).adjusted(width / 2, width / 2, -width / 2, -width / 2);
}

QPen PenOf(const DrawCall& call) {
    QPen pen(Ink(call.Ink), call.Width);
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCapStyle(call.Kind == DrawKind::Polyline ? Qt::RoundCap : Qt::FlatCap);
    if (call.Dashed) pen.setDashPattern({4, 3});
    return pen;
}

QPolygonF PolygonOf(const DrawCall& call) {
    QPolygonF polygon;
    polygon.reserve(static_cast<qsizetype>(call.Points.size()));
    for (const Platform::Point& point : call.Points) polygon.append({point.X, point.Y});
    return polygon;
}

void DrawText(QPainter& painter, const DrawCall& call) {
    const QFont font = FontOf(call.Type);
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    painter.setPen(Ink(call.Ink));
    QString text = Text(call.Text);
    if (metrics.horizontalAdvance(text) > call.Place.Width + 0.5)
        text = metrics.elidedText(text, Qt::ElideRight, call.Place.Width);
    int flags = Qt::AlignVCenter | Qt::TextSingleLine;
    flags |= call.Justify == Align::Left    ? Qt::AlignLeft
             : call.Justify == Align::Right ? Qt::AlignRight
                                            : Qt::AlignHCenter;
    if (call.Type.Shadow) {
        QColor shade = Ink(call.Ink);
        shade.setAlphaF(shade.alphaF() * 0.35F);
        painter.setPen(shade);
        painter.drawText(RectOf(call.Place).translated(1, 1), flags | Qt::TextDontClip, text);
        painter.setPen(Ink(call.Ink));
    }
    if (call.Type.Outline) {
        const QRectF at = metrics.boundingRect(RectOf(call.Place), flags | Qt::TextDontClip, text);
        QPainterPath letters;
        letters.addText(at.left(), at.top() + metrics.ascent(), font, text);
        painter.strokePath(letters, QPen(Ink(call.Ink), 0.8));
        return;
    }
    painter.drawText(RectOf(call.Place), flags | Qt::TextDontClip, text);
}

void DrawLine(QPainter& painter, const DrawCall& call) {
    if (call.Points.size() < 2) return;
    Platform::Point from = call.Points[0], to = call.Points[1];
    const double half = std::fmod(call.Width, 2.0) == 1.0 ? 0.5 : 0;
    if (from.X == to.X) from.X = to.X = std::floor(from.X) + half;
    if (from.Y == to.Y) from.Y = to.Y = std::floor(from.Y) + half;
    painter.setPen(PenOf(call));
    painter.drawLine(QPointF(from.X, from.Y), QPointF(to.X, to.Y));
}

void DrawOutline(QPainter& painter, const DrawCall& call) {
    painter.setPen(PenOf(call));
    painter.setBrush(Qt::NoBrush);
    const QRectF rect = Inner(call.Place, call.Width);
    const double radius = std::max(0.0, call.Radius - call.Width / 2);
    if (call.Kind == DrawKind::Oval) {
        painter.drawEllipse(rect);
    } else if (radius > 0) {
        painter.drawRoundedRect(rect, radius, radius);
    } else {
        painter.drawRect(rect);
    }
}

void DrawFilled(QPainter& painter, const DrawCall& call) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(Ink(call.Ink));
    if (call.Kind == DrawKind::FillOval) {
        painter.drawEllipse(RectOf(call.Place));
    } else if (call.Kind == DrawKind::Polygon) {
        painter.drawPolygon(PolygonOf(call));
    } else if (call.Radius > 0) {
        painter.drawRoundedRect(RectOf(call.Place), call.Radius, call.Radius);
    } else {
        painter.fillRect(RectOf(call.Place), Ink(call.Ink));
    }
}

void DrawBitmap(QPainter& painter, const DrawCall& call) {
    const auto found = Desktop.Bitmaps.find(call.Bitmap);
    if (found != Desktop.Bitmaps.end())
        painter.drawPixmap(RectOf(call.Place), found->second, QRectF(found->second.rect()));
}

}

QFont FontOf(const Platform::Font& font) {
    QFont out(font.Family.empty() ? FamilyOf(font.Face) : Text(font.Family));
    const double whole = std::round(font.Size);
    if (std::fabs(whole - font.Size) < 1E-6) {
        out.setPixelSize(std::max(1, static_cast<int>(whole)));
    } else {
        const QScreen* const screen = QGuiApplication::primaryScreen();
        const double dpi = screen != nullptr ? screen->logicalDotsPerInchY() : 96;
        out.setPointSizeF(std::max(1.0, font.Size * 72 / dpi));
    }
    out.setBold(font.Bold);
    out.setItalic(font.Italic);
    out.setUnderline(font.Underline);
    if (font.Condense) out.setStretch(QFont::SemiCondensed);
    if (font.Extend) out.setStretch(QFont::SemiExpanded);
    return out;
}

Platform::Size MeasureText(const Platform::Font& font, std::string_view text) {
    const QFontMetricsF metrics(FontOf(font));
    return {metrics.horizontalAdvance(Text(text)), metrics.height()};
}

std::vector<std::string> FontNames() {
    std::vector<std::string> names;
    for (const QString& family : QFontDatabase::families())
        if (!QFontDatabase::isPrivateFamily(family)) names.push_back(Utf8(family));
    return names;
}

void Play(QPainter& painter, const Platform::Drawing& drawing) {
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    int clips = 0;
    for (const DrawCall& call : drawing.Calls) {
        switch (call.Kind) {
        case DrawKind::Clip:
            painter.save();
            painter.setClipRect(RectOf(call.Place), Qt::IntersectClip);
            ++clips;
            break;
        case DrawKind::Unclip:
            if (clips > 0) painter.restore();
            clips -= clips > 0 ? 1 : 0;
            break;
        case DrawKind::Line: DrawLine(painter, call); break;
        case DrawKind::Polyline:
            painter.setPen(PenOf(call));
            painter.drawPolyline(PolygonOf(call));
            break;
        case DrawKind::Frame:
        case DrawKind::Oval: DrawOutline(painter, call); break;
        case DrawKind::Fill:
        case DrawKind::FillOval:
        case DrawKind::Polygon: DrawFilled(painter, call); break;
        case DrawKind::Text: DrawText(painter, call); break;
        case DrawKind::Bitmap: DrawBitmap(painter, call); break;
        }
    }
    for (; clips > 0; --clips) painter.restore();
}

}
