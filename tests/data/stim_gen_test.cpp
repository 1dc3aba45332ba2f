#include "data/stim_gen.h"

#include "support/fixtures.h"
#include "vectors.h"

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t Greatest = std::numeric_limits<std::int32_t>::max();

// Numbers by name.
struct Values : std::map<std::string, double> {
    template <class T = double>
    T Of(const char* name, double otherwise = 0) const {
        const auto found = find(name);
        return static_cast<T>(found == end() ? otherwise : found->second);
    }
    void Take(const std::string& word) { // NAME=VALUE
        (*this)[word.substr(0, word.find('='))] = std::stod(word.substr(word.find('=') + 1));
    }
};

// "C2,3,dv=1": class (K is the continuous one), voltage, duration, and more by name.
StimSegment Piece(const std::string& word) {
    std::istringstream parts(word.substr(1));
    std::string voltage, duration, part;
    std::getline(std::getline(parts, voltage, ','), duration, ',');
    Values more;
    while (std::getline(parts, part, ',')) more.Take(part);
    StimSegment segment{};
    segment.SgClass = static_cast<std::uint8_t>(std::string("CRKSQ?").find(word[0]));
    segment.SgStoreKind = more.Of("unstored") == 0;
    segment.SgVoltage = std::stod(voltage);
    segment.SgVoltageSource = more.Of<std::int32_t>("source");
    segment.SgDeltaVFactor = more.Of("fv", 1);
    segment.SgDeltaVIncrement = more.Of("dv");
    segment.SgDuration = std::stod(duration);
    segment.SgDurationSource = more.Of<std::int32_t>("from");
    segment.SgDeltaTFactor = 1;
    segment.SgDeltaTIncrement = more.Of("dt");
    return segment;
}

// A stimulation of one channel with 5 sweeps and holding -10, from the words for its segments and settings.
struct Bench {
    StimStimulation Stimulation{};
    StimChannel Channel{};
    Values Settings;
    std::vector<StimSegment> Segments;
    std::vector<double> Params = {7, -6, 6, 0, 0, 0, 0, 0, 0, 8};
    std::vector<StimGen::ScaleRow> Table = {{1, 100}, {3, 300}, {4, 400}};
    std::vector<const StimSegment*> Pointers;

    explicit Bench(const std::string& text) {
        std::istringstream words(text);
        for (std::string word; words >> word;)
            if (std::islower(word[0]))
                Settings.Take(word);
            else
                Segments.push_back(Piece(word));
        for (const StimSegment& segment : Segments) Pointers.push_back(&segment);
        Stimulation.SsSampleInterval = Settings.Of("interval", 1); // s
        Stimulation.SsNumberSweeps = 5;
        Stimulation.SsUseScanRates = Settings.Of("rates") != 0;
        Channel.ChHolding = -10;
        Channel.ChStimFlags = Settings.Of<std::int16_t>("flags");
        Channel.ChSquareParams[0] = Settings.Of("period");
        Channel.ChSquareParams[1] = Settings.Of("amplitude");
        Channel.ChDacMode = Settings.Of<std::int16_t>("dac");
        Channel.ChDacChannel = Settings.Of<std::int16_t>("bit");
    }
    StimGen::Source Source() const {
        return {.Stimulation = Stimulation,
                .Channel = Channel,
                .Segments = Pointers,
                .StParams = Params,
                .MaxStimPoints = 10,
                .Photo = [](double value) { return value + 1; },
                .ScaleTable = Table};
    }
    // The samples as text, "..." behind them where they go on, or what was said instead. With room the first
    // segment alone is written into so many samples.
    std::string Run() const {
        const Messages::Recorder said;
        const auto room = Settings.Of<std::size_t>("room");
        std::vector<float> target(room, Settings.Of<float>("fill", 0));
        bool continuous = false, done = false;
        if (room > 0) {
            auto position = Settings.Of<std::size_t>("at", 0);
            double previous = 0;
            done = Segment(1, Source(), 0, Settings.Of<std::size_t>("step", 1), target, position, previous,
                           continuous);
        } else {
            done = Stimulus(Settings.Of<std::int32_t>("sweep", 1), Source(), target, continuous);
            EXPECT_TRUE(done || target.empty());
        }
        if (!done) return said.Alerts.substr(0, said.Alerts.find('\n'));
        std::ostringstream text;
        for (const float sample : target)
            text << (text.tellp() > 0 ? " " : "") << std::round(sample * 1e4) / 1e4 + 0.0;
        return text.str() + (continuous ? " ..." : "");
    }
};

}

