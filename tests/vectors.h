// Number-for-number cases: inputs and the results that must come out, computed independently of this program.
#pragma once
#include "support/testing.h"

#include <nlohmann/json.hpp>

#include <fstream>

namespace Vectors {

// The cases of tests/data/vectors/NAME.json.
inline nlohmann::json Cases(const std::string& name) {
    std::ifstream file(std::string(TEST_DATA) + "/vectors/" + name + ".json");
    return nlohmann::json::parse(file)["vectors"];
}

// Numbers that are not finite stand as texts.
inline double Number(const nlohmann::json& value) {
    return value.is_string() ? std::stod(value.get<std::string>()) : value.get<double>();
}

inline std::vector<float> Samples(const nlohmann::json& list) {
    std::vector<float> samples;
    for (const nlohmann::json& value : list) samples.push_back(static_cast<float>(Number(value)));
    return samples;
}

inline bool Near(double got, double want, double relative) {
    if (std::isnan(want)) return std::isnan(got);
    return got == want || std::fabs(got - want) <= relative * std::fabs(want);
}

}
