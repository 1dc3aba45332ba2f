// Drawings on anything that Qt can paint on.
#pragma once
#include "platform/qt/state.h"

class QPainter;

namespace QtDesktop {

void Play(QPainter& painter, const Platform::Drawing& drawing);
[[nodiscard]] QFont FontOf(const Platform::Font& font);
[[nodiscard]] Platform::Size MeasureText(const Platform::Font& font, std::string_view text);
[[nodiscard]] std::vector<std::string> FontNames();

}
