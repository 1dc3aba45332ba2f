#include "online/kinds.h"

#include "base/text.h"
#include "setup/settings.h"

#include <array>

namespace OnlineKinds {

namespace {

struct Row {
    const char* Name;
    OnlineKinds::Class Class;
};

constexpr std::array<Row, Count> Rows = {{
    {"Sweep Count", Class::Sweep},
    {"Time", Class::Sweep},
    {"Timer Time", Class::Sweep},
    {"RealTime", Class::Sweep},
    {"Amplitude", Class::Stimulus},
    {"Duration", Class::Stimulus},
    {"ScanRate", Class::Stimulus},
    {"Extremum", Class::Measurement},
    {"Maximum", Class::Measurement},
    {"Minimum", Class::Measurement},
    {"Mean", Class::Measurement},
    {"Integral", Class::Measurement},
    {"Variance", Class::Measurement},
    {"Slope", Class::Measurement},
    {"Peak_t", Class::Measurement},
    {"AnodicQ", Class::Measurement},
    {"CathodicQ", Class::Measurement},
    {"C-slow", Class::TraceParameter},
    {"R-series", Class::TraceParameter},
    {"User Param 1", Class::SweepParameter},
    {"User Param 2", Class::SweepParameter},
    {"LockIn_CM", Class::TraceParameter},
    {"LockIn_GM", Class::TraceParameter},
    {"LockIn_GS", Class::TraceParameter},
    {"Series Time", Class::Sweep},
    {"Stimulus", Class::NotComputed},
    {"SegTime.Abs", Class::Stimulus},
    {"Equation", Class::Equation},
    {"Constant", Class::Constant},
    {"a + b", Class::TwoOperands},
    {"a - b", Class::TwoOperands},
    {"a * b", Class::TwoOperands},
    {"a / b", Class::TwoOperands},
    {"abs", Class::OneOperand},
    {"log", Class::OneOperand},
    {"sqr", Class::OneOperand},
    {"1/a", Class::OneOperand},
    {"1/log", Class::OneOperand},
    {"1/sqr", Class::OneOperand},
    {"Trace", Class::NotComputed},
    {"Q", Class::NotComputed},
    {"1 / trace", Class::NotComputed},
    {"1 / Q", Class::NotComputed},
    {"ln (trace)", Class::NotComputed},
    {"ln (Q)", Class::NotComputed},
    {"log (trace)", Class::NotComputed},
    {"log (Q)", Class::NotComputed},
    {"Trace Time", Class::NotComputed},
    {"Freq", Class::NotComputed},
    {"Dist", Class::NotComputed},
    {"Histo Ampl", Class::NotComputed},
    {"Histo Bins", Class::NotComputed},
    {"Online Index", Class::Sweep},
    {"V-peak", Class::Measurement},
    {"SegTime.Rel", Class::Stimulus},
    {"Cell Potential", Class::TraceParameter},
    {"Seal Resistance", Class::TraceParameter},
    {"Rs-value", Class::TraceParameter},
    {"Leak Comp.", Class::TraceParameter},
    {"M-conductance", Class::TraceParameter},
    {"Temperature", Class::SweepParameter},
    {"Pip.Pressure", Class::SweepParameter},
    {"Int.Solution", Class::TraceParameter},
    {"Ext.Solution", Class::TraceParameter},
    {"Digital-in", Class::SweepParameter},
    {"a in b", Class::TwoOperands},
    {"Reversal", Class::Measurement},
    {"LockIn_Ph", Class::TraceParameter},
    {"LockIn_Hz", Class::Stimulus},
    {"Tot.Mean", Class::Measurement},
    {"dt", Class::NotComputed},
    {"Int.Sol.Value", Class::TraceParameter},
    {"Ext.Sol.Value", Class::TraceParameter},
    {"atan", Class::OneOperand},
    {"1/atan", Class::OneOperand},
    {"Min_t", Class::Measurement},
    {"Max_t", Class::Measurement},
    {"Thresh_t", Class::Measurement},
}};
static_assert(ThreshTime == Count - 1);

}

Class ClassOf(int kind) {
    return kind >= 0 && kind < Count ? Rows[static_cast<std::size_t>(kind)].Class : Class::NotComputed;
}

std::string NameOf(int kind) {
    if (kind == UserParam1) return Setup::Settings.Parameters.UserParam1;
    if (kind == UserParam2) return Setup::Settings.Parameters.UserParam2;
    return kind >= 0 && kind < Count ? Rows[static_cast<std::size_t>(kind)].Name : "";
}

std::string NameOf(const OnlineFunction& function) {
    const std::string_view name = Texts::FromField(function.OfName);
    return name.empty() ? NameOf(function.OfKind) : std::string(name);
}

}
