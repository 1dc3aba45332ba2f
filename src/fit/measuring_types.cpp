// The types that measure instead of fitting: their parameters, settings and defaults. What they do is told in
// events/measurements.h.
#include "base/text.h"
#include "fit/models.h"

namespace Fit {

namespace {

constexpr std::int32_t MostEvents = 4000;
constexpr double MostInt32 = 2147483647.0;

template <class Record>
Record& RecordOf(void* record) {
    return *static_cast<Record*>(record);
}
template <class Record>
const Record& RecordOf(const void* record) {
    return *static_cast<const Record*>(record);
}

// A record of defaults with these parameters stored, and off until something has been measured.
template <class Record>
void Refill(void* record, std::initializer_list<FitParam Record::*> results,
            std::initializer_list<FitParam Record::*> stored) {
    RecordOf<Record>(record) = {};
    for (FitParam Record::*const result : results) RecordOf<Record>(record).*result = OffParam();
    for (FitParam Record::*const result : stored) (RecordOf<Record>(record).*result).Store = 1;
}

constexpr SettingRow RangeSetting(std::size_t at) {
    return {"Range", SettingKind::Byte, at, 0, 1};
}
constexpr SettingRow Count(const char* name, std::size_t at, double least, double most) {
    return {name, SettingKind::Int32, at, least, most};
}
// A switch that is the Store flag of a column.
constexpr SettingRow StoreFlag(const char* name, std::size_t param) {
    return Flag(name, param + offsetof(FitParam, Store));
}
constexpr ParamRow Result(const char* name, const char* column, ParamUnit unit, std::size_t at) {
    return {name, column, nullptr, unit, at, true};
}

// RiseTime

constexpr ParamRow RiseParams[] = {
    {"Baseline", "Baseline", nullptr, ParamUnit::Y, offsetof(RiseRecord, Baseline)},
    Result("XValue1", "XValue1", ParamUnit::X, offsetof(RiseRecord, XValue1)),
    Result("dXValue1", "dXValue1", ParamUnit::X, offsetof(RiseRecord, dXValue1)),
    Result("Slope1", "Slope1", ParamUnit::YPerX, offsetof(RiseRecord, Slope1)),
    Result("XValue2", "XValue2", ParamUnit::X, offsetof(RiseRecord, XValue2)),
    Result("dXValue2", "dXValue2", ParamUnit::X, offsetof(RiseRecord, dXValue2)),
    Result("Slope2", "Slope2", ParamUnit::YPerX, offsetof(RiseRecord, Slope2)),
};
constexpr SettingRow RiseSettings[] = {
    {"LowLevel", SettingKind::Real64, offsetof(RiseRecord, LowLevel), 0.0, 100.0},
    {"HighLevel", SettingKind::Real64, offsetof(RiseRecord, HighLevel), 0.0, 100.0},
    AnyReal("BaseLeft", offsetof(RiseRecord, BaseLeft)),
    AnyReal("BaseRight", offsetof(RiseRecord, BaseRight)),
};

// Measure

constexpr ParamRow MeasureParams[] = {
    {"XValue", "XValue", nullptr, ParamUnit::X, offsetof(MeasureRecord, XValue)},
    Result("YValue", "YValue", ParamUnit::Y, offsetof(MeasureRecord, YValue)),
    {"dXValue", "dXValue", nullptr, ParamUnit::X, offsetof(MeasureRecord, dXValue)},
    Result("dYValue", "dYValue", ParamUnit::Y, offsetof(MeasureRecord, dYValue)),
    Result("StimValue", "StimValue", ParamUnit::None, offsetof(MeasureRecord, StimValue)),
};
constexpr SettingRow MeasureSettings[] = {
    Flag("MakeEvents", offsetof(MeasureRecord, MakeEvents)),
};

// Trace Copy

constexpr ParamRow CopyParams[] = {
    Result("Time", "Time", ParamUnit::X, offsetof(CopyRecord, Time)),
    Result("YValue", "YValue", ParamUnit::Y, offsetof(CopyRecord, YValue)),
    Result("StimValue", "StimValue", ParamUnit::None, offsetof(CopyRecord, StimValue)),
    Result("ValueTrace", "ValueTrace", ParamUnit::None, offsetof(CopyRecord, ValueTrace)),
};
constexpr SettingRow CopySettings[] = {
    RangeSetting(offsetof(CopyRecord, Range)),
    Count("CopyCompress", offsetof(CopyRecord, CopyCompress), 1, MostEvents),
    StoreFlag("CopyXVal", offsetof(CopyRecord, Time)),
    StoreFlag("CopyYVal", offsetof(CopyRecord, YValue)),
    StoreFlag("CopyStimVal", offsetof(CopyRecord, StimValue)),
    StoreFlag("Copy2nd", offsetof(CopyRecord, ValueTrace)),
    {"Copy2ndTrace", SettingKind::Int16, offsetof(CopyRecord, Copy2ndTrace), 1, 32},
};

// Ampl. Histogram

constexpr ParamRow HistParams[] = {
    Result("Amplitude", "Amplitude", ParamUnit::Y, offsetof(HistRecord, Amplitude)),
    Result("Count", "Count", ParamUnit::None, offsetof(HistRecord, Count)),
};
constexpr SettingRow HistSettings[] = {
    RangeSetting(offsetof(HistRecord, Range)),
    Count("HistNBins", offsetof(HistRecord, HistNBins), 1, MostEvents),
    AnyReal("HistLeft", offsetof(HistRecord, HistLeft)),
    AnyReal("HistLowEdge", offsetof(HistRecord, HistLeft)),
    AnyReal("HistBinSize", offsetof(HistRecord, HistBinSize)),
    Flag("HistFirstSw", offsetof(HistRecord, HistFirstSw)),
};

// Power Spectrum

constexpr ParamRow SpectrumParams[] = {
    Result("Frequency", "Frequency", ParamUnit::Frequency, offsetof(TraceSpectrumRecord, Frequency)),
    Result("SpecDens", "SpecDens", ParamUnit::Density, offsetof(TraceSpectrumRecord, SpecDens)),
};
constexpr SettingRow SpectrumSettings[] = {
    RangeSetting(offsetof(TraceSpectrumRecord, Range)),
    Flag("SpecSubDC", offsetof(TraceSpectrumRecord, SpecSubDC)),
    Count("SpecNPoint", offsetof(TraceSpectrumRecord, SpecNPoint), 1, MostInt32),
    Count("SpecNBins", offsetof(TraceSpectrumRecord, SpecNBins), 0, MostEvents),
    Flag("SpecFirstSw", offsetof(TraceSpectrumRecord, SpecFirstSw)),
};

// Single Channel

constexpr ParamRow SingleParams[] = {
    Result("Level", "Level", ParamUnit::None, offsetof(SingleChannelRecord, Level)),
    Result("Amplitude", "Amplitude", ParamUnit::Y, offsetof(SingleChannelRecord, Amplitude)),
    Result("Duration", "Duration", ParamUnit::X, offsetof(SingleChannelRecord, Duration)),
};
constexpr SettingRow SingleSettings[] = {
    RangeSetting(offsetof(SingleChannelRecord, Range)),
    Count("SingleDeadTime", offsetof(SingleChannelRecord, SingleDeadTime), 0, MostInt32),
    AnyReal("SingleLow", offsetof(SingleChannelRecord, SingleLow)),
    AnyReal("SingleHigh", offsetof(SingleChannelRecord, SingleHigh)),
    AnyReal("SingleThres", offsetof(SingleChannelRecord, SingleThres)),
    Flag("SingleInclFirst", offsetof(SingleChannelRecord, SingleInclFirst)),
    Flag("SingleInclLast", offsetof(SingleChannelRecord, SingleInclLast)),
    Flag("SCNEventInResults", offsetof(SingleChannelRecord, SCNEventInResults)),
};

// Action Potential

constexpr ParamRow ActionParams[] = {
    Result("Time", "Time", ParamUnit::X, offsetof(ActionPotentialRecord, Time)),
    Result("Realtime", "Realtime", ParamUnit::X, offsetof(ActionPotentialRecord, Realtime)),
    Result("Duration", "Duration", ParamUnit::X, offsetof(ActionPotentialRecord, Duration)),
    Result("Integral", "Integral", ParamUnit::YThenX, offsetof(ActionPotentialRecord, Integral)),
    Result("Interval", "Interval", ParamUnit::X, offsetof(ActionPotentialRecord, Interval)),
    Result("MaxY", "MaxY", ParamUnit::Y, offsetof(ActionPotentialRecord, MaxY)),
    Result("MaxdT", "MaxdT", ParamUnit::X, offsetof(ActionPotentialRecord, MaxdT)),
    Result("MinY", "MinY", ParamUnit::Y, offsetof(ActionPotentialRecord, MinY)),
    Result("MindT", "MindT", ParamUnit::X, offsetof(ActionPotentialRecord, MindT)),
    Result("nAPs", "nAPs", ParamUnit::None, offsetof(ActionPotentialRecord, nAPs)),
};
constexpr SettingRow ActionSettings[] = {
    RangeSetting(offsetof(ActionPotentialRecord, Range)),
    AnyReal("APThreshold", offsetof(ActionPotentialRecord, APThreshold)),
    Flag("APInclFirstInt", offsetof(ActionPotentialRecord, APInclFirstInt)),
    Flag("APNEventInResults", offsetof(ActionPotentialRecord, APNEventInResults)),
};

}

const ModelRow RiseTimeRow = {
    .Params = RiseParams,
    .Settings = RiseSettings,
    .SetupMessage = " Error in init of RiseTimeFit ",
    .Init =
        [](void* record, Level) {
            using R = RiseRecord;
            Refill<R>(
                record,
                {&R::Baseline, &R::XValue1, &R::dXValue1, &R::Slope1, &R::XValue2, &R::dXValue2, &R::Slope2},
                {&R::dXValue1});
        },
};

const ModelRow MeasureRow = {
    .Params = MeasureParams,
    .Settings = MeasureSettings,
    .SetupMessage = " Error in init of MeasureFit ",
    .Init =
        [](void* record, Level) {
            using R = MeasureRecord;
            Refill<R>(record, {&R::XValue, &R::YValue, &R::dXValue, &R::dYValue, &R::StimValue},
                      {&R::XValue, &R::YValue, &R::dXValue, &R::dYValue});
        },
    .OwnUnit = [](const void* record, std::size_t row) -> std::string_view {
        constexpr std::size_t StimRow = 4;
        return row == StimRow ? Texts::FromField(RecordOf<MeasureRecord>(record).StimUnit)
                              : std::string_view();
    },
};

const ModelRow TraceCopyRow = {
    .Params = CopyParams,
    .Settings = CopySettings,
    .SetupMessage = " Error in init of TraceCopyFit ",
    .Init =
        [](void* record, Level) {
            using R = CopyRecord;
            Refill<R>(record, {&R::Time, &R::YValue, &R::StimValue, &R::ValueTrace}, {&R::Time, &R::YValue});
        },
    .UserName = [](const void* record, std::size_t row) -> std::string_view {
        constexpr std::size_t SecondRow = 3;
        return row == SecondRow ? Texts::FromField(RecordOf<CopyRecord>(record).SecondName)
                                : std::string_view();
    },
    .OwnUnit = [](const void* record, std::size_t row) -> std::string_view {
        const auto& copy = RecordOf<CopyRecord>(record);
        return row == 2   ? Texts::FromField(copy.StimUnit)
               : row == 3 ? Texts::FromField(copy.SecondUnit)
                          : std::string_view();
    },
};

const ModelRow AmplHistogramRow = {
    .Params = HistParams,
    .Settings = HistSettings,
    .SetupMessage = " Error in init of AmpHistoFit ",
    .Init =
        [](void* record, Level) {
            using R = HistRecord;
            Refill<R>(record, {&R::Amplitude, &R::Count}, {&R::Amplitude, &R::Count});
        },
};

const ModelRow TraceSpectrumRow = {
    .Params = SpectrumParams,
    .Settings = SpectrumSettings,
    .SetupMessage = " Error in init of SpectrumFit ",
    .Init =
        [](void* record, Level) {
            using R = TraceSpectrumRecord;
            Refill<R>(record, {&R::Frequency, &R::SpecDens}, {&R::Frequency, &R::SpecDens});
        },
};

const ModelRow SingleChannelRow = {
    .Params = SingleParams,
    .Settings = SingleSettings,
    .SetupMessage = " Error in init of EventDetectionFit ",
    .Init =
        [](void* record, Level) {
            using R = SingleChannelRecord;
            Refill<R>(record, {&R::Level, &R::Amplitude, &R::Duration},
                      {&R::Level, &R::Amplitude, &R::Duration});
        },
};

const ModelRow ActionPotentialRow = {
    .Params = ActionParams,
    .Settings = ActionSettings,
    .SetupMessage = " Error in init of EventDetectionFit ",
    .Init =
        [](void* record, Level) {
            using R = ActionPotentialRecord;
            const std::initializer_list<FitParam R::*> all = {
                &R::Time, &R::Realtime, &R::Duration, &R::Integral, &R::Interval,
                &R::MaxY, &R::MaxdT,    &R::MinY,     &R::MindT,    &R::nAPs};
            Refill<R>(record, all, all);
        },
};

}
