#include "base/units.h"

namespace Units {

bool Initialise(Unit& unit) {
    if (unit.Started) return !unit.Failed;
    unit.Started = true;
    for (Unit* import : unit.Imports)
        if (!Initialise(*import)) unit.Failed = true;
    if (!unit.Failed && unit.Body && !unit.Body()) unit.Failed = true;
    return !unit.Failed;
}

}
