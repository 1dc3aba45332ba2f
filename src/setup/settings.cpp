#include "setup/settings.h"

#include <algorithm>

namespace Setup {

SettingsRecord Settings;

std::int32_t LimitedSamplePoints(std::int64_t points) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(points, MaxSamplePointsLowest, MaxSamplePointsHighest));
}

}
