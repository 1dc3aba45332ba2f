// Pictures without a library: what is written can be read by the rules of its format, whatever is drawn.
#include "platform/picture.h"

#include <gtest/gtest.h>

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

Drawing LongLine(std::size_t points) {
    std::vector<Point> line;
    for (std::size_t i = 0; i < points; ++i)
        line.push_back({static_cast<double>(i) / 100, 50 + 40 * std::sin(static_cast<double>(i))});
    Drawing d;
    d.Polyline(line, {});
    d.Polygon(std::move(line), {});
    return d;
}

// -- a reader of XML, as strict as the elements need it ----------------------------------------------------

struct XmlReader {
    std::string_view Rest;
    std::vector<std::string> Open{};
    std::set<std::string> Elements{};
    std::string Problem{};

    bool Fail(const std::string& what) {
        Problem = what + " at: " + std::string(Rest.substr(0, 60));
        return false;
    }
    bool Take(std::string_view word) {
        if (!Rest.starts_with(word)) return false;
        Rest.remove_prefix(word.size());
        return true;
    }
    // Characters up to an end sign, of which none may need escaping.
    bool Characters(char end) {
        while (!Rest.empty() && Rest[0] != end) {
            const auto c = static_cast<unsigned char>(Rest[0]);
            if (c < 32 && c != '\n') return Fail("control character");
            if (c == '<') return Fail("open bracket");
            if (c == '&' && !Rest.starts_with("&amp;") && !Rest.starts_with("&lt;") &&
                !Rest.starts_with("&gt;") && !Rest.starts_with("&quot;"))
                return Fail("ampersand");
            if (c >= 0x80 && !Sequence()) return Fail("bytes that are no character");
            if (c < 0x80) Rest.remove_prefix(1);
        }
        return !Rest.empty() || end == '<' ? true : Fail("end is missing");
    }
    bool Sequence() {
        const auto at = [this](std::size_t i) {
            return i < Rest.size() ? static_cast<unsigned char>(Rest[i]) : 0u;
        };
        const std::size_t length = at(0) >= 0xF0 ? 4 : at(0) >= 0xE0 ? 3 : 2;
        if (at(0) < 0xC2 || at(0) > 0xF4) return false;
        for (std::size_t i = 1; i < length; ++i)
            if ((at(i) & 0xC0) != 0x80) return false;
        if (at(0) == 0xEF && at(1) == 0xBF && at(2) >= 0xBE) return false;
        Rest.remove_prefix(length);
        return true;
    }
    bool Element() {
        if (Take("</")) {
            if (Open.empty() || !Take(Open.back()) || !Take(">")) return Fail("wrong end tag");
            Open.pop_back();
            return true;
        }
        if (!Take("<")) return Fail("no element");
        const std::string name(Rest.substr(0, Rest.find_first_of(" />")));
        Elements.insert(name);
        Rest.remove_prefix(name.size());
        std::set<std::string> names;
        while (Take(" ")) {
            const std::string attribute(Rest.substr(0, Rest.find('=')));
            if (!names.insert(attribute).second) return Fail("attribute twice");
            Rest.remove_prefix(attribute.size());
            if (!Take("=\"")) return Fail("no value");
            const std::string_view value = Rest;
            if (!Characters('"')) return false;
            if (!Sound(attribute, value.substr(0, value.size() - Rest.size())))
                return Fail("bad " + attribute);
            if (!Take("\"")) return Fail("no end of value");
        }
        if (Take("/>")) return true;
        if (!Take(">")) return Fail("no end of element");
        Open.push_back(name);
        return true;
    }
    // Lengths may not be negative.
    static bool Sound(const std::string& name, std::string_view value) {
        static const std::set<std::string> Lengths = {"width", "height",       "rx",
                                                      "ry",    "stroke-width", "font-size"};
        return !Lengths.contains(name) ||
               (!value.empty() && value[0] != '-' && value.find("nan") == value.npos);
    }
    bool Document() {
        if (!Take("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n")) return Fail("no head");
        do {
            if (!Element()) return false;
            if (!Open.empty() && !Characters('<')) return false;
        } while (!Open.empty());
        return Rest == "\n" || Fail("something behind the end");
    }
};

// -- a reader of metafiles ([MS-WMF]) ----------------------------------------------------------------------

struct MetaReader {
    std::vector<std::uint16_t> Words{};
    std::string Problem{};
    std::set<std::size_t> Objects{};
    std::size_t MostObjects = 0, LinePoints = 0, PolygonPoints = 0;
    std::vector<std::string> Texts{};
    int Saved = 0;

