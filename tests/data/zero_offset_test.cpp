#include "data/zero_offset.h"

#include "data/traces.h"
#include "support/data_session.h"

// The second series of steps.dat: 50 stored points, a prepulse that is not stored, then 400 points that the
// fit looks at.
TEST(ZeroOffset, IsTheMeanOfTheRecordedStretchWhateverIsLoaded) {
    Support::OpenedData data(Support::Recording("steps.dat"));
    VennicTrace* const trace = data.Trace({1, 2, 1, 1});
    VennicSweep* const sweep = data.SweepOf(trace);
    ASSERT_TRUE(Traces::LoadTraceRaw(data.Session, trace, data.Session.DataHeap));
    double sum = 0;
    for (int i = 50 + 100; i < 50 + 300; ++i) sum += trace->Samples[i];
    Setup::Settings.SubtractZero = true;
    ASSERT_TRUE(Traces::LoadAndCorrect(data.Session, sweep, trace, data.Session.DataHeap));
    const float corrected = trace->Samples[0];

    EXPECT_FALSE(ZeroOffset::FixZero(data.Session, sweep, trace, 0.5, 0.5));
    EXPECT_FALSE(ZeroOffset::FixZero(data.Session, sweep, trace, 2.0, 3.0)); // behind the trace
    const double before = trace->TrZeroData;
    ASSERT_TRUE(ZeroOffset::FixZero(data.Session, sweep, trace, 0.25, 0.75));
    EXPECT_NE(trace->TrZeroData, before);
    EXPECT_NEAR(trace->TrZeroData, sum / 200, 1e-18);
    EXPECT_EQ(trace->Samples[0], corrected);
}
