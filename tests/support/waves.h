// The wave store opened for a test, and waves point by point.
#pragma once
#include "series/wave_math.h"
#include "setup/settings.h"
#include "support/testing.h"

namespace Support {

struct OpenStore : SGFit::Store {
    OpenStore() {
        Setup::Settings = {};
        EXPECT_TRUE(SGFit::Open(*this));
    }
    ~OpenStore() { Setup::Settings = {}; }
};

struct Point {
    double X, Y;
    int Skip = 0;
};

inline void SetPreview(SGFit::Store& store, const std::vector<Point>& points) {
    store.PreviewPoints = static_cast<std::int16_t>(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        store.XPreview[i] = points[i].X;
        store.YPreview[i] = points[i].Y;
        store.PreviewSkip[i] = static_cast<std::uint8_t>(points[i].Skip);
    }
    SGFit::Refresh(store);
}

}
