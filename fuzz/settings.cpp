// A settings file is loaded, saved, and loaded again.
//
//     byte 0   Yes or No to questions (bit 0); the check sum is made 0, so that any content counts (bit 1);
//              only the load, without what is promised of it (any of bits 2 to 4): most of the time goes
//              there
//     rest     the file
//
// Promises: a refused file leaves the settings as they were; saved settings load, and are saved to the same
// bytes but for the line that keeps count of saving.
#include "input.h"
#include "memory_disk.h"

#include "setup/settings_file.h"

namespace {

std::string Saved(const std::string& path) {
    Setup::State.SettingsFile = path;
    if (!Setup::SaveConfiguration(false)) MemoryDisk::Broken("settings cannot be saved");
    const std::vector<std::byte> bytes = MemoryDisk::Get(path);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The content without its check sum.
std::vector<std::byte> WithoutSum(std::span<const std::byte> bytes) {
    std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t at = text.rfind("CRC");
    if (at != std::string::npos) text.replace(at, 3, "CRX");
    const auto without = std::as_bytes(std::span(text));
    return {without.begin(), without.end()};
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 1) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    MemoryDisk::Clear();
    Setup::Settings = {};
    const auto rest = input.Rest();
    const std::string path =
        (choice & 2) != 0 ? MemoryDisk::Put("a.set", WithoutSum(rest)) : MemoryDisk::Put("a.set", rest);
    Fuzz::AnswerYes = (choice & 1) != 0;
    static const Setup::SettingsRecord defaults;
    const bool promises = (choice & 0x1C) == 0;
    if (!Setup::LoadConfiguration(path)) {
        if (promises && Setup::Settings != defaults)
            MemoryDisk::Broken("a refused file changes the settings");
        return 0;
    }
    if (!promises) return 0;
    Fuzz::AnswerYes = false; // nothing is missing in what is saved
    const std::string first = Saved(path);
    if (!Setup::LoadConfiguration(path)) MemoryDisk::Broken("saved settings do not load");
    if (Saved(path) != first) MemoryDisk::Broken("saved settings load with other values");
    return 0;
}
