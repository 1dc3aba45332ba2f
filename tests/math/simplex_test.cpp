#include "math/simplex.h"
#include "vectors.h"

namespace {

TEST(Simplex, MovesBitForBitAsRecorded) {
    const auto cases = Vectors::Cases("simplex_steps");
    ASSERT_FALSE(cases.empty());
    for (const auto& c : cases) {
        SCOPED_TRACE(c["id"].get<std::string>());
        Simplex::State state;
        ASSERT_TRUE(SimplexInit(state, c["in"]["n"], c["in"]["step"]));
        EXPECT_EQ(state.P, c["out"]["p"].get<double>());
        EXPECT_EQ(state.Q, c["out"]["q"].get<double>());
        std::vector<double> vector = c["in"]["start"];
        int number = 0;
        for (const auto& call : c["out"]["calls"]) {
            SCOPED_TRACE(number++);
            SimplexStep(state, vector, Vectors::Number(call[0]));
            for (std::size_t j = 0; j < vector.size(); ++j)
                ASSERT_EQ(vector[j], Vectors::Number(call[1][j])) << j;
            const auto step = static_cast<int>(state.StepState);
            EXPECT_EQ(nlohmann::json({call[0], call[1], step, state.High, state.Low, state.CycleDone}), call);
        }
    }
}

TEST(Simplex, RefusesSizesThatItCannotHoldAndMendsTheStep) {
    Simplex::State state;
    for (const int size : {0, Simplex::MaxDim + 1}) EXPECT_FALSE(SimplexInit(state, size, 0.1));
    ASSERT_TRUE(SimplexInit(state, 3, 0.1));
    const double wanted = state.P;
    for (const double step : {0.0, 0.99E-8, 1E-8, std::nan("")}) {
        ASSERT_TRUE(SimplexInit(state, 3, step));
        EXPECT_EQ(state.P == wanted, step != 1E-8) << step;
    }
}

TEST(Simplex, ConvergesOnlyAtTheEndOfACycle) {
    Simplex::State state;
    ASSERT_TRUE(SimplexInit(state, 1, 0.1));
    state.High = 1;
    const double pairs[][2] = {{2.0, 2.0}, {2.0, 2.02}, {200.0, 200.5}, {0.5, 0.509}, {0.0, 0.0}};
    std::string relative, absolute;
    for (const auto& residuals : pairs) {
        std::copy_n(residuals, 2, &state.Residuals[0]);
        state.CycleDone = true;
        relative += SimplexConverged(state, 0.0095) ? "y" : "n";
        absolute += SimplexConvergedAbs(state, 0.0095) ? "y" : "n";
        state.CycleDone = false;
        EXPECT_FALSE(SimplexConverged(state, 0.0095));
    }
    EXPECT_EQ(relative + absolute, "ynynnynnyy");
}

TEST(Simplex, SurvivesResidualsThatAreNoNumbersAndKnowsItsCentre) {
    Simplex::State state;
    ASSERT_TRUE(SimplexInit(state, 2, 0.1));
    double vector[2] = {1.0, 2.0}, mean[2] = {};
    for (int i = 0; i < 200; ++i) {
        SimplexStep(state, vector, i % 3 == 0 ? std::nan("") : 1.0 / (1 + i));
        ASSERT_TRUE(state.High >= 0 && state.High <= 2 && state.Low >= 0 && state.Low <= 2);
    }
    const double vertices[3][2] = {{1, 2}, {4, 3}, {1, 7}};
    for (int i = 0; i < 3; ++i) std::copy_n(vertices[i], 2, &state.Vertices[i][0]);
    SimplexCentroid(state, mean);
    EXPECT_EQ(mean[0], 2.0);
    EXPECT_EQ(mean[1], 4.0);
}

}
