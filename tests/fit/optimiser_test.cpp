// How a fit starts, stops, asks, and what it leaves behind.
#include "base/messages.h"
#include "fit/fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// 2 + 5 * exp(-x/0.003), without noise, on 100 points.
struct DecayFit {
    std::vector<double> X, Y;
    Fit::SweepRecords Records = Fit::DefaultSweepRecords();
    Fit::FitControl Control = Fit::DefaultControl(Fit::Level::Sweep);
    int Updates = 0;

    DecayFit() {
        Fit::ResumeZeroCheck();
        for (int i = 0; i < 100; ++i) {
            X.push_back(i * 1E-4);
            Y.push_back(2.0 + 5.0 * std::exp(-X.back() / 0.003));
        }
    }
    Fit::ExpRecord& Record() { return Records.Exponential; }
    Fit::Outcome Run(const Fit::UpdateProc& update = {}) {
        const Fit::Data data = {X, Y, {X.size(), 1E-4, 0.0}, "s", "A"};
        return Fit::Run(Fit::Select(Records, SweepFitType::Exponential), data, Control,
                        [&](const Fit::FitRun& run) {
                            ++Updates;
                            if (update) update(run);
                        });
    }
};

TEST(RunFit, ShowFitTakesTheResidualOfTheValuesAsTheyStand) {
    DecayFit fit;
    fit.Control.MaxIterations = 0;
    fit.Record().Amp0.Value = 3.0; // one off everywhere
    fit.Record().Terms[0].Amp.Value = 5.0;
    fit.Record().Terms[0].Tau.Value = 0.003;
    const Fit::Outcome outcome = fit.Run();
    ASSERT_TRUE(outcome.Ok);
    EXPECT_NEAR(outcome.Residual, std::sqrt(100.0 / 99.0), 1E-12);
    EXPECT_EQ(fit.Control.LastResidual, outcome.Residual);
    EXPECT_EQ(fit.Record().Amp0.Value, 3.0);
    EXPECT_EQ(fit.Record().Terms[0].Tau.Value, 0.003);
    EXPECT_EQ(outcome.Iterations, 0);
    EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::MaxIterations);
    EXPECT_EQ(fit.Record().YZero.Value, 8.0);
    EXPECT_EQ(fit.Updates, 1);
}

TEST(RunFit, BreakIsAskedAtTheStartAndAfterEachEvaluation) {
    for (const int breakAt : {1, 2, 3, 7}) {
        DecayFit fit;
        int asked = 0;
        fit.Control.BreakProc = [&] { return ++asked == breakAt; };
        const Fit::Outcome outcome = fit.Run();
        ASSERT_TRUE(outcome.Ok);
        EXPECT_EQ(outcome.Iterations, breakAt - 1);
        EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::Break);
        EXPECT_STREQ(Fit::NameOf(outcome.FitTermination), "break");
        // Before the first evaluation nothing moves; after it the linear step has run.
        EXPECT_EQ(fit.Record().Amp0.Value == 0.0, breakAt == 1);
        EXPECT_FALSE(Fit::FitRunning());
    }
}

TEST(RunFit, TheBestPointIsKeptThoughTheLastOneIsReported) {
    DecayFit fit;
    double best = HUGE_VAL;
    std::vector<double> seen;
    fit.Control.BreakProc = [&] {
        seen.push_back(fit.Record().Residual.Value);
        return seen.size() == 20;
    };
    const Fit::Outcome outcome = fit.Run();
    for (std::size_t i = 1; i < seen.size(); ++i) best = std::min(best, seen[i]);
    EXPECT_EQ(outcome.LastResidual, best);
    EXPECT_EQ(outcome.Residual, seen.back());
    fit.Control.BreakProc = nullptr;
    fit.Control.MaxIterations = 0;
    EXPECT_EQ(fit.Run().Residual, best);
}

TEST(RunFit, DrawsAfterEveryDisplayUpdateAndAtTheEnd) {
    const struct {
        int DisplayUpdate, Updates;
    } cases[] = {{5, 4}, {4, 5}, {20, 1}, {21, 1}, {0, 1}, {-3, 1}};
    for (const auto& c : cases) {
        DecayFit fit;
        fit.Control.MaxIterations = 20;
        fit.Control.StopEpsilon = 0;
        fit.Control.DisplayUpdate = c.DisplayUpdate;
        ASSERT_TRUE(fit.Run().Ok);
        EXPECT_EQ(fit.Updates, c.Updates) << c.DisplayUpdate;
    }
}

TEST(RunFit, WithoutFreeNonlinearParametersOneLinearStepLeavesTheEndingAlone) {
    DecayFit fit;
    fit.Record().Terms[0].Tau.Value = 0.003;
    fit.Record().Terms[0].Tau.State = FitParamState::Hold;
    fit.Control.FitTermination = Fit::FitTermination::Break;
    const Fit::Outcome outcome = fit.Run();
    EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::Break);
    EXPECT_NEAR(fit.Record().Amp0.Value, 2.0, 1E-12);
    EXPECT_NEAR(fit.Record().Terms[0].Amp.Value, 5.0, 1E-12);
    EXPECT_LT(outcome.Residual, 1E-12);
    EXPECT_EQ(outcome.Iterations, 0);
}

