// The models against their formulas, and the tables against a single point.
#include "math/matrix_inverse.h"
#include "support/fit_records.h"

namespace {

std::uint64_t Bits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

constexpr FitParamState Free = FitParamState::Fit, Held = FitParamState::Hold, Off = FitParamState::Off;

// The solved value of a parameter.
struct Solved {
    const Fit::Selected& Selected;
    double operator()(const char* name) const { return Fit::FindParam(Selected, name)->Param->Value; }
};

struct Configuration {
    const char* Note;
    bool SweepLevel;
    const char *Model, *Settings; // NAME=VALUE and NAME:STATE
    double (*Formula)(const Solved& v, double x);
};

double Decay(double x, double tau) {
    return std::exp(-x / tau);
}

double Bell(double x, double mean, double sigma) {
    return std::exp(-std::pow(x - mean, 2) / (2 * sigma * sigma));
}

double Step(double x, double half, double slope) {
    return 1 / (1 + std::exp((half - x) / slope));
}

const Configuration Configurations[] = {
    {"offset and two terms", true, "Exponential", "Tau1=0.7 Tau2=3.1 Amp2:fit",
     [](auto& v, double x) { return v("Amp0") + v("Amp1") * Decay(x, 0.7) + v("Amp2") * Decay(x, 3.1); }},
    {"rising, no offset", true, "1-Exponential", "Tau1=0.7 Amp0:off",
     [](auto& v, double x) { return v("Amp1") * (1 - Decay(x, 0.7)); }},
    {"tau of 0", true, "Exponential", "Tau1=0 Tau1:hold", [](auto& v, double) { return v("Amp0"); }},
    {"gate, two taus", true, "Hodgkin&Huxley",
     "PowerM=3 PowerH=2 TauM=0.4 TauH=1.1 TauH2=5 Ratio12=0.6 Hinf=0.2 Delay=0.25 Qon=0.3 "
     "TauH2:fit Ratio12:fit Delay:fit Qon:fit",
     [](auto& v, double x) {
         const double t = x - 0.25, h = (0.6 * Decay(t, 1.1) + 0.4 * Decay(t, 5.0)) * 0.8 + 0.2;
         return t < 0 ? 0.0 : Decay(t, 0.4) * 0.3 / 0.4 + v("I0") * std::pow(1 - Decay(t, 0.4), 3) * h * h;
     }},
    {"three bells", true, "Gaussian",
     "Mean1=0.5 Sigma1=0.4 Mean2=1.5 Sigma2=0 Mean3=2 Sigma3=0.3 Amp2:hold Amp3:fit",
     [](auto& v, double x) { return v("Amp1") * Bell(x, 0.5, 0.4) + v("Amp3") * Bell(x, 2.0, 0.3); }},
    {"two powers", false, "(Exp(x-x0))^n",
     "X0=0.3 Tau1=0.9 Power1=2.5 Tau2=2 Rising2=0 Amp2=0.5 X0:fit Amp2:hold",
     [](auto& v, double x) {
         const double t = x - 0.3;
         return v("Amp0") + (t <= 0 ? 0.0 : 0.5 * Decay(t, 2.0) - std::pow(1 - Decay(t, 0.9), 2.5));
     }},
    {"two steps", false, "Boltzmann", "Xhalf1=0.5 Slope1=0.2 Power1=3 Xhalf2=2 Slope2=-0.4 Amp2:fit",
     [](auto& v, double x) {
         return v("Offset") + v("Amp1") * std::pow(Step(x, 0.5, 0.2), 3) + v("Amp2") * Step(x, 2.0, -0.4);
     }},
    {"held step", false, "Boltzmann", "Xhalf1=0.5 Slope1=0.2 Amp2=0.7 Amp2:hold",
     [](auto& v, double x) {
         return v("Offset") + v("Amp1") * Step(x, 0.5, 0.2) + 0.7 * Step(x, -0.1, 0.01);
     }},
    {"dose", false, "Dose-Response", "KD=1.3 Hill=1.7",
     [](auto& v, double x) { return v("Offset") + v("Amp") / (1 + std::pow(x / 1.3, 1.7)); }},
    {"ohmic, both blocks", false, "Current-Voltage",
     "Vhalf=0.3 Slope=0.4 PBlVh=2 PBlSl=0.5 NBlVh=0.1 NBlSl=0.3 PBlVh:fit NBlVh:fit",
     [](auto& v, double x) {
         const double blocks = Step(x, 2.0, -0.5) * Step(x, 0.1, 0.3);
         return v("Cond") * (x - 0.05) * std::pow(Step(x, 0.3, 0.4), 3) * blocks;
     }},
    {"GHK", false, "Current-Voltage", "GHK=1 Power=1 Erev=0.4",
     [](auto& v, double x) {
         const double k = 0.02558, drive = 1 - Decay(x - 0.4, k);
         return v("Cond") * (x == 0 ? k * drive : x * drive / (1 - Decay(x, k))) * Step(x, -0.04, 0.01);
     }},
    {"all terms", false, "PowerSpectrum", "Fc1=0.4 Fc2=1.4 Fc3=0.9 S2:fit S3:fit",
     [](auto& v, double x) {
         const double two = v("S1") / (1 + x * x / 0.16) + v("S2") / (1 + x * x / 1.96);
         return v("Sinf") + two + v("S3") / (1 + x / 0.9);
     }},
};

struct Prepared {
    Support::FitRecords Records;
    Fit::Selected Selected;
    Fit::FitRun Run;
    std::vector<double> X, Y;

