// How a fit starts, stops, asks, and what it leaves behind.
#include "fit/fit.h"
#include "support/testing.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// 2 + 5 * exp(-x/0.003), without noise.
struct DecayFit {
    std::vector<double> X, Y;
    Fit::SweepRecords Records = Fit::DefaultSweepRecords();
    Fit::FitControl Control = Fit::DefaultControl(Fit::Level::Sweep);
    int Updates = 0;

    explicit DecayFit(int points = 100) {
        Fit::ResumeZeroCheck();
        for (int i = 0; i < points; ++i) {
            X.push_back(i * 1E-4);
            Y.push_back(2.0 + 5.0 * std::exp(-X.back() / 0.003));
        }
    }
    Fit::ExpRecord& Record() { return Records.Exponential; }
    Fit::Outcome Run() {
        const Fit::Data data = {X, Y, {X.size(), 1E-4, 0.0}, "s", "A"};
        return Fit::Run(Fit::Select(Records, SweepFitType::Exponential), data, Control,
                        [this](const Fit::FitRun&) { ++Updates; });
    }
};

TEST(RunFit, BreakIsAskedAtTheStartAndAfterEachEvaluation) {
    for (const int breakAt : {1, 2, 3, 7}) {
        DecayFit fit;
        int asked = 0;
        fit.Control.BreakProc = [&] { return ++asked == breakAt; };
        const Fit::Outcome outcome = fit.Run();
        EXPECT_EQ(outcome.Iterations, breakAt - 1);
        EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::Break);
        // Before the first evaluation nothing moves; after it the linear step has run.
        EXPECT_EQ(fit.Record().Amp0.Value == 0.0, breakAt == 1);
        EXPECT_FALSE(Fit::FitRunning());
    }
}

TEST(ZeroCheck, AsksForATimeConstantOfOneAndObeysTheAnswer) {
    constexpr int StopChecking = 0, Abort = 2, Headless = -1;
    for (const int button : {StopChecking, 1, Abort, Headless}) {
        SCOPED_TRACE(button);
        DecayFit fit;
        fit.Record().Terms[0].Tau.Value = 1.0; // its logarithm is the zero
        fit.Record().Residual.Value = -7.0;
        std::string asked;
        Messages::HookTable hooks;
        hooks.AskChoice = [&](std::string_view text, const Messages::Choice& choice) {
            asked += text;
            for (const char* name : choice.Buttons) asked += std::string(";") + name;
            return button < 0 ? choice.Default : button;
        };
        const Messages::HookTable former = Messages::Install(std::move(hooks));
        const Fit::Outcome outcome = fit.Run();
        EXPECT_EQ(std::exchange(asked, ""), "At least one parameter is zero and, thus, cannot be fit by the "
                                            "Simplex routine!;Stop Checking;Do Fit;Abort");
        EXPECT_EQ(outcome.Residual == -7.0, button == Abort);
        EXPECT_EQ(fit.Updates == 0, button == Abort);
        fit.Record().Terms[0].Tau.Value = 1.0;
        (void)fit.Run();
        EXPECT_EQ(asked.empty(), button == StopChecking);
        Messages::Install(former);
    }
    Fit::ResumeZeroCheck();
}

TEST(RunFit, RefusesWhatDoesNotFitTogetherAndASecondFitFromWithin) {
    DecayFit fit, inner, empty;
    std::string refused;
    fit.Control.BreakProc = [&] {
        refused = inner.Run().Message;
        return false;
    };
    EXPECT_TRUE(fit.Run().Ok);
    EXPECT_EQ(refused, "SweepFit: still in progress.");
    fit.X.pop_back();
    EXPECT_EQ(fit.Run().Message, "Error during time array setup in SweepFit");
    empty.X = empty.Y = {};
    EXPECT_FALSE(empty.Run().Ok);
    EXPECT_EQ(Fit::Run(Fit::Select(fit.Records, SweepFitType::Measure), {}, fit.Control).Message,
              "Unknown Fit Type");
    EXPECT_TRUE(inner.Run().Ok);
}

TEST(RunFit, DataThatAreNoNumbersEndAtTheLimitAndMoveNothing) {
    for (const double bad : {NaN, HUGE_VAL}) {
        DecayFit fit;
        fit.Y[50] = bad;
        const Fit::Outcome outcome = fit.Run();
        EXPECT_EQ(outcome.FitTermination, Fit::FitTermination::MaxIterations);
        EXPECT_EQ(outcome.LastResidual, 1E37); // nothing was ever better than none
        EXPECT_EQ(fit.Record().Terms[0].Tau.Value, std::exp(std::log(1E-3)));
    }
    DecayFit endless(3);
    endless.Y[1] = NaN;
    endless.Control.StopMaxIteration = endless.Control.StopEpsilon = 0;
    EXPECT_EQ(endless.Run().Iterations, Fit::MaxUnattendedIterations);
    int asked = 0;
    endless.Control.BreakProc = [&] { return ++asked > Fit::MaxUnattendedIterations + 5; };
    EXPECT_EQ(endless.Run().Iterations, Fit::MaxUnattendedIterations + 5);
}

}
