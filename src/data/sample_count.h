// Whether what was applied in a data set fits into the longest trace that the settings allow.
#pragma once
#include "data/session.h"

namespace SampleCount {

struct Need {
    std::int64_t Sampled = 0;    // points of the longest stored segment of fixed length
    std::int64_t Continuous = 0; // of the longest continuous one
};
// By the stimulations of all series.
[[nodiscard]] Need Required(const DataSession& session);

// Asks when the data set needs more than MaxSamplePoints. False when the user does not want it loaded.
[[nodiscard]] bool Check(DataSession& session);

}
