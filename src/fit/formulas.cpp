#include "fit/formulas.h"

#include "base/text.h"
#include "fit/formula.h"
#include "fit/parsed_equation.h"
#include "fit/records.h"

namespace Fit {

namespace {

constexpr PieceScript Super = PieceScript::Superscript;
constexpr PiecePlace OnLine = PiecePlace::Line;
constexpr PiecePlace Above = PiecePlace::Numerator;
constexpr PiecePlace Below = PiecePlace::Denominator;

template <typename Record>
const Record& As(const void* record) {
    return *static_cast<const Record*>(record);
}

// "Amp" and 1 make "Amp1".
std::string Numbered(const char* name, int number) {
    return name + std::to_string(number);
}

void Begin(Formula& formula, std::string_view left) {
    formula.Text(left);
    formula.Text("= ");
}

void NextLine(Formula& formula, std::string_view left) {
    formula.Line();
    Begin(formula, left);
}

// 1 over "(1+exp(-(x-Vhalf)/Slope))", between the brackets that are handed in.
void DrawGate(Formula& formula, const char* open, const char* halfName, const FitParam& half,
              const char* slopeName, const FitParam& slope, const char* close) {
    formula.At(Above);
    formula.Text("1");
    formula.At(Below);
    formula.Text(open);
    formula.Name(halfName, half);
    formula.Text(")/");
    formula.Name(slopeName, slope);
    formula.Text(close);
}

// A piece of the user's text, its coefficients by their states.
void DrawEquation(const ParsedRecord& record, std::string_view text, Formula& formula) {
    while (!text.empty()) {
        const CoefficientName found = NextCoefficient(text);
        if (found.Begin > 0) formula.Text(text.substr(0, found.Begin));
        if (found.Index > 0)
            formula.Name(text.substr(found.Begin, found.Size), record.Coeffs[found.Index - 1]);
        text.remove_prefix(found.Begin + found.Size);
    }
}

}

void DrawParsed(const void* memory, Formula& formula) {
    const auto& record = As<ParsedRecord>(memory);
    formula.Text("y(x) = ");
    const auto pieces = Equation::SplitRanged(Texts::FromField(record.Equation));
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].Text.empty()) continue;
        if (i > 0) formula.Line();
        if (i % 2 == 1) formula.Text("for x<= ");
        DrawEquation(record, pieces[i].Text, formula);
    }
}

void DrawPolynomial(const void* memory, Formula& formula) {
    const auto& record = As<PolyRecord>(memory);
    Begin(formula, "y(x) ");
    formula.Text("SUM(");
    formula.Name("Coeff[i]", FitParam{}); // each is solved, whatever its state
    formula.Text(" * x");
    formula.Text("i", Super);
    formula.Text(")");
    formula.Line();
    formula.Text("i=0..");
    formula.Text(std::to_string(record.Order));
}

void DrawRegressions(const void* memory, Formula& formula) {
    const auto& record = As<RegressRecord>(memory);
    Begin(formula, "y1(x) ");
    formula.Name("Coeff1[1]", record.Coeff1[1]);
    formula.Text(" * x + ");
    formula.Name("Coeff1[0]", record.Coeff1[0]);
    NextLine(formula, "y2(x) ");
    formula.Name("Coeff2[1]", record.Coeff2[1]);
    formula.Text(" * x + ");
    formula.Name("Coeff2[0]", record.Coeff2[0]);
}

void DrawExponential(const void* memory, Formula& formula) {
    const auto& record = As<ExpRecord>(memory);
    Begin(formula, "y(x) ");
    if (!IsOff(record.Amp0)) formula.Name("Amp0", record.Amp0);
    for (int i = 0; i < ExpTerms; ++i) {
        const ExpTerm& term = record.Terms[i];
        if (AnyOff(term.Amp, term.Tau)) continue;
        formula.Text("+ ");
        formula.Name(Numbered("Amp", i + 1), term.Amp);
        formula.Text(record.Rising ? " * (1 - exp(-x/" : " * exp(-x/");
        formula.Name(Numbered("Tau", i + 1), term.Tau);
        formula.Text(record.Rising ? "))" : ")");
    }
}

