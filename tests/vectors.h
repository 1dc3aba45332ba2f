// Number-for-number cases: inputs and the results that must come out, computed independently of this program.
#pragma once
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <limits>
#include <string>

namespace Vectors {

// The cases of tests/data/vectors/NAME.json; empty when the file cannot be read.
inline nlohmann::json Cases(const std::string& name) {
    std::ifstream file(std::string(TEST_DATA) + "/vectors/" + name + ".json");
    const nlohmann::json all = nlohmann::json::parse(file, nullptr, false);
    return all.is_object() ? all.value("vectors", nlohmann::json::array()) : nlohmann::json::array();
}

// Numbers that are not finite stand as texts.
inline double Number(const nlohmann::json& value) {
    if (!value.is_string()) return value.get<double>();
    if (value == "inf") return std::numeric_limits<double>::infinity();
    if (value == "-inf") return -std::numeric_limits<double>::infinity();
    return std::numeric_limits<double>::quiet_NaN();
}

inline bool Near(double got, double want, double relative) {
    if (std::isnan(want)) return std::isnan(got);
    return got == want || std::fabs(got - want) <= relative * std::fabs(want);
}

}
