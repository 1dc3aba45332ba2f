#include "app/demo_signals.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace DemoSignals {

namespace {

constexpr double Leak = 0.8e-9;        // S
constexpr double LeakReversal = -0.06; // V
constexpr double Capacity =
    12e-12; // F, what is left after compensation is charged through the series resistance
constexpr double Uncompensated = 0.08;
constexpr double ChargingTime = 120e-6; // s
constexpr double PotassiumConductance = 18e-9;
constexpr double PotassiumReversal = -0.085;

double ActivationOf(double voltage) {
    return 1.0 / (1.0 + std::exp(-(voltage + 0.012) / 0.018));
}

double ActivationTime(double voltage) {
    return 0.0012 + 0.0055 / (1.0 + std::exp((voltage + 0.005) / 0.022));
}

// a (v0 - v) / (exp((v0 - v) / k) - 1), with its limit at v0.
double RateOf(double distance, double scale, double factor) {
    const double u = distance / scale;
    return std::fabs(u) < 1e-6 ? factor * scale * (1.0 - u / 2) : factor * distance / (std::exp(u) - 1.0);
}

struct Neuron {
    double V = -65.0; // mV
    double M = 0.053, H = 0.596, N = 0.318;

    // One Euler step; dt in ms, current in uA/cm2.
    void Advance(double dt, double current) {
        const double am = RateOf(-40.0 - V, 10.0, 0.1), bm = 4.0 * std::exp(-(V + 65.0) / 18.0);
        const double ah = 0.07 * std::exp(-(V + 65.0) / 20.0),
                     bh = 1.0 / (std::exp(-(V + 35.0) / 10.0) + 1.0);
        const double an = RateOf(-55.0 - V, 10.0, 0.01), bn = 0.125 * std::exp(-(V + 65.0) / 80.0);
        const double ionic =
            120.0 * M * M * M * H * (V - 50.0) + 36.0 * N * N * N * N * (V + 77.0) + 0.3 * (V + 54.387);
        V += dt * (current - ionic);
        M += dt * (am * (1.0 - M) - bm * M);
        H += dt * (ah * (1.0 - H) - bh * H);
        N += dt * (an * (1.0 - N) - bn * N);
    }
};

std::size_t PointsOf(const Step& step, double interval) {
    return static_cast<std::size_t>(std::llround(step.Seconds / interval));
}

}

std::uint64_t Random::Next() {
    State += 0x9E3779B97F4A7C15u;
    std::uint64_t z = State;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

double Random::Uniform() {
    return static_cast<double>(Next() >> 11) * 0x1p-53;
}

double Random::Normal() {
    if (HasSpare) {
        HasSpare = false;
        return Spare;
    }
    double x = 0, y = 0, s = 0;
    do {
        x = 2.0 * Uniform() - 1.0;
        y = 2.0 * Uniform() - 1.0;
        s = x * x + y * y;
    } while (s >= 1.0 || s == 0.0);
    const double factor = std::sqrt(-2.0 * std::log(s) / s);
    Spare = y * factor;
    HasSpare = true;
    return x * factor;
}

std::size_t PointsOf(const std::vector<Step>& steps, double interval) {
    std::size_t points = 0;
    for (const Step& step : steps) points += PointsOf(step, interval);
    return points;
}

std::vector<float> PotassiumCurrent(const std::vector<Step>& steps, double holding, double interval) {
    std::vector<float> current;
    double n = ActivationOf(holding);
    for (const Step& step : steps) {
        const double target = ActivationOf(step.Level), start = n;
        const double time = ActivationTime(step.Level);
        const std::size_t points = PointsOf(step, interval);
        for (std::size_t i = 0; i < points; ++i) {
            n = target + (start - target) * std::exp(-static_cast<double>(i) * interval / time);
            current.push_back(
                static_cast<float>(PotassiumConductance * n * n * n * n * (step.Level - PotassiumReversal)));
        }
        n = target + (start - target) * std::exp(-step.Seconds / time);
    }
    return current;
}

std::vector<float> PassiveCurrent(const std::vector<Step>& steps, double holding, double interval) {
    std::vector<float> current;
    double former = holding;
    for (const Step& step : steps) {
        const double charging = Capacity * Uncompensated * (step.Level - former) / ChargingTime;
        const std::size_t points = PointsOf(step, interval);
        for (std::size_t i = 0; i < points; ++i)
            current.push_back(
                static_cast<float>(Leak * (step.Level - LeakReversal) +
                                   charging * std::exp(-static_cast<double>(i) * interval / ChargingTime)));
        former = step.Level;
    }
    return current;
}

std::vector<float> NeuronPotential(const std::vector<Step>& steps, double interval) {
    constexpr int StepsAPoint = 10;
    constexpr double Area = 20e-12 / 1e-6; // cm2 at 1 uF/cm2
    constexpr double MicroAmperes = 1e6;
    const double dt = interval * 1000.0 / StepsAPoint; // ms
    std::vector<float> potential;
    Neuron neuron;
    for (const Step& step : steps) {
        const double density = step.Level * MicroAmperes / Area;
        for (std::size_t points = PointsOf(step, interval); points > 0; --points) {
            potential.push_back(static_cast<float>(neuron.V * 1e-3));
            for (int i = 0; i < StepsAPoint; ++i) neuron.Advance(dt, density);
        }
    }
    return potential;
}

std::vector<float> ChannelCurrent(Random& random, std::size_t points, double interval, double openCurrent,
                                  double meanOpen, double meanClosed, double corner) {
    std::vector<float> current;
    const double pass = 1.0 - std::exp(-2.0 * std::numbers::pi * corner * interval);
    const auto dwell = [&](double mean) { return -mean * std::log(1.0 - random.Uniform()); };
    bool open = false;
    double seen = 0, left = dwell(meanClosed);
    for (std::size_t i = 0; i < points; ++i) {
        for (left -= interval; left <= 0; left += dwell(open ? meanOpen : meanClosed)) open = !open;
        seen += pass * ((open ? openCurrent : 0.0) - seen);
        current.push_back(static_cast<float>(seen));
    }
    return current;
}

void AddNoise(std::vector<float>& samples, Random& random, double deviation) {
    for (float& sample : samples) sample += static_cast<float>(deviation * random.Normal());
}

}
