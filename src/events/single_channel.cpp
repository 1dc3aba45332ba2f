#include "events/single_channel.h"

#include "math/lane_sums.h"
#include "math/scan.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace SingleChannel {

namespace {

constexpr std::int64_t HighestLevel = 1000;

// The 32-bit reals in their order, and back.
std::int32_t OrderOf(float y) {
    const auto bits = std::bit_cast<std::int32_t>(y);
    return bits < 0 ? std::numeric_limits<std::int32_t>::min() - bits : bits;
}
float AtOrder(std::int32_t order) {
    return std::bit_cast<float>(order < 0 ? std::numeric_limits<std::int32_t>::min() - order : order);
}

}

Detector::Detector(const SingleChannel::Settings& settings, std::span<const float> samples, double interval,
                   double firstX)
    : Settings(settings),
      Data(samples),
      Interval(interval),
      FirstX(firstX),
      Step(settings.High - settings.Low) {
    if (Data.empty()) {
        Ended = true;
        return;
    }
    Level = LevelOf(Data.front());
    Samples = 1;
}

// Half away from zero, by the documented constants. A step of zero gives levels beyond all bounds.
std::int64_t Detector::LevelOf(float y) const {
    constexpr double Bound = 2147483647.0;
    const double x = (y - Settings.Low) / Step;
    if (std::isnan(x)) return 0;
    const double rounded = std::trunc(x >= 0.0 ? x + 0.5 : x - 0.49999999);
    return static_cast<std::int64_t>(std::fmin(std::fmax(rounded, -Bound), Bound));
}

// Levels rise or fall with the samples throughout, so that those of one level lie between two of them.
const Detector::Limits& Detector::LimitsOfLevel() {
    Limits& limits = Cache[static_cast<std::size_t>(Level) % Cache.size()];
    if (limits.Known && limits.Level == Level) return limits;
    limits.Known = true;
    limits.Level = Level;
    const bool rising = Step > 0.0;
    const std::int32_t lowest = OrderOf(-std::numeric_limits<float>::infinity());
    const std::int32_t highest = OrderOf(std::numeric_limits<float>::infinity());
    // The first real of which the level, seen upwards, is at least (or beyond) this one.
    const auto search = [&](bool beyond) {
        std::int64_t below = std::int64_t{lowest} - 1, at = std::int64_t{highest} + 1;
        while (at - below > 1) {
            const std::int64_t middle = below + (at - below) / 2;
            const std::int64_t level = LevelOf(AtOrder(static_cast<std::int32_t>(middle)));
            const bool reached = rising ? (beyond ? level > Level : level >= Level)
                                        : (beyond ? level < Level : level <= Level);
            (reached ? at : below) = middle;
        }
        return at;
    };
    const std::int64_t first = search(false), end = search(true);
    if (!(Step > 0.0 || Step < 0.0) || first >= end) {
        limits.Least = std::numeric_limits<float>::infinity(); // no sample is passed over
        limits.Greatest = -limits.Least;
        return limits;
    }
    limits.Least = AtOrder(static_cast<std::int32_t>(first));
    limits.Greatest = AtOrder(static_cast<std::int32_t>(end - 1));
    return limits;
}

void Detector::EndEvent(std::int64_t lower, bool final, bool rising, Event& event) {
    const double band = Step * Settings.Threshold;
    const double y = Data[At], previous = Data[At > 0 ? At - 1 : 0];
    const double crossing = static_cast<double>(lower) * Step + Settings.Low + band;
    // The trace ends with its last sample; there is no crossing behind it.
    const double fraction = final ? 0.0 : (previous - crossing) * Interval / (previous - y);
    const std::size_t end = final ? At + 1 : At; // behind the last sample of the event
    const auto dead = static_cast<std::size_t>(std::max(Settings.DeadTime, 0));

    event = {};
    event.Level = static_cast<int>(Level);
    event.Final = final;
    event.Stored = Settings.InclFirst || !IsFirst;
    if (end > First && end - First > 2 * dead) {
        event.MeanSamples = end - First - 2 * dead;
        event.Amplitude = LaneSums::Sum(Data.subspan(First + dead, event.MeanSamples)) /
                          static_cast<double>(event.MeanSamples);
    } else {
        event.Amplitude = static_cast<double>(Level) * Step + Settings.Low;
        event.AmplitudeState = FitParamState::Off;
    }
    event.Duration = static_cast<double>(Samples) * Interval + fraction + Carry;
    event.EndTime = (static_cast<double>(At + 1) - 3.0) * Interval + FirstX + fraction;
    const double cut = static_cast<double>(dead) * Interval;
    event.DrawnFrom = cut + event.EndTime - event.Duration + Carry;
    event.DrawnTo = event.EndTime - fraction - cut;
    event.NextLevel = static_cast<double>(Level) * Step + Settings.Low + (rising ? band : -band);

    Samples = 0;
    First = At;
    IsFirst = false;
    Carry = Interval - fraction;
}

bool Detector::Next(Event& event) {
    while (!Ended) {
        if (Jumping) {
            const bool rising = Level < Target;
            EndEvent(rising ? Level : Level - 1, false, rising, event);
            Level += rising ? 1 : -1;
            Jumping = Level != Target;
            if (Jumping && (std::abs(Level) > HighestLevel || std::abs(Target) > HighestLevel)) {
                ++UnreasonableLevels;
                Jumping = false;
            }
            return true;
        }
        const Limits& limits = LimitsOfLevel();
        const std::size_t next = Scan::FirstOutside(Data, At + 1, limits.Least, limits.Greatest);
        Samples += next - At - 1;
        if (next >= Data.size()) {
            At = Data.size() - 1;
            Ended = true;
            if (Samples == 0 || !Settings.InclLast) return false;
            EndEvent(Level, true, false, event);
            return true;
        }
        At = next;
        Target = LevelOf(Data[At]);
        if (Target == Level)
            ++Samples;
        else
            Jumping = true;
    }
    return false;
}

std::int32_t SuggestDeadTime(double interval, double bandwidth, double filter) {
    double corner = bandwidth;
    if (filter > 0.0 && (filter <= bandwidth || !(bandwidth > 0.0))) corner = filter;
    const double samples = std::trunc(1.0 / 3.0 / interval / corner);
    return corner > 0.0 && samples >= 0.0 && samples < 2147483647.0 ? static_cast<std::int32_t>(samples) : -1;
}

}
