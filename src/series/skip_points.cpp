#include "series/skip_points.h"

#include "base/number_text.h"
#include "base/text.h"
#include "series/wave_text.h"

#include <algorithm>
#include <string>

namespace SGFit {

namespace {

void Toggle(const Wave& wave, int i) {
    wave.Skip[i] = wave.Skip[i] == 0 ? 1 : 0;
}

// "X>3.5". False for a bad number; what names no axis or no sense does nothing.
bool ApplyCondition(const Wave& wave, std::string_view condition) {
    const bool ofX = condition.find('X') != std::string_view::npos;
    if (!ofX && condition.find('Y') == std::string_view::npos) return true;
    std::size_t at = condition.find('>');
    const bool greater = at != std::string_view::npos;
    if (!greater) at = condition.find('<');
    if (at == std::string_view::npos) return true;
    double number = 0;
    if (!WaveText::ReadReal(condition.substr(at + 1), number)) return false;
    const double* const values = ofX ? wave.X : wave.Y;
    for (int i = 0; i < wave.Points; ++i)
        if (greater ? values[i] > number : values[i] < number) wave.Skip[i] = 1;
    return true;
}

// A condition leaves a comma behind, so that the items around it stay apart.
void ApplyConditions(const Wave& wave, std::string& text) {
    while (true) {
        const std::size_t open = text.find('[');
        const std::size_t close = open == std::string::npos ? open : text.find(']', open);
        if (close == std::string::npos) return;
        const std::string condition = text.substr(open + 1, close - open - 1);
        text.replace(open, close - open + 1, ",");
        if (!ApplyCondition(wave, condition)) return;
    }
}

void ReplaceEnd(std::string& text, int points) {
    const std::string last = std::to_string(points);
    for (std::size_t at = 0; (at = text.find("END", at)) != std::string::npos; at += last.size())
        text.replace(at, 3, last);
}

// Digits alone. Numbers too large to be a point are points behind the wave.
bool ReadPoint(std::string_view text, int& point) {
    constexpr int Behind = 1000000;
    text = NumberText::Trimmed(text);
    if (text.empty()) return false;
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
        value = std::min(10 * value + (c - '0'), Behind);
    }
    point = value;
    return true;
}

// "7" or "5-9"; false for anything else.
bool ApplyItem(const Wave& wave, std::string_view item) {
    const std::size_t dash = item.find('-');
    int first = 0, last = 0;
    if (!ReadPoint(item.substr(0, dash), first)) return false;
    last = first;
    if (dash != std::string_view::npos && !ReadPoint(item.substr(dash + 1), last)) return false;
    for (int n = std::max(first, 1); n <= std::min<int>(last, wave.Points); ++n) Toggle(wave, n - 1);
    return true;
}

void ApplyList(const Wave& wave, std::string_view text) {
    WaveText::Fields items(text);
    std::string_view item;
    while (items.Next(item)) {
        if (NumberText::Trimmed(item).empty()) continue;
        if (!ApplyItem(wave, item)) return;
    }
}

}

void SelectPoints(const Wave& wave, std::string_view typed) {
    std::string text = Texts::UpperCase(typed.substr(0, SkipTextMax));
    const bool on = text.find("ON") != std::string::npos;
    if (on || text.find("OFF") != std::string::npos) {
        std::fill_n(wave.Skip, wave.Points, static_cast<std::uint8_t>(on ? 0 : 1));
        return;
    }
    ApplyConditions(wave, text);
    ReplaceEnd(text, wave.Points);
    ApplyList(wave, text);
}

void SelectPoints(const Wave& wave, Rectangle drag) {
    if (drag.Width == 0 || drag.Height == 0) return;
    const auto [left, right] = std::minmax({drag.Left, drag.Left + drag.Width});
    const auto [top, bottom] = std::minmax({drag.Top, drag.Top + drag.Height});
    for (int i = 0; i < wave.Points; ++i)
        if (left < wave.X[i] && wave.X[i] < right && top < wave.Y[i] && wave.Y[i] < bottom) Toggle(wave, i);
}

void SkipPoints(Store& store, std::string_view text) {
    SelectPoints(ActiveWaveOf(store), text);
    Refresh(store);
}

void SkipPoints(Store& store, const Rectangle& drag) {
    SelectPoints(ActiveWaveOf(store), drag);
    Refresh(store);
}

}
