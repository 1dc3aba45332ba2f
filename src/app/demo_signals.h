// Simulated signals for the demonstration data set: ionic currents under voltage clamp, a neuron under
// current clamp, a single channel. Seeded: the same seed gives the same samples on every machine. Units:
// seconds, volts, amperes, siemens, farads.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace DemoSignals {

// SplitMix64 (Steele, Lea and Flood 2014), and normal deviates by the polar method of Marsaglia.
struct Random {
    std::uint64_t State = 1;
    double Spare = 0;
    bool HasSpare = false;

    [[nodiscard]] std::uint64_t Next();
    [[nodiscard]] double Uniform(); // 0 to 1, 1 excluded
    [[nodiscard]] double Normal();  // mean 0, deviation 1
};

struct Step {
    double Level = 0; // V or A
    double Seconds = 0;
};

// Points of a protocol of steps.
[[nodiscard]] std::size_t PointsOf(const std::vector<Step>& steps, double interval);

// The delayed potassium current of the squid axon's kind, n^4 with exponential relaxation, in a cell that was
// long at the holding potential.
[[nodiscard]] std::vector<float> PotassiumCurrent(const std::vector<Step>& steps, double holding,
                                                  double interval);

// What a leak protocol sees: an ohmic leak and the charging of the membrane at each step.
[[nodiscard]] std::vector<float> PassiveCurrent(const std::vector<Step>& steps, double holding,
                                                double interval);

// Membrane potential of a Hodgkin-Huxley neuron (J. Physiol. 117, 500, 1952; rates for a rest of -65 mV) that
// gets the currents, in A for a membrane of 20 pF.
[[nodiscard]] std::vector<float> NeuronPotential(const std::vector<Step>& steps, double interval);

// A channel of one conductance that opens and closes at random, seen through a filter of one pole.
[[nodiscard]] std::vector<float> ChannelCurrent(Random& random, std::size_t points, double interval,
                                                double openCurrent, double meanOpen, double meanClosed,
                                                double corner);

void AddNoise(std::vector<float>& samples, Random& random, double deviation);

}