TEST(Increment, FollowsTheVectors) {
    int seen = 0;
    for (const auto& vector : Vectors::Cases("increments")) {
        const auto& in = vector["in"];
        if (in["kind"] != "increment") continue;
        SCOPED_TRACE(vector["id"].get<std::string>());
        ++seen;
        const bool exact = vector.contains("tol") && vector["tol"]["kind"] == "exact";
        EXPECT_PRED3(Vectors::Near,
                     StimGen::Increment(in["n"], in["N"], in["a"], in["d"], in["f"], in["mode"]),
                     vector["out"]["value"].get<double>(), exact ? 0.0 : 1e-14);
        EXPECT_EQ(StimGen::IncrementStep(in["n"], in["N"], in["mode"]), vector["out"]["step"].get<int>());
    }
    EXPECT_GE(seen, 30);
}

TEST(Increment, StepsOfWholeSeries) {
    for (const auto& [mode, wanted] :
         {std::pair{2, std::vector<int>{0, 2, 1, 3}}, {3, {3, 1, 2, 0}}, {4, {0, 4, 1, 3, 2}}})
        for (int n = 1; n <= static_cast<int>(wanted.size()); ++n)
            EXPECT_EQ(
                StimGen::IncrementStep(n, static_cast<int>(wanted.size()), static_cast<std::uint8_t>(mode)),
                wanted[static_cast<std::size_t>(n - 1)])
                << mode << " " << n;
}

TEST(Increment, NoNumberFromAFileBreaksIt) {
    for (int mode = 0; mode < 256; ++mode)
        for (const std::int32_t n : {Least, -1, 0, 1, Greatest})
            for (const std::int32_t sweeps : {Least, -3, 0, Greatest})
                for (const double factor : {NaN, HUGE_VAL, -1.0, 0.0, 1e-300, 1e300})
                    (void)StimGen::Increment(n, sweeps, 1e300, -1e300, factor,
                                             static_cast<std::uint8_t>(mode));
    EXPECT_EQ(StimGen::IncrementStep(Least, Greatest, 1), 4294967295);
    for (const double factor : {NaN, -2.0}) EXPECT_EQ(StimGen::Increment(3, 5, 2.0, 1.0, factor, 0), 2.0);
}

TEST(Stimulus, IsWhatItsSegmentsSay) {
    for (const auto& one : Support::CaseTable("stimuli")) EXPECT_EQ(Bench(one[0]).Run(), one[1]) << one[0];
    Bench missing("C1,1");
    missing.Pointers[0] = nullptr;
    EXPECT_EQ(missing.Run(), "StimGen.Stimulus: illegal parameters.");
    EXPECT_TRUE(SegmentTable(1, missing.Source()).empty());
}

TEST(StoredStimulus, LinesUpWithTheRecordedTrace) {
    const auto table = SegmentTable(1, Bench("C1,2,unstored=1 C2,3 C3,1,unstored=1 C4,2").Source());
    EXPECT_EQ(table[3].FirstPoint, 6);
    EXPECT_EQ(table[3].StoredFirst, 3);
    std::vector<float> stimulus{1, 1, 2, 2, 2, 3, 4, 4, 9}; // one behind the last segment
    KeepStored(table, stimulus);
    EXPECT_EQ(stimulus, (std::vector<float>{2, 2, 2, 4, 4, 9}));
    std::vector<float> cut{1, 1, 2}; // ended early by a continuous segment
    KeepStored(table, cut);
    EXPECT_EQ(cut, (std::vector<float>{2}));
}
