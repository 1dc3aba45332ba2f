// Texts from outside: name descriptors and lines of the logbook.
//
//     byte 0   length of the user's name or the command
//     byte 1   digits of the index
//     rest     that name, then the descriptor or the argument
//
// Promises: a descriptor's name is a bare file name of 1 to 63 characters; a line of the logbook is one line.
#include "input.h"
#include "memory_disk.h"

#include "data/name_descriptor.h"
#include "fit/logbook.h"
#include "setup/settings.h"

#include <cmath>

namespace {

std::string_view Text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void MakeName(std::string_view user, std::string_view descriptor, std::uint8_t digits) {
    std::string name;
    bool indexed = false, tooLong = false;
    const NameDescriptor::Values values{user, static_cast<std::int64_t>(std::pow(10.0, digits % 10)),
                                        digits * 1e9};
    if (!NameDescriptor::MakeFileName(name, descriptor, values, indexed, tooLong)) {
        if (name.empty()) MemoryDisk::Broken("a descriptor is refused without a reason");
        return;
    }
    if (name.empty() || name.size() > NameDescriptor::NameMax ||
        name.find_first_of(std::string_view("/\\:\n\0", 5)) != std::string::npos)
        MemoryDisk::Broken("a descriptor yields no file name");
}

void Log(std::string_view command, std::string_view argument) {
    Setup::Settings.FitParams.LogTarget = static_cast<std::uint8_t>(Logbook::LogTarget::File);
    (void)Logbook::LogOpen(MemoryDisk::Put("cell.dat", {}));
    Logbook::LogLine(Logbook::Kind::TraceFit, command, argument);
    (void)Logbook::LogClose();
    const std::vector<std::byte> log = MemoryDisk::Get(MemoryDisk::Folder + "cell.log");
    std::string_view lines = Text(log);
    int count = 0;
    for (std::size_t end = 0; (end = lines.find('\n')) != std::string_view::npos; ++count) {
        if (end > Logbook::LineMax) MemoryDisk::Broken("a line of the logbook is too long");
        lines.remove_prefix(end + 1);
    }
    if (count != 3 || !lines.empty()) MemoryDisk::Broken("a line of the logbook is not one line");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    const std::size_t first = input.Byte();
    const std::uint8_t digits = input.Byte();
    MemoryDisk::Clear();
    const std::string_view name = Text(input.Bytes(first)), rest = Text(input.Rest());
    MakeName(name, rest, digits);
    Log(name, rest);
    return 0;
}
