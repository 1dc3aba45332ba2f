// Drawings as files without any library: scalable vector graphics, and placeable Windows metafiles.
#pragma once
#include "platform/platform.h"

#include <string>

namespace Picture {

// SVG 1.1. Bitmaps are left out.
[[nodiscard]] std::string Svg(Platform::Size size, const Platform::Drawing& drawing);

// A placeable metafile (16 bit, 1440 units to the inch, [MS-WMF]). Transparency and bitmaps are left out;
// dashes and rounded corners are kept.
[[nodiscard]] std::string Wmf(Platform::Size size, const Platform::Drawing& drawing);

}
