#include "app/csv.h"

#include "base/number_text.h"
#include "base/text.h"
#include "series/wave_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Csv {

namespace {

constexpr std::size_t UseColumn = 2;

template <class Real>
void AppendShortest(std::string& text, Real value) {
    if (!std::isfinite(value)) {
        text += std::isnan(value) ? "NAN" : value > 0 ? "INF" : "-INF";
        return;
    }
    char digits[32];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
    text.append(digits, end);
}

std::vector<std::string_view> FieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    while (true) {
        const std::size_t at = line.find_first_of(",;\t");
        fields.push_back(NumberText::Trimmed(line.substr(0, at)));
        if (at == std::string_view::npos) return fields;
        line.remove_prefix(at + 1);
    }
}

SGFit::WaveLabel LabelOf(std::string_view heading) {
    SGFit::WaveLabel label;
    const std::size_t open = heading.rfind('(');
    if (open != std::string_view::npos && heading.ends_with(')')) {
        Texts::ToField(label.Unit, heading.substr(open + 1, heading.size() - open - 2));
        heading = NumberText::Trimmed(heading.substr(0, open));
    }
    Texts::ToField(label.Name, heading);
    return label;
}

bool Fail(std::string& message, int line, std::string_view text) {
    message = "Line " + std::to_string(line) + ": " + std::string(text);
    return false;
}

// The text's next line; lines end as they like.
std::string_view NextLine(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end);
    if (text.starts_with("\r\n"))
        text.remove_prefix(2);
    else if (!text.empty())
        text.remove_prefix(1);
    return line;
}

struct Reader {
    Points& To;
    std::string& Message;
    bool HasUse = false;

    // A first line that does not begin with a number is the heading.
    bool TakeHeading(const std::vector<std::string_view>& fields) {
        double number = 0;
        if (WaveText::ReadReal(fields[0], number)) return false;
        To.X = LabelOf(fields[0]);
        if (fields.size() > 1) To.Y = LabelOf(fields[1]);
        HasUse = fields.size() > UseColumn && Texts::SameFolded(fields[UseColumn], "Use");
        return true;
    }

    bool TakePoint(const std::vector<std::string_view>& fields, int line) {
        WaveFile::Point point;
        if (fields.size() < 2) return Fail(Message, line, "a point has two numbers, X and Y.");
        if (!WaveText::ReadReal(fields[0], point.X) || !WaveText::ReadReal(fields[1], point.Y))
            return Fail(Message, line, "X and Y must be numbers.");
        if (HasUse) {
            if (fields.size() <= UseColumn || (fields[UseColumn] != "0" && fields[UseColumn] != "1"))
                return Fail(Message, line, "Use must be 0 or 1.");
            point.Skip = fields[UseColumn] == "0";
        }
        if (!point.Skip && !(std::isfinite(point.X) && std::isfinite(point.Y)))
            return Fail(Message, line, "a point that is not finite cannot be fitted.");
        To.List.push_back(point);
        return true;
    }
};

}

void AppendNumber(std::string& text, double value) {
    AppendShortest(text, value);
}

void AppendNumber(std::string& text, float value) {
    AppendShortest(text, value);
}

std::string Heading(const SGFit::WaveLabel& label) {
    std::string text = Texts::Utf8(Texts::FromField(label.Name));
    const std::string unit = Texts::Utf8(Texts::FromField(label.Unit));
    if (!unit.empty()) text += (text.empty() ? "(" : " (") + unit + ")";
    for (char& c : text)
        if (c == ',' || c == ';' || c == '\t' || c == '\r' || c == '\n') c = ' ';
    return text;
}

bool ReadPoints(std::string_view text, Points& points, std::string& message) {
    points = {};
    Reader reader{points, message};
    bool first = true;
    for (int number = 1; !text.empty(); ++number) {
        const std::string_view line = NextLine(text);
        if (NumberText::Trimmed(line).empty() || line.starts_with('#')) continue;
        const std::vector<std::string_view> fields = FieldsOf(line);
        if (!(first && reader.TakeHeading(fields)) && !reader.TakePoint(fields, number)) return false;
        first = false;
    }
    return true;
}

}
