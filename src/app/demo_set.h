// The demonstration data set: three series as they come from a rig, simulated.
//     1.1  K steps   voltage clamp, a family of steps with averaged leak traces
//     1.2  CC steps  current clamp, from hyperpolarisation to trains of action potentials
//     2.1  Channel   openings of a single channel
#pragma once
#include <cstdint>
#include <string>

namespace DemoSet {

// Writes the set; the same seed gives the same samples. False when the reason has been said.
[[nodiscard]] bool Write(const std::string& path, std::uint64_t seed, const std::string& version);

}
