#include "math/vector_exp.h"
#include "support/testing.h"

namespace {

std::uint64_t Bits(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

double Exp(double value) {
    double result;
    VectorExp::Exp(&value, &result, 1);
    return result;
}

std::vector<double> ManyArguments() {
    std::vector<double> arguments;
    for (int i = -20000; i <= 20000; ++i) {
        arguments.push_back(i * 0.0354);
        arguments.push_back(std::ldexp(i * 1.37, -i % 50));
    }
    return arguments;
}

TEST(VectorExp, StaysWithinItsErrorBoundAndLeavesTheEdgesToTheLibrary) {
    for (const double x : ManyArguments()) {
        if (std::fabs(x) >= 708.0) continue;
        const double got = Exp(x), unit = std::nextafter(got, HUGE_VAL) - got;
        const long double exact = std::exp(static_cast<long double>(x));
        ASSERT_LE(std::fabs(static_cast<double>(exact - static_cast<long double>(got))), 1.1 * unit) << x;
    }
    for (const double x :
         {0.0, -0.0, HUGE_VAL, -HUGE_VAL, 709.5, 710.0, -709.0, -745.0, -746.0, 1E300, -1E300})
        EXPECT_EQ(Exp(x), std::exp(x)) << x;
    EXPECT_TRUE(std::isnan(Exp(std::nan(""))));
}

TEST(VectorExp, AnElementDoesNotDependOnItsPlaceOrNeighbours) {
    std::vector<double> in = ManyArguments();
    in.insert(in.begin() + 3, std::numeric_limits<double>::quiet_NaN());
    std::vector<double> out(in.size()), shifted(in.size());
    VectorExp::Exp(in.data(), out.data(), in.size());
    for (const std::size_t first : {std::size_t{1}, std::size_t{5}, in.size() - 3}) {
        VectorExp::Exp(in.data() + first, shifted.data(), in.size() - first);
        for (std::size_t i = first; i < in.size(); ++i)
            ASSERT_EQ(Bits(shifted[i - first]), Bits(out[i])) << in[i];
    }
    for (std::size_t i = 0; i < in.size(); i += 7) ASSERT_EQ(Bits(Exp(in[i])), Bits(out[i])) << in[i];
    VectorExp::Exp(in.data(), in.data(), in.size());
    for (std::size_t i = 0; i < in.size(); ++i) ASSERT_EQ(Bits(in[i]), Bits(out[i]));
}

TEST(VectorExp, DecayRoundsItsArgumentAsWritten) {
    const std::vector<double> x = {-1.0, 0.0, 0.1, 0.3, 1.7, 29.0, 1E6};
    for (const double shift : {0.0, 0.3, -2.7})
        for (const double tau : {0.7, -0.9, 1E-9, 0.0}) {
            std::vector<double> out(x.size());
            VectorExp::Decay(x.data(), shift, tau, out.data(), x.size());
            for (std::size_t i = 0; i < x.size(); ++i) {
                const double want = Exp(-(x[i] - shift) / tau);
                EXPECT_TRUE(Bits(out[i]) == Bits(want) || (std::isnan(out[i]) && std::isnan(want)))
                    << x[i] << " " << shift << " " << tau;
            }
        }
}

}
