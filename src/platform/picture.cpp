#include "platform/picture.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>

namespace Picture {

namespace {

using Platform::Align;
using Platform::Color;
using Platform::DrawCall;
using Platform::Drawing;
using Platform::DrawKind;
using Platform::FontFace;

const char* FamilyOf(const Platform::Font& font) {
    if (!font.Family.empty()) return font.Family.c_str();
    return font.Face == FontFace::Fixed     ? "Courier New"
           : font.Face == FontFace::Formula ? "Times New Roman"
                                            : "Arial";
}

// A size that a picture can have.
Platform::Size Sound(Platform::Size size) {
    const auto side = [](double length) {
        return std::isfinite(length) ? std::clamp(length, 1.0, 1E6) : 1.0;
    };
    return {side(size.Width), side(size.Height)};
}

// -- scalable vector graphics ------------------------------------------------------------------------------

// Three decimals, the shortest way.
std::string Number(double value) {
    if (!std::isfinite(value)) return "0";
    std::array<char, 40> text{};
    const double rounded = std::round(std::clamp(value, -1E9, 1E9) * 1000) / 1000;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), rounded);
    return {text.data(), end.ptr};
}

std::string Attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + "\"";
}

// Two characters of Unicode that XML forbids: U+FFFE and U+FFFF.
bool IsForbidden(std::string_view text) {
    return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF");
}

std::string Escaped(std::string_view bytes) {
    const std::string text = Texts::Utf8(bytes);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsForbidden(std::string_view(text).substr(i))) {
            i += 2;
            continue;
        }
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default:
            // Control characters have no place in XML.
            if (static_cast<unsigned char>(c) >= 32) out += c;
        }
    }
    return out;
}

std::string Hex(Color color) {
    constexpr const char* Digits = "0123456789abcdef";
    std::string text = "#";
    for (const std::uint8_t part : {color.Red, color.Green, color.Blue}) {
        text += Digits[part >> 4];
        text += Digits[part & 15];
    }
    return text;
}

std::string Filled(const DrawCall& call) {
    std::string text = Attribute("fill", Hex(call.Ink));
    if (call.Ink.Alpha != 255) text += Attribute("fill-opacity", Number(call.Ink.Alpha / 255.0));
    return text;
}

std::string Stroked(const DrawCall& call) {
    std::string text = Attribute("fill", "none") + Attribute("stroke", Hex(call.Ink)) +
                       Attribute("stroke-width", Number(std::max(0.0, call.Width))) +
                       Attribute("stroke-linejoin", "round");
    if (call.Ink.Alpha != 255) text += Attribute("stroke-opacity", Number(call.Ink.Alpha / 255.0));
    if (call.Dashed)
        text += Attribute("stroke-dasharray", Number(call.Width * 4) + " " + Number(call.Width * 3));
    return text;
}

std::string Box(const DrawCall& call, double inset) {
    const Platform::Area at = call.Place.Inset(inset, inset);
    std::string text = Attribute("x", Number(at.Left)) + Attribute("y", Number(at.Top)) +
                       Attribute("width", Number(std::max(0.0, at.Width))) +
                       Attribute("height", Number(std::max(0.0, at.Height)));
    if (call.Radius > inset) text += Attribute("rx", Number(call.Radius - inset));
    return text;
}

std::string Ellipse(const DrawCall& call, double inset) {
    const Platform::Area at = call.Place;
    return Attribute("cx", Number(at.Left + at.Width / 2)) + Attribute("cy", Number(at.Top + at.Height / 2)) +
           Attribute("rx", Number(std::max(0.0, at.Width / 2 - inset))) +
           Attribute("ry", Number(std::max(0.0, at.Height / 2 - inset)));
}

std::string Points(const DrawCall& call) {
    std::string text;
    for (const Platform::Point& point : call.Points) {
        if (!text.empty()) text += ' ';
        text += Number(point.X) + "," + Number(point.Y);
    }
    return Attribute("points", text);
}

