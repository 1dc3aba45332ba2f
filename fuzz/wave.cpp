// A wave file is loaded, its points are selected, and it is saved and loaded again.
//
//     byte 0   the line end that is written (bits 0 and 1)
//     byte 1   length of a text that selects points
//     rest     that text, then the file
//
// Promises: a file that is refused leaves wave and parameters as they were; flags are 0 or 1 and belong to
// points of the wave; what was saved loads, and is saved to the same bytes.
#include "input.h"
#include "memory_disk.h"

#include "series/skip_points.h"
#include "series/wave_file.h"
#include "setup/settings.h"

#include <algorithm>
#include <optional>

namespace {

// One store for all runs, cleared behind each file that was loaded.
struct Bench {
    Bench() : Fit(Store) {
        if (!SGFit::Open(Store)) MemoryDisk::Broken("the store does not open");
    }
    void Clear() {
        SGFit::ClearWave(Store);
        SGFit::WipeBackground(Store);
        Store.WaveComment.clear();
        Fit.FitType = SeriesFitType::Polynomial;
        Fit.Records = Defaults;
    }

    SGFit::Store Store;
    SeriesFit::Engine Fit;
    const ::Fit::SeriesRecords Defaults = ::Fit::DefaultSeriesRecords();
};

std::string_view Text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void Select(SGFit::Store& store, std::string_view text) {
    SGFit::SkipPoints(store, text);
    const std::uint8_t* const flags = store.BufferSkip;
    if (std::any_of(flags, flags + store.BufferPoints, [](std::uint8_t flag) { return flag > 1; }))
        MemoryDisk::Broken("a flag is neither 0 nor 1");
    if (std::any_of(flags + store.BufferPoints, flags + SGFit::MaxPoints,
                    [](std::uint8_t flag) { return flag != 0; }))
        MemoryDisk::Broken("a point behind the wave is flagged");
}

// What a text in the file may have lost by its way through it, such as a name of more than 16 bytes, is lost
// once: from the first text on, nothing changes any more.
void SaveAndLoad(SeriesFit::Engine& fit) {
    const std::string path = MemoryDisk::Folder + "saved.wav";
    if (!WaveFile::SaveWaveBuffer(fit, path, "cell_1_1_1"))
        MemoryDisk::Broken("a loaded wave cannot be saved");
    const std::vector<std::byte> saved = MemoryDisk::Get(path);
    if (!WaveFile::LoadWaveBuffer(fit, path)) MemoryDisk::Broken("what was saved does not load");
    if (!WaveFile::SaveWaveBuffer(fit, path, "cell_1_1_1"))
        MemoryDisk::Broken("a wave cannot be saved again");
    if (MemoryDisk::Get(path) != saved) MemoryDisk::Broken("a second save gives other bytes");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    static Bench bench;
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    Setup::Settings.Export.LineEndMode = input.Byte() & 3;
    const std::string_view selection = Text(input.Bytes(input.Byte()));
    MemoryDisk::Clear();
    const std::string path = MemoryDisk::Put("a.wav", input.Rest());
    if (!WaveFile::LoadWaveBuffer(bench.Fit, path)) {
        if (bench.Store.BufferPoints != 0 || bench.Store.BackgroundCount != 0 || bench.Store.FitValid)
            MemoryDisk::Broken("a refused file changes the wave");
        if (bench.Fit.FitType != SeriesFitType::Polynomial)
            MemoryDisk::Broken("a refused file changes the type");
        return 0;
    }
    Select(bench.Store, selection);
    SaveAndLoad(bench.Fit);
    bench.Clear();
    return 0;
}
