#include "ui/item_value.h"

#include "base/messages.h"
#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Dialogs {

namespace {

template <class T>
T At(const void* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

template <class T>
void Put(void* place, T value) {
    std::memcpy(place, &value, sizeof value);
}

// The largest whole number of 64 bits is no double: the bound is the power of two above it.
template <class T>
T Whole(double value) {
    using Limits = std::numeric_limits<T>;
    if (std::isnan(value)) return 0;
    const double rounded = std::round(value);
    if (rounded >= std::ldexp(1.0, Limits::digits)) return Limits::max();
    if (rounded <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<T>(rounded);
}

// A finite value stays finite.
float Short(double value) {
    constexpr double Most = std::numeric_limits<float>::max();
    return static_cast<float>(std::isfinite(value) ? std::clamp(value, -Most, Most) : value);
}

std::string Plain(std::string text) {
    return std::string(NumberText::Trimmed(text));
}

bool IsWhole(NumberText::Format format) {
    return format == NumberText::Format::Integer || format == NumberText::Format::Hexadecimal;
}

// Bounds as the user sees them, for the alert of a strict entry: in 5 columns where these tell the number.
std::string Bound(double stored, double scale, NumberText::Format format) {
    const double shown = stored / scale;
    if (IsWhole(format)) return std::to_string(Whole<std::int64_t>(shown));
    if (shown != 0 && std::fabs(shown) < 0.01) return Plain(NumberText::Engineering(shown, 7));
    std::string text = Plain(NumberText::Fixed(shown, 2, 5));
    return text == "***" ? Plain(NumberText::Fixed(shown, 2, 12)) : text;
}

std::string& TextPlaceOf(DialogItem& item) {
    return item.ValuePointer != nullptr ? *static_cast<std::string*>(item.ValuePointer) : item.OwnText;
}

}

std::string BoundsText(double low, double high, double scale, NumberText::Format format) {
    return "Number must be >= " + Bound(low, scale, format) + " and <= " + Bound(high, scale, format) + "!";
}

std::string_view WithoutUnit(std::string_view typed, std::string_view unit) {
    const std::string_view text = NumberText::Trimmed(typed);
    const std::string_view name = NumberText::Trimmed(unit);
    if (name.empty() || text.size() <= name.size() || !text.ends_with(name)) return text;
    return NumberText::Trimmed(text.substr(0, text.size() - name.size()));
}

double NumberOf(const DialogItem& item) {
    const void* const place = item.ValuePointer;
    if (place == nullptr) return item.OwnValue;
    switch (item.ValueKind) {
    case ValueKind::Real64: return At<double>(place);
    case ValueKind::Real32: return static_cast<double>(At<float>(place));
    case ValueKind::Int32: return At<std::int32_t>(place);
    case ValueKind::Int16: return At<std::int16_t>(place);
    case ValueKind::Set16: return At<std::uint16_t>(place);
    case ValueKind::Boolean: return *static_cast<const bool*>(place) ? 1 : 0;
    case ValueKind::Byte: return At<std::uint8_t>(place);
    case ValueKind::String: break;
    }
    return 0;
}

void SetNumber(DialogItem& item, double value) {
    void* const place = item.ValuePointer;
    if (place == nullptr) {
        if (item.ValueKind != ValueKind::String) item.OwnValue = Kept(item.ValueKind, value);
        return;
    }
    switch (item.ValueKind) {
    case ValueKind::Real64: Put(place, value); break;
    case ValueKind::Real32: Put(place, Short(value)); break;
    case ValueKind::Int32: Put(place, Whole<std::int32_t>(value)); break;
    case ValueKind::Int16: Put(place, Whole<std::int16_t>(value)); break;
    case ValueKind::Set16: Put(place, Whole<std::uint16_t>(value)); break;
    case ValueKind::Boolean: *static_cast<bool*>(place) = value != 0; break;
    case ValueKind::Byte: Put(place, Whole<std::uint8_t>(value)); break;
    case ValueKind::String: break;
    }
}

double Kept(ValueKind kind, double value) {
    switch (kind) {
    case ValueKind::Real64: return value;
    case ValueKind::Real32: return static_cast<double>(Short(value));
    case ValueKind::Int32: return Whole<std::int32_t>(value);
    case ValueKind::Int16: return Whole<std::int16_t>(value);
    case ValueKind::Set16: return Whole<std::uint16_t>(value);
    case ValueKind::Boolean: return value != 0 ? 1 : 0;
    case ValueKind::Byte: return Whole<std::uint8_t>(value);
    case ValueKind::String: break;
    }
    return 0;
}

bool BoolOf(const DialogItem& item) {
    return NumberOf(item) != 0;
}

void SetBool(DialogItem& item, bool value) {
    SetNumber(item, value ? 1 : 0);
}

std::string TextOf(const DialogItem& item) {
    if (item.ValueKind != ValueKind::String) return {};
    return item.ValuePointer != nullptr ? *static_cast<const std::string*>(item.ValuePointer) : item.OwnText;
}

void SetText(DialogItem& item, std::string_view text) {
    if (item.ValueKind != ValueKind::String) return;
    const int most = std::max<int>(item.TextLength, 0);
    TextPlaceOf(item) = Texts::CutUtf8(text, static_cast<std::size_t>(most));
}

HeldValue Hold(const DialogItem& item) {
    return {NumberOf(item), TextOf(item)};
}

void PutBack(DialogItem& item, const HeldValue& held) {
    SetNumber(item, held.Number);
    if (item.ValueKind == ValueKind::String) TextPlaceOf(item) = held.Text;
}

bool IsNumberItem(const DialogItem& item) {
    return (item.Kind == ItemKind::FramedNumber || item.Kind == ItemKind::Drag ||
            item.Kind == ItemKind::Drag2) &&
           item.ValueKind != ValueKind::String;
}

bool IsTextItem(const DialogItem& item) {
    return IsNumberItem(item) || item.Kind == ItemKind::FramedText || item.Kind == ItemKind::FramedNumber ||
           item.Kind == ItemKind::EditText;
}

bool IsToggle(const DialogItem& item) {
    return item.Kind == ItemKind::TrueFalse || item.Kind == ItemKind::HighLow;
}

bool IsList(const DialogItem& item) {
    return item.Kind == ItemKind::List;
}

std::string NumberAsText(const DialogItem& item, double stored) {
    const double shown = item.ValueScale == 1.0 ? stored : stored / item.ValueScale;
    const int columns = item.TextLength;
    using enum NumberText::Format;
    switch (item.NumberFormat) {
    case Integer: return Plain(NumberText::Integer(Whole<std::int64_t>(shown), columns));
    case Hexadecimal:
        return Plain(
            NumberText::Hexadecimal(static_cast<std::uint64_t>(Whole<std::int64_t>(shown)), columns));
    case Fixed: return Plain(NumberText::Fixed(shown, item.Digits, columns));
    case Scientific: return Plain(NumberText::Scientific(shown, columns));
    case Engineering: break;
    }
    return Plain(NumberText::Engineering(shown, columns));
}

NumberParts ShownNumber(const DialogItem& item) {
    NumberParts parts{NumberAsText(item, NumberOf(item)), std::string(NumberText::Trimmed(item.UnitText))};
    if (item.NumberFormat != NumberText::Format::Engineering) return parts;
    // The prefix belongs to the unit: "12.35" and "mA".
    const std::size_t digits = parts.Digits.find_last_of("0123456789.*FN") + 1;
    if (digits != 0 && digits < parts.Digits.size()) {
        parts.Unit = std::string(NumberText::Trimmed(parts.Digits.substr(digits))) + parts.Unit;
        parts.Digits.resize(digits);
    }
    return parts;
}

bool CheckNumberEntry(std::string_view text, double low, double high, double scale, NumberText::Format format,
                      bool strict, double& stored) {
    double value = 0;
    if (format == NumberText::Format::Integer) {
        std::int64_t whole = 0;
        if (!NumberText::ReadInteger(text, whole)) return false;
        value = static_cast<double>(whole);
    } else if (format == NumberText::Format::Hexadecimal) {
        std::uint64_t whole = 0;
        if (!NumberText::ReadHexadecimal(text, whole)) return false;
        value = static_cast<double>(whole);
    } else if (!NumberText::ReadEngineering(text, value, true)) {
        return false;
    }
    if (scale != 1.0) value *= scale;
    if (!std::isfinite(value)) return false;
    if (value < low || value > high) {
        if (strict) {
            Messages::Alert(BoundsText(low, high, scale, format));
            return false;
        }
        value = value < low ? low : high;
    }
    stored = value;
    return true;
}

bool EnterText(DialogItem& item, std::string_view typed) {
    if (!IsNumberItem(item)) {
        if (item.ValueKind != ValueKind::String) return false;
        SetText(item, typed);
        return true;
    }
    // What is shown stands for the value with all its digits: typed as it is, it changes nothing.
    const std::string shown = NumberAsText(item, NumberOf(item));
    const std::string_view number = WithoutUnit(typed, item.UnitText);
    if (NumberText::Trimmed(typed) == shown || number == shown) return true;
    double value = 0;
    if (!CheckNumberEntry(number, item.ValueLow, item.ValueHigh, item.ValueScale, item.NumberFormat,
                          item.Strict, value))
        return false;
    SetNumber(item, value);
    return true;
}

std::string SetDigits(std::uint16_t set) {
    std::string text;
    for (unsigned bit = 0; bit < 16; ++bit)
        if ((set >> bit & 1u) != 0) text += "0123456789ABCDEF"[bit];
    return text;
}

bool ReadSetDigits(std::string_view text, std::uint16_t& set) {
    unsigned bits = 0;
    for (const char c : NumberText::Trimmed(text)) {
        if (c >= '0' && c <= '9') {
            bits |= 1u << (c - '0');
        } else if (c >= 'A' && c <= 'F') {
            bits |= 1u << (c - 'A' + 10);
        } else if (c >= 'a' && c <= 'f') {
            bits |= 1u << (c - 'a' + 10);
        } else {
            return false;
        }
    }
    set = static_cast<std::uint16_t>(bits);
    return true;
}

int ListIndex(const DialogItem& item) {
    const double index = NumberOf(item);
    return index >= 0 && index < static_cast<double>(item.ListEntries.size()) ? static_cast<int>(index) : -1;
}

std::string ListText(const DialogItem& item, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= item.ListEntries.size()) return {};
    const std::string& entry = item.ListEntries[static_cast<std::size_t>(index)];
    return EntryEnabled(item, index) ? entry : entry.substr(1);
}

bool EntryEnabled(const DialogItem& item, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < item.ListEntries.size() &&
           !item.ListEntries[static_cast<std::size_t>(index)].starts_with('(');
}

bool StepList(DialogItem& item, int steps) {
    const int direction = steps < 0 ? -1 : 1;
    int index = ListIndex(item);
    int found = index;
    const int count = static_cast<int>(item.ListEntries.size());
    for (int left = std::min(std::abs(steps), count); left > 0; --left) {
        int next = found + direction;
        while (next >= 0 && next < count && !EntryEnabled(item, next)) next += direction;
        if (next < 0 || next >= count) break;
        found = next;
    }
    if (found == index) return false;
    SetNumber(item, found);
    return true;
}

bool StepToggle(DialogItem& item, int steps) {
    const bool on = BoolOf(item);
    const bool wanted = steps == 0 ? !on : steps > 0;
    const int entry = wanted ? 1 : 0;
    const bool named = static_cast<std::size_t>(entry) < item.ListEntries.size();
    if (wanted == on || (named && !EntryEnabled(item, entry))) return false;
    SetBool(item, wanted);
    return true;
}

}
