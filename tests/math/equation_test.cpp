#include "math/equation.h"
#include "math/ranged_equation.h"
#include "vectors.h"

using nlohmann::json;

namespace {

// The words of a caller, with the values that the cases assume. Every value is asked for, or found in its
// place, by turns, so that both ways have to agree.
struct Surroundings {
    explicit Surroundings(bool findPlaces) : FindPlaces(findPlaces) {
        for (std::size_t i = 0; i < 31; ++i) {
            V[i] = 10.0 * static_cast<double>(i + 1);
            P[i] = static_cast<double>(i + 1) + 0.5;
        }
    }

    bool FindPlaces;
    std::vector<double> C = {1.5, -2.0, 3.0, 0.25, 5.0, 6.0, 7.0, 8.0, 9.0};
    std::vector<double> F = {10.0, 20.0, -30.0}, P = std::vector<double>(31), V = P;
    double Amplitude = 7.5;
    std::map<std::string, double, std::less<>> Items = {{"gain", 2.5}, {"7", 4.0}};

    [[nodiscard]] const double* Find(const Equation::Word& word, const std::string& kind) const {
        const auto pick = [&word](const std::vector<double>& values) {
            const int index = word.Index(static_cast<int>(values.size()));
            return index > 0 ? &values[static_cast<std::size_t>(index - 1)] : nullptr;
        };
        if (kind == "fit" && word.Name == "C") return pick(C);
        if (kind == "online" && word.Name == "F") return pick(F);
        if (kind == "online" && word.Name == "P") return pick(P);
        if (kind == "online" && word.Name == "AMPL" && word.Bracket.empty()) return &Amplitude;
        if (word.Name == "V") return pick(V);
        const auto item = word.Name.starts_with("ICON") ? Items.find(word.Bracket) : Items.end();
        return item != Items.end() ? &item->second : nullptr;
    }

    [[nodiscard]] Equation::Tokens Words(const std::string& kind) const {
        if (kind == "none") return {};
        Equation::Tokens tokens;
        if (FindPlaces) tokens.Find = [=, this](const Equation::Word& word) { return Find(word, kind); };
        tokens.Read = [=, this](const Equation::Word& word, double& value, std::string_view& message) {
            if (const double* const place = Find(word, kind)) {
                value = *place;
                return true;
            }
            if (kind == "fit" && word.Name == "C") {
                message = "error in fit coefficient index";
                return false;
            }
            const bool isOnline = word.Name == "F" || word.Name == "P" || word.Name == "AMPL";
            const bool isKnown =
                word.Name == "V" || word.Name.starts_with("ICON") || (kind == "online" && isOnline);
            message = isKnown ? "Incorrect function index" : Equation::UnknownToken;
            return false;
        };
        return tokens;
    }
};

void ExpectValue(double got, const json& out) {
    const double want = Vectors::Number(out["value"]);
    if (out.value("exact", false) && !std::isnan(want))
        EXPECT_EQ(std::bit_cast<std::uint64_t>(got), std::bit_cast<std::uint64_t>(want)) << got;
    else
        EXPECT_PRED3(Vectors::Near, got, want, 1e-14);
}

std::string Repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

}

TEST(EquationVectors, ExpressionsAgree) {
    for (const bool findPlaces : {true, false}) {
        const Surroundings world(findPlaces);
        for (const json& c : Vectors::Cases("expr")) {
            SCOPED_TRACE(c["id"].get<std::string>() + " " + c["in"]["text"].get<std::string>());
            const json& out = c["out"];
            double value = 0.0;
            Equation::Error error;
            const bool ok = Equation::EvalExpression(c["in"]["text"].get<std::string>(), 1023, value, error,
                                                     world.Words(c["in"]["tokens"]));
            ASSERT_EQ(ok, out["ok"].get<bool>()) << error.Message;
            if (ok) {
                ExpectValue(value, out);
                continue;
            }
            EXPECT_EQ(error.Message, out["message"].get<std::string>());
            EXPECT_EQ(error.Position, out["pos"].get<int>());
            EXPECT_TRUE(std::isnan(value));
        }
    }
}

