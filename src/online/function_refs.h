// Functions of an online method name each other by position: the operands of arithmetic kinds, "F[n]" in an
// equation's text, and the curves of the method's graphs. When positions change, all of these follow.
#pragma once
#include "trees/online_tree.h"

#include <span>

namespace FunctionRefs {

// True when the kind takes other functions' results for its left, or its right operand.
[[nodiscard]] bool HasLeftOperand(const OnlineFunction& function);
[[nodiscard]] bool HasRightOperand(const OnlineFunction& function);

// True when an operand or the equation names that position.
[[nodiscard]] bool Uses(const OnlineFunction& function, int position);

// Where the functions go: the entry at a former position is the new one, 0 for a function that goes. Entry 0
// is not used.
using Places = std::span<const int>;

// False when the change cannot be followed: an operand would no longer stand before its function, a function
// that goes is still used, or the new numbers do not fit into an equation's text.
[[nodiscard]] bool CanFollow(const OnlineMethod* method, Places places);

// Writes the new positions into the functions, which still stand at their former places, and into the
// graphs. A curve whose function goes is switched off. A position that names no function stays.
void Follow(OnlineMethod* method, Places places);

}
