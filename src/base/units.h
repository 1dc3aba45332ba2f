// Start order of the program's units.
// A unit names the units it imports; its initialiser runs theirs first, then its own body, once.
// So the import lists alone fix the start order, and a cycle of imports ends at the guard.
#pragma once
#include <vector>

namespace Units {

struct Unit {
    const char* Name;
    std::vector<Unit*> Imports; // in the order in which they are started
    bool (*Body)() = nullptr;   // may be absent; false ends the start
    bool Started = false;       // the guard: set before anything runs
    bool Failed = false;
};

// Returns at once when the unit has been started. False when the unit or one of its imports failed.
[[nodiscard]] bool Initialise(Unit& unit);

}
