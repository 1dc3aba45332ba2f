// Pictures without a library: what is written can be read by the rules of its format, whatever is drawn.
#include "platform/picture.h"

#include "base/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

using namespace Platform;

namespace {

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinite = std::numeric_limits<double>::infinity();

// All kinds of calls at sound, huge, negative and missing places, with texts of any bytes.
Drawing Everything() {
    Drawing d;
    const double places[][4] = {{10, 10, 80, 40},     {-1E300, -1E300, 2E300, 2E300},
                                {Nan, Nan, Nan, Nan}, {Infinite, 0, -Infinite, 5},
                                {50, 50, -20, -20},   {32767, 40000, 1, 1}};
    for (const auto& p : places) {
        const Area at{p[0], p[1], p[2], p[3]};
        d.Clip(at);
        d.Line({p[0], p[1]}, {p[2], p[3]}, FromHex(0xff0000), p[2], true);
        d.Polyline({{p[0], p[1]}, {p[2], p[3]}, {5, 5}}, FromHex(0x00ff00), 2);
        d.Polygon({{p[0], p[1]}, {p[2], p[3]}, {5, 5}}, {1, 2, 3, 128});
        d.Frame(at, FromHex(0x0000ff), 1, 4);
        d.Fill(at, FromHex(0x0000ff), p[2]);
        d.Oval(at, FromHex(0x0000ff), p[3]);
        d.FillOval(at, {9, 9, 9, 9});
        for (const std::string_view text :
             {"", "I < 5 & \"x\" > 'y' ]]>", "\u03c4 = \u22123 \u00b5s \u2026", "\xff\xfe\xc3",
              "a\x01\x1f\nb", "\xef\xbf\xbe\xef\xbf\xbf", "\xf0\x9f\x92\xa9"}) {
            d.Text(at, text, {.Size = p[2]}, {}, Align::Right);
            d.Text(at, text, {.Size = 12, .Family = std::string(text), .Bold = true}, {}, Align::Center);
        }
        d.Bitmap(at, 7);
        d.Unclip();
    }
    d.Unclip(); // one too many
    d.Clip({0, 0, 1, 1});
    d.Clip({0, 0, 1, 1}); // never ended
    d.Polyline({}, {});
    d.Polyline({{1, 1}}, {});
    d.Polygon({}, {});
    return d;
}

// What is wrong with an XML document of elements with attributes and texts; nothing, as a rule.
std::string WrongInXml(std::string_view xml, std::set<std::string>& elements) {
    if (Texts::Utf8(xml) != xml) return "bytes that are no character";
    for (const std::string_view never :
         {"\xef\xbf\xbe", "\xef\xbf\xbf", "nan", "inf", " width=\"-", " height=\"-", " rx=\"-", " ry=\"-",
          "stroke-width=\"-", "font-size=\"-"})
        if (xml.find(never) != xml.npos) return std::string(never);
    for (std::size_t i = 0; i < xml.size(); ++i) {
        const std::string_view rest = xml.substr(i, 6);
        if (static_cast<unsigned char>(rest[0]) < 32 && rest[0] != '\n') return "control character";
        if (rest[0] == '&' && !rest.starts_with("&amp;") && !rest.starts_with("&lt;") &&
            !rest.starts_with("&gt;") && !rest.starts_with("&quot;"))
            return "ampersand";
    }
    std::vector<std::string> open;
    for (std::size_t at = xml.find('<', 1); at != xml.npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at + 1, xml.find('>', at) - at - 1);
        const std::string name(tag.substr(0, tag.find_first_of(" /", 1)));
        if (std::ranges::count(tag, '"') % 2 != 0 || tag.find('<') != tag.npos)
            return "tag " + std::string(tag);
        if (name[0] != '/') {
            elements.insert(name);
            if (!tag.ends_with('/')) open.push_back(name);
            continue;
        }
        if (open.empty() || name != "/" + open.back()) return "end of " + name;
        open.pop_back();
    }
    return open.empty() ? "" : "no end of " + open.back();
}

// A reader of metafiles ([MS-WMF]).
struct MetaReader {
    std::vector<std::size_t> Words{};
    std::set<std::size_t> Objects{};
    std::size_t MostObjects = 0, LinePoints = 0, PolygonPoints = 0;
    std::vector<std::string> Texts{};
    int Saved = 0;

