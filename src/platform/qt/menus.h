// Menus of the frame, and menus that open at an item.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

void SetMenus(std::span<const Platform::Menu> menus);
void SetMenuEntry(int menu, int entry, const Platform::MenuEntry& state);
int PopupMenu(Platform::WindowId window, Platform::Area place, std::span<const Platform::MenuEntry> entries,
              int current);

}
