// A journal that anybody may have left beside two files is looked at.
//
//     byte 0   the checksum is made right (bit 0), length of the first file (bits 1 to 7)
//     rest     the journal
//
// Promises: no file outside of the folder is touched; a journal that is not complete, or does not belong to
// the files, changes nothing; one that has been completed is gone, and so is one that was unfinished.
#include "input.h"
#include "memory_disk.h"

#include "base/bytes.h"
#include "base/checksum.h"
#include "base/journal.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), true);
    if (!ready || size < 1) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    MemoryDisk::Clear();
    std::vector<std::byte> image(input.Rest().begin(), input.Rest().end());
    const auto rest = std::as_bytes(std::span(data + 1, size - 1));
    image.assign(rest.begin(), rest.end());
    if ((choice & 1) != 0 && image.size() >= 4) {
        const std::span<std::byte> summed(image.data(), image.size() - 4);
        std::uint32_t sum = Checksum::Crc32(0, summed);
        if (!Bytes::MachineIsLittle) sum = Bytes::Swapped(sum);
        Bytes::Store(image.data() + summed.size(), sum);
    }
    const std::vector<std::byte> owner(choice >> 1, std::byte{'a'}), other(20, std::byte{'b'});
    const std::string path = MemoryDisk::Put("cell.dat", owner);
    const std::string otherPath = MemoryDisk::Put("cell.vnc", other);
    const std::string journal = MemoryDisk::Put("cell.dat.journal", image);

    int error = 0;
    const Journal::Found found = Journal::Recover(path, error);
    const bool changed = MemoryDisk::Get(path) != owner || MemoryDisk::Get(otherPath) != other;
    switch (found) {
    case Journal::Found::Nothing:
        if (changed) MemoryDisk::Broken("an unfinished journal changes files");
        if (MemoryDisk::Exists(journal.c_str())) MemoryDisk::Broken("an unfinished journal stays");
        break;
    case Journal::Found::Foreign:
        if (changed || MemoryDisk::Get(journal) != image) MemoryDisk::Broken("a foreign journal is used");
        break;
    case Journal::Found::Completed:
        if (MemoryDisk::Exists(journal.c_str())) MemoryDisk::Broken("a completed journal stays");
        if (Journal::Recover(path, error) != Journal::Found::Nothing)
            MemoryDisk::Broken("a completed journal is found again");
        break;
    default: break;
    }
    return 0;
}
