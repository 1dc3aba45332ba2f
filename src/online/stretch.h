// The part of a trace that functions measure, and what has been measured there. Functions that name the same
// segment and bounds share it; each value is computed when the first of them asks for it.
#pragma once
#include "math/lane_sums.h"
#include "math/measure.h"
#include "trees/online_tree.h"
#include "trees/vennic_tree.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace OnlineCompute {

struct Engine;

// How functions name it, in their trace.
struct StretchName {
    bool WholeTrace = false;
    int SegmentOffset = 0; // without that of the engine, which holds for all of a pass
    double LeftBound = 0.0, RightBound = 0.0;

    bool operator==(const StretchName&) const = default;
};

struct Stretch {
    StretchName Name;

    // Where it lies.
    const VennicTrace* Trace = nullptr;
    std::span<const float> Samples; // of the whole trace
    std::int64_t SegmentStart = 0;
    Measure::Range Range;          // at least one sample
    double StimulusInterval = 0.0; // s; the trace's own where there is no stimulus

    // What is known of it.
    bool NeedsMoments = false; // a function of the method wants more than plain sums
    std::optional<double> PlainSum;
    std::optional<LaneSums::Moments> KnownMoments;
    std::optional<LaneSums::Places> KnownExtremes;          // from Range.Left on
    std::array<std::optional<Measure::Peak>, 4> KnownPeaks; // minimum, maximum, and both without a fit

    [[nodiscard]] std::span<const float> Part() const;
    [[nodiscard]] double Sum();
    [[nodiscard]] const LaneSums::Moments& Moments();
    [[nodiscard]] const LaneSums::Places& Extremes();
    [[nodiscard]] const Measure::Peak& Peak(Measure::PeakKind kind, bool noFit);
};

// That of a function; nullptr when its trace cannot be loaded, its segment is not stored in it, or no sample
// lies between the bounds. It stays until the next call.
[[nodiscard]] Stretch* StretchFor(Engine& engine, const OnlineFunction& function);

}
