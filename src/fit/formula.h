// The formula of a fit type as people read it, in pieces that a window draws and a terminal prints.
//
// A name piece bears the state of its parameter, so that a drawing can tell what is fitted from what is held.
// Terms that are off are not there. The formula is a picture: it leaves out the factor 2 below the square of
// a Gaussian, gives the thermal voltage as 25mV, and shows both voltage blocks with the same sign.
#pragma once
#include "fit/params.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Fit {

enum class PieceState : std::uint8_t { Text, Fit, Hold };
enum class PieceScript : std::uint8_t { None, Superscript, Subscript };
// Numerators that follow each other stand above one bar, with the denominators behind them below it.
enum class PiecePlace : std::uint8_t { Line, Numerator, Denominator };

struct FormulaPiece {
    std::string Text;
    PieceState State = PieceState::Text;
    PieceScript Script = PieceScript::None;
    PiecePlace Place = PiecePlace::Line;
};

struct Formula {
    std::vector<std::vector<FormulaPiece>> Lines;

    // For those who put one together. Pieces go behind the last one, at the place that was chosen last.
    void Line() { Lines.emplace_back(); }
    void At(PiecePlace place) { Place = place; }
    void Text(std::string_view text, PieceScript script = PieceScript::None);
    void Name(std::string_view name, const FitParam& param, PieceScript script = PieceScript::None);

private:
    PiecePlace Place = PiecePlace::Line;
};

// The formula of the record as it stands; "unknown FitType" for a type without a model.
[[nodiscard]] Formula FormulaOf(const Selected& selected);

// One line of text for each of its own: x^2, x_i, (numerator)/(denominator).
[[nodiscard]] std::string PlainText(const Formula& formula);

}
