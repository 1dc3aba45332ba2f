#include "data/name_descriptor.h"

#include "base/time_scale.h"

#include <algorithm>

namespace NameDescriptor {

namespace {

constexpr const char* Months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool AllDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void Remove(std::string& text, char c) {
    text.erase(std::remove(text.begin(), text.end(), c), text.end());
}

// "2017-05-28"; a time that has no date of four digits a year stays what the time scale makes of it.
std::string Date(double time) {
    std::string date = TimeScale::DateText(time);
    std::replace(date.begin(), date.end(), '/', '-');
    return date;
}

bool IsWhole(const std::string& date) {
    return date.size() == 10 && date[4] == '-';
}

std::string DateWithoutCentury(double time) {
    const std::string date = Date(time);
    return IsWhole(date) ? date.substr(2) : date;
}

std::string DateInWords(double time) {
    const std::string date = Date(time);
    if (!IsWhole(date)) return date;
    const auto month = static_cast<std::size_t>(std::stoi(date.substr(5, 2)));
    return date.substr(8) + "-" + Months[month - 1] + "-" + date.substr(0, 4);
}

std::string WithoutSeparators(std::string text) {
    Remove(text, '-');
    Remove(text, ':');
    return text;
}

struct TimeTerm {
    std::string_view Name;
    std::string (*Text)(double time);
};
constexpr TimeTerm TimeTerms[] = {
    {"DATE", DateInWords},
    {"DATE1", DateInWords},
    {"DATE2", Date},
    {"DATE3", DateWithoutCentury},
    {"DATE4", [](double time) { return WithoutSeparators(DateWithoutCentury(time)); }},
    {"TIME", [](double time) { return TimeScale::TimeText(time); }},
    {"TIME1", [](double time) { return TimeScale::TimeText(time); }},
    {"TIME2", [](double time) { return WithoutSeparators(TimeScale::TimeText(time)); }},
};

// The first characters of a UTF-8 text, as many as the number says.
std::string_view FirstCharacters(std::string_view text, std::string_view number) {
    std::size_t count = 0;
    for (const char digit : number)
        count = std::min<std::size_t>(count * 10 + static_cast<std::size_t>(digit - '0'), NameMax + 1);
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        const bool starts = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (starts && count-- == 0) break;
    }
    return text.substr(0, end);
}

// The text of a term, or the reason why there is none.
bool TermText(std::string_view term, const Values& values, bool& indexed, std::string& text) {
    if (!term.empty() && AllDigits(term)) {
        text = std::to_string(values.Index);
        if (values.Index < 0 || text.size() > term.size()) {
            text = "index overflow.";
            return false;
        }
        text.insert(0, term.size() - text.size(), '0');
        indexed = true;
        return true;
    }
    constexpr std::string_view User = "USER";
    if (term.substr(0, User.size()) == User && AllDigits(term.substr(User.size()))) {
        const std::string_view number = term.substr(User.size());
        text = number.empty() ? values.UserName : FirstCharacters(values.UserName, number);
        return true;
    }
    for (const TimeTerm& row : TimeTerms) {
        if (term != row.Name) continue;
        text = row.Text(values.Time);
        return true;
    }
    text.clear();
    return false;
}

// A user's name may hold what no file name can.
bool IsSeparator(char c) {
    return c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < ' ';
}

bool Fail(std::string& target, std::string reason) {
    target = std::move(reason);
    return false;
}

bool FailTooLong(std::string& target, bool& tooLong) {
    tooLong = true;
    return Fail(target, "Name is too long (max=" + std::to_string(NameMax) + ").");
}

// Why a character cannot stand where it does, inside a term that ends with closing (0 outside); empty when it
// can.
std::string Complaint(char c, char closing) {
    if (closing && (c == '[' || c == '<')) return "Nesting of \"[\" or \"<\" not allowed in Name Descriptor.";
    if (c == ']' && closing != ']') return "\"]\" without preceding \"[\" in Name Descriptor.";
    if (c == '>' && closing != '>') return "\">\" without preceding \"<\" in Name Descriptor.";
    if (!closing && IsSeparator(c)) return "Illegal character in Name Descriptor: '/', '\\', ':'";
    return {};
}

}

bool MakeFileName(std::string& target, std::string_view descriptor, const Values& values, bool& indexed,
                  bool& tooLong) {
    indexed = false;
    tooLong = false;
    if (descriptor.size() > NameMax) return FailTooLong(target, tooLong);
    std::string name;
    char closing = '\0'; // of the term that is open
    std::size_t start = 0;
    for (std::size_t i = 0; i < descriptor.size(); ++i) {
        const char c = descriptor[i];
        std::string complaint = Complaint(c, closing);
        if (!complaint.empty()) return Fail(target, std::move(complaint));
        if (c == '[' || c == '<') {
            closing = c == '[' ? ']' : '>';
            start = i;
        } else if (!closing) {
            name += c;
        } else if (c == closing) {
            std::string text;
            if (!TermText(descriptor.substr(start + 1, i - start - 1), values, indexed, text)) {
                const std::string term(descriptor.substr(start, i - start + 1));
                return Fail(target, !text.empty() ? text : "unknown \"" + term + "\" in Name Descriptor.");
            }
            std::replace_if(text.begin(), text.end(), IsSeparator, '-');
            name += text;
            closing = '\0';
        }
    }
    if (closing)
        return Fail(target, "Closing \"" + std::string(1, closing) + "\" is missing in Name Descriptor.");
    if (name.empty()) return Fail(target, "Name is empty.");
    if (name.size() > NameMax) return FailTooLong(target, tooLong);
    target = std::move(name);
    return true;
}

}
