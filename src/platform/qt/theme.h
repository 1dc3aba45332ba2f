// Colours and fonts of the parts that Qt draws itself.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

void SetTheme(const Platform::Theme& theme);
bool DesktopIsDark();
// Asks the desktop again. True when the answer is another one than last time.
[[nodiscard]] bool ThemeOfDesktopChanged();

}
