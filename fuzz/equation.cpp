// Equations as a user may type them.
//
//     byte 0   what is tried: bit 0 words are found in their places, else asked for; bit 1 as a fit's
//     equation;
//              bits 2 to 7 shorten the length that a text may have
//     byte 1   x
//     rest     the text
//
// Promises: a text is refused with a message at a place within it, or has a value; the array and its points
// have the same one; the normal form of an equation in ranges reads as the equation itself.
#include "input.h"
#include "memory_disk.h"

#include "base/text.h"
#include "fit/fit.h"
#include "fit/formula.h"
#include "fit/parsed_equation.h"

#include <array>
#include <bit>
#include <cmath>
#include <string>

namespace {

constexpr std::array<double, 3> Xs(double x) {
    return {x, -x, x / 3.0};
}

bool Same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

Equation::Tokens WordsOf(const Fit::ParsedRecord& record, bool find) {
    Equation::Tokens tokens = Fit::FitTokens(Fit::PlacesOf(record));
    if (find) return tokens;
    Equation::Tokens asked;
    asked.Read = [tokens](const Equation::Word& word, double& value, std::string_view& message) {
        const double* const place = tokens.Find(word);
        if (!place) return tokens.Read(word, value, message);
        value = *place;
        return true;
    };
    return asked;
}

void CheckError(const Equation::Error& error, std::size_t size) {
    if (error.Message.empty()) MemoryDisk::Broken("a text is refused without a message");
    if (error.Position < Equation::NoPosition || error.Position > static_cast<int>(size))
        MemoryDisk::Broken("an error has its place outside of the text");
}

template <typename Program>
void CheckArray(Program& program, double x, double value, bool good) {
    const std::array<double, 3> xs = Xs(x);
    std::array<double, 3> ys = {};
    Equation::Error error;
    const bool all = program.Evaluate(xs, ys.data(), error);
    if (!Same(ys[0], value) || (all && !good)) MemoryDisk::Broken("an array and its point differ");
    for (std::size_t i = 1; i < xs.size(); ++i) {
        if (program.Evaluate(xs[i], value, error) || !all) {
            if (!Same(ys[i], value)) MemoryDisk::Broken("an array and its points differ");
        } else {
            MemoryDisk::Broken("a point is refused that the array had");
        }
    }
}

void TryExpression(const std::string& text, std::size_t length, double x, const Equation::Tokens& tokens) {
    Equation::Program program = Equation::Compile(text, length, tokens, Equation::XUse::Allowed);
    double value = 0.0;
    Equation::Error error;
    const bool good = program.Evaluate(x, value, error);
    if (!good) CheckError(error, text.size());
    CheckArray(program, x, value, good);
}

void TryRanged(const std::string& text, std::size_t length, double x, const Equation::Tokens& tokens) {
    Equation::Ranged ranged = Equation::CompileRanged(text, length, tokens);
    double value = 0.0, again = 0.0;
    Equation::Error error;
    const bool good = ranged.Evaluate(x, value, error);
    if (!good) CheckError(error, text.size());
    CheckArray(ranged, x, value, good);
    if (!good) return;
    if (ranged.Normal.size() > length) MemoryDisk::Broken("a normal form is too long");
    std::string normal = ranged.Normal;
    // A zero byte ends a piece, but not the text around it. A fifth range, which nobody reads, may stand open
    // at the end; closed, there is one too many.
    if (text.find('\0') != std::string::npos || Equation::SplitRanged(text).size() == Equation::MaxPieces)
        return;
    if (!Equation::EvalRanged(normal, Equation::MaxRangedText, x, again, error, tokens) ||
        !Same(again, value) || normal != ranged.Normal)
        MemoryDisk::Broken("a normal form reads otherwise");
}

void TryFit(const std::string& text, double x) {
    static Fit::SweepRecords records = Fit::DefaultSweepRecords();
    const Fit::Selected selected = Fit::Select(records, SweepFitType::ParsedEquation);
    Fit::Init(selected);
    if (!Fit::SetTextByName(selected, "Equation", text)) return;
    (void)Fit::PlainText(Fit::FormulaOf(selected));
    Fit::ParsedRecord checked = records.Parsed;
    Equation::Error error;
    const bool good = Fit::PreparseEquation(&checked, error);
    const std::array<double, 3> xs = Xs(x);
    std::array<double, 3> ys = {};
    if (Fit::Curve(selected, xs, ys) != good) MemoryDisk::Broken("a fit takes what its check refuses");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (Fuzz::InstallUser(), true);
    if (!ready || size < 2) return 0;
    static const Fit::ParsedRecord record = Fit::DefaultSweepRecords().Parsed;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    const double x = static_cast<std::int8_t>(input.Byte()) / 8.0;
    const std::span<const std::byte> rest = input.Rest();
    const std::string text(reinterpret_cast<const char*>(rest.data()), rest.size());
    const std::size_t length = Equation::MaxRangedText - (choice >> 2) * 16U;
    const Equation::Tokens tokens = WordsOf(record, (choice & 1) != 0);
    TryExpression(text, length, x, tokens);
    TryRanged(text, length, x, tokens);
    if (choice & 2) TryFit(text, x);
    return 0;
}
