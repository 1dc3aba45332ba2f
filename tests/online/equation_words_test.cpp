// Words that all equations know, and the one table of values behind them.
#include "online/equation_words.h"

#include "online/results.h"
#include "setup/settings.h"

#include <gtest/gtest.h>

namespace {

const Equation::Tokens Words{.Find = EquationWords::Find, .Read = EquationWords::Read};

TEST(EquationWords, ValuesAreThoseOfTheSettingsWhoeverPutThemThere) {
    Setup::Settings = {};
    Equation::Program program = Equation::Compile("V[1]+V<31>", 79, Words);
    Setup::Settings.Protocol.Values[0] = 2.0;
    OnlineResults::Table table;
    OnlineResults::StoreResult(table, 40.0, 31);
    double value = 0.0;
    Equation::Error error;
    ASSERT_TRUE(program.Evaluate(0.0, value, error));
    EXPECT_EQ(value, 42.0);
    Setup::Settings = {}; // as a load of settings does
    ASSERT_TRUE(program.Evaluate(0.0, value, error));
    EXPECT_EQ(value, 0.0);
    for (const int beyond : {0, 33, -1}) EXPECT_EQ(Setup::ValueOf(beyond), nullptr);
}

TEST(EquationWords, WhatIsWrongIsSaid) {
    EquationWords::Icon = [](std::string_view item, double& value) {
        value = 2.5;
        return item == "gain";
    };
    const struct {
        std::string_view Text, Message;
    } cases[] = {
        {"V[31]*ICON[gain]", ""},
        {"V[32]", EquationWords::IncorrectIndex},
        {"V[0]", EquationWords::IncorrectIndex},
        {"V[1.5]", EquationWords::IncorrectIndex},
        {"V", EquationWords::IncorrectIndex},
        {"ICON[other]", EquationWords::IncorrectIndex},
        {"ICON", EquationWords::IncorrectIndex},
        {"W[1]", Equation::UnknownToken},
    };
    for (const auto& one : cases) {
        double value = 0.0;
        Equation::Error error;
        const bool good = Equation::EvalExpression(one.Text, 79, value, error, Words);
        EXPECT_EQ(good, one.Message.empty()) << one.Text;
        EXPECT_EQ(error.Message, one.Message) << one.Text;
    }
    EquationWords::Icon = {}; // without a window
    double value = 0.0;
    Equation::Error error;
    EXPECT_FALSE(Equation::EvalExpression("ICON[gain]", 79, value, error, Words));
    EXPECT_EQ(error.Message, EquationWords::IncorrectIndex);
}

}
