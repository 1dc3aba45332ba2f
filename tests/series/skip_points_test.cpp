// Which points are left out: the texts that users type, and rectangles in the graph.
#include "series/skip_points.h"
#include "series/wave_text.h"
#include "support/fixtures.h"
#include "vectors.h"

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
    for (const auto& one : Support::CaseTable("skip_texts")) {
        Points points(5);
        for (std::size_t i = 0; i < 5; ++i) points.Y[i] = -(points.X[i] = static_cast<double>(i + 1));
        SGFit::SelectPoints(points.Wave(), one[0]);
        EXPECT_EQ(points.Text(), one[1]) << one[0];
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
    for (const auto& [text, wanted] : {std::pair{" 1.00000E+00", 1.0},
                                       {"-2.5e-3 ", -0.0025},
                                       {"1E400", INFINITY},
                                       {"INF", INFINITY},
                                       {"  -inf", -INFINITY},
                                       {"1E-400", 0.0},
                                       {"", 7.0},
                                       {"1 2", 7.0},
                                       {"1E", 7.0},
                                       {"+-1", 7.0},
                                       {"0x10", 7.0},
                                       {"infinity", 7.0},
                                       {"nan(1)", 7.0},
                                       {"1,", 7.0}}) {
        double value = 7;
        EXPECT_EQ(WaveText::ReadReal(text, value), wanted != 7) << text;
        EXPECT_EQ(value, wanted) << text;
    }
    double value = 7;
    EXPECT_TRUE(WaveText::ReadReal("NAN", value) && std::isnan(value));
}

}