    explicit MetaReader(const std::string& bytes) {
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
            Words.push_back(static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[i]) |
                                                       static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    [[nodiscard]] std::size_t Long(std::size_t at) const {
        return Words[at] | static_cast<std::size_t>(Words[at + 1]) << 16;
    }
    bool Fail(const std::string& what, std::size_t at) {
        Problem = what + " at word " + std::to_string(at);
        return false;
    }
    bool Create() {
        std::size_t free = 0;
        while (Objects.contains(free)) ++free;
        Objects.insert(free);
        MostObjects = std::max(MostObjects, Objects.size());
        return true;
    }
    // Count, and so many points.
    bool CountPoints(std::size_t at, std::size_t size, std::size_t least, std::size_t& sum) {
        const std::size_t count = Words[at + 3];
        sum += count;
        return size == 4 + 2 * count && count >= least && count <= 32767;
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
        case 0x0521: {
            const std::size_t length = Words[at + 3];
            std::string text;
            for (std::size_t i = 0; i < length; ++i)
                text += static_cast<char>(Words[at + 4 + i / 2] >> (i % 2 != 0 ? 8 : 0));
            Texts.push_back(text);
            return length > 0 && size == 4 + (length + 1) / 2 + 2;
        }
        case 0x0209:
        case 0x020B:
        case 0x020C:
        case 0x0102:
        case 0x0106:
        case 0x012E: return size == 5;
        default: return false;
        }
    }
    bool File() {
        constexpr std::size_t Head = 11, First = Head + 9;
        if (Words.size() < First + 3 || Long(0) != 0x9AC6CDD7) return Fail("head", 0);
        std::uint16_t check = 0;
        for (std::size_t i = 0; i < 10; ++i) check = static_cast<std::uint16_t>(check ^ Words[i]);
        if (check != Words[10]) return Fail("checksum", 10);
        if (static_cast<std::int16_t>(Words[5]) < 1 || static_cast<std::int16_t>(Words[6]) < 1 ||
            Words[7] < 1)
            return Fail("extent", 5);
        if (Words[Head] != 1 || Words[Head + 1] != 9 || Words[Head + 2] != 0x0300 ||
            Long(Head + 3) != Words.size() - Head)
            return Fail("second head", Head);
        std::size_t largest = 0, at = First;
        for (bool ended = false; !ended;) {
            if (at + 3 > Words.size()) return Fail("end is missing", at);
            const std::size_t size = Long(at);
            if (size < 3 || size > Words.size() - at) return Fail("size of a record", at);
            largest = std::max(largest, size);
            ended = Words[at + 2] == 0;
            if (!ended && !Record(at, size)) return Fail("record " + std::to_string(Words[at + 2]), at);
            at += size;
        }
        if (at != Words.size()) return Fail("something behind the end", at);
        if (largest != Long(Head + 6)) return Fail("largest record", Head + 6);
        if (MostObjects > Words[Head + 5]) return Fail("number of objects", Head + 5);
        if (!Objects.empty() || Saved != 0) return Fail("something left over", at);
        return true;
    }
};

TEST(Picture, SvgIsWellFormedWhateverIsDrawn) {
    for (const Size size : {Size{400, 300}, Size{0, -1}, Size{Nan, Infinite}}) {
        const std::string svg = Picture::Svg(size, Everything());
        XmlReader reader{svg};
        EXPECT_TRUE(reader.Document()) << reader.Problem;
        EXPECT_EQ(reader.Elements, (std::set<std::string>{"svg", "clipPath", "rect", "g", "polyline",
                                                          "polygon", "ellipse", "text"}));
    }
    Drawing text;
    text.Text({0, 0, 100, 20}, "a<b & \"c\" \u03c4", {}, {});
    EXPECT_NE(Picture::Svg({100, 20}, text).find(">a&lt;b &amp; &quot;c&quot; \u03c4<"), std::string::npos);
}

TEST(Picture, MetafileAddsUpWhateverIsDrawn) {
    for (const Size size : {Size{400, 300}, Size{1E9, 3}, Size{0, -1}, Size{Nan, Infinite}}) {
        MetaReader reader(Picture::Wmf(size, Everything()));
        EXPECT_TRUE(reader.File()) << reader.Problem;
    }
    MetaReader nothing(Picture::Wmf({10, 10}, {}));
    EXPECT_TRUE(nothing.File()) << nothing.Problem;
}

TEST(Picture, MetafileTextsAreInItsCodePage) {
    struct Row {
        std::string_view Text;
        std::string Bytes;
    };
    for (const Row& row :
         {Row{"\u22125 \u00b5A", "-5 \xb5"
                                 "A"},
          Row{"\u03bcs, \u03c4\u2026", "\xb5s, ?\x85"}, Row{"\xb5V", "\xb5V"}, Row{"a\tb", "ab"}}) {
        Drawing d;
        d.Text({0, 0, 100, 20}, row.Text, {}, {});
        MetaReader reader(Picture::Wmf({100, 20}, d));
        ASSERT_TRUE(reader.File()) << reader.Problem;
        EXPECT_EQ(reader.Texts, std::vector<std::string>{row.Bytes});
    }
}

// A trace is as long as it is: all of its points arrive, joined; an area may lose corners, but not its shape.
TEST(Picture, LongLinesGoOnInTheNextRecord) {
    for (const std::size_t points : {15999u, 16000u, 16001u, 31999u, 32000u, 100'000u}) {
        const Drawing line = LongLine(points);
        MetaReader reader(Picture::Wmf({1000, 100}, line));
        ASSERT_TRUE(reader.File()) << reader.Problem;
        const std::size_t joints = (points - 2) / 15999;
        EXPECT_EQ(reader.LinePoints, points + joints);
        EXPECT_EQ(reader.PolygonPoints, std::min<std::size_t>(points, 16000));
        const std::string svg = Picture::Svg({1000, 100}, line);
        XmlReader xml{svg};
        EXPECT_TRUE(xml.Document()) << xml.Problem;
    }
}

}
