// Rise and fall of a response between two levels, given in percent of its peak.
#pragma once
#include <span>

namespace RiseTime {

struct Levels {
    double Low = 10.0, High = 90.0; // percent of the peak; the lower one first
};

// A time is behind the first sample; without a crossing Reached is false and the time 0.
struct Crossing {
    bool Reached = false;
    double Time = 0.0;
};

struct Result {
    double Low = 0.0, High = 0.0; // the two levels, in the unit of the samples less the base line
    Crossing Rise[2];             // of the low and the high level, ahead of the peak; always reached
    Crossing Fall[2];             // of the high and the low level, behind it
};

// The peak is the extreme of larger absolute value once the base line is off; a level is reached by an
// absolute value that is not smaller. Needs one sample at least.
[[nodiscard]] Result Measure(std::span<const float> samples, double interval, double baseline,
                             const Levels& levels);

}
