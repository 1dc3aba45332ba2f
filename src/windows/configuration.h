// "Qorvanite Configuration": the settings of the fit tools, in four panes.
#pragma once

namespace Configuration {

// Sets the dialog up. False after an alert.
[[nodiscard]] bool Initialise();
// Opens it, or brings it to the front. False after an alert.
bool Show();

}
