// The types that every fit shares: the cell of all parameter records, its states, and the two lists of
// fit types with the names under which users, files and macros know them.
#pragma once
#include <cstdint>
#include <string_view>

// For a fitted parameter: fit, the optimiser changes it; hold, it enters the model as a constant;
// off, its term is absent. For a derived result: fit, the value is valid; off, there is no value.
enum class FitParamState : std::uint8_t { Fit = 0, Hold = 1, Off = 2 };

// 16 bytes in RAM and in files; the last six are not used.
struct FitParam {
    double Value = 0; // in the base unit of the data (s, A, V, Hz)
    FitParamState State = FitParamState::Fit;
    std::uint8_t Store = 0; // the value goes into the analysis tree
    std::uint8_t Unused[6] = {};
};
static_assert(sizeof(FitParam) == 16);

enum class SweepFitType : std::uint8_t {
    OnlineOnly,
    ParsedEquation,
    Polynomial,
    Exponential,
    OneExponential,
    HodgkinHuxley,
    Gaussian,
    RiseTime,
    Measure,
    TraceCopy,
    AmplHistogram,
    PowerSpectrum,
    SingleChannel,
    ActionPotential,
};
inline constexpr int SweepFitTypes = 14;

enum class SeriesFitType : std::uint8_t {
    ParsedEquation,
    Polynomial,
    TwoRegressions,
    Exponential,
    OneExponential,
    GenExponential,
    Boltzmann,
    DoseResponse,
    Gaussian,
    CurrentVoltage,
    PowerSpectrum,
};
inline constexpr int SeriesFitTypes = 11;

struct FitTypeName {
    std::string_view Short; // in dialogs, analysis names and macros
    std::string_view Long;  // in listings and exports; empty for the parsed equation, which prints itself
};

// "unknown" and "Unknown equation" for any other number.
[[nodiscard]] FitTypeName NameOf(SweepFitType type);
[[nodiscard]] FitTypeName NameOf(SeriesFitType type);
