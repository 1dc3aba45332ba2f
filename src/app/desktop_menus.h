// The menus of the desktop.
#pragma once

namespace DesktopMenus {

void Make();

}
