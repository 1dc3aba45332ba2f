#include "trees/fit_types.h"

#include <cstddef>

namespace {

constexpr FitTypeName SweepNames[SweepFitTypes] = {
    {"OnlineOnly", "OnlineAnalysis only"},
    {"Parsed Equation", ""},
    {"Polynomial", "Polynomial"},
    {"Exponential", "Exponential"},
    {"1-Exponential", "1-Exponential"},
    {"Hodgkin&Huxley", "Hodgkin & Huxley"},
    {"Gaussian", "Gaussian"},
    {"RiseTime", "Risetime"},
    {"Measure", "Measure"},
    {"Trace Copy", "Trace Copy"},
    {"Ampl. Histogram", "Amplitude Histogram"},
    {"Power Spectrum", "Spectrum"},
    {"Single Channel", "Single Channel"},
    {"Action Potential", "Action Potential"},
};

constexpr FitTypeName SeriesNames[SeriesFitTypes] = {
    {"Parsed Equation", ""},
    {"Polynomial", "Polynomial"},
    {"2Regressions", "Regress2"},
    {"Exponential", "Exponential"},
    {"1-Exponential", "1-Exponential"},
    {"(Exp(x-x0))^n", "GenExponential"},
    {"Boltzmann", "Boltzmann"},
    {"Dose-Response", "DoseResponse"},
    {"Gaussian", "Gaussian"},
    {"Current-Voltage", "Current-Voltage"},
    {"PowerSpectrum", "Spectrum"},
};

constexpr FitTypeName Unknown = {"unknown", "Unknown equation"};

}

FitTypeName NameOf(SweepFitType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < SweepFitTypes ? SweepNames[index] : Unknown;
}

FitTypeName NameOf(SeriesFitType type) {
    const auto index = static_cast<std::size_t>(type);
    return index < SeriesFitTypes ? SeriesNames[index] : Unknown;
}
