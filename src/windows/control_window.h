// The control window: which file is open and how, what the program is doing, and the values that equations,
// protocols and the user share.
#pragma once
#include <string>

namespace ControlWindow {

[[nodiscard]] bool Initialise();
void Show();

// The status word and the timer; of the idle step. Redraws only what has changed.
void SetStatus(const std::string& word, bool busy);
void Update(); // everything else: another data set, other values
// The memory that the program holds; a switch file at the start asks for it.
extern bool ShowMemory;

}
