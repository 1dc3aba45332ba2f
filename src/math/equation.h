// Expressions that users write as text: "c[1]+c[2]*(1-exp(-x/c[3]))".
//
//     Equation::Program program = Equation::Compile("2*x+1", 255, {}, Equation::XUse::Allowed);
//     double y;
//     Equation::Error error;
//     if (!program.Evaluate(3.0, y, error)) Say(error.Message, error.Position);
//
// A text is compiled once and evaluated as often as needed, at one x or over an array of them; an evaluation
// allocates nothing. What comes out is that of one pass over the text from left to right which computes while
// it reads: an error is that of the first place that is wrong, be it the text itself or a word that has no
// value at this moment.
//
// The language. Operands are numbers (digits, an optional point and digits, an optional E with sign and
// digits; only a digit starts one), PI, E, the words of the caller, and brackets. Functions stand before a
// bracket: EXP LN LOG SQRT FLOOR CEIL ROUND TRUNC SIN COS TAN ARCSIN ARCCOS ARCTAN. Case does not matter.
// An index stands in [] or, meaning the same, <>. Priorities: ^ before * / % before + -, each from left to
// right. A word ends at a blank or one of ()*+-/^[<, so a % must not touch it.
//
// The sign rule: a minus belongs to the operand behind it, and negates it before anything else is computed.
// 2-3^2 is 2+(-3)^2 = 11, -2^2 is 4; 2-(3^2) is -7. Of a function or bracket, the value is negated.
//
// There is no test of what is computed: 1/0 is infinite, LN(-1) is not a number. ROUND and TRUNC go away from
// and toward zero, % has the sign of its left operand. A text without any operand has no value: NoValue.
// EXP is VectorExp's; for an array the same arithmetic is done at each point as for a single x.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Equation {

inline constexpr double NoValue = std::numeric_limits<double>::quiet_NaN();
inline constexpr int MaxTokens = 100; // operands and open brackets that wait at one time, the next included
inline constexpr std::size_t MaxWord = 78;
inline constexpr int NoPosition = -1;

// Messages: "Error brackets", "Error parsing", "Unknown token", "Error encoding", "Too many tokens",
// "String too long", and those of the caller's words.
struct Error {
    std::string_view Message;  // lasts as long as the program or the caller's words
    int Position = NoPosition; // in the text, from 0: where the reading stood
};

// A word that is neither constant nor function, with what stood in its brackets.
struct Word {
    std::string_view Name;    // in upper case
    std::string_view Bracket; // as it was written; empty without brackets
    double Number = 0.0;      // that the bracket begins with
    bool Whole = false;       // the bracket holds this number and nothing else

    // The index if it is a whole number from 1 to last, else 0.
    [[nodiscard]] int Index(int last) const {
        if (!Whole || !(Number >= 1.0 && Number <= last)) return 0;
        const int index = static_cast<int>(Number);
        return index == Number ? index : 0;
    }
};

// The caller's own words. Both may be empty: a word is then an "Unknown token".
struct Tokens {
    // The place of a value that can be read without asking, for as long as the program is in use; nullptr
    // where Read must be asked.
    std::function<const double*(const Word&)> Find;
    // Asked once an evaluation for each such word, in the order of the text. False, with a message, ends it.
    std::function<bool(const Word&, double& value, std::string_view& message)> Read;
};

inline constexpr std::string_view UnknownToken = "Unknown token";

// Whether X is known, and what is said if it may not be used.
enum class XUse : std::uint8_t { Unknown, Allowed, Forbidden };

struct Code; // what the text became

class Program {
public:
    Program();
    Program(Program&&) noexcept;
    Program& operator=(Program&&) noexcept;
    ~Program();

    // False with an error; value is then NoValue. On success the error is left alone.
    [[nodiscard]] bool Evaluate(double x, double& value, Error& error);
    // At each x; y has the size of x and does not overlap it. The words are read once.
    [[nodiscard]] bool Evaluate(std::span<const double> x, double* y, Error& error);

private:
    friend Program Compile(std::string_view, std::size_t, const Tokens&, XUse);
    std::unique_ptr<Code> Parts;
};

// The text ends at its end or at a zero byte; more than length characters are "String too long". Never fails:
// an error is said by the evaluation.
[[nodiscard]] Program Compile(std::string_view text, std::size_t length, const Tokens& tokens,
                              XUse x = XUse::Unknown);

// Compiles and evaluates once.
[[nodiscard]] bool EvalExpression(std::string_view text, std::size_t length, double& value, Error& error,
                                  const Tokens& tokens);

// A real number as an expression writes it, at the front of the text. Returns the characters it takes; good
// is false when its exponent lacks digits. The text begins with a digit.
std::size_t ScanNumber(std::string_view text, double& value, bool& good);

}