    explicit Prepared(const Configuration& setup) : Selected(Records.Select(setup.Model, setup.SweepLevel)) {
        std::istringstream words(setup.Settings);
        for (std::string word; words >> word;) {
            const std::size_t at = word.find_first_of("=:");
            const std::string name = word.substr(0, at), what = word.substr(at + 1);
            const bool isValue = word[at] == '=';
            EXPECT_EQ(isValue, isValue && Fit::SetByName(Selected, name, std::stod(what))) << name;
            if (!isValue)
                Fit::FindParam(Selected, name)->Param->State = what == "fit"    ? Free
                                                               : what == "hold" ? Held
                                                                                : Off;
        }
        for (int i = 0; i < 301; ++i) {
            X.push_back(i * 0.01);
            Y.push_back(std::sin(i * 0.37) + 0.01 * i);
        }
        Run.X = X;
        Run.Y = Y;
        Run.Function.Model = Selected.Model;
        Run.Function.Record = Selected.Record;
        EXPECT_TRUE(Selected.Model->ModelSetup(Selected.Record, Run.Function));
        EXPECT_TRUE(Fit::Prepare(Run));
        Fit::Tabulate(Run);
    }
};

// The value of a column of the model at one x, as if nothing had been tabulated before.
struct Single {
    double Cells[Fit::MaxColumns] = {1.0};
    double FixedPart = 0.0;

    Single(const Fit::FitFunction& function, double x) {
        Fit::Tables tables;
        tables.X = {&x, 1};
        for (int i = 0; i < Fit::MaxColumns; ++i) tables.Column[i] = &Cells[i];
        tables.FixedPart = &FixedPart;
        function.Model->Tabulate(function, tables);
    }
};

// Tables give what evaluating each point afresh gives, bit for bit. With all amplitudes solved, fixed part
// plus amplitudes times basis is the model, whatever the rounding, and the model is its formula.
TEST(Models, TablesAgreeWithSinglePointsBitForBitAndModelsWithTheirFormulas) {
    for (const Configuration& setup : Configurations) {
        SCOPED_TRACE(setup.Note);
        Prepared p(setup);
        const Fit::FitFunction& function = p.Run.Function;
        const int m = function.LinearCount;
        MatrixInverse::Matrix a = {};
        double r[Fit::MaxLinear] = {};
        for (int i = 0; i < m; ++i)
            for (std::size_t k = 0; k < p.X.size(); ++k) {
                const Single at(function, p.X[k]);
                const double b = at.Cells[function.Basis[i]];
                r[i] += (p.Y[k] - (function.HasFixedPart ? at.FixedPart : 0.0)) * b;
                for (int j = 0; j < m; ++j) a[i][j] += at.Cells[function.Basis[j]] * b;
            }
        MatrixInverse::Invert(a, a, m);
        Fit::SolveLinear(p.Run);
        for (int i = 0; i < m; ++i) {
            double amplitude = 0.0;
            for (int j = 0; j < m; ++j) amplitude += r[j] * a[i][j];
            EXPECT_EQ(Bits(*function.Target[i]), Bits(amplitude)) << i;
        }
        double squares = 0.0;
        for (std::size_t k = 0; k < p.X.size(); ++k) {
            const double x = p.X[k], value = Fit::ModelValue(function, x);
            const double deviation = p.Y[k] - value;
            squares += deviation * deviation;
            const Single at(function, x);
            double sum = function.HasFixedPart ? at.FixedPart : 0.0, size = std::fabs(sum);
            for (int i = 0; i < m; ++i) {
                const double part = *function.Target[i] * at.Cells[function.Basis[i]];
                sum += part;
                size += std::fabs(part);
            }
            ASSERT_NEAR(m > 0 ? value : sum, sum, 1E-14 * size + 1E-300) << x;
            const double want = setup.Formula({p.Selected}, x);
            ASSERT_NEAR(value, want, 1E-12 * (1 + std::fabs(want))) << x;
        }
        EXPECT_EQ(Bits(Fit::ComputeResidual(p.Run)),
                  Bits(std::sqrt(squares / (static_cast<double>(p.X.size()) - 1.0))));
    }
}

TEST(Models, SetupCorrectsTheStatesOfTheRecord) {
    Support::FitRecords records;
    Fit::HHRecord& hh = records.Sweep.HodgkinHuxley;
    const auto setUp = [](const Fit::Selected& selected) {
        Fit::FitFunction function;
        return selected.Model->ModelSetup(selected.Record, function) ? function.NonlinearCount : -1;
    };
    const Fit::Selected hhFit = Fit::Select(records.Sweep, SweepFitType::HodgkinHuxley);
    hh.TauM.State = hh.TauH.State = Off;
    EXPECT_EQ(setUp(hhFit), 0);
    EXPECT_EQ(hh.PowerM + hh.PowerH, 0);
    EXPECT_TRUE(hh.Qon.State == Off && hh.Hinf.State == Off && hh.Qon.Value == 0.0);
    const auto refuses = [&](auto spoil) {
        Fit::Init(hhFit);
        spoil();
        return setUp(hhFit) < 0;
    };
    EXPECT_TRUE(refuses([&] { hh.I0.State = Off; }));
    EXPECT_TRUE(refuses([&] { hh.TauH2 = Fit::Param(-1.0); }));
    EXPECT_FALSE(refuses([&] { hh.TauH2 = Fit::OffParam(-1.0); }));
    EXPECT_FALSE(refuses([&] { hh.PowerH = 0, hh.TauH.Value = -1.0; }));
    records.Series.CurrentVoltage.NBlVh.State = Off;
    records.Series.CurrentVoltage.NBlSl.State = Free;
    EXPECT_EQ(setUp(Fit::Select(records.Series, SeriesFitType::CurrentVoltage)), 3);
    EXPECT_EQ(records.Series.CurrentVoltage.NBlSl.State, Off);
}

}
