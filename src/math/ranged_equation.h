// Equations in pieces: "c[1] {0} c[1]+c[2]*x" is c[1] for x at or below 0, and the rest above it.
// A text holds up to five equations with a range in {} between neighbours. A range is an expression without
// X; the first one that x does not exceed chooses the equation before it. A range that is not a number never
// matches. Where an equation has no range behind it, it is the last one.
//
// Positions count from the start of the whole text, wherever in it the wrong piece stands.
#pragma once
#include "math/equation.h"

#include <array>
#include <vector>

namespace Equation {

inline constexpr std::size_t MaxRangedText = 1023;
inline constexpr std::size_t MaxPiece = 255; // characters of one equation or range
inline constexpr std::size_t MaxEquations = 5;

// A trimmed piece and where it begins in the whole text.
struct Piece {
    std::string_view Text;
    std::size_t Begin = 0;
};

// Cuts a text at "{" and "}" by turns, blanks trimmed: equations at even places, ranges at odd ones. Pieces
// beyond the tenth are not split further; the text has too many ranges then.
[[nodiscard]] std::vector<Piece> SplitRanged(std::string_view text);
inline constexpr std::size_t MaxPieces = 10;

class Ranged {
public:
    // False with an error; value is then NoValue. An equation without text has no value, which is no error.
    [[nodiscard]] bool Evaluate(double x, double& value, Error& error);
    // At each x; y has the size of x and does not overlap it. Where a value cannot be had y is NoValue, and
    // the result is false with the first error; the other points have theirs.
    [[nodiscard]] bool Evaluate(std::span<const double> x, double* y, Error& error);

    // The text as it should be kept, each range between " {" and "} ". Empty for a text that was refused.
    std::string Normal;

private:
    friend Ranged CompileRanged(std::string_view, std::size_t, const Tokens&);
    struct Part {
        Program Code;
        bool Empty = true;
        int Begin = 0;
        [[nodiscard]] Error InText(Error error) const;
    };
    struct Chooser;

    std::array<Part, MaxEquations> Equations;
    std::array<Part, MaxEquations - 1> Ranges;
    Error Failure; // of the text as a whole
};

// Never fails: an error is said by the evaluation. Beside those of the pieces:
//   "## Error in Parser: too many ranges! ## "
//   "A range string must have a valid equation string"
//   "An empty range string precedes equation string"
//   "Input string too long" when the normal form is longer than length (at most MaxRangedText)
//   "X not allowed in range expression"
[[nodiscard]] Ranged CompileRanged(std::string_view text, std::size_t length, const Tokens& tokens);

// Compiles and evaluates once. On success text becomes its normal form.
[[nodiscard]] bool EvalRanged(std::string& text, std::size_t length, double x, double& value, Error& error,
                              const Tokens& tokens);

}