std::string SvgText(const DrawCall& call) {
    const Platform::Area at = call.Place;
    const double x = call.Justify == Align::Left    ? at.Left
                     : call.Justify == Align::Right ? at.Right()
                                                    : at.Left + at.Width / 2;
    // Letters of common fonts reach 0.36 of their size above and below the middle.
    std::string text = "<text" + Attribute("x", Number(x)) +
                       Attribute("y", Number(at.Top + at.Height / 2 + 0.36 * call.Type.Size)) +
                       Attribute("font-family", Escaped(FamilyOf(call.Type))) +
                       Attribute("font-size", Number(std::max(1.0, call.Type.Size))) + Filled(call);
    if (call.Justify != Align::Left)
        text += Attribute("text-anchor", call.Justify == Align::Right ? "end" : "middle");
    if (call.Type.Bold) text += Attribute("font-weight", "bold");
    if (call.Type.Italic) text += Attribute("font-style", "italic");
    if (call.Type.Underline) text += Attribute("text-decoration", "underline");
    return text + Attribute("xml:space", "preserve") + ">" + Escaped(call.Text) + "</text>\n";
}

}

std::string Svg(Platform::Size wanted, const Drawing& drawing) {
    const Platform::Size size = Sound(wanted);
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                      "version=\"1.1\"" +
                      Attribute("width", Number(size.Width)) + Attribute("height", Number(size.Height)) +
                      Attribute("viewBox", "0 0 " + Number(size.Width) + " " + Number(size.Height)) + ">\n";
    int clips = 0, open = 0;
    for (const DrawCall& call : drawing.Calls) {
        switch (call.Kind) {
        case DrawKind::Clip: {
            const std::string id = "clip" + std::to_string(++clips);
            svg += "<clipPath" + Attribute("id", id) + "><rect" + Box(call, 0) + "/></clipPath>\n<g" +
                   Attribute("clip-path", "url(#" + id + ")") + ">\n";
            ++open;
            break;
        }
        case DrawKind::Unclip:
            if (open > 0) svg += "</g>\n";
            open -= open > 0 ? 1 : 0;
            break;
        case DrawKind::Line:
        case DrawKind::Polyline: svg += "<polyline" + Points(call) + Stroked(call) + "/>\n"; break;
        case DrawKind::Polygon: svg += "<polygon" + Points(call) + Filled(call) + "/>\n"; break;
        case DrawKind::Frame: svg += "<rect" + Box(call, call.Width / 2) + Stroked(call) + "/>\n"; break;
        case DrawKind::Fill: svg += "<rect" + Box(call, 0) + Filled(call) + "/>\n"; break;
        case DrawKind::Oval:
            svg += "<ellipse" + Ellipse(call, call.Width / 2) + Stroked(call) + "/>\n";
            break;
        case DrawKind::FillOval: svg += "<ellipse" + Ellipse(call, 0) + Filled(call) + "/>\n"; break;
        case DrawKind::Text: svg += SvgText(call); break;
        case DrawKind::Bitmap: break;
        }
    }
    for (; open > 0; --open) svg += "</g>\n";
    return svg + "</svg>\n";
}

// -- metafiles ---------------------------------------------------------------------------------------------