// Answers the question about zeros with one button and counts how often it was put.
struct ZeroDialog {
    explicit ZeroDialog(int button) {
        Messages::HookTable hooks;
        hooks.AskChoice = [this, button](std::string_view text, const char* const* buttons, int count,
                                         int usual) {
            ++Asked;
            Text = text;
            for (int i = 0; i < count; ++i) Buttons += std::string(buttons[i]) + ";";
            return button < 0 ? usual : button;
        };
        Former = Messages::Install(std::move(hooks));
    }
    ~ZeroDialog() { Messages::Install(std::move(Former)); }
    ZeroDialog(const ZeroDialog&) = delete;
    ZeroDialog& operator=(const ZeroDialog&) = delete;

    int Asked = 0;
    std::string Text, Buttons;
    Messages::HookTable Former;
};

TEST(ZeroCheck, AsksForATimeConstantOfOneAndObeysTheAnswer) {
    constexpr int StopChecking = 0, DoFit = 1, Abort = 2, Headless = -1;
    for (const int button : {StopChecking, DoFit, Abort, Headless}) {
        SCOPED_TRACE(button);
        DecayFit fit;
        fit.Record().Terms[0].Tau.Value = 1.0; // its logarithm is the zero
        fit.Record().Residual.Value = -7.0;
        ZeroDialog dialog(button);
        const Fit::Outcome outcome = fit.Run();
        EXPECT_TRUE(outcome.Ok);
        EXPECT_EQ(dialog.Asked, 1);
        EXPECT_EQ(dialog.Text,
                  "At least one parameter is zero and, thus, cannot be fit by the Simplex routine!");
        EXPECT_EQ(dialog.Buttons, "Stop Checking;Do Fit;Abort;");
        EXPECT_EQ(*outcome.Iterations == 0, button == Abort);
        EXPECT_EQ(outcome.Residual == -7.0, button == Abort);
        EXPECT_EQ(fit.Updates == 0, button == Abort);
        EXPECT_FALSE(Fit::FitRunning());
        fit.Record().Terms[0].Tau.Value = 1.0;
        (void)fit.Run();
        EXPECT_EQ(dialog.Asked, button == StopChecking ? 1 : 2);
    }
    Fit::ResumeZeroCheck();
}

TEST(RunFit, ASecondFitFromWithinIsRefused) {
    DecayFit fit, inner;
    Fit::Outcome refused;
    fit.Control.BreakProc = [&] {
        refused = inner.Run();
        return false;
    };
    EXPECT_TRUE(fit.Run().Ok);
    EXPECT_FALSE(refused.Ok);
    EXPECT_EQ(refused.Message, "SweepFit: still in progress.");
    EXPECT_EQ(inner.Record().Amp0.Value, 0.0);
    EXPECT_TRUE(inner.Run().Ok);
}

TEST(RunFit, DataThatAreNoNumbersEndAtTheLimitAndMoveNothing) {
    for (const double bad : {NaN, std::numeric_limits<double>::infinity()}) {
        DecayFit fit;
        fit.Y[50] = bad;
        const Fit::Outcome outcome = fit.Run();
        EXPECT_TRUE(outcome.Ok);
        EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::MaxIterations);
        EXPECT_EQ(outcome.LastResidual, 1E37); // nothing was ever better than none
        EXPECT_EQ(fit.Record().Terms[0].Tau.Value, std::exp(std::log(1E-3)));
        EXPECT_TRUE(std::isnan(outcome.Residual));
    }
}

TEST(RunFit, AFitThatNobodyCanEndIsEnded) {
    DecayFit fit;
    fit.X.resize(4);
    fit.Y = {1.0, NaN, 1.0, 1.0};
    fit.Control.StopMaxIteration = fit.Control.StopEpsilon = 0;
    EXPECT_EQ(fit.Run().Iterations, Fit::MaxUnattendedIterations);
    int asked = 0;
    fit.Control.BreakProc = [&] { return ++asked > Fit::MaxUnattendedIterations + 5; };
    EXPECT_EQ(fit.Run().Iterations, Fit::MaxUnattendedIterations + 5);
}

TEST(RunFit, RefusesWhatDoesNotFitTogether) {
    DecayFit fit;
    fit.X.pop_back();
    EXPECT_EQ(fit.Run().Message, "Error during time array setup in SweepFit");
    fit.X.clear();
    fit.Y.clear();
    EXPECT_FALSE(fit.Run().Ok);
    Fit::FitControl control;
    for (const SweepFitType type :
         {SweepFitType::OnlineOnly, SweepFitType::Measure, static_cast<SweepFitType>(200)})
        EXPECT_EQ(Fit::Run(Fit::Select(fit.Records, type), {}, control).Message, "Unknown Fit Type");
}

}
