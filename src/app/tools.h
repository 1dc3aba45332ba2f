// The tools of the desktop: one row each, in the order in which they are made.
#pragma once
#include <span>

namespace Tools {

struct Tool {
    const char* StatusLine; // on the start window; none: made without a word
    bool (*Initialise)();
};
[[nodiscard]] std::span<const Tool> StartOrder();

// The windows of the Windows menu, in its order.
struct WindowRow {
    const char* Name;
    void (*Show)();
};
[[nodiscard]] std::span<const WindowRow> MenuOrder();

}