namespace {

// Functions of [MS-WMF], 2.1.1.1.
enum Function : std::uint16_t {
    MetaEof = 0x0000,
    MetaSaveDc = 0x001E,
    MetaSetBkMode = 0x0102,
    MetaSetPolyFillMode = 0x0106,
    MetaRestoreDc = 0x0127,
    MetaSelectObject = 0x012D,
    MetaSetTextAlign = 0x012E,
    MetaDeleteObject = 0x01F0,
    MetaSetTextColor = 0x0209,
    MetaSetWindowOrg = 0x020B,
    MetaSetWindowExt = 0x020C,
    MetaCreatePen = 0x02FA,
    MetaCreateFont = 0x02FB,
    MetaCreateBrush = 0x02FC,
    MetaPolygon = 0x0324,
    MetaPolyline = 0x0325,
    MetaIntersectClip = 0x0416,
    MetaEllipse = 0x0418,
    MetaRectangle = 0x041B,
    MetaRoundRect = 0x061C,
    MetaTextOut = 0x0521,
};
constexpr std::uint16_t PenSolid = 0, PenDash = 1, PenNull = 5, BrushSolid = 0, BrushNull = 1;
constexpr std::uint16_t AlignCenterText = 6, AlignRightText = 2, AlignTop = 0;
constexpr double UnitsPerPixel = 15;      // 1440 to the inch, 96 pixels to the inch
constexpr std::size_t PointsMost = 16000; // of one record

class Metafile {
public:
    void Put(std::uint16_t word) { Words.push_back(word); }
    void Record(Function function, std::initializer_list<std::uint16_t> words) {
        Begin(function);
        Words.insert(Words.end(), words);
        Finish();
    }
    void Begin(Function function) {
        Start = Words.size();
        Put(0);
        Put(0);
        Put(function);
    }
    void Finish() {
        const std::size_t size = Words.size() - Start;
        Words[Start] = static_cast<std::uint16_t>(size & 0xFFFF);
        Words[Start + 1] = static_cast<std::uint16_t>(size >> 16);
        Largest = std::max(Largest, size);
    }
    std::vector<std::uint16_t> Words; // records alone
    std::size_t Largest = 0;

private:
    std::size_t Start = 0;
};

std::uint16_t Unit(double pixels, double scale) {
    const double units =
        std::isfinite(pixels) ? std::clamp(std::round(pixels * scale), -32768.0, 32767.0) : 0;
    return static_cast<std::uint16_t>(static_cast<std::int16_t>(units));
}

void PutColor(Metafile& file, Color color) {
    file.Put(static_cast<std::uint16_t>(color.Red | color.Green << 8));
    file.Put(color.Blue);
}

// An object is selected, used and deleted at once, so that one place of the object table will do for each.
struct Objects {
    Metafile& File;
    double Scale;

    void Pen(const DrawCall* call) const {
        File.Begin(MetaCreatePen);
        File.Put(call == nullptr ? PenNull : call->Dashed ? PenDash : PenSolid);
        File.Put(call == nullptr ? std::uint16_t{0} : Unit(call->Width, Scale));
        File.Put(0);
        PutColor(File, call == nullptr ? Color{} : call->Ink);
        File.Finish();
        File.Record(MetaSelectObject, {0});
    }
    void Brush(const DrawCall* call) const {
        File.Begin(MetaCreateBrush);
        File.Put(call == nullptr ? BrushNull : BrushSolid);
        PutColor(File, call == nullptr ? Color{} : call->Ink);
        File.Put(0);
        File.Finish();
        File.Record(MetaSelectObject, {1});
    }
    void Drop() const {
        File.Record(MetaDeleteObject, {0});
        File.Record(MetaDeleteObject, {1});
    }
    [[nodiscard]] std::uint16_t At(double pixels) const { return Unit(pixels, Scale); }

