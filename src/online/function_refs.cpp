#include "online/function_refs.h"

#include "base/text.h"
#include "online/kinds.h"
#include "trees/tree.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace FunctionRefs {

namespace {

bool IsWordChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// One "F[n]" of an equation: where its number stands.
struct Reference {
    std::size_t At, Length;
    int Position;
};

bool FindReference(std::string_view text, std::size_t from, Reference& reference) {
    for (std::size_t i = from; i < text.size(); ++i) {
        if ((text[i] != 'F' && text[i] != 'f') || (i > 0 && IsWordChar(text[i - 1]))) continue;
        std::size_t at = text.find_first_not_of(' ', i + 1);
        if (at == std::string_view::npos || text[at] != '[') continue;
        at = text.find_first_not_of(' ', at + 1);
        if (at == std::string_view::npos) continue;
        int position = 0;
        const auto [rest, error] = std::from_chars(text.data() + at, text.data() + text.size(), position);
        if (error != std::errc()) continue;
        const auto length = static_cast<std::size_t>(rest - (text.data() + at));
        const std::size_t close = text.find_first_not_of(' ', at + length);
        if (close == std::string_view::npos || text[close] != ']') continue;
        reference = {at, length, position};
        return true;
    }
    return false;
}

// The new place of a position; the position itself where it names no function.
int PlaceOf(Places places, int position) {
    const bool isFunction = position >= 1 && static_cast<std::size_t>(position) < places.size();
    return isFunction ? places[static_cast<std::size_t>(position)] : position;
}

std::string Renumbered(const OnlineFunction& function, Places places) {
    std::string text(Texts::FromField(function.OfEquation));
    Reference reference{};
    for (std::size_t from = 0; FindReference(text, from, reference);) {
        const std::string number = std::to_string(PlaceOf(places, reference.Position));
        text.replace(reference.At, reference.Length, number);
        from = reference.At + number.size();
    }
    return text;
}

// A sound operand stands before its function, and must do so behind the change. One that does not is left to
// the computing to complain about.
bool OperandFollows(int operand, int position, Places places) {
    if (operand < 1 || operand >= position) return true;
    const int place = PlaceOf(places, operand);
    return place >= 1 && place < PlaceOf(places, position) &&
           place <= std::numeric_limits<std::int16_t>::max();
}

bool FunctionFollows(const OnlineFunction& function, int position, Places places) {
    if (HasLeftOperand(function) && !OperandFollows(function.OfArgA, position, places)) return false;
    if (HasRightOperand(function) && !OperandFollows(function.OfArgB, position, places)) return false;
    if (function.OfKind != OnlineKinds::Equation) return true;
    for (std::size_t gone = 1; gone < places.size(); ++gone)
        if (places[gone] == 0 && Uses(function, static_cast<int>(gone))) return false;
    return Renumbered(function, places).size() < sizeof function.OfEquation;
}

void FollowCurve(OnlineEntry& entry, Places places) {
    for (std::int16_t* const position : {&entry.EnXFunction, &entry.EnYFunction}) {
        const int place = PlaceOf(places, *position);
        if (place == 0 && *position != 0) entry.EnActive = 0;
        *position = static_cast<std::int16_t>(std::min<int>(place, std::numeric_limits<std::int16_t>::max()));
    }
}

}

bool HasLeftOperand(const OnlineFunction& function) {
    const OnlineKinds::Class kind = OnlineKinds::ClassOf(function.OfKind);
    return kind == OnlineKinds::Class::OneOperand || kind == OnlineKinds::Class::TwoOperands;
}

bool HasRightOperand(const OnlineFunction& function) {
    return OnlineKinds::ClassOf(function.OfKind) == OnlineKinds::Class::TwoOperands;
}

bool Uses(const OnlineFunction& function, int position) {
    if (HasLeftOperand(function) && function.OfArgA == position) return true;
    if (HasRightOperand(function) && function.OfArgB == position) return true;
    if (function.OfKind != OnlineKinds::Equation) return false;
    const std::string_view text = Texts::FromField(function.OfEquation);
    Reference reference{};
    for (std::size_t from = 0; FindReference(text, from, reference);) {
        if (reference.Position == position) return true;
        from = reference.At + reference.Length;
    }
    return false;
}

bool CanFollow(const OnlineMethod* method, Places places) {
    for (int i = 1; i <= Tree::ChildCount(method); ++i) {
        const bool goes = PlaceOf(places, i) == 0;
        if (!goes && !FunctionFollows(*Tree::ChildAs<OnlineFunction>(method, i), i, places)) return false;
    }
    return true;
}

void Follow(OnlineMethod* method, Places places) {
    for (int i = 1; i <= Tree::ChildCount(method); ++i) {
        auto& function = *Tree::ChildAs<OnlineFunction>(method, i);
        if (HasLeftOperand(function))
            function.OfArgA = static_cast<std::int16_t>(PlaceOf(places, function.OfArgA));
        if (HasRightOperand(function))
            function.OfArgB = static_cast<std::int16_t>(PlaceOf(places, function.OfArgB));
        if (function.OfKind == OnlineKinds::Equation)
            Texts::ToField(function.OfEquation, Renumbered(function, places));
    }
    for (OnlineGraph& graph : method->OmGraphs)
        for (OnlineEntry& entry : graph.Entries) FollowCurve(entry, places);
}

}
