#include "math/ranged_equation.h"

#include <algorithm>

namespace Equation {

namespace {

constexpr std::string_view TooManyRanges = "## Error in Parser: too many ranges! ## ";
constexpr std::string_view NoEquation = "A range string must have a valid equation string";
constexpr std::string_view EmptyRange = "An empty range string precedes equation string";
constexpr std::string_view TooLong = "Input string too long";

Piece Trimmed(std::string_view text, std::size_t begin, std::size_t end) {
    while (begin < end && text[begin] == ' ') ++begin;
    while (end > begin && text[end - 1] == ' ') --end;
    return {text.substr(begin, end - begin), begin};
}

// The normal form of pieces that stand in a permitted order; otherwise why they do not.
bool Normalise(const std::vector<Piece>& pieces, std::size_t maxLength, std::string& normal, Error& error) {
    const auto refuse = [&error](std::string_view message, const Piece& piece) {
        error = {message, static_cast<int>(piece.Begin)};
        return false;
    };
    bool open = true; // no empty range yet
    for (std::size_t i = 0; i < pieces.size(); i += 2) {
        const Piece& equation = pieces[i];
        const Piece range = i + 1 < pieces.size() ? pieces[i + 1] : Piece{};
        if (equation.Text.empty() && !range.Text.empty()) return refuse(NoEquation, range);
        if (!equation.Text.empty() && !open) return refuse(EmptyRange, equation);
        normal += equation.Text;
        open = !range.Text.empty();
        if (open) normal.append(" {").append(range.Text).append("} ");
        if (normal.size() > maxLength) return refuse(TooLong, equation);
    }
    return true;
}

}

// The limits of the ranges, each computed when an x first needs it.
struct Ranged::Chooser {
    explicit Chooser(Ranged& ranged) : Of(ranged) {}

    Ranged& Of;
    std::size_t Known = 0;
    double Limits[MaxEquations - 1] = {};
    bool Failed[MaxEquations - 1] = {};
    Error Errors[MaxEquations - 1];

    // False when a range on the way cannot be computed; it is then the chosen one.
    bool Choose(double x, std::size_t& chosen) {
        for (chosen = 0; chosen < MaxEquations - 1; ++chosen) {
            Part& range = Of.Ranges[chosen];
            if (range.Empty) return true;
            if (chosen == Known) {
                Failed[chosen] = !range.Code.Evaluate(x, Limits[chosen], Errors[chosen]);
                ++Known;
            }
            if (Failed[chosen]) return false;
            if (x <= Limits[chosen]) return true;
        }
        return true;
    }
};

Error Ranged::Part::InText(Error error) const {
    if (error.Position != NoPosition) error.Position += Begin;
    return error;
}

std::vector<Piece> SplitRanged(std::string_view text) {
    std::vector<Piece> pieces;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < text.size() && pieces.size() < MaxPieces; ++at) {
        if (text[at] != (pieces.size() % 2 == 0 ? '{' : '}')) continue;
        pieces.push_back(Trimmed(text, begin, at));
        begin = at + 1;
    }
    pieces.push_back(Trimmed(text, begin, text.size()));
    return pieces;
}

bool Ranged::Evaluate(double x, double& value, Error& error) {
    return Evaluate({&x, 1}, &value, error);
}

bool Ranged::Evaluate(std::span<const double> x, double* y, Error& error) {
    error = Failure;
    if (!Failure.Message.empty()) {
        std::fill_n(y, x.size(), NoValue);
        return false;
    }
    bool good = true;
    const auto fail = [&](const Part& part, const Error& why) {
        if (good) error = part.InText(why);
        good = false;
    };
    Chooser chooser(*this);
    for (std::size_t begin = 0, end; begin < x.size(); begin = end) {
        std::size_t chosen = 0, next = 0;
        const bool known = chooser.Choose(x[begin], chosen);
        for (end = begin + 1; end < x.size(); ++end)
            if (chooser.Choose(x[end], next) != known || next != chosen) break;
        if (!known) {
            std::fill_n(y + begin, end - begin, NoValue);
            fail(Ranges[chosen], chooser.Errors[chosen]);
            continue;
        }
        Error why;
        const bool computed =
            end - begin == 1 ? Equations[chosen].Code.Evaluate(x[begin], y[begin], why)
                             : Equations[chosen].Code.Evaluate(x.subspan(begin, end - begin), y + begin, why);
        if (!computed) fail(Equations[chosen], why);
    }
    return good;
}

Ranged CompileRanged(std::string_view text, std::size_t length, const Tokens& tokens) {
    Ranged ranged;
    const std::size_t maxLength = std::min(length, MaxRangedText);
    const std::vector<Piece> pieces = SplitRanged(text);
    if (pieces.size() > MaxPieces)
        ranged.Failure = {TooManyRanges, NoPosition};
    else
        (void)Normalise(pieces, maxLength, ranged.Normal, ranged.Failure);
    if (!ranged.Failure.Message.empty()) {
        ranged.Normal.clear();
        return ranged;
    }
    for (std::size_t i = 0; i < pieces.size() && i / 2 + i % 2 < MaxEquations; ++i) {
        const bool isRange = i % 2 == 1;
        Ranged::Part& part = isRange ? ranged.Ranges[i / 2] : ranged.Equations[i / 2];
        part.Code = Compile(pieces[i].Text, MaxPiece, tokens, isRange ? XUse::Forbidden : XUse::Allowed);
        part.Empty = pieces[i].Text.empty();
        part.Begin = static_cast<int>(pieces[i].Begin);
    }
    for (Ranged::Part& part : ranged.Equations)
        if (part.Empty) part.Code = Compile("", 0, {});
    return ranged;
}

bool EvalRanged(std::string& text, std::size_t length, double x, double& value, Error& error,
                const Tokens& tokens) {
    Ranged ranged = CompileRanged(text, length, tokens);
    if (!ranged.Evaluate(x, value, error)) return false;
    text = ranged.Normal;
    return true;
}

}
