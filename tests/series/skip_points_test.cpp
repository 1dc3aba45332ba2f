// Which points are left out: the texts that users type, and rectangles in the graph.
#include "series/skip_points.h"
#include "series/wave_text.h"
#include "vectors.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

using nlohmann::json;

// A wave in memory of the test, its flags in a block of exactly its size.
struct Points {
    explicit Points(std::size_t n) : X(n), Y(n), Flags(n), Count(static_cast<std::int16_t>(n)) {}
    [[nodiscard]] SGFit::Wave Wave() { return {X.data(), Y.data(), Flags.data(), Count, XLabel, YLabel}; }
    [[nodiscard]] std::string Text() const {
        std::string text;
        for (const std::uint8_t flag : Flags) text += flag != 0 ? '1' : '0';
        return text;
    }

    std::vector<double> X, Y;
    std::vector<std::uint8_t> Flags;
    std::int16_t Count;
    SGFit::WaveLabel XLabel, YLabel;
};

TEST(SkipPoints, EveryCaseAgrees) {
    const auto cases = Vectors::Cases("skip_language");
    EXPECT_EQ(cases.size(), 15U);
    for (const json& c : cases) {
        SCOPED_TRACE(c["id"].get<std::string>() + ": " + c["note"].get<std::string>());
        const json& in = c["in"];
        Points points(in["points"].size());
        for (std::size_t i = 0; i < points.X.size(); ++i) {
            points.X[i] = in["points"][i][0];
            points.Y[i] = in["points"][i][1];
            points.Flags[i] = in["flags"][i];
        }
        SGFit::SelectPoints(points.Wave(), in["text"].get<std::string>());
        EXPECT_EQ(json(points.Flags), c["out"]["flags"]);
    }
}

TEST(SkipPoints, TextsThatTheCasesLeaveOut) {
    const struct {
        const char* Text;
        const char* Flags; // of five points at 1 to 5, Y = -X, no flag set before
    } cases[] = {
        {"", "00000"},
        {",,2,,4,", "01010"},
        {" 2 - 4 , 5 ", "01111"},
        {"2-4,2-4", "00000"},
        {"4-2", "00000"},
        {"-3", "00000"},
        {"2-", "00000"},
        {"1,2-3-4,5", "10000"},
        {"99999999999999999999-3,1", "10000"},
        {"3-99999999999999999999", "00111"},
        {"1.0,2", "00000"},
        {"3-end,END", "00110"},
        {"[x>2][y<-3.5],1", "10111"},
        {"[>2],[x2],1", "10000"},
        {"[x>a][x<3]", "00000"}, // a bad number ends the conditions, and "[" the list
        {"]1[,2", "00000"},
        {"[x>2", "00000"},
        {"[ x < +1.5E0 ]", "10000"},
        {"[xy>-2.5]", "11111"}, // X goes first
        {"[x>-inf]", "11111"},
        {"[x<1<2]", "00000"},
    };
    for (const auto& c : cases) {
        Points points(5);
        for (std::size_t i = 0; i < 5; ++i) points.Y[i] = -(points.X[i] = static_cast<double>(i + 1));
        SGFit::SelectPoints(points.Wave(), c.Text);
        EXPECT_EQ(points.Text(), c.Flags) << c.Text;
    }
    Points points(5);
    SGFit::SelectPoints(points.Wave(), std::string(SGFit::SkipTextMax, ',') + "3"); // cut
    EXPECT_EQ(points.Text(), "00000");
    Points none(0);
    SGFit::SelectPoints(none.Wave(), "[x>0],end,0-5");
}

TEST(SkipPoints, ARectangleTurnsThePointsInsideOver) {
    Points points(5);
    for (std::size_t i = 0; i < 5; ++i) points.X[i] = points.Y[i] = static_cast<double>(i + 1);
    SGFit::SelectPoints(points.Wave(), SGFit::Rectangle{2, 0, 2.5, 10});
    EXPECT_EQ(points.Text(), "00110"); // a point on the border stays out
    SGFit::SelectPoints(points.Wave(), SGFit::Rectangle{6, 10, -3.5, -10});
    EXPECT_EQ(points.Text(), "00001");
    SGFit::SelectPoints(points.Wave(), SGFit::Rectangle{0, 0, 0, 10});
    SGFit::SelectPoints(points.Wave(), SGFit::Rectangle{0, 0, 10, NAN});
    EXPECT_EQ(points.Text(), "00001");
}

TEST(WaveText, NumbersAreReadWhole) {
    const struct {
        const char* Text;
        double Value;
    } good[] = {{" 1.00000E+00", 1},   {"-2.5e-3 ", -0.0025}, {"+4", 4},
                {"1E400", INFINITY},   {"-1E400", -INFINITY}, {"INF", INFINITY},
                {"  -inf", -INFINITY}, {"1E-400", 0}};
    for (const auto& c : good) {
        double value = 7;
        EXPECT_TRUE(WaveText::ReadReal(c.Text, value)) << c.Text;
        EXPECT_EQ(value, c.Value) << c.Text;
    }
    for (const char* const text :
         {"", " ", "1 2", "1E", "x", "+-1", "0x10", "infinity", "nan(1)", "1.2.3", "1,"}) {
        double value = 7;
        EXPECT_FALSE(WaveText::ReadReal(text, value)) << text;
        EXPECT_EQ(value, 7) << text;
    }
    double value = 7;
    EXPECT_TRUE(WaveText::ReadReal("NAN", value) && std::isnan(value));
}

}