    // A line that is too long for one record goes on in the next one, from its last point.
    void Line(const std::vector<Platform::Point>& points) const {
        for (std::size_t from = 0; from + 1 < points.size(); from += PointsMost - 1)
            Points(MetaPolyline, std::span(points).subspan(from, std::min(PointsMost, points.size() - from)));
    }
    // A polygon cannot go on: one with more corners loses every so many of them.
    void Polygon(const std::vector<Platform::Point>& points) const {
        if (points.size() <= PointsMost) {
            if (points.size() > 2) Points(MetaPolygon, points);
            return;
        }
        std::vector<Platform::Point> fewer(PointsMost);
        for (std::size_t i = 0; i < PointsMost; ++i) fewer[i] = points[i * points.size() / PointsMost];
        Points(MetaPolygon, fewer);
    }
    void Points(Function function, std::span<const Platform::Point> points) const {
        File.Begin(function);
        File.Put(static_cast<std::uint16_t>(points.size()));
        for (const Platform::Point& point : points) {
            File.Put(At(point.X));
            File.Put(At(point.Y));
        }
        File.Finish();
    }
    // The outline's line lies inside of the place.
    void Shape(const DrawCall& call, bool oval) const {
        const bool outline = call.Kind == DrawKind::Frame || call.Kind == DrawKind::Oval;
        const double inset = outline ? call.Width / 2 : 0;
        const Platform::Area at = call.Place.Inset(inset, inset);
        const std::uint16_t right = At(at.Right()), bottom = At(at.Bottom()), left = At(at.Left),
                            top = At(at.Top);
        if (oval) {
            File.Record(MetaEllipse, {bottom, right, top, left});
        } else if (call.Radius > 0) {
            const std::uint16_t round = At(call.Radius * 2);
            File.Record(MetaRoundRect, {round, round, bottom, right, top, left});
        } else {
            File.Record(MetaRectangle, {bottom, right, top, left});
        }
    }
};

// Signs of the code page that are none of Latin-1, and one that it has not but for which another will do.
struct SignRow {
    std::string_view Utf8;
    char Byte;
};
constexpr SignRow Signs[] = {
    {"\u2212", '-'},    {"\u2013", '\x96'}, {"\u2014", '\x97'}, {"\u2026", '\x85'},
    {"\u2022", '\x95'}, {"\u2018", '\x91'}, {"\u2019", '\x92'}, {"\u201C", '\x93'},
    {"\u201D", '\x94'}, {"\u20AC", '\x80'}, {"\u03BC", '\xB5'},
};

// In the code page of metafiles (Windows 1252), with "?" for what it has not.
std::string CodePage(std::string_view bytes) {
    const std::string text = Texts::Utf8(bytes);
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const std::string_view rest = std::string_view(text).substr(i);
        const auto c = static_cast<unsigned char>(rest[0]);
        const auto* const sign = std::find_if(std::begin(Signs), std::end(Signs), [rest](const SignRow& row) {
            return rest.starts_with(row.Utf8);
        });
        i += c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
        if (sign != std::end(Signs)) {
            out += sign->Byte;
        } else if (c < 0x80) {
            if (c >= 32) out += static_cast<char>(c);
        } else if (c == 0xC2 || c == 0xC3) {
            out += static_cast<char>((c & 3) << 6 | (static_cast<unsigned char>(rest[1]) & 0x3F));
        } else {
            out += '?';
        }
    }
    return out.substr(0, 1000);
}

void PutBytes(Metafile& file, std::string bytes) {
    if (bytes.size() % 2 != 0) bytes += '\0';
    for (std::size_t i = 0; i < bytes.size(); i += 2)
        file.Put(static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[i]) |
                                            static_cast<unsigned char>(bytes[i + 1]) << 8));
}

void PutText(const Objects& objects, const DrawCall& call) {
    Metafile& file = objects.File;
    const std::string text = CodePage(call.Text);
    if (text.empty()) return;
    file.Begin(MetaCreateFont);
    file.Put(static_cast<std::uint16_t>(
        -static_cast<std::int16_t>(objects.At(std::clamp(call.Type.Size, 1.0, 1000.0)))));
    for (int i = 0; i < 3; ++i) file.Put(0); // width, escapement, orientation
    file.Put(call.Type.Bold ? 700 : 400);
    file.Put(static_cast<std::uint16_t>((call.Type.Italic ? 1 : 0) | (call.Type.Underline ? 1 : 0) << 8));
    for (int i = 0; i < 3; ++i) file.Put(0); // strike-out, character set, precisions, quality, pitch
    std::string face = CodePage(FamilyOf(call.Type));
    face.resize(32);
    face[31] = '\0';
    PutBytes(file, face);
    file.Finish();
    file.Record(MetaSelectObject, {0});
    file.Begin(MetaSetTextColor);
    PutColor(file, call.Ink);
    file.Finish();
    const std::uint16_t align = call.Justify == Align::Left    ? AlignTop
                                : call.Justify == Align::Right ? AlignRightText
                                                               : AlignCenterText;
    file.Record(MetaSetTextAlign, {align, 0});
    const Platform::Area at = call.Place;
    const double x = call.Justify == Align::Left    ? at.Left
                     : call.Justify == Align::Right ? at.Right()
                                                    : at.Left + at.Width / 2;
    file.Begin(MetaTextOut);
    file.Put(static_cast<std::uint16_t>(text.size()));
    PutBytes(file, text);
    file.Put(objects.At(at.Top + at.Height / 2 - 0.6 * call.Type.Size));
    file.Put(objects.At(x));
    file.Finish();
    file.Record(MetaDeleteObject, {0});
}

