// What an online analysis writes: results of a pass as a line, and a method as a list.
#pragma once
#include "online/compute.h"

#include <string>
#include <string_view>
#include <vector>

namespace NotebookLines {

// Between the values of a line, and a value with as many digits as the settings say.
[[nodiscard]] std::string_view Separator();
[[nodiscard]] std::string Number(double value);

// With a function that is marked for the notebook: the header line, where another one stands above, and the
// values behind the sweep's count.
void Write(OnlineCompute::Engine& engine);

// "Imean[A]": the name, or that of the kind, and the unit.
[[nodiscard]] std::string Title(const OnlineFunction& function);
[[nodiscard]] std::string Header(const OnlineMethod& method);
[[nodiscard]] std::string Values(const OnlineCompute::Engine& engine);

// A line a function: its number, name, "=", what it computes of what, and where. An operand that is no
// earlier function is an error, and reads so.
[[nodiscard]] std::vector<std::string> Listing(const OnlineMethod& method);

}