TEST(EquationVectors, RangedEquationsAgree) {
    Surroundings world(true);
    world.C = {1.0, 2.0, 3.0, 0.5, 5.0, 6.0, 7.0, 8.0, 9.0};
    int cases = 0;
    for (const json& c : Vectors::Cases("ranged")) {
        if (c["in"]["kind"] != "ranged") continue;
        SCOPED_TRACE(c["id"].get<std::string>());
        ++cases;
        const json& out = c["out"];
        std::string text = c["in"]["text"];
        double value = 0.0;
        Equation::Error error;
        const bool ok =
            Equation::EvalRanged(text, c["in"]["length"], c["in"]["x"], value, error, world.Words("fit"));
        ASSERT_EQ(ok, out["ok"].get<bool>()) << error.Message;
        EXPECT_EQ(error.Message, ok ? "" : out["message"].get<std::string>());
        EXPECT_EQ(text, ok ? out["normal"] : c["in"]["text"]);
        if (ok) ExpectValue(value, out);
    }
    EXPECT_GT(cases, 10);
}

TEST(Equation, TextsOfAnyLengthAndDepthEndWithAnAnswer) {
    const struct {
        std::string Text;
        std::size_t Length;
        const char* Message;
        int Position;
        double Value = NAN;
    } cases[] = {
        {"", 0, "", -1},
        {"()", 255, "", -1, 0.0},
        {"1+2345", 3, "String too long", 3},
        {"1+ab", 3, "Unknown token", 3},
        {"1+2", 3, "", -1, 3.0},
        {std::string("1+2\0)(", 6), 255, "", -1, 3.0},
        {Repeated("(", 99) + "1" + Repeated(")", 99), 255, "Too many tokens", 100},
        {Repeated("(", 98) + "1" + Repeated(")", 98), 255, "", -1, 1.0},
        {Repeated("(", 100000), 200000, "Too many tokens", 99},
        {Repeated("1+", 98) + "1", 255, "", -1, 99.0},
        {Repeated("(1)-", 5000) + "1", 200000, "Too many tokens", 394},
        {"1E", 255, "Error encoding", 2},
        {"1E+", 255, "Error encoding", 3},
        {"1e99999999999999999999", 255, "", -1, HUGE_VAL},
        {"1e-400", 255, "", -1, 0.0},
        {".5", 255, "Unknown token", 2},
        {"exp", 255, "Error parsing", 3},
        {"exp[1](2)", 255, "Error parsing", 6},
        {"2 pi", 255, "Error parsing", 4},
        {"(1", 255, "Error brackets", 2},
        {"a[1e]", 255, "Error encoding", 5},
        {"2(3)", 255, "", -1, 5.0}, // nothing stands before the bracket: its token joins by +
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Text.substr(0, 40));
        double value = 0.0;
        Equation::Error error;
        EXPECT_EQ(Equation::EvalExpression(one.Text, one.Length, value, error, {}), *one.Message == '\0');
        EXPECT_EQ(error.Message, one.Message);
        EXPECT_EQ(error.Position, one.Position);
        EXPECT_PRED3(Vectors::Near, value, one.Value, 0.0);
    }
}

// What is wrong at an earlier place is said first, though the later one is known before the evaluation.
TEST(Equation, TheFirstErrorOfTheTextIsSaidWhateverItsKind) {
    bool known = false;
    int asked = 0;
    Equation::Tokens tokens;
    tokens.Read = [&](const Equation::Word& word, double& value, std::string_view& message) {
        ++asked;
        EXPECT_EQ(word.Name, "GAIN");
        EXPECT_EQ(word.Bracket, "2a");
        EXPECT_EQ(word.Number, 2.0);
        EXPECT_FALSE(word.Whole);
        value = 3.0;
        message = "no gain now";
        return known;
    };
    Equation::Program program = Equation::Compile("1+gain<2a>*)", 255, tokens);
    EXPECT_EQ(asked, 0);
    double value;
    Equation::Error error;
    EXPECT_FALSE(program.Evaluate(0.0, value, error));
    EXPECT_EQ(error.Message, "no gain now");
    EXPECT_EQ(error.Position, 10);
    known = true;
    EXPECT_FALSE(program.Evaluate(0.0, value, error));
    EXPECT_EQ(error.Message, "Error brackets");
    EXPECT_EQ(error.Position, 11);

    program = Equation::Compile("1+gain[2a]*x", 255, tokens, Equation::XUse::Allowed);
    std::vector<double> x(1000, 2.0), y(x.size());
    asked = 0;
    EXPECT_TRUE(program.Evaluate(x, y.data(), error));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(y, std::vector<double>(1000, 7.0));
}

