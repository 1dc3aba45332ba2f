#include "fit/formula.h"

#include <algorithm>

namespace Fit {

namespace {

PieceState StateOf(const FitParam& param) {
    if (IsFit(param)) return PieceState::Fit;
    return IsHeld(param) ? PieceState::Hold : PieceState::Text;
}

bool IsOneWord(std::string_view text) {
    return std::ranges::all_of(text, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
}

std::string InBrackets(const std::string& text) {
    return IsOneWord(text) ? text : "(" + text + ")";
}

std::string PlainLine(const std::vector<FormulaPiece>& pieces) {
    std::string line;
    for (std::size_t i = 0; i < pieces.size();) {
        const PiecePlace place = pieces[i].Place;
        std::string run;
        for (; i < pieces.size() && pieces[i].Place == place; ++i) {
            if (pieces[i].Script == PieceScript::Superscript) run += '^';
            if (pieces[i].Script == PieceScript::Subscript) run += '_';
            run += pieces[i].Text;
        }
        if (place == PiecePlace::Denominator) line += '/';
        line += place == PiecePlace::Line ? run : InBrackets(run);
    }
    return line;
}

}

void Formula::Text(std::string_view text, PieceScript script) {
    Lines.back().push_back({std::string(text), PieceState::Text, script, Place});
}

void Formula::Name(std::string_view name, const FitParam& param, PieceScript script) {
    Lines.back().push_back({std::string(name), StateOf(param), script, Place});
}

Formula FormulaOf(const Selected& selected) {
    Formula formula;
    formula.Line();
    if (!selected) {
        formula.Text("unknown FitType");
        return formula;
    }
    selected.Model->Draw(selected.Record, formula);
    return formula;
}

std::string PlainText(const Formula& formula) {
    std::string text;
    for (const auto& line : formula.Lines) text.append(text.empty() ? "" : "\n").append(PlainLine(line));
    return text;
}

}