    explicit MetaReader(const std::string& bytes) {
        const auto byte = [&](std::size_t i) {
            return static_cast<std::size_t>(static_cast<unsigned char>(bytes[i]));
        };
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) Words.push_back(byte(i) | byte(i + 1) << 8);
    }
    [[nodiscard]] std::size_t Long(std::size_t at) const { return Words[at] | Words[at + 1] << 16; }
    bool Create() {
        std::size_t free = 0;
        while (Objects.contains(free)) ++free;
        Objects.insert(free);
        MostObjects = std::max(MostObjects, Objects.size());
        return true;
    }
    bool CountPoints(std::size_t at, std::size_t size, std::size_t least, std::size_t& sum) {
        const std::size_t count = Words[at + 3];
        sum += count;
        return size == 4 + 2 * count && count >= least && count <= 32767;
    }
    bool Text(std::size_t at, std::size_t size) {
        const std::size_t length = Words[at + 3];
        std::string text;
        for (std::size_t i = 0; i < length; ++i)
            text += static_cast<char>(Words[at + 4 + i / 2] >> (i % 2 != 0 ? 8 : 0));
        Texts.push_back(text);
        return length > 0 && size == 4 + (length + 1) / 2 + 2;
    }
    bool Record(std::size_t at, std::size_t size) {
        switch (Words[at + 2]) {
        case 0x02FA: return size == 8 && Create();
        case 0x02FC: return size == 7 && Create();
        case 0x02FB: return size == 3 + 9 + 16 && Create();
        case 0x012D: return size == 4 && Objects.contains(Words[at + 3]);
        case 0x01F0: return size == 4 && Objects.erase(Words[at + 3]) == 1;
        case 0x0325: return CountPoints(at, size, 2, LinePoints);
        case 0x0324: return CountPoints(at, size, 3, PolygonPoints);
        case 0x001E: ++Saved; return size == 3;
        case 0x0127: return size == 4 && Words[at + 3] == 0xFFFF && --Saved >= 0;
        case 0x0416:
        case 0x0418:
        case 0x041B: return size == 7;
        case 0x061C: return size == 9;
        case 0x0521: return Text(at, size);
        case 0x0209:
        case 0x020B:
        case 0x020C:
        case 0x0102:
        case 0x0106:
        case 0x012E: return size == 5;
        default: return false;
        }
    }
    // What is wrong with the file; nothing, as a rule.
    std::string Wrong() {
        constexpr std::size_t Head = 11, First = Head + 9;
        if (Words.size() < First + 3 || Long(0) != 0x9AC6CDD7) return "head";
        std::size_t check = 0;
        for (std::size_t i = 0; i <= 10; ++i) check ^= Words[i];
        if (check != 0) return "checksum";
        for (const std::size_t side : {Words[5], Words[6], Words[7]})
            if (side < 1 || side > 32767) return "extent";
        if (Long(Head) != 0x90001 || Words[Head + 2] != 0x0300 || Long(Head + 3) != Words.size() - Head)
            return "second head";
        std::size_t largest = 0, at = First;
        for (bool ended = false; !ended;) {
            const std::size_t size = at + 3 > Words.size() ? 0 : Long(at);
            if (size < 3 || size > Words.size() - at) return "size at " + std::to_string(at);
            largest = std::max(largest, size);
            ended = Words[at + 2] == 0;
            if (!ended && !Record(at, size)) return "record at " + std::to_string(at);
            at += size;
        }
        const bool over = at != Words.size() || !Objects.empty() || Saved != 0;
        return over                                                         ? "something left over"
               : largest != Long(Head + 6) || MostObjects > Words[Head + 5] ? "counts"
                                                                            : "";
    }
};

TEST(Picture, IsWellFormedWhateverIsDrawn) {
    for (const Size size : {Size{400, 300}, Size{1E9, 3}, Size{0, -1}, Size{Nan, Infinite}}) {
        std::set<std::string> elements;
        EXPECT_EQ(WrongInXml(Picture::Svg(size, Everything()), elements), "");
        EXPECT_EQ(elements, (std::set<std::string>{"svg", "clipPath", "rect", "g", "polyline", "polygon",
                                                   "ellipse", "text"}));
        EXPECT_EQ(MetaReader(Picture::Wmf(size, Everything())).Wrong(), "");
    }
    EXPECT_EQ(MetaReader(Picture::Wmf({10, 10}, {})).Wrong(), "");
}

TEST(Picture, TextsAreInTheCharactersOfTheFormat) {
    const struct {
        std::string_view Text, Xml, CodePage;
    } rows[] = {{"a<b & \"c\"", "a&lt;b &amp; &quot;c&quot;", "a<b & \"c\""},
                {"\u22125 \u00b5A", "\u22125 \u00b5A", "-5 \xb5\x41"},
                {"\u03bcs, \u03c4\u2026", "\u03bcs, \u03c4\u2026", "\xb5s, ?\x85"},
                {"\xb5V", "\u00b5V", "\xb5V"},
                {"a\tb", "ab", "ab"}};
    for (const auto& row : rows) {
        Drawing d;
        d.Text({0, 0, 100, 20}, row.Text, {}, {});
        EXPECT_NE(Picture::Svg({100, 20}, d).find(">" + std::string(row.Xml) + "<"), std::string::npos);
        MetaReader reader(Picture::Wmf({100, 20}, d));
        EXPECT_EQ(reader.Wrong(), "");
        EXPECT_EQ(reader.Texts, std::vector{std::string(row.CodePage)});
    }
}

// A trace is as long as it is: all of its points arrive, joined; an area may lose corners, but not its shape.
TEST(Picture, LongLinesGoOnInTheNextRecord) {
    for (const std::size_t points : {15999u, 16000u, 16001u, 31999u, 32000u, 100'000u}) {
        std::vector<Point> line(points);
        for (std::size_t i = 0; i < points; ++i) line[i] = {static_cast<double>(i) / 100, 50};
        Drawing d;
        d.Polyline(line, {});
        d.Polygon(line, {});
        MetaReader reader(Picture::Wmf({1000, 100}, d));
        EXPECT_EQ(reader.Wrong(), "");
        EXPECT_EQ(reader.LinePoints, points + (points - 2) / 15999);
        EXPECT_EQ(reader.PolygonPoints, std::min<std::size_t>(points, 16000));
    }
}

}
