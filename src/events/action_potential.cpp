#include "events/action_potential.h"

#include "math/scan.h"

#include <cmath>

namespace ActionPotential {

namespace {

// The part of the step between two samples that lies behind the crossing.
double FractionBehind(double a, double b, double threshold) {
    return std::fabs(b - threshold) / std::fabs(b - a);
}

}

Detector::Detector(std::span<const float> samples, double threshold, double interval, double firstX)
    : Data(samples), Threshold(threshold), Interval(interval), FirstX(firstX), PreviousUp(firstX) {
    if (!Data.empty() && Data.front() > Threshold) At = Scan::FirstBelow(Data, 1, Threshold);
    Ended = At >= Data.size();
}

double Detector::TimeAt(std::size_t index) const {
    return (static_cast<double>(index + 1) - 3.0) * Interval + FirstX;
}

bool Detector::Next(Event& event) {
    const double t = Threshold;
    // Up: a sample above behind one below. One that is equal is neither.
    std::size_t up = At;
    do {
        if (Ended) return false;
        up = Scan::FirstAbove(Data, up + 1, t);
        Ended = up >= Data.size();
    } while (Ended || !(Data[up - 1] < t));
    // Down: a sample below behind one above.
    std::size_t down = up;
    std::size_t largest = up;
    double area = Data[up] - t;
    do {
        if (++down >= Data.size()) {
            Ended = true;
            return false;
        }
        area += Data[down] - t;
        if (Data[down] > Data[largest]) largest = down;
    } while (!(Data[down - 1] > t && Data[down] < t));
    // The first rise behind it.
    std::size_t end = down;
    do {
        if (++end >= Data.size()) {
            Ended = true;
            return false;
        }
    } while (!(Data[end - 1] < Data[end]));

    const double upFraction = FractionBehind(Data[up - 1], Data[up], t);
    const double downFraction = FractionBehind(Data[down - 1], Data[down], t);
    event = {};
    event.Number = ++Count;
    event.UpTime = (static_cast<double>(up + 1) - 3.0 - upFraction) * Interval + FirstX;
    event.DownTime = (static_cast<double>(down + 1) - 3.0 - downFraction) * Interval + FirstX;
    event.Duration = event.DownTime - event.UpTime;
    area -= upFraction * (Data[up] - t);
    area -= downFraction * (Data[down] - t);
    event.Integral = area * Interval;
    event.Interval = event.UpTime - PreviousUp;
    event.Maximum = Data[largest];
    event.MaximumTime = TimeAt(largest) - event.UpTime;
    event.Minimum = Data[end];
    event.MinimumTime = TimeAt(end) - event.UpTime;
    PreviousUp = event.UpTime;
    At = end;
    return true;
}

}
