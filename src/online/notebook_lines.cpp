#include "online/notebook_lines.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "online/kinds.h"
#include "setup/settings.h"

#include <algorithm>

namespace NotebookLines {

namespace {

constexpr int CountWidth = 7;

bool WritesAny(const OnlineMethod& method) {
    for (int i = 1; i <= Tree::ChildCount(&method); ++i)
        if (Tree::ChildAs<OnlineFunction>(&method, i)->OfNotebook) return true;
    return false;
}

std::string OperandText(const OnlineMethod& method, int operand, int index, const char* side) {
    if (operand > index) return std::string(" ERROR: ") + side + " argument > function index! ";
    const auto* const function = Tree::ChildAs<OnlineFunction>(&method, operand);
    return function && operand < index ? OnlineKinds::NameOf(*function) : "?";
}

// The kind's own name with its operands in the places of a and b.
std::string OperationText(const OnlineMethod& method, const OnlineFunction& function, int index) {
    const std::string kind = OnlineKinds::NameOf(function.OfKind);
    switch (OnlineKinds::ClassOf(function.OfKind)) {
    case OnlineKinds::Class::TwoOperands:
        return OperandText(method, function.OfArgA, index, "left") + kind.substr(1, kind.size() - 2) +
               OperandText(method, function.OfArgB, index, "right");
    case OnlineKinds::Class::OneOperand:
        return kind + " (" + OperandText(method, function.OfArgA, index, "left") + ")";
    case OnlineKinds::Class::Equation: return std::string(Texts::FromField(function.OfEquation));
    case OnlineKinds::Class::Constant: return std::string(NumberText::Trimmed(Number(function.OfConstant)));
    case OnlineKinds::Class::Measurement:
        return kind + " of trace " + std::to_string(function.OfTrace) + ", " +
               std::string(NumberText::Trimmed(NumberText::Fixed(100.0 * function.OfLeftBound, 1, 12))) +
               " to " +
               std::string(NumberText::Trimmed(NumberText::Fixed(100.0 * function.OfRightBound, 1, 12))) +
               " %";
    default: return kind;
    }
}

}

std::string_view Separator() {
    switch (Setup::Settings.Export.ASCIISeparator) {
    case 1: return ",";
    case 2: return "\t";
    default: return " ";
    }
}

std::string Number(double value) {
    const int digits = Setup::Settings.Program.NotebookDigits;
    if (Setup::Settings.Program.ScientUnits) return NumberText::Scientific(value, digits + 6);
    std::string text = NumberText::Engineering(value, digits + 3);
    if (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

std::string Title(const OnlineFunction& function) {
    const std::string_view unit = Texts::FromField(function.OfUnit);
    return OnlineKinds::NameOf(function) + (unit.empty() ? "" : "[" + std::string(unit) + "]");
}

std::string Header(const OnlineMethod& method) {
    std::string line = "  Sweep";
    for (int i = 1; i <= Tree::ChildCount(&method); ++i) {
        const auto& function = *Tree::ChildAs<OnlineFunction>(&method, i);
        if (!function.OfNotebook) continue;
        line += Separator();
        line += Title(function);
    }
    return line;
}

std::string Values(const OnlineCompute::Engine& engine) {
    std::string line = NumberText::Integer(engine.Sweep->SwSweepCount, CountWidth);
    for (int i = 1; i <= Tree::ChildCount(engine.Method); ++i) {
        if (!Tree::ChildAs<OnlineFunction>(engine.Method, i)->OfNotebook) continue;
        line += Separator();
        line += Number(engine.Results[static_cast<std::size_t>(i - 1)]);
    }
    return line;
}

void Write(OnlineCompute::Engine& engine) {
    if (!WritesAny(*engine.Method)) return;
    std::string header = Header(*engine.Method);
    if (header != engine.HeaderWritten) Messages::Log(header);
    engine.HeaderWritten = std::move(header);
    Messages::Log(Values(engine));
}

std::vector<std::string> Listing(const OnlineMethod& method) {
    std::vector<std::string> lines;
    for (int i = 1; i <= Tree::ChildCount(&method); ++i) {
        const auto& function = *Tree::ChildAs<OnlineFunction>(&method, i);
        std::string line = NumberText::Integer(i, 4) + "  " + OnlineKinds::NameOf(function) + " = " +
                           OperationText(method, function, i);
        if (function.OfValueIndex > 0) line += "  -> V[" + std::to_string(function.OfValueIndex) + "]";
        lines.push_back(std::move(line));
    }
    return lines;
}

}
