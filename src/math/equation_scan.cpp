// One pass over the text, as a computing reader would go over it; it hands its operations to the builder.
#include "base/text.h"
#include "math/equation.h"
#include "math/equation_code.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>

namespace Equation {

namespace {

constexpr std::string_view ErrorBrackets = "Error brackets";
constexpr std::string_view ErrorParsing = "Error parsing";
constexpr std::string_view ErrorEncoding = "Error encoding";
constexpr std::string_view TooManyTokens = "Too many tokens";
constexpr std::string_view StringTooLong = "String too long";
constexpr std::string_view NoXInRange = "X not allowed in range expression";

constexpr std::string_view Operators = "+-*/%^";
constexpr std::string_view WordEnds = " ()*+-/^[<";

struct FunctionName {
    std::string_view Name;
    Op Code;
};

constexpr FunctionName Functions[] = {
    {"EXP", Op::Exp},       {"LN", Op::Ln},         {"LOG", Op::Log},     {"SQRT", Op::Sqrt},
    {"FLOOR", Op::Floor},   {"CEIL", Op::Ceil},     {"ROUND", Op::Round}, {"TRUNC", Op::Trunc},
    {"SIN", Op::Sin},       {"COS", Op::Cos},       {"TAN", Op::Tan},     {"ARCSIN", Op::ArcSin},
    {"ARCCOS", Op::ArcCos}, {"ARCTAN", Op::ArcTan},
};

constexpr Op NoFunction = Op::Negate; // no word stands for it

constexpr int PriorityOf(Op op) {
    if (op == Op::Power) return 2;
    return op == Op::Add || op == Op::Subtract ? 0 : 1;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool Closes(char c) {
    return c == ']' || c == '>';
}

// An operand with the operator that joins it to the one before.
struct Token {
    Operand Value;
    int Level = 0;
    Op Join = Op::Add;
    Op Function = NoFunction; // waits for the value of this token's bracket
};

struct Scanner {
    Scanner(std::string_view text, std::size_t length, const Tokens& words, XUse x)
        : Words(words),
          X(x),
          Cut(std::min(text.find('\0'), text.size()) > length),
          Text(text.substr(0, std::min({text.find('\0'), text.size(), length}))) {}

    const Tokens& Words;
    const XUse X;
    const bool Cut; // there is more text than the length allows
    const std::string_view Text;
    std::size_t At = 0;
    int Depth = 0;
    bool OperatorAllowed = true, OperandAllowed = true;
    std::array<Token, MaxTokens> Stack;
    std::size_t Top = 0;
    Builder Out;
    Error Failure;

    bool Fail(std::string_view message) {
        Failure = {message, static_cast<int>(At)};
        return false;
    }

    bool NewToken() {
        if (Top + 1 >= Stack.size()) return Fail(TooManyTokens);
        Stack[++Top] = {};
        Stack[Top].Level = Depth;
        return true;
    }

    // The token in hand gets its value. The negation comes after the function, and before any priority.
    void TakeValue(Operand value) {
        Token& token = Stack[Top];
        if (token.Function != NoFunction) value = Out.Emit(token.Function, value);
        token.Function = NoFunction;
        if (token.Join == Op::Subtract) value = Out.Emit(Op::Negate, value);
        if (token.Join == Op::Subtract) token.Join = Op::Add;
        token.Value = value;
    }

    bool OperandDone() {
        OperandAllowed = false;
        OperatorAllowed = true;
        return NewToken();
    }

    // Joins the tokens from first to last into the first.
    Operand Reduce(std::size_t first, std::size_t last) {
        for (int priority = 2; priority >= 0; --priority) {
            std::size_t kept = first;
            for (std::size_t i = first + 1; i <= last; ++i) {
                if (PriorityOf(Stack[i].Join) >= priority)
                    Stack[kept].Value = Out.Emit(Stack[i].Join, Stack[kept].Value, Stack[i].Value);
                else
                    Stack[++kept] = Stack[i];
            }
            last = kept;
        }
        return Stack[first].Value;
    }

    // The token in hand stands empty behind the last operand, unless it is the only one: "()" is 0.
    Operand ReduceGroup(std::size_t first) { return Reduce(first, Top > first ? Top - 1 : first); }

    bool OpenBracket() {
        ++Depth;
        if (!NewToken()) return false;
        ++At;
        OperatorAllowed = OperandAllowed = true;
        return true;
    }

    bool CloseBracket() {
        if (Depth == 0) return Fail(ErrorBrackets);
        if (!OperatorAllowed) return Fail(ErrorParsing);
        std::size_t first = Top;
        while (Stack[first - 1].Level >= Depth) --first;
        const Operand value = ReduceGroup(first);
        Top = first - 1;
        --Depth;
        TakeValue(value);
        ++At;
        return OperandDone();
    }

    bool TakeOperator(Op op) {
        if (!OperatorAllowed) return Fail(ErrorParsing);
        Stack[Top].Join = op;
        ++At;
        OperatorAllowed = false;
        OperandAllowed = true;
        return true;
    }

    bool TakeNumber() {
        if (!OperandAllowed) return Fail(ErrorParsing);
        Operand number;
        bool good = false;
        At += ScanNumber(Text.substr(At), number.Value, good);
        if (!good) return Fail(ErrorEncoding);
        TakeValue(number);
        return OperandDone();
    }

    bool ReadName(std::string& name) {
        for (; At < Text.size() && WordEnds.find(Text[At]) == std::string_view::npos; ++At) {
            if (Closes(Text[At])) return Fail(ErrorBrackets);
            if (name.size() == MaxWord) return Fail(UnknownToken);
            name += Texts::Upper(Text[At]);
        }
        return At < Text.size() || !Cut || Fail(UnknownToken);
    }

    bool ReadBracket(Question& word, bool& numeric) {
        numeric = false;
        if (At >= Text.size() || (Text[At] != '[' && Text[At] != '<')) return true;
        const std::size_t begin = ++At;
        while (At < Text.size() && !Closes(Text[At])) ++At;
        if (At == Text.size()) return Fail(ErrorBrackets);
        const std::string_view inside = Text.substr(begin, At - begin);
        ++At;
        word.Bracket = inside;
        if (inside.empty() || !IsDigit(inside.front())) return true;
        numeric = true;
        bool good = false;
        word.Whole = ScanNumber(inside, word.Number, good) == inside.size();
        return good || Fail(ErrorEncoding);
    }

    bool TakeFunction(Op function, bool numeric) {
        if (!OperandAllowed || numeric) return Fail(ErrorParsing);
        Stack[Top].Function = function;
        OperatorAllowed = OperandAllowed = false; // only its bracket can follow
        return true;
    }

    bool FindWord(Question& question, Operand& value) {
        if (question.Name == "PI" || question.Name == "E") {
            value.Value = question.Name == "E" ? 2.718281828459045 : 3.141592653589793;
            return true;
        }
        if (question.Name == "X" && X == XUse::Forbidden) return Fail(NoXInRange);
        if (question.Name == "X" && X == XUse::Allowed) {
            value.What = Operand::Kind::X;
            return true;
        }
        if (Words.Find)
            value.Place = Words.Find({question.Name, question.Bracket, question.Number, question.Whole});
        if (value.Place) {
            value.What = Operand::Kind::Place;
            return true;
        }
        if (!Words.Read) return Fail(UnknownToken);
        question.Position = static_cast<int>(At);
        value = Out.Ask(std::move(question));
        return true;
    }

    bool TakeWord() {
        Question word;
        bool numeric = false;
        if (!ReadName(word.Name) || !ReadBracket(word, numeric)) return false;
        for (const FunctionName& function : Functions)
            if (function.Name == word.Name) return TakeFunction(function.Code, numeric);
        Operand value;
        if (!FindWord(word, value)) return false;
        if (!OperandAllowed) return Fail(ErrorParsing);
        TakeValue(value);
        return OperandDone();
    }

    bool TakeNext() {
        const char c = Text[At];
        if (c == ' ') {
            ++At;
            return true;
        }
        if (c == '(') return OpenBracket();
        if (c == ')') return CloseBracket();
        if (const std::size_t op = Operators.find(c); op != std::string_view::npos)
            return TakeOperator(static_cast<Op>(op));
        return IsDigit(c) ? TakeNumber() : TakeWord();
    }

    Operand Scan() {
        while (At < Text.size())
            if (!TakeNext()) return {};
        if (Cut)
            Fail(StringTooLong);
        else if (Depth > 0)
            Fail(ErrorBrackets);
        else if (!OperatorAllowed)
            Fail(ErrorParsing);
        if (!Failure.Message.empty()) return {};
        if (Top > 0) return ReduceGroup(0);
        Operand nothing;
        nothing.Value = NoValue;
        return nothing;
    }
};

}

std::size_t ScanNumber(std::string_view text, double& value, bool& good) {
    std::size_t end = 0;
    const auto skipDigits = [&] {
        const std::size_t begin = end;
        while (end < text.size() && IsDigit(text[end])) ++end;
        return end > begin;
    };
    skipDigits();
    if (end < text.size() && text[end] == '.') {
        ++end;
        skipDigits();
    }
    good = true;
    if (end < text.size() && Texts::Upper(text[end]) == 'E') {
        ++end;
        if (end < text.size() && (text[end] == '+' || text[end] == '-')) ++end;
        good = skipDigits();
    }
    if (!good) return end;
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + end, value);
    // Numbers that the format cannot hold are infinite or 0.
    if (read.ec == std::errc::result_out_of_range)
        value = std::strtod(std::string(text.substr(0, end)).c_str(), nullptr);
    return end;
}

Program Compile(std::string_view text, std::size_t length, const Tokens& tokens, XUse x) {
    Scanner scanner(text, length, tokens, x);
    const Operand result = scanner.Scan();
    Program program;
    scanner.Out.Finish(result, scanner.Failure, *program.Parts);
    program.Parts->Read = tokens.Read;
    return program;
}

}
