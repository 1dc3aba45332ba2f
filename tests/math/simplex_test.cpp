#include "math/simplex.h"
#include "vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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
    for (const double step : {0.0, -1.0, 0.99E-8, std::nan("")}) {
        ASSERT_TRUE(SimplexInit(state, 3, step));
        EXPECT_EQ(state.P, wanted) << step;
    }
    ASSERT_TRUE(SimplexInit(state, 3, 1E-8));
    EXPECT_LT(state.P, 1E-7);
}

TEST(Simplex, ConvergesOnlyAtTheEndOfACycle) {
    Simplex::State state;
    ASSERT_TRUE(SimplexInit(state, 1, 0.1));
    state.High = 1;
    const struct {
        double Low, High;
        bool Relative, Absolute;
    } cases[] = {{2.0, 2.0, true, true},
                 {2.0, 2.02, false, false},
                 {200.0, 200.5, true, false},
                 {0.5, 0.509, false, true},
                 {0.0, 0.0, false, true}};
    for (const auto& c : cases) {
        state.Residuals[0] = c.Low;
        state.Residuals[1] = c.High;
        state.CycleDone = true;
        EXPECT_EQ(SimplexConverged(state, 0.0095), c.Relative) << c.Low << " " << c.High;
        EXPECT_EQ(SimplexConvergedAbs(state, 0.0095), c.Absolute) << c.Low << " " << c.High;
        state.CycleDone = false;
        EXPECT_FALSE(SimplexConverged(state, 0.0095));
    }
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
