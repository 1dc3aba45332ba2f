#include "trees/record_tree.h"

#include "base/messages.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace RecordTree {

namespace {

constexpr std::size_t LargestImage = 4096;

// One image serves all trees: a record is converted in one go, and nothing is kept in it between two records.
alignas(16) std::array<std::byte, LargestImage> Image;

const LevelLayout* LayoutOf(const TreeFormat& format, int level) {
    if (level < 0 || static_cast<std::size_t>(level) >= format.Levels.size()) return nullptr;
    return &format.Levels[static_cast<std::size_t>(level)];
}

LevelSteps StepsOf(const TreeFormat& format, int level) {
    return format.Steps.empty() ? LevelSteps{} : format.Steps[static_cast<std::size_t>(level)];
}

// True when the file may be loaded.
bool VersionCheck(const TreeFormat& format, LoadReport& report, bool swap) {
    const std::byte* const root = Image.data();
    report.Version = format.ReadVersion(root, swap);
    const Verdict verdict = format.Judge(report.Version, root, swap);
    if (verdict == Verdict::Accept) return true;
    bool load = false;
    if (verdict == Verdict::OtherProduct) {
        Messages::Alert(format.OtherProduct);
    } else {
        const bool older = verdict == Verdict::Older;
        const std::string text = std::string(older ? "This is an older" : "This is an unknown") +
                                 format.VersionWord + std::to_string(report.Version) + ").\nLoad anyway?";
        load = Messages::AskYesNo(text, older);
    }
    if (!load) Messages::Alert("User cancelled loading wrong version !");
    return load;
}

void CountRecord(LoadReport& report, int level) {
    const auto at = static_cast<std::size_t>(level);
    std::fill(report.Counters.begin() + level + 1, report.Counters.end(), 0);
    ++report.Counters[at];
}

// A checksum is never compared here; that there is one tells that the file is protected.
bool CheckProtection(std::span<const Conversion::Field> fields, const std::byte* ram, LoadReport& report,
                     const LoadOptions& options) {
    for (const Conversion::Field& field : fields)
        if (field.Kind == Conversion::Kind::Check && Bytes::Load<std::uint32_t>(ram + field.RamAt) != 0)
            report.HasChecksums = true;
    return !(report.HasChecksums && options.ForModify);
}

bool FileToRam(const TreeFormat& format, LoadReport& report, const LoadOptions& options, void* record,
               int level, bool swap) {
    const LevelLayout* const layout = LayoutOf(format, level);
    if (!layout) {
        report.State = LoadState::Failed;
        Messages::Alert(format.IllegalLevel);
        return false;
    }
    auto* const ram = static_cast<std::byte*>(record);
    std::memcpy(Image.data(), ram, layout->FileSize);
    std::memset(ram, 0, layout->RamSize);
    if (level == 0) {
        report = {};
        if (!VersionCheck(format, report, swap)) {
            report.State = format.Refused;
            return false;
        }
    }
    report.State = swap ? LoadState::Swapped : LoadState::Native;
    CountRecord(report, level);
    const Conversion::Mode mode = swap ? Conversion::Mode::Swap : Conversion::Mode::Plain;
    Conversion::Convert(layout->Fields, Image.data(), ram, mode);
    const LevelSteps steps = StepsOf(format, level);
    if (steps.AfterRead) steps.AfterRead(record, Image.data(), swap);
    if (CheckProtection(layout->Fields, ram, report, options)) return true;
    report.State = LoadState::Failed;
    Messages::Alert(ProtectedMessage);
    Messages::Alert(format.CheckFailed);
    return false;
}

std::byte* RamToFile(const TreeFormat& format, void* record, int level) {
    const LevelLayout* const layout = LayoutOf(format, level);
    if (!layout) {
        Messages::Alert(format.IllegalLevel);
        return nullptr;
    }
    const LevelSteps steps = StepsOf(format, level);
    if (steps.BeforeWrite) steps.BeforeWrite(record);
    std::fill_n(Image.begin(), layout->FileSize, std::byte{0});
    Conversion::Convert(layout->Fields, Image.data(), static_cast<std::byte*>(record),
                        Conversion::Mode::Write);
    if (steps.AfterWrite) steps.AfterWrite(record, Image.data());
    return Image.data();
}

}

Tree::Handle* Define(const TreeFormat& format, std::string_view heapName, LoadReport& report,
                     const LoadOptions& options) {
    std::vector<std::uint32_t> ramSizes, fileSizes;
    std::vector<bool> hasMark;
    for (const LevelLayout& layout : format.Levels) {
        if (layout.FileSize > LargestImage) return nullptr;
        ramSizes.push_back(layout.RamSize);
        fileSizes.push_back(layout.FileSize);
        hasMark.push_back(layout.HasMark);
    }
    report = {};
    Tree::Procedures procedures;
    procedures.FileToRam = [&format, &report, options](void* record, int level, std::size_t, bool swap) {
        return FileToRam(format, report, options, record, level, swap);
    };
    procedures.RamToFile = [&format](void* record, int level) { return RamToFile(format, record, level); };
    procedures.Copied = [&format](void* record, int level) {
        const LevelSteps steps = StepsOf(format, level);
        if (steps.Copied) steps.Copied(record);
    };
    return Tree::Define(heapName, static_cast<int>(format.Levels.size()), ramSizes, fileSizes,
                        std::move(procedures), std::move(hasMark));
}

std::uint32_t FileSize(const TreeFormat& format, int level) {
    const LevelLayout* const layout = LayoutOf(format, level);
    if (layout) return layout->FileSize;
    Messages::Alert(format.IllegalLevel);
    return 0;
}

Verdict JudgeDataSetVersion(std::int32_t version, const std::byte*, bool) {
    if (version == 9) return Verdict::Accept;
    return version >= 1 && version <= 8 ? Verdict::Older : Verdict::Unknown;
}

std::int32_t ReadVersion32(const std::byte* rootImage, bool swap) {
    const auto version = Bytes::Load<std::int32_t>(rootImage);
    return swap ? Bytes::Swapped(version) : version;
}

}
