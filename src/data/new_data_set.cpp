#include "data/new_data_set.h"

#include "base/messages.h"
#include "base/text.h"
#include "base/time_scale.h"
#include "data/bundle.h"
#include "data/raw_data.h"
#include "data/sample_format.h"
#include "setup/settings.h"

#include <vector>

namespace {

bool Refuse(const std::string& text) {
    Messages::Alert(text);
    return false;
}

bool AppendTree(NewDataSet& set, Tree::Handle* tree, const RecordTree::TreeFormat& format,
                Bundle::Item& item) {
    std::int64_t size = 0;
    const int error = Tree::StoreAt(set.File.Content, set.Position, tree, size);
    if (error != Tree::Success)
        return Refuse(std::string("Error storing \"") + format.Extension + "\"-file: " + Tree::Reason(error));
    item.Start = static_cast<std::int32_t>(set.Position);
    item.Length = static_cast<std::int32_t>(size);
    Texts::ToField(item.Extension, format.Extension);
    set.Position += size;
    return true;
}

}

NewDataSet::~NewDataSet() {
    Tree::Dispose(Vennic);
    Tree::Dispose(Stim);
}

bool BeginDataSet(NewDataSet& set, const std::string& path, std::string_view version) {
    set.Version = version;
    set.Vennic = VennicTree::Define();
    set.Stim = StimTree::Define();
    if (!set.Vennic || !set.Stim) return Refuse(Tree::LastError());
    set.Root = VennicTree::NewRoot(set.Vennic, Setup::Settings.MaxSamplePoints, version);
    set.StimulusRoot = static_cast<StimRoot*>(Tree::Append(set.Stim, nullptr));
    if (!set.Root || !set.StimulusRoot) return Refuse(Tree::LastError());
    set.StimulusRoot->StVersion = set.Root->RoVersion;
    set.StimulusRoot->StMaxSamples = set.Root->RoMaxSamples;
    Texts::ToField(set.StimulusRoot->StVersionName, version);
    const int error = set.File.Begin(path);
    if (error != 0) return Refuse(Bundle::FileMessage("Error creating data file", error));
    set.Position = Bundle::HeaderBytes;
    return true;
}

bool AppendSamples(NewDataSet& set, VennicTrace& trace, std::span<const float> samples) {
    const std::size_t bytes = RawData::SampleSize(trace.TrDataFormat) * samples.size();
    if (set.Position + static_cast<std::int64_t>(bytes) > RawData::DataMax)
        return Refuse("File length is limited to 2 Gbyte of data !");
    std::vector<std::byte> raw(bytes);
    if (!SampleFormat::ConvertFormat(DataFormat::Real32, static_cast<DataFormat>(trace.TrDataFormat),
                                     std::as_bytes(samples), raw, samples.size(), 1.0 / trace.TrDataFactor,
                                     0.0, false))
        return false;
    const int error = Files::WriteAt(set.File.Content, set.Position, raw);
    if (error != 0) return Refuse(Bundle::FileMessage("write error", error));
    trace.TrFileOffset = static_cast<std::int32_t>(set.Position);
    trace.TrDataPoints = static_cast<std::int32_t>(samples.size());
    trace.TrInterleaveSize = trace.TrInterleaveSkip = 0;
    trace.TrDataCRC = 0;
    const int others = trace.TrDataKind & ~DataKind::LittleEndian;
    trace.TrDataKind =
        static_cast<std::int16_t>(others | (Bytes::MachineIsLittle ? DataKind::LittleEndian : 0));
    set.Position += static_cast<std::int64_t>(bytes);
    return true;
}

bool FinishDataSet(NewDataSet& set) {
    Bundle::Header header{};
    Bundle::Item samples{
        Bundle::HeaderBytes, static_cast<std::int32_t>(set.Position - Bundle::HeaderBytes), {}};
    Texts::ToField(samples.Extension, Bundle::Extensions[0]);
    header.Entries[0] = samples;
    if (!AppendTree(set, set.Vennic, VennicTree::Format, header.Entries[1])) return false;
    if (!AppendTree(set, set.Stim, StimTree::Format, header.Entries[2])) return false;
    Texts::ToField(header.Signature, "DAT2");
    Texts::ToField(header.Version, set.Version);
    header.Time = TimeScale::Now();
    header.Items = Bundle::ItemMax;
    if (!Bundle::WriteBundleHeader(header, set.File.Content, false, true, set.Version))
        return Refuse("Writing signature failed");
    const int error = set.File.Commit();
    return error == 0 || Refuse(Bundle::FileMessage("write error", error));
}
