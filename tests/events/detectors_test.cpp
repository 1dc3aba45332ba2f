// Events, histograms, spectra and rise times over arrays of samples.
#include "events/action_potential.h"
#include "events/histogram.h"
#include "events/power_spectrum.h"
#include "events/rise_time.h"
#include "events/single_channel.h"
#include "events/trace_copy.h"
#include "vectors.h"

namespace {

using nlohmann::json;
using Vectors::Samples;

template <class Detector, class Event>
std::vector<Event> All(Detector detector) {
    std::vector<Event> events;
    Event event;
    while (detector.Next(event)) events.push_back(event);
    return events;
}

std::vector<SingleChannel::Event> Idealised(const SingleChannel::Settings& settings,
                                            const std::vector<float>& samples, double interval = 1e-3) {
    std::vector<SingleChannel::Event> events =
        All<SingleChannel::Detector, SingleChannel::Event>({settings, samples, interval, 0.0});
    std::erase_if(events, [](const auto& event) { return !event.Stored; });
    return events;
}

TEST(SingleChannels, AreIdealisedAsTheCasesSay) {
    for (const json& one : Vectors::Cases("events_single")) {
        const json& in = one["in"];
        if (in.value("fn", "") == "dead_time") {
            EXPECT_EQ(SingleChannel::SuggestDeadTime(in["si"], in["bandwidth"], in["digital"]),
                      one["out"]["unchanged"].get<bool>() ? -1 : one["out"]["value"].get<int>());
        }
        if (!in.contains("data")) continue;
        const SingleChannel::Settings settings{in["dead"],
                                               in["low"],
                                               in["high"],
                                               in["threshold"],
                                               in["include_first"] == 1,
                                               in["include_last"] == 1};
        const auto events = Idealised(settings, Samples(in["data"]), in["si"]);
        const json& wanted = one["out"]["events"];
        ASSERT_EQ(events.size(), wanted.size()) << one["id"];
        for (std::size_t i = 0; i < events.size(); ++i) {
            EXPECT_EQ(events[i].Level, wanted[i]["level"].get<int>());
            EXPECT_EQ(static_cast<int>(events[i].AmplitudeState), wanted[i]["amplitude_state"].get<int>());
            EXPECT_TRUE(Vectors::Near(events[i].Amplitude, wanted[i]["amplitude"], 1e-9)) << one["id"];
            EXPECT_TRUE(Vectors::Near(events[i].Duration, wanted[i]["duration"], 1e-9)) << one["id"];
        }
    }
}

TEST(SingleChannels, EndsJumpsAndSenselessLevels) {
    const SingleChannel::Settings settings{.Low = 0.0, .High = 1.0, .InclFirst = true, .InclLast = true};
    // Two channels open at once, and the trace ends in an event: level, state, mean and ms of each. The one
    // between has no samples of its own; it takes the rest of one interval and a part of the next.
    const auto jump = Idealised(settings, {0, 0, 0, 2, 2, 2, 2, 1, 1});
    const double wanted[][4] = {{0, 0, 0, 3.25}, {1, 2, 1, 1.5}, {2, 0, 2, -1}, {1, 0, 1, 1.5}};
    ASSERT_EQ(jump.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(jump[i].Level, wanted[i][0]);
        EXPECT_EQ(static_cast<int>(jump[i].AmplitudeState), wanted[i][1]);
        EXPECT_EQ(jump[i].Amplitude, wanted[i][2]);
        EXPECT_NEAR(jump[i].Duration, i == 2 ? jump[i].Duration : 1e-3 * wanted[i][3], 1e-15);
    }
    EXPECT_TRUE(jump[3].Final && jump[3].MeanSamples == 2);
    SingleChannel::Settings within = settings;
    within.InclFirst = within.InclLast = false;
    EXPECT_EQ(Idealised(within, {0, 0, 0, 2, 2, 2, 2, 1, 1}).size(), 2U);

    SingleChannel::Settings none{.Low = 1.0, .High = 1.0, .InclFirst = true};
    const std::vector<float> samples = {1, 2, 0, 2, 1};
    SingleChannel::Detector detector(none, samples, 1e-3, 0.0);
    SingleChannel::Event event;
    int events = 0;
    while (detector.Next(event)) ++events;
    EXPECT_EQ(events, 4);
    EXPECT_EQ(detector.UnreasonableLevels, 3); // the last one is a step away
    EXPECT_TRUE(Idealised(settings, {}).empty());
    EXPECT_TRUE(Idealised(within, {0}).empty());
    EXPECT_EQ(Idealised(settings, {0, NAN, 0, INFINITY, 0}).size(), 2U); // the jump is given up
}

// The quick search against a walk, sample by sample, over noise around two levels.
TEST(SingleChannels, TheQuickSearchMissesNothing) {
    std::vector<float> samples;
    unsigned state = 1;
    for (int i = 0; i < 20000; ++i) {
        state = state * 1664525U + 1013904223U;
        const double noise = (static_cast<double>(state >> 8) / 16777216.0 - 0.5) * 0.9;
        samples.push_back(static_cast<float>(((i / 370) % 3 == 0 ? -2.5e-12 : 0.0) + noise * 1e-12));
    }
    const SingleChannel::Settings settings{.Low = 0.2e-12, .High = -2.3e-12, .InclFirst = true};
    const auto levelOf = [&](float y) {
        const double x = (y - settings.Low) / (settings.High - settings.Low);
        return static_cast<int>(x >= 0 ? x + 0.5 : x - 0.49999999);
    };
    std::vector<int> wanted;
    for (std::size_t i = 1; i < samples.size(); ++i)
        if (levelOf(samples[i]) != levelOf(samples[i - 1])) wanted.push_back(levelOf(samples[i - 1]));
    std::vector<int> got;
    for (const auto& event : Idealised(settings, samples)) got.push_back(event.Level);
    EXPECT_GT(wanted.size(), 30U);
    EXPECT_EQ(got, wanted);
}

TEST(ActionPotentials, AreFoundAsTheCasesSay) {
    for (const json& one : Vectors::Cases("events_ap")) {
        const json& in = one["in"];
        if (!in.contains("data")) continue;
        const std::vector<float> samples = Samples(in["data"]);
        const auto events = All<ActionPotential::Detector, ActionPotential::Event>(
            {samples, in["threshold"], in["si"], in["x0"]});
        const json& wanted = one["out"]["events"];
        ASSERT_EQ(events.size(), wanted.size()) << one["id"];
        for (std::size_t i = 0; i < events.size(); ++i) {
            const double values[] = {events[i].Duration,    events[i].Integral,
                                     events[i].Interval,    events[i].Maximum,
                                     events[i].MaximumTime, events[i].Minimum,
                                     events[i].MinimumTime, in["time_base"].get<double>() + events[i].UpTime};
            static constexpr const char* Names[] = {"duration", "integral", "interval", "maximum",
                                                    "max_dt",   "minimum",  "min_dt",   "sweep_time"};
            for (std::size_t n = 0; n < std::size(values); ++n)
                EXPECT_TRUE(Vectors::Near(values[n], wanted[i][Names[n]], 1e-9)) << one["id"] << Names[n];
        }
    }
}

TEST(ActionPotentials, ACrossingNeedsASampleOnEitherSide) {
    const auto count = [](const std::vector<float>& samples) {
        return All<ActionPotential::Detector, ActionPotential::Event>({samples, 0.0, 1e-3, 0.0}).size();
    };
    EXPECT_EQ(count({-1, 1, -1, -2, -1}), 1U);
    EXPECT_EQ(count({-1, 0, 1, -1, -2, -1}), 0U); // passes through the threshold itself
    EXPECT_EQ(count({-1, 1, 0, -1, 1, -1, 0, 2, -1, 0}),
              1U);                                 // goes on until it falls through between samples
    EXPECT_EQ(count({1, 0, 1, -1, 1, -1, 0}), 1U); // begins above
    EXPECT_EQ(count({1, 1, 1}), 0U);
    EXPECT_EQ(count({}), 0U);
    EXPECT_EQ(count({NAN, 1, -1, 0, -1, 1, -1, 0}), 1U);
}

TEST(Histograms, CountAsTheCasesSay) {
    for (const json& one : Vectors::Cases("histogram")) {
        const json& in = one["in"];
        if (in.value("fn", "") == "copy") {
            std::vector<float> samples;
            for (int i = 0; i < in["samples"]; ++i) samples.push_back(static_cast<float>(7 * i % 5));
            const std::size_t blocks = TraceCopy::BlockCount(samples.size(), in["compress"]);
            ASSERT_EQ(blocks, one["out"]["blocks"].get<std::size_t>());
            const auto y = TraceCopy::BlockMeans(samples, in["compress"], blocks);
            const auto x = TraceCopy::BlockTimes(in["time_base"], in["dx"], in["compress"], blocks);
            for (std::size_t i = 0; i < blocks; ++i) {
                EXPECT_TRUE(Vectors::Near(x[i], one["out"]["x"][i], 1e-12));
                EXPECT_TRUE(Vectors::Near(y[i], one["out"]["y"][i], 1e-12));
            }
        }
        if (!in.contains("sweeps")) continue;
        Histogram::Counts counts;
        for (std::size_t sweep = 0; sweep < in["sweeps"].size(); ++sweep) {
            if (sweep == 0 || in["accumulate"] == 0)
                counts = {.Bins = std::vector<double>(in["nbins"].get<std::size_t>(), 0.0)};
            Histogram::Add(counts, Samples(in["sweeps"][sweep]), in["left"], in["binsize"]);
            const json& wanted = one["out"]["after_each"][sweep];
            EXPECT_EQ(counts.Bins, wanted["counts"].get<std::vector<double>>()) << one["id"];
            EXPECT_EQ(counts.Left, wanted["left"].get<double>());
            EXPECT_EQ(counts.Right, wanted["right"].get<double>());
            EXPECT_EQ(counts.Total(), wanted["total"].get<double>());
            for (std::size_t b = 0; b < counts.Bins.size(); ++b)
                EXPECT_TRUE(Vectors::Near(Histogram::Centre(b, in["left"], in["binsize"]),
                                          wanted["centres"][b], 1e-12));
        }
    }
}

TEST(Spectra, AreWhatTheCasesSay) {
    for (const json& one : Vectors::Cases("spectrum")) {
        const json& in = one["in"];
        if (in.value("fn", "") == "bins") {
            EXPECT_EQ(PowerSpectrum::BinSizes(in["m"], in["nbins"], in["df"]),
                      one["out"]["sizes"].get<std::vector<std::int32_t>>());
        }
        if (!in.contains("sweeps")) continue;
        std::vector<double> densities;
        std::int64_t blocks = 0;
        for (std::size_t sweep = 0; sweep < in["sweeps"].size(); ++sweep) {
            const PowerSpectrum::Spectrum spectrum = PowerSpectrum::Compute(
                Samples(in["sweeps"][sweep]), in["si"], in["m"], in["nbins"], in["sub_dc"] == 1);
            if (sweep == 0 || in["accumulate"] == 0) {
                densities = spectrum.Densities;
                blocks = spectrum.Blocks;
            } else {
                PowerSpectrum::Merge(densities, blocks, spectrum);
                blocks += spectrum.Blocks;
            }
            const json& wanted = one["out"]["after_each"][sweep];
            EXPECT_EQ(blocks, wanted["count"].get<std::int64_t>());
            EXPECT_EQ(spectrum.Blocks, wanted["blocks"].get<std::int64_t>());
            const auto dens = wanted["dens"].get<std::vector<double>>();
            ASSERT_EQ(densities.size(), dens.size()) << one["id"];
            const double largest = *std::max_element(dens.begin(), dens.end());
            for (std::size_t j = 0; j < dens.size(); ++j) {
                EXPECT_NEAR(densities[j], dens[j], 1e-11 * largest) << one["id"] << " " << j;
                EXPECT_TRUE(Vectors::Near(spectrum.Frequencies[j], wanted["freq"][j], 1e-12));
            }
        }
    }
    const std::vector<float> oneBlock(32, 1.0F);
    EXPECT_TRUE(std::isnan(PowerSpectrum::Compute(oneBlock, 1e-3, 16, 0, false).Densities[0]));
    EXPECT_TRUE(PowerSpectrum::Compute(std::vector<float>(100), 1e-3, 16, 0, false, [](double) {
                    return false;
                }).Densities.empty());
    EXPECT_TRUE(PowerSpectrum::IsPossible(512));
    for (const int points : {0, -4, 12, 1024}) EXPECT_FALSE(PowerSpectrum::IsPossible(points));
}

TEST(RiseTimes, AreWhatTheCasesSay) {
    for (const json& one : Vectors::Cases("risetime")) {
        const json& in = one["in"];
        const json& wanted = one["out"];
        const RiseTime::Result result = RiseTime::Measure(Samples(in["data"]), in["si"], wanted["Baseline"],
                                                          {wanted["LowLevel"], wanted["HighLevel"]});
        const double rise = result.Rise[1].Time - result.Rise[0].Time;
        EXPECT_TRUE(Vectors::Near(result.Rise[0].Time, wanted["XValue1"][0], 1e-10)) << one["id"];
        EXPECT_TRUE(Vectors::Near(rise, wanted["dXValue1"][0], 1e-10)) << one["id"];
        EXPECT_TRUE(Vectors::Near((result.High - result.Low) / rise, wanted["Slope1"][0], 1e-10));
        EXPECT_EQ(result.Fall[0].Reached, wanted["XValue2"][1] == 0);
        EXPECT_EQ(result.Fall[1].Reached, wanted["dXValue2"][1] == 0);
        EXPECT_TRUE(Vectors::Near(result.Fall[0].Time, wanted["XValue2"][0], 1e-10));
        if (result.Fall[1].Reached) {
            const double fall = result.Fall[1].Time - result.Fall[0].Time;
            EXPECT_TRUE(Vectors::Near(fall, wanted["dXValue2"][0], 1e-10));
        }
    }
    const RiseTime::Result flat = RiseTime::Measure(std::vector<float>{2.0F}, 1e-3, 2.0, {});
    EXPECT_EQ(flat.Rise[1].Time, 0.0);
    EXPECT_FALSE(flat.Fall[0].Reached);
}

}
