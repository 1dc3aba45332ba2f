// What a text is compiled to, between its scanner and its evaluation.
//
// Values live in cells. Each step computes one cell from one or two others; every cell is computed once, so
// steps that do not depend on X stand first and are not repeated over an array. Over an array, a cell that
// depends on X is a block of points: X itself is block 0, the rest are numbered as they are needed at one
// time.
#pragma once
#include "math/equation.h"

#include <vector>

namespace Equation {

// The order of the operators is that of their symbols "+-*/%^"; Subtract joins a negated operand.
enum class Op : std::uint8_t {
    Add,
    Subtract,
    Multiply,
    Divide,
    Remainder,
    Power,
    Negate,
    Exp,
    Ln,
    Log,
    Sqrt,
    Floor,
    Ceil,
    Round,
    Trunc,
    Sin,
    Cos,
    Tan,
    ArcSin,
    ArcCos,
    ArcTan,
};

[[nodiscard]] constexpr bool HasTwoOperands(Op op) {
    return op <= Op::Power;
}

// One value, by the arithmetic that every evaluation uses. b is of no account for a function.
[[nodiscard]] double Compute(Op op, double a, double b);

inline constexpr std::int32_t Fixed = -1; // no block: the value is the same at each x

// Which operand is what the step before it has just computed: it need not be fetched then.
enum class Chain : std::uint8_t { None, A, B };

struct Step {
    Op Code = Op::Add;
    Chain Last = Chain::None;
    const double* A = nullptr;
    const double* B = nullptr;
    double* To = nullptr;
    std::int32_t ABlock = Fixed, BBlock = Fixed, ToBlock = Fixed;
};

// A word that is asked for its value.
struct Question {
    std::string Name, Bracket;
    double Number = 0.0;
    bool Whole = false;
    int Position = NoPosition;
    double* To = nullptr;
};

struct Code {
    std::vector<double> Cells; // constants, answers, and results of the steps; never grows once compiled
    double X = 0.0;
    std::vector<Step> Once, EachPoint; // in the order of their computation
    const double* Result = nullptr;
    std::int32_t ResultBlock = Fixed;
    std::vector<Question> Questions;
    decltype(Tokens::Read) Read;
    Error Failure; // of the text itself, behind all questions; no message: none
    std::vector<double> Blocks;
};

inline constexpr std::size_t BlockPoints = 256;

// A value while the code is built.
struct Operand {
    enum class Kind : std::uint8_t { Constant, X, Place, Answer, Result };
    Kind What = Kind::Constant;
    double Value = 0.0;            // of a constant
    const double* Place = nullptr; // of the caller
    std::size_t Index = 0;         // of the question or the step
};

// Takes operations in the order of the text, and lays out their code.
class Builder {
public:
    [[nodiscard]] Operand Ask(Question question);
    // Constants are computed at once; a negated operand that is added is subtracted, which is the same.
    [[nodiscard]] Operand Emit(Op op, const Operand& a, const Operand& b = {});
    void Finish(const Operand& result, const Error& failure, Code& code);

private:
    struct Node {
        Op Code;
        Operand A, B;
        bool OfX = false;
        bool Used = true;
        std::int32_t Block = Fixed;
    };
    [[nodiscard]] bool OfX(const Operand& operand) const;
    std::size_t AssignBlocks(); // returns their number
    void LaySteps(Code& code) const;
    [[nodiscard]] const double* CellOf(const Operand& operand, Code& code, std::size_t& constants) const;
    [[nodiscard]] std::int32_t BlockOf(const Operand& operand) const;

    std::vector<Node> Nodes;
    std::vector<Question> Questions;
};

}