TEST(Equation, AnArrayAndItsPointsAgreeToTheLastBit) {
    std::vector<double> x;
    for (int i = -700; i < 700; ++i) x.push_back(i * 0.0137);
    x.insert(x.end(), {HUGE_VAL, -HUGE_VAL, std::nan(""), 0.0, -0.0});
    for (const std::string text :
         {"x", "-x", "3", "2-x^2", "1-x-2*x %3/x", "x-(1-x)*(2-x*(3-x))^2+x/(x-x*x)", "round(x)-trunc(-x)",
          "exp(-x/2)*sin(x)+cos(x)-tan(x)*arctan(x)", "sqrt(x)+ln(x)-log(x)^floor(x)%ceil(x)",
          "arcsin(x/10)-arccos(x/10)", "(x-(x-(x-(x-(x-1)*x)*x)*x)*x)", "exp(exp(x))", "2*pi-e^x"}) {
        SCOPED_TRACE(text);
        Equation::Program program = Equation::Compile(text, 255, {}, Equation::XUse::Allowed);
        std::vector<double> y(x.size());
        Equation::Error error;
        ASSERT_TRUE(program.Evaluate(x, y.data(), error)) << error.Message;
        for (std::size_t i = 0; i < x.size(); ++i) {
            double value = 0.0;
            ASSERT_TRUE(program.Evaluate(x[i], value, error));
            if (std::isnan(value))
                ASSERT_TRUE(std::isnan(y[i])) << x[i];
            else
                ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(y[i])) << x[i];
        }
    }
}

TEST(RangedEquation, WhatCannotBeHadLeavesTheOtherPointsTheirs) {
    const struct {
        const char* Text;
        std::vector<double> Want; // at -1, 0, 1, 2 and no number
        const char* Message = "";
        int Position = -1;
    } cases[] = {
        {"1 {0/0} 2 {1} 3", {2, 2, 2, 3, 3}},
        {"1 {-1/0} 2", {2, 2, 2, 2, 2}},
        {"x {0}", {-1, 0, NAN, NAN, NAN}},
        {"", {NAN, NAN, NAN, NAN, NAN}},
        {"1 {0} foo {1} 3", {1, 1, NAN, 3, 3}, "Unknown token", 9},
        {"1 {0} 2 {x} 3", {1, 1, NAN, NAN, NAN}, "X not allowed in range expression", 10},
        {"1 {0} 2 { 1+ } 3", {1, 1, NAN, NAN, NAN}, "Error parsing", 12},
        {"1 {1} {2}", {NAN, NAN, NAN, NAN, NAN}, "A range string must have a valid equation string", 7},
        {"1{1}2{2}3{3}4{4}5{5}6", {NAN, NAN, NAN, NAN, NAN}, "## Error in Parser: too many ranges! ## "},
        {"1{1}2{2}3{3}4{4}5{5", {1, 1, 1, 2, 5}},
    };
    const std::vector<double> x = {-1, 0, 1, 2, NAN};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.Text);
        Equation::Ranged ranged = Equation::CompileRanged(one.Text, 255, {});
        std::vector<double> y(x.size());
        Equation::Error error;
        EXPECT_EQ(ranged.Evaluate(x, y.data(), error), *one.Message == '\0');
        EXPECT_EQ(error.Message, one.Message);
        EXPECT_EQ(error.Position, one.Position);
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_PRED3(Vectors::Near, y[i], one.Want[i], 0.0);
            double value;
            (void)ranged.Evaluate(x[i], value, error);
            EXPECT_PRED3(Vectors::Near, value, one.Want[i], 0.0);
        }
    }
}
