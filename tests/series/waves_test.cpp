// The wave store: every operation against independent cases, and the limits that these leave out.
#include "base/buffer.h"
#include "support/waves.h"
#include "vectors.h"

namespace {

using namespace SGFit;
using nlohmann::json;

using P = Support::Point;
using Support::OpenStore, Support::SetPreview;

std::vector<P> PointsOf(const json& list) {
    std::vector<P> points;
    for (const json& p : list)
        points.push_back({Vectors::Number(p[0]), Vectors::Number(p[1]), p[2].get<int>()});
    return points;
}

AxisKind AxisOf(const json& op) {
    return op["axis"] == "X" ? AxisKind::X : AxisKind::Y;
}

void Label(WaveLabel& label, const json& texts) {
    Texts::ToField(label.Name, texts[0].get<std::string>());
    Texts::ToField(label.Unit, texts[1].get<std::string>());
}

void RunMath(Store& store, const json& op) {
    store.MathOp = op["math_op"];
    store.MathConst = op.value("const", 0.0);
    store.MathValue = op.value("value_index", std::int16_t{0});
    const std::vector<double> values = op.value("values", std::vector<double>{});
    std::ranges::copy(values, Setup::Settings.Protocol.Values.begin());
    (void)MathWave(store, AxisOf(op));
}

void RunOperation(Store& store, const json& op) {
    const std::string kind = op["op"];
    if (kind == "accumulate") {
        (void)AccumulateWave(store);
    } else if (kind == "preview") {
        SetPreview(store, PointsOf(op["points"]));
    } else if (kind == "sort") {
        op["axis"] == "X" ? SortXWave(store) : SortYWave(store);
    } else if (kind == "math") {
        RunMath(store, op);
    } else if (kind == "wave_op") {
        store.MathBufferOp = op["buffer_op"];
        (void)MathBuffer(store, AxisOf(op));
    } else {
        FAIL() << "unknown operation " << kind;
    }
}

void ExpectWave(const Wave& wave, const std::int16_t* counts, const json& want) {
    ASSERT_EQ(wave.Points, static_cast<int>(want.size()));
    for (int i = 0; i < wave.Points; ++i) {
        const json& p = want[static_cast<std::size_t>(i)];
        EXPECT_PRED3(Vectors::Near, wave.X[i], Vectors::Number(p[0]), 1E-14) << i;
        EXPECT_PRED3(Vectors::Near, wave.Y[i], Vectors::Number(p[1]), 1E-14) << i;
        EXPECT_EQ(wave.Skip[i], p[2].get<int>()) << i;
        if (counts) {
            EXPECT_EQ(counts[i], p[3].get<int>()) << i;
        }
    }
}

std::string Hex(const void* bytes, std::size_t count) {
    return Texts::Hex({static_cast<const std::byte*>(bytes), count});
}

void ExpectStats(const WaveStats& got, const json& want) {
    const std::pair<const char*, double> fields[] = {
        {"XMinAll", got.XMinAll}, {"XMaxAll", got.XMaxAll}, {"YMinAll", got.YMinAll},
        {"YMaxAll", got.YMaxAll}, {"XMin", got.XMin},       {"XMax", got.XMax},
        {"YMin", got.YMin},       {"YMax", got.YMax},       {"MeanX", got.MeanX},
        {"MeanY", got.MeanY},     {"SDX", got.SDX},         {"SDY", got.SDY}};
    for (const auto& [name, value] : fields)
        EXPECT_PRED3(Vectors::Near, value, Vectors::Number(want[name]), 1E-14) << name;
    EXPECT_EQ(got.SkipCount, want["SkipCount"].get<int>());
}

TEST(Waves, EveryCaseAgrees) {
    static_assert(std::endian::native == std::endian::little, "the cases hold little-endian bytes");
    const auto cases = Vectors::Cases("waves");
    EXPECT_EQ(cases.size(), 18U);
    for (const json& c : cases) {
        SCOPED_TRACE(c["id"].get<std::string>() + ": " + c["note"].get<std::string>());
        OpenStore store;
        SetPreview(store, PointsOf(c["in"]["preview"]));
        Label(store.PreviewX, c["in"]["labels"][0]);
        Label(store.PreviewY, c["in"]["labels"][1]);
        const json& out = c["out"];
        for (std::size_t i = 0; i < c["in"]["ops"].size(); ++i) {
            Messages::Recorder said;
            RunOperation(store, c["in"]["ops"][i]);
            const auto message = out["messages"][i].get<std::string>();
            EXPECT_EQ(said.Alerts, message.empty() ? "" : message + "\n");
        }
        EXPECT_EQ(static_cast<int>(store.ActiveWave), out["active"].get<int>());
        ExpectWave(WaveOf(store, Active::Preview), nullptr, out["preview"]);
        ExpectWave(WaveOf(store, Active::Buffer), store.BufferCnt, out["buffer"]);
        ASSERT_EQ(store.AccumCount, static_cast<int>(out["accum"].size()));
        const auto points = static_cast<std::size_t>(store.BufferPoints);
        for (std::size_t k = 0; k < out["accum"].size(); ++k) {
            EXPECT_EQ(Hex(store.AccumData[k], 8 * points), out["accum"][k]["data"].get<std::string>());
            EXPECT_EQ(Hex(store.AccumSkip[k], points), out["accum"][k]["skip"].get<std::string>());
        }
        if (out.contains("stats")) ExpectStats(store.Stats, out["stats"]);
        if (!out.contains("labels")) continue;
        EXPECT_EQ(store.BufferX, store.PreviewX);
        EXPECT_EQ(store.BufferY, store.PreviewY);
    }
}

TEST(Waves, AMissingArrayIsNamedAndNothingStaysAllocated) {
    std::set<std::string> said;
    for (std::size_t limit = 1024;; limit += 1024) { // until all arrays fit
        Store store;
        const Messages::Recorder one;
        if (Open(store, limit)) break;
        ASSERT_LT(limit, 4'000'000U);
        EXPECT_FALSE(Buffer::Exists(HeapName));
        said.insert(one.Alerts);
    }
    EXPECT_TRUE(said.contains("Allocation of XPreview for SGFit failed\n"));
    EXPECT_FALSE(Buffer::Exists(HeapName));
}

TEST(Waves, TheThirtyThirdWaveIsRefusedAndTheOthersStay) {
    OpenStore store;
    const Messages::Recorder said;
    EXPECT_TRUE(WavesToBackground(store)); // an empty wave: nothing happens
    EXPECT_EQ(store.BackgroundCount, 0);
    for (int k = 1; k <= MaxAccumulated; ++k) {
        SetPreview(store, {{1, k * 1.0}, {2, 7, k != 32 ? 1 : 0}});
        ASSERT_TRUE(WavesToBackground(store));
        ASSERT_TRUE(AccumulateWave(store));
        store.ActiveWave = Active::Preview;
    }
    EXPECT_FALSE(AccumulateWave(store) || WavesToBackground(store));
    EXPECT_EQ(said.Alerts, "Max. number of accumulated waves reached\n"
                           "Maximum number of background waves exceeded.\n");
    EXPECT_TRUE(store.BackgroundPoints[31] == 2 && store.BackgroundData[30][1] == 31);
    EXPECT_EQ(store.AccumCount, 32);
    EXPECT_TRUE(store.YBuffer[0] == 16.5 && store.BufferCnt[0] == 32);
    EXPECT_TRUE(store.YBuffer[1] == 7.0 && store.BufferCnt[1] == 1); // flagged in all waves but the last
    EXPECT_EQ(store.BufferSkip[1], 1);                               // as in the first wave
    const std::size_t used = store.Heap->UsedBytes();
    WipeBackground(store);
    EXPECT_EQ(store.BackgroundCount, 0);
    EXPECT_LT(store.Heap->UsedBytes(), used);
    for (const int points : {MaxPoints + 1, -1, 3})
        EXPECT_EQ(ManualWavePoints(store, points), points == 3) << points;
    ClearWave(store);
    EXPECT_EQ(store.AccumCount + store.BufferPoints + store.PreviewPoints, 0);
    EXPECT_EQ(store.AccumData[31], nullptr);
}

TEST(Waves, SortingMovesWholePointsAndTiesKeepTheirOrder) {
    OpenStore store;
    int refreshed = 0;
    SetPreview(store, {{3, 1, 1}, {1, 2}, {3, 3}, {2, 4}, {1, 5, 1}});
    store.Refreshed = [&refreshed] { ++refreshed; };
    SortXWave(store);
    ExpectWave(WaveOf(store, Active::Preview), nullptr,
               json::parse("[[1,2,0],[1,5,1],[2,4,0],[3,1,1],[3,3,0]]"));
    SortYWave(store);
    EXPECT_EQ(store.YPreview[0], 1);
    EXPECT_EQ(refreshed, 2);
    ClearPreview(store);
    SortXWave(store); // an empty wave is left alone, without a redraw
    EXPECT_EQ(refreshed, 3);
}

// The values of the accumulated waves follow; the byte beside them is known to be another one than the flag.
TEST(Waves, SortingTheBufferTakesTheAccumulatedWavesAlong) {
    OpenStore store;
    SetPreview(store, {{2, 10}, {1, 20, 1}});
    ASSERT_TRUE(WaveToBuffer(store));
    const double ten = 10;
    std::uint8_t bytes[8];
    std::memcpy(bytes, &ten, sizeof bytes);
    SortXWave(store);
    EXPECT_EQ(store.XBuffer[0], 1);
    EXPECT_EQ(store.BufferSkip[0], 1);
    EXPECT_EQ(store.AccumData[0][1], 10);
    double first = 20; // its second byte was swapped with the flag of the first point, 0
    std::memset(reinterpret_cast<char*>(&first) + 1, 0, 1);
    EXPECT_EQ(store.AccumData[0][0], first);
    EXPECT_EQ(store.AccumSkip[0][0], 0);
    // A longer preview wave is sorted by its own keys, and the accumulated waves with it.
    SetPreview(store, {{9, 1}, {8, 2}, {7, 3}, {6, 4}});
    SelectActiveWave(store, Active::Preview);
    SortXWave(store);
    EXPECT_EQ(store.XPreview[0], 6);
    EXPECT_EQ(store.BufferPoints, 2);
}

TEST(Waves, EventCorrectionFoldsIntervalsIntoTheOneBefore) {
    OpenStore store;
    Messages::Recorder said;
    store.MathOp = static_cast<std::uint8_t>(MathKind::EventCorrection);
    SetPreview(store, {{1, 1}, {2, 2, 1}, {3, 4}, {4, 8}, {5, 16, 1}, {6, 32, 1}, {7, 64}});
    ASSERT_TRUE(MathWave(store, AxisKind::Y));
    // Flags 2 and 3; 5 and 6 (whose own flag spreads no further).
    ExpectWave(WaveOf(store, Active::Preview), nullptr,
               json::parse("[[1,7,0],[2,2,1],[3,4,1],[4,56,0],[5,16,1],[6,32,1],[7,64,0]]"));
    store.PreviewSkip[0] = 1;
    EXPECT_FALSE(MathWave(store, AxisKind::Y));
    EXPECT_NE(said.Alerts.find("first point is skipped"), std::string::npos);
    EXPECT_EQ(store.YPreview[0], 7);
    ASSERT_TRUE(WaveToBuffer(store));
    ASSERT_TRUE(MathWave(store, AxisKind::Y)); // no effect on the buffer
    EXPECT_EQ(store.YBuffer[3], 56);
    // The whole wave in use, its last point flagged: nothing is written behind the arrays.
    store.ActiveWave = Active::Preview;
    store.PreviewPoints = MaxPoints;
    store.PreviewSkip[0] = 0;
    store.PreviewSkip[MaxPoints - 1] = 1;
    EXPECT_TRUE(MathWave(store, AxisKind::X));
}

TEST(Waves, OffsetsAndNormalisationTakeTheExtremesOfThePointsThatCount) {
    OpenStore store;
    store.MathOp = static_cast<std::uint8_t>(MathKind::Exp);
    store.MathConst = 77;
    Label(store.PreviewX, json::array({"V", "V"}));
    SetPreview(store, {{2, -4}, {3, -2}, {5, 8}, {1, 100, 1}});
    ASSERT_TRUE(ZeroTo(store, AxisKind::X, Extreme::Min));
    EXPECT_EQ(store.XPreview[0], 0);
    EXPECT_EQ(store.XPreview[3], -1); // flagged points are shifted too
    EXPECT_STREQ(store.PreviewX.Unit, "V");
    ASSERT_TRUE(NormalizeTo(store, AxisKind::X, Extreme::Max));
    EXPECT_EQ(store.XPreview[2], 1);
    EXPECT_STREQ(store.PreviewX.Unit, "");
    ASSERT_TRUE(NormalizeTo(store, AxisKind::Y, Extreme::Min));
    EXPECT_EQ(store.YPreview[2], -2);
    EXPECT_EQ(store.MathOp, static_cast<std::uint8_t>(MathKind::Exp));
    EXPECT_EQ(store.MathConst, 77);
}

TEST(Waves, AHistogramFillsTheBufferWithCounts) {
    OpenStore store;
    const Messages::Recorder said;
    Setup::FitParams& options = Setup::Settings.FitParams;
    options.LeftEdge = 1.0;
    options.BinSize = 0.5;
    store.MathBufferOp = static_cast<std::uint8_t>(WaveKind::Histogram);
    EXPECT_FALSE(MathBuffer(store, AxisKind::X));
    EXPECT_EQ(said.Alerts, "No preview data available\n");
    Label(store.PreviewY, json::array({"I", "A"}));
    // In bin 0 (also half a bin left of the edge), dropped (a whole bin), 2, flagged, the last bin, beyond
    // it.
    SetPreview(store, {{0, 1.2},
                       {0, 0.75},
                       {0, 0.5},
                       {1, 2.25},
                       {0, 2.25, 1},
                       {0, 1 + 3999.5 * 0.5},
                       {0, 1 + 4000 * 0.5},
                       {0, NAN}});
    ASSERT_TRUE(MathBuffer(store, AxisKind::Y));
    EXPECT_EQ(store.BufferPoints, 4000);
    EXPECT_EQ(store.XBuffer[2], 2.25);
    const std::vector<double> bins(store.YBuffer, store.YBuffer + 4000);
    EXPECT_TRUE(bins[0] == 2 && bins[1] == 0 && bins[2] == 1 && bins[3999] == 1);
    EXPECT_STREQ(store.BufferX.Unit, "A");
    EXPECT_STREQ(store.BufferY.Name, "Count");
    // Only the points whose X lies strictly inside the range.
    options.SelectRange = true;
    for (const auto& [lower, points] : {std::pair{0.0, 3}, {5.0, 0}}) {
        options.LowerRange = lower;
        options.UpperRange = 2;
        ASSERT_TRUE(MathBuffer(store, AxisKind::Y));
        EXPECT_EQ(store.BufferPoints, points);
    }
    options.BinSize = 0; // no bin holds anything but its edge, and that is not a number
    options.SelectRange = false;
    ASSERT_TRUE(MathBuffer(store, AxisKind::X));
    EXPECT_EQ(store.BufferPoints, 0);
}

}
