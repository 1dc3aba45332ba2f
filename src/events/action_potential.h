// Detection of action potentials: excursions of a trace above a threshold, up to the end of the undershoot.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

namespace ActionPotential {

struct Event {
    std::int32_t Number = 0;                 // in the trace, from 1
    double UpTime = 0.0, DownTime = 0.0;     // of the crossings
    double Duration = 0.0;                   // between them
    double Integral = 0.0;                   // area above the threshold
    double Interval = 0.0;                   // from the crossing before; of the first one: from the first x
    double Maximum = 0.0, MaximumTime = 0.0; // time: behind the upward crossing
    double Minimum = 0.0, MinimumTime = 0.0; // at the end of the event, the first rise behind the fall
};

// Samples are counted from 1, and times take 3 off the count; both crossings are interpolated.
//
// Crossings are strict, from below to above: a sample that equals the threshold is neither, and a crossing
// through it does not count. So a threshold should lie off the grid of digitised samples.
//
// An excursion that has begun ahead of the trace is passed over; one that is open at its end is dropped.
struct Detector {
    Detector(std::span<const float> samples, double threshold, double interval, double firstX);

    // The next event; false at the end of the trace.
    [[nodiscard]] bool Next(Event& event);
    // The interval of the next event counts from the last but one: the last was taken back.
    void TakeBack(double formerUpTime) { PreviousUp = formerUpTime; }

private:
    [[nodiscard]] double TimeAt(std::size_t index) const; // of a sample, from 0

    std::span<const float> Data;
    double Threshold, Interval, FirstX;
    std::size_t At = 0; // the sample that was looked at last
    std::int32_t Count = 0;
    double PreviousUp;
    bool Ended = false;
};

}
