// Idealisation of single-channel records: a trace of steps becomes a list of levels and dwell times.
//
//     SingleChannel::Detector detector(settings, samples, interval, firstX);
//     SingleChannel::Event event;
//     while (detector.Next(event)) ...
//
// A sample belongs to the level nearest to it: level 0 at Low, level 1 at High, and so on in equal steps. An
// event ends where the samples change their level; the moment is interpolated at the crossing of Threshold, a
// fraction of a step above the lower of the two levels. A jump over several levels gives an event for each
// level between, without samples of its own and as long as the formula says.
#pragma once
#include "trees/fit_types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace SingleChannel {

struct Settings {
    std::int32_t DeadTime = 0;    // samples cut at each end of an event for its mean
    double Low = 0.0, High = 0.0; // of level 0 and 1, in the unit of the samples
    double Threshold = 0.5;
    bool InclFirst = false; // of an event that the start of the trace cuts
    bool InclLast = false;  // and of one that its end cuts; it lasts to the last sample
};

struct Event {
    int Level = 0;
    double Amplitude = 0.0; // mean of the samples; the level's own value, State Off, where none is left
    FitParamState AmplitudeState = FitParamState::Fit;
    std::size_t MeanSamples = 0; // in Amplitude
    double Duration = 0.0;
    double EndTime = 0.0;
    double DrawnFrom = 0.0, DrawnTo = 0.0; // the line to draw at Amplitude
    double NextLevel = 0.0;                // the value that is drawn behind it
    bool Stored = true;                    // false for a first event that is not included
    bool Final = false;
};

struct Detector {
    Detector(const Settings& settings, std::span<const float> samples, double interval, double firstX);

    // The next event; false at the end of the trace.
    [[nodiscard]] bool Next(Event& event);

    // Jumps that were given up since a level was beyond 1000: "Unreasonable level. Check Low/High level
    // settings."
    std::int64_t UnreasonableLevels = 0;

private:
    [[nodiscard]] std::int64_t LevelOf(float y) const;
    void EndEvent(std::int64_t lower, bool final, bool rising, Event& event);

    SingleChannel::Settings Settings;
    std::span<const float> Data;
    double Interval, FirstX;

    double Step;             // of one level
    std::int64_t Level = 0;  // of the event that runs
    std::size_t At = 0;      // index of the sample that was looked at last
    std::size_t First = 0;   // of the event
    std::size_t Samples = 0; // of the event, without that of its beginning
    std::int64_t Target = 0; // of a jump under way
    bool Jumping = false, IsFirst = true, Ended = false;
    double Carry = 0.0; // from the crossing to the sample behind it

    // The samples that belong to a level, for a quick search. A record goes to and fro between few levels.
    struct Limits {
        bool Known = false;
        std::int64_t Level = 0;
        float Least = 0.0F, Greatest = 0.0F;
    };
    const Limits& LimitsOfLevel();
    std::array<Limits, 8> Cache;
};

// 1/3 of the corner's period in samples, cut: the dead time that belongs to a filter. bandwidth: recorded,
// Hz; filter: digital one, Hz; each not above 0 for none. The filter counts where it is at most the
// bandwidth, or no bandwidth is known. Negative when neither counts.
[[nodiscard]] std::int32_t SuggestDeadTime(double interval, double bandwidth, double filter);

}