void PutCall(const Objects& objects, const DrawCall& call, int& clips) {
    Metafile& file = objects.File;
    const Platform::Area at = call.Place;
    switch (call.Kind) {
    case DrawKind::Clip:
        file.Record(MetaSaveDc, {});
        file.Record(MetaIntersectClip, {objects.At(at.Bottom()), objects.At(at.Right()), objects.At(at.Top),
                                        objects.At(at.Left)});
        ++clips;
        return;
    case DrawKind::Unclip:
        if (clips > 0) file.Record(MetaRestoreDc, {0xFFFF});
        clips -= clips > 0 ? 1 : 0;
        return;
    case DrawKind::Text: PutText(objects, call); return;
    case DrawKind::Bitmap: return;
    default: break;
    }
    const bool filled =
        call.Kind == DrawKind::Fill || call.Kind == DrawKind::FillOval || call.Kind == DrawKind::Polygon;
    objects.Pen(filled ? nullptr : &call);
    objects.Brush(filled ? &call : nullptr);
    if (call.Kind == DrawKind::Line || call.Kind == DrawKind::Polyline) objects.Line(call.Points);
    if (call.Kind == DrawKind::Polygon) objects.Polygon(call.Points);
    if (call.Kind == DrawKind::Frame || call.Kind == DrawKind::Fill) objects.Shape(call, false);
    if (call.Kind == DrawKind::Oval || call.Kind == DrawKind::FillOval) objects.Shape(call, true);
    objects.Drop();
}

std::string BytesOf(const std::vector<std::uint16_t>& words) {
    std::string bytes;
    bytes.reserve(words.size() * 2);
    for (const std::uint16_t word : words) {
        bytes += static_cast<char>(word & 0xFF);
        bytes += static_cast<char>(word >> 8);
    }
    return bytes;
}

}

std::string Wmf(Platform::Size wanted, const Drawing& drawing) {
    const Platform::Size size = Sound(wanted);
    // A drawing too large for 16 bits is scaled down as a whole.
    const double largest = std::max({size.Width, size.Height, 1.0});
    const double scale = std::min(UnitsPerPixel, 32000 / largest);
    Metafile file;
    const Objects objects{file, scale};
    file.Record(MetaSetWindowOrg, {0, 0});
    const auto extent = [scale](double side) { return std::max<std::uint16_t>(1, Unit(side, scale)); };
    file.Record(MetaSetWindowExt, {extent(size.Height), extent(size.Width)});
    file.Record(MetaSetBkMode, {1, 0}); // transparent
    file.Record(MetaSetPolyFillMode, {1, 0});
    int clips = 0;
    for (const DrawCall& call : drawing.Calls) PutCall(objects, call, clips);
    for (; clips > 0; --clips) file.Record(MetaRestoreDc, {0xFFFF});
    file.Record(MetaEof, {});

    const auto unitsPerInch = static_cast<std::uint16_t>(std::max(1.0, std::round(96 * scale)));
    std::vector<std::uint16_t> words = {
        0xCDD7, 0x9AC6, 0, 0, 0, extent(size.Width), extent(size.Height), unitsPerInch, 0, 0};
    std::uint16_t check = 0;
    for (const std::uint16_t word : words) check = static_cast<std::uint16_t>(check ^ word);
    words.push_back(check);
    constexpr std::uint16_t HeaderWords = 9, MostObjects = 2;
    const std::size_t total = HeaderWords + file.Words.size();
    const auto low = [](std::size_t value) { return static_cast<std::uint16_t>(value & 0xFFFF); };
    const auto high = [](std::size_t value) { return static_cast<std::uint16_t>(value >> 16); };
    words.insert(words.end(), {1, HeaderWords, 0x0300, low(total), high(total), MostObjects,
                               low(file.Largest), high(file.Largest), 0});
    words.insert(words.end(), file.Words.begin(), file.Words.end());
    return BytesOf(words);
}

}
