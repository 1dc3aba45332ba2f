#include "data/new_data_set.h"

#include "data/traces.h"
#include "support/data_session.h"

namespace {

VennicTrace* NewTraceIn(NewDataSet& set) {
    VennicGroup* const group = VennicTree::NewGroup(set.Vennic, set.Root, 0);
    VennicSeries* const series = VennicTree::NewSeries(set.Vennic, group, 0);
    return VennicTree::NewTrace(set.Vennic, VennicTree::NewSweep(set.Vennic, series, 0), 0);
}

}

TEST(NewDataSet, EveryFormatComesBackWithinHalfARawUnit) {
    const Support::TempFolder folder;
    const std::string path = folder.At("formats.dat");
    const std::vector<float> samples = {0.0f, 1.5e-9f, -2.25e-9f, 3.2e-8f, -3.2e-8f, 7e-12f};
    for (std::uint8_t format = 0; format < 4; ++format) {
        {
            NewDataSet set;
            ASSERT_TRUE(BeginDataSet(set, path, "test"));
            VennicTrace* const trace = NewTraceIn(set);
            trace->TrDataFormat = format;
            trace->TrDataFactor = 1e-12;
            ASSERT_TRUE(AppendSamples(set, *trace, samples));
            ASSERT_TRUE(FinishDataSet(set));
        }
        Support::OpenedData data(path);
        DataSession& session = data.Session;
        ASSERT_TRUE(Traces::LoadTrace(session, session.CurSweep, session.CurTrace, session.DataHeap));
        const std::span<const float> loaded = Traces::Loaded(*session.CurTrace);
        ASSERT_EQ(loaded.size(), samples.size());
        for (std::size_t i = 0; i < samples.size(); ++i)
            EXPECT_NEAR(loaded[i], samples[i], 0.51e-12) << "format " << int{format} << ", sample " << i;
    }
}

TEST(NewDataSet, DataBeyondTheLimitAreRefusedAndNothingStandsInPlaceBeforeItIsFinished) {
    const Messages::Recorder said;
    const Support::TempFolder folder;
    {
        NewDataSet set;
        ASSERT_TRUE(BeginDataSet(set, folder.At("limit.dat"), "test"));
        VennicTrace* const trace = NewTraceIn(set);
        set.Position = 0x7fffffff - 8; // as if that much had been written: the last four samples still fit
        EXPECT_TRUE(AppendSamples(set, *trace, std::vector<float>(4)));
        EXPECT_FALSE(AppendSamples(set, *trace, std::vector<float>(1)));
    }
    EXPECT_EQ(said.Alerts, "File length is limited to 2 Gbyte of data !\n");
    EXPECT_EQ(folder.Count(), 0);
}