namespace {

void DrawInactivation(const HHRecord& record, Formula& formula) {
    if (IsOff(record.TauH)) return formula.Text("1");
    if (!IsOff(record.Hinf)) {
        formula.Name("hinf", record.Hinf);
        formula.Text(" + (1-");
        formula.Name("hinf", record.Hinf);
        formula.Text(") *");
    }
    const bool two = !IsOff(record.TauH2);
    if (two) {
        formula.Text("[");
        formula.Name("r12 ", record.Ratio12);
    }
    formula.Text("exp(-t/");
    formula.Name("tauH", record.TauH);
    formula.Text(")");
    if (!two) return;
    formula.Text("+");
    formula.Text("(1-");
    formula.Name("r12", record.Ratio12);
    formula.Text(") exp(-t/");
    formula.Name("tauH2", record.TauH2);
    formula.Text(")]");
}

}

void DrawHodgkinHuxley(const void* memory, Formula& formula) {
    const auto& record = As<HHRecord>(memory);
    const bool gating = !AnyOff(record.Qon, record.TauM);
    formula.Text("t ");
    formula.Text("= x");
    if (!IsOff(record.Delay)) {
        formula.Text(" - ");
        formula.Name("Delay", record.Delay);
    }
    if (gating) {
        formula.Line();
        formula.Text("Igat(t) = ");
        formula.Name("Qon", record.Qon);
        formula.Text("/");
        formula.Name("tauM", record.TauM);
        formula.Text(" exp(-t/");
        formula.Name("tauM", record.TauM);
        formula.Text(")");
    }
    NextLine(formula, "m(t) ");
    formula.Text(IsOff(record.TauM) ? "1" : "1-exp(-t/");
    if (!IsOff(record.TauM)) {
        formula.Name("tauM", record.TauM);
        formula.Text(")");
    }
    NextLine(formula, "h(t) ");
    DrawInactivation(record, formula);
    NextLine(formula, "I(t) ");
    if (gating) formula.Text("Igat + ");
    formula.Name("I(0)", record.I0);
    formula.Text(" m");
    formula.Text(std::to_string(record.PowerM), Super);
    formula.Text(" h");
    formula.Text(std::to_string(record.PowerH), Super);
}

void DrawGaussian(const void* memory, Formula& formula) {
    const auto& record = As<GaussRecord>(memory);
    Begin(formula, "y(x) ");
    for (int i = 0; i < GaussTerms; ++i) {
        const GaussTerm& term = record.Terms[i];
        if (AnyOff(term.Amp, term.Mean, term.Sigma)) continue;
        formula.Text("+");
        formula.Name(Numbered("Amp", i + 1), term.Amp);
        formula.Text(" * exp(");
        formula.At(Above);
        formula.Text("-(x-");
        formula.Name(Numbered("Mean", i + 1), term.Mean);
        formula.Text(")");
        formula.Text("2", Super);
        formula.At(Below);
        formula.Name(Numbered("SD", i + 1), term.Sigma);
        formula.Text("2", Super);
        formula.At(OnLine);
        formula.Text(")");
    }
}

void DrawGenExponential(const void* memory, Formula& formula) {
    const auto& record = As<GenExpRecord>(memory);
    formula.Text(IsOff(record.X0) ? "t = x" : "t = x-");
    if (!IsOff(record.X0)) formula.Name("X0", record.X0);
    const auto offset = [&](std::string_view otherwise) {
        if (IsOff(record.Amp0))
            formula.Text(otherwise);
        else
            formula.Name("Amp0", record.Amp0);
    };
    NextLine(formula, "y(t<=0)");
    offset("0");
    NextLine(formula, "y(t>0)");
    offset("");
    for (int i = 0; i < GenExpTerms; ++i) {
        const GenExpTerm& term = record.Terms[i];
        if (AnyOff(term.Amp, term.Tau, term.Power)) continue;
        formula.Text("+ ");
        formula.Name(Numbered("Amp", i + 1), term.Amp);
        formula.Text(term.Rising ? " * (1-exp(-t/" : " * (exp(-t/");
        formula.Name(Numbered("Tau", i + 1), term.Tau);
        formula.Text("))");
        formula.Name(Numbered("n", i + 1), term.Power, Super);
    }
}

