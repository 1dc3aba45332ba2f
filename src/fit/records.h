// Parameter records of the fit models, one a type.
// A record keeps its values between fits: the result of one fit is the start of the next. Values are in the
// base units of the data. A parameter that is off contributes nothing and its term is left out.
#pragma once
#include "trees/fit_types.h"

#include <cstdint>

namespace Fit {

inline constexpr int ParsedCoeffs = 9;
inline constexpr int EquationSize = 256; // bytes of an equation's text, zero-terminated
inline constexpr int PolyCoeffs = 10;    // orders 0 to 9
inline constexpr int ExpTerms = 3;
inline constexpr int GaussTerms = 4;
inline constexpr int GenExpTerms = 3;
inline constexpr int BoltzmannTerms = 2;
inline constexpr int SpectrumTerms = 3;
inline constexpr int UnitSize = 8; // bytes of a stored unit, zero-padded

// y is what the text says (math/ranged_equation.h) of x and c[1] to c[9]
struct ParsedRecord {
    char Equation[EquationSize] = {};
    char CoeffNames[ParsedCoeffs][8] = {}; // the user's; an empty one stands for "Coeff" and its place
    FitParam Coeffs[ParsedCoeffs];         // c[1] is the first; off where the equation does not name it
    FitParam Integral;                     // derived
    FitParam Residual;
};

// y = SUM(Coeff[i] * x^i)
struct PolyRecord {
    std::int16_t Order = 0; // 0 to 9; the states of the coefficients have no influence
    FitParam Coeffs[PolyCoeffs];
    FitParam XPeak, YPeak, XZero; // derived
    FitParam Residual;
};

struct ExpTerm {
    FitParam Amp, Tau;
};

// How the fit's time zero is chosen.
enum class ExpTimeSource : std::uint8_t { SegmentStart, CursorPosition, GivenTime0 };

// y = Amp0 + SUM(Amp * exp(-x/Tau)), or with (1 - exp(-x/Tau)) when Rising
struct ExpRecord {
    std::int16_t Count = 0; // terms that are not off; counted anew by each fit
    FitParam Amp0;
    ExpTerm Terms[ExpTerms];
    std::uint8_t Rising = 0; // 0 Exponential, 1 1-Exponential; follows the type
    ExpTimeSource TimeSource = ExpTimeSource::SegmentStart;
    double GivenTime0 = 0.0;         // s
    FitParam XZero, YZero, Integral; // derived
    FitParam Residual;
    char XUnit[UnitSize] = {}, YUnit[UnitSize] = {};
};

// I = Igat + I0 * m^PowerM * h^PowerH (Hodgkin and Huxley, J. Physiol. 117, 500, 1952), with a gating
// current whose integral is Qon and an inactivation of one or two time constants
struct HHRecord {
    std::int16_t PowerM = 0;
    FitParam TauM;
    std::int16_t PowerH = 0;
    FitParam TauH, Hinf, TauH2, Ratio12, I0, Delay, Qon;
    FitParam XPeak, YPeak, XZero; // derived
    FitParam Residual;
    char XUnit[UnitSize] = {}, YUnit[UnitSize] = {};
};

struct GaussTerm {
    FitParam Amp, Sigma, Mean;
};

// y = SUM(Amp * exp(-(x-Mean)^2 / (2*Sigma^2)))
struct GaussRecord {
    std::int16_t Count = 0; // terms that are not off; counted anew by each fit
    GaussTerm Terms[GaussTerms];
    FitParam Integral; // derived
    FitParam Residual;
    char XUnit[UnitSize] = {}, YUnit[UnitSize] = {};
};

// Two straight lines, fitted one at a time: y = Coeff[1]*x + Coeff[0]
struct RegressRecord {
    FitParam Coeff1[2], Coeff2[2];
    FitParam Xintersept, Yintersept; // derived: where the lines cross
    std::uint8_t FirstLine = 0;      // the line that is being fitted and evaluated
    FitParam Residual1, Residual2;
};

struct GenExpTerm {
    std::uint8_t Rising = 0; // 1 for (1 - exp(-t/Tau))^Power, 0 for (exp(-t/Tau))^Power
    FitParam Power, Amp, Tau;
};

// y = Amp0 for t = x - X0 up to 0, behind it Amp0 + SUM(Amp * (1 - exp(-t/Tau))^Power)
struct GenExpRecord {
    FitParam X0, Amp0;
    GenExpTerm Terms[GenExpTerms];
    FitParam Integral; // derived
    FitParam Residual;
    std::uint8_t Option = 0;
};

struct BoltzmannTerm {
    std::int16_t Power = 0;
    FitParam Amp, Xhalf, Slope;
};

// y = Offset + SUM(Amp / (1 + exp((Xhalf - x)/Slope))^Power)
struct BoltzmannRecord {
    FitParam Offset;
    BoltzmannTerm Terms[BoltzmannTerms];
    FitParam Residual;
};

// y = Offset + Amp / (1 + (x/KD)^Hill)
struct DoseRecord {
    FitParam Offset, KD, Hill, Amp;
    FitParam Residual;
};

// Ohmic or Goldman-Hodgkin-Katz current through an open channel, times activation and two voltage blocks
struct IVRecord {
    std::uint8_t GHK = 0;
    std::int16_t Power = 0; // of the activation
    FitParam Vhalf, Slope, Cond, Erev, PBlVh, PBlSl, NBlVh, NBlSl;
    FitParam XPeak, YPeak; // derived
    FitParam Residual;
};

struct SpectrumTerm {
    FitParam S, Fc;
};

// S = Sinf + two Lorentzians S / (1 + (x/Fc)^2) + the 1/f term S / (1 + x/Fc)
struct SpectrumRecord {
    FitParam Sinf;
    std::int16_t Count = 0; // terms that are not off; counted anew by each fit
    SpectrumTerm Terms[SpectrumTerms];
    FitParam Integral; // derived
    FitParam Residual;
};

enum class Level : std::uint8_t { Sweep, Series };

// The current record of each fitted type of a level. Exponential and 1-Exponential share one.
struct SweepRecords {
    ParsedRecord Parsed;
    PolyRecord Polynomial;
    ExpRecord Exponential;
    HHRecord HodgkinHuxley;
    GaussRecord Gaussian;
};

struct SeriesRecords {
    ParsedRecord Parsed;
    PolyRecord Polynomial;
    RegressRecord TwoRegressions;
    ExpRecord Exponential;
    GenExpRecord GenExponential;
    BoltzmannRecord Boltzmann;
    DoseRecord DoseResponse;
    GaussRecord Gaussian;
    IVRecord CurrentVoltage;
    SpectrumRecord PowerSpectrum;
};

}
