#include "math/equation.h"
#include "math/equation_code.h"
#include "math/vector_exp.h"

#include <algorithm>
#include <cmath>

namespace Equation {

namespace {

// The operators and those functions that are worth a loop of their own.
template <Op op>
double Join(double a, double b) {
    if constexpr (op == Op::Add) return a + b;
    if constexpr (op == Op::Subtract) return a - b;
    if constexpr (op == Op::Multiply) return a * b;
    if constexpr (op == Op::Divide) return a / b;
    if constexpr (op == Op::Remainder) return std::fmod(a, b);
    if constexpr (op == Op::Power) return std::pow(a, b);
}

double Apply(Op function, double x) {
    switch (function) {
    case Op::Negate: return -x;
    case Op::Exp: return VectorExp::Exp(x);
    case Op::Ln: return std::log(x);
    case Op::Log: return std::log10(x);
    case Op::Sqrt: return std::sqrt(x);
    case Op::Floor: return std::floor(x);
    case Op::Ceil: return std::ceil(x);
    case Op::Round: return x >= 0.0 ? std::floor(x + 0.5) : std::ceil(x - 0.5);
    case Op::Trunc: return x >= 0.0 ? std::floor(x) : std::ceil(x);
    case Op::Sin: return std::sin(x);
    case Op::Cos: return std::cos(x);
    case Op::Tan: return std::tan(x);
    case Op::ArcSin: return std::asin(x);
    case Op::ArcCos: return std::acos(x);
    case Op::ArcTan: return std::atan(x);
    default: return NoValue;
    }
}

constexpr int Form(Op op, Chain last) {
    return static_cast<int>(op) * 4 + static_cast<int>(last);
}

// The value of the last step, which is more often than not an operand of the next, stays at hand.
double RunSteps(const std::vector<Step>& steps) {
    double last = NoValue;
    for (const Step& step : steps) {
        switch (Form(step.Code, step.Last)) {
        case Form(Op::Add, Chain::None): last = *step.A + *step.B; break;
        case Form(Op::Add, Chain::A): last = last + *step.B; break;
        case Form(Op::Add, Chain::B): last = *step.A + last; break;
        case Form(Op::Subtract, Chain::None): last = *step.A - *step.B; break;
        case Form(Op::Subtract, Chain::A): last = last - *step.B; break;
        case Form(Op::Subtract, Chain::B): last = *step.A - last; break;
        case Form(Op::Multiply, Chain::None): last = *step.A * *step.B; break;
        case Form(Op::Multiply, Chain::A): last = last * *step.B; break;
        case Form(Op::Multiply, Chain::B): last = *step.A * last; break;
        case Form(Op::Divide, Chain::None): last = *step.A / *step.B; break;
        case Form(Op::Divide, Chain::A): last = last / *step.B; break;
        case Form(Op::Divide, Chain::B): last = *step.A / last; break;
        case Form(Op::Negate, Chain::None): last = -*step.A; break;
        case Form(Op::Negate, Chain::A): last = -last; break;
        case Form(Op::Exp, Chain::None): last = VectorExp::Exp(*step.A); break;
        case Form(Op::Exp, Chain::A): last = VectorExp::Exp(last); break;
        default: last = Compute(step.Code, *step.A, step.B ? *step.B : 0.0); break;
        }
        *step.To = last;
    }
    return last;
}

bool AskQuestions(const Code& code, Error& error) {
    for (const Question& question : code.Questions) {
        std::string_view message = UnknownToken;
        if (code.Read({question.Name, question.Bracket, question.Number, question.Whole}, *question.To,
                      message))
            continue;
        error = {message, question.Position};
        return false;
    }
    if (code.Failure.Message.empty()) return true;
    error = code.Failure;
    return false;
}

// Blocks of points.

double* BlockAt(Code& code, std::int32_t block) {
    return code.Blocks.data() + static_cast<std::size_t>(block - 1) * BlockPoints;
}

const double* OperandAt(Code& code, std::int32_t block, const double* x) {
    if (block == Fixed) return nullptr;
    return block == 0 ? x : BlockAt(code, block);
}

// a or b is nullptr where the operand is the same at each point.
template <Op op>
void JoinBlocks(const Step& step, const double* a, const double* b, double* to, std::size_t points) {
    if (a && b) {
        for (std::size_t k = 0; k < points; ++k) to[k] = Join<op>(a[k], b[k]);
    } else if (a) {
        const double right = *step.B;
        for (std::size_t k = 0; k < points; ++k) to[k] = Join<op>(a[k], right);
    } else {
        const double left = *step.A;
        for (std::size_t k = 0; k < points; ++k) to[k] = Join<op>(left, b[k]);
    }
}

void RunBlock(const Step& step, const double* a, const double* b, double* to, std::size_t points) {
    switch (step.Code) {
    case Op::Add: return JoinBlocks<Op::Add>(step, a, b, to, points);
    case Op::Subtract: return JoinBlocks<Op::Subtract>(step, a, b, to, points);
    case Op::Multiply: return JoinBlocks<Op::Multiply>(step, a, b, to, points);
    case Op::Divide: return JoinBlocks<Op::Divide>(step, a, b, to, points);
    case Op::Remainder: return JoinBlocks<Op::Remainder>(step, a, b, to, points);
    case Op::Power: return JoinBlocks<Op::Power>(step, a, b, to, points);
    case Op::Exp: return VectorExp::Exp(a, to, points);
    case Op::Negate:
        for (std::size_t k = 0; k < points; ++k) to[k] = -a[k];
        return;
    default:
        for (std::size_t k = 0; k < points; ++k) to[k] = Apply(step.Code, a[k]);
    }
}

void RunPoints(Code& code, const double* x, double* y, std::size_t points) {
    for (const Step& step : code.EachPoint)
        RunBlock(step, OperandAt(code, step.ABlock, x), OperandAt(code, step.BBlock, x),
                 &step == &code.EachPoint.back() ? y : BlockAt(code, step.ToBlock), points);
    if (code.EachPoint.empty()) std::copy_n(x, points, y);
}

}

double Compute(Op op, double a, double b) {
    switch (op) {
    case Op::Add: return a + b;
    case Op::Subtract: return a - b;
    case Op::Multiply: return a * b;
    case Op::Divide: return a / b;
    case Op::Remainder: return Join<Op::Remainder>(a, b);
    case Op::Power: return Join<Op::Power>(a, b);
    default: return Apply(op, a);
    }
}

Program::Program() : Parts(std::make_unique<Code>()) {}
Program::Program(Program&&) noexcept = default;
Program& Program::operator=(Program&&) noexcept = default;
Program::~Program() = default;

bool Program::Evaluate(double x, double& value, Error& error) {
    Code& code = *Parts;
    value = NoValue;
    if (!AskQuestions(code, error)) return false;
    code.X = x;
    RunSteps(code.Once);
    value = code.EachPoint.empty() ? *code.Result : RunSteps(code.EachPoint);
    return true;
}

bool Program::Evaluate(std::span<const double> x, double* y, Error& error) {
    Code& code = *Parts;
    std::fill_n(y, x.size(), NoValue);
    if (!AskQuestions(code, error)) return false;
    RunSteps(code.Once);
    if (code.ResultBlock == Fixed) {
        std::fill_n(y, x.size(), *code.Result);
        return true;
    }
    for (std::size_t done = 0; done < x.size(); done += BlockPoints)
        RunPoints(code, x.data() + done, y + done, std::min(BlockPoints, x.size() - done));
    return true;
}

bool EvalExpression(std::string_view text, std::size_t length, double& value, Error& error,
                    const Tokens& tokens) {
    return Compile(text, length, tokens).Evaluate(0.0, value, error);
}

}