void DrawBoltzmann(const void* memory, Formula& formula) {
    const auto& record = As<BoltzmannRecord>(memory);
    Begin(formula, "y(x) ");
    for (int i = 0; i < BoltzmannTerms; ++i) {
        const BoltzmannTerm& term = record.Terms[i];
        if (AnyOff(term.Amp, term.Xhalf, term.Slope)) continue;
        formula.Text("+ ");
        formula.At(Above);
        formula.Name(Numbered("Amp", i + 1), term.Amp);
        formula.At(Below);
        formula.Text("(1 + exp(-(x-");
        formula.Name(Numbered("Xhalf", i + 1), term.Xhalf);
        formula.Text(")/");
        formula.Name(Numbered("Slope", i + 1), term.Slope);
        formula.Text("))");
        formula.Text(Numbered("n", i + 1), Super);
        formula.At(OnLine);
    }
    if (IsOff(record.Offset)) return;
    formula.Text("+ ");
    formula.Name("Offset", record.Offset);
}

void DrawDoseResponse(const void* memory, Formula& formula) {
    const auto& record = As<DoseRecord>(memory);
    Begin(formula, "y(x) ");
    if (!IsOff(record.Amp)) {
        formula.At(Above);
        formula.Name("Amp", record.Amp);
        formula.At(Below);
        formula.Text("1 + (x/");
        formula.Name("KD", record.KD);
        formula.Text(")");
        formula.Name("Hill", record.Hill, Super);
        formula.At(OnLine);
    }
    if (IsOff(record.Offset)) return;
    formula.Text("+ ");
    formula.Name("Offset", record.Offset);
}

void DrawCurrentVoltage(const void* memory, Formula& formula) {
    const auto& record = As<IVRecord>(memory);
    Begin(formula, "y(x) ");
    formula.Name("Cond", record.Cond);
    if (record.GHK) {
        formula.Text(" x ");
        formula.At(Above);
        formula.Text("1-exp(-(x-");
        formula.Name("Erev", record.Erev);
        formula.Text(")/25mV)");
        formula.At(Below);
        formula.Text("1-exp(-x/25mV)");
    } else {
        formula.Text(" * (x-");
        formula.Name("Erev", record.Erev);
        formula.Text(")");
    }
    formula.At(OnLine);
    if (record.Power > 0) {
        formula.Text("*  ");
        DrawGate(formula, "(1+exp(-(x-", "Vhalf", record.Vhalf, "Slope", record.Slope, "))");
        formula.Text(std::to_string(record.Power), Super);
        formula.At(OnLine);
    }
    if (!AnyOff(record.PBlVh, record.PBlSl)) {
        formula.Text("*");
        DrawGate(formula, "1+exp(-(x-", "PBlVh", record.PBlVh, "PBlSl", record.PBlSl, ")");
        formula.At(OnLine);
    }
    if (!AnyOff(record.NBlVh, record.NBlSl)) {
        formula.Text("*");
        DrawGate(formula, "1+exp(-(x-", "NBlVh", record.NBlVh, "NBlSl", record.NBlSl, ")");
        formula.At(OnLine);
    }
}

void DrawSpectrum(const void* memory, Formula& formula) {
    const auto& record = As<SpectrumRecord>(memory);
    Begin(formula, "S(x) ");
    if (!IsOff(record.Sinf)) formula.Name("Sinf", record.Sinf);
    for (int i = 0; i < SpectrumTerms; ++i) {
        const SpectrumTerm& term = record.Terms[i];
        if (AnyOff(term.S, term.Fc)) continue;
        const bool lorentzian = i + 1 < SpectrumTerms;
        formula.Text("+");
        formula.Name(lorentzian ? Numbered("SL0", i + 1) : "SO0", term.S);
        formula.Text(" * ");
        formula.At(Above);
        formula.Text("1");
        formula.At(Below);
        formula.Text("1 + (x/");
        formula.Name(lorentzian ? Numbered("fLc", i + 1) : "fOc", term.Fc);
        formula.Text(")");
        formula.Text(lorentzian ? "2" : "1", Super);
        formula.At(OnLine);
    }
}

}
