#include "data/safety_net.h"

#include "base/messages.h"
#include "setup/settings.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace SafetyNet {

namespace {

constexpr std::size_t NameBytes = 1024; // at the file's start: what it is for

std::vector<std::byte> NameBlock(const DataSession& session) {
    std::vector<std::byte> block(NameBytes);
    const std::size_t n = std::min(session.FileName.size(), NameBytes - 1);
    std::copy_n(reinterpret_cast<const std::byte*>(session.FileName.data()), n, block.begin());
    return block;
}

enum class Present { None, Ours, Others };

Present Look(const std::string& path, const std::vector<std::byte>& name) {
    Files::File file;
    if (Files::Open(file, path, Files::Mode::Read) != 0)
        return Files::Exists(path) ? Present::Others : Present::None;
    std::vector<std::byte> block(NameBytes);
    std::size_t got = 0;
    std::int64_t length = 0;
    const bool whole = Files::Length(file, length) == 0 && length >= Bytes &&
                       Files::ReadAt(file, 0, block, got) == 0 && got == NameBytes;
    return whole && block == name ? Present::Ours : Present::Others;
}

// Zeros are written, so that the disk holds room for them.
int Fill(const std::string& path, const std::vector<std::byte>& name) {
    Files::File file;
    int error = Files::Open(file, path, Files::Mode::Create);
    std::vector<std::byte> block(std::size_t{256} << 10);
    std::copy(name.begin(), name.end(), block.begin());
    for (std::int64_t at = 0; error == 0 && at < Bytes; at += static_cast<std::int64_t>(block.size())) {
        error = Files::WriteAt(file, at, block);
        std::fill_n(block.begin(), NameBytes, std::byte{0});
    }
    const int closing = Files::Close(file);
    if (error == 0) error = closing;
    if (error != 0) (void)Files::Remove(path);
    return error;
}

}

bool Create(DataSession& session) {
    const std::filesystem::path data(session.FileName);
    const std::filesystem::path folder = Setup::Settings.TempPath.empty()
                                             ? data.parent_path()
                                             : std::filesystem::path(Setup::Settings.TempPath);
    const std::vector<std::byte> name = NameBlock(session);
    std::string path = (folder / "SafetyNet").string();
    Present present = Look(path, name);
    if (present == Present::Others) {
        path += "." + data.stem().string();
        present = Look(path, name);
    }
    const int error = present == Present::Ours ? 0 : Fill(path, name);
    if (error == 0) {
        session.SafetyNetFile = path;
        return true;
    }
    constexpr const char* Buttons[] = {"Abort", "Continue"};
    enum { Abort, Continue };
    return Messages::AskChoice("Error creating file \"SafetyNet\": " + Files::ErrorText(error) +
                                   "!\nStoring of data may not work as well.\n  Continue on your own risk?",
                               {.Buttons = Buttons, .Default = Abort, .Yes = Continue, .No = Abort}) ==
           Continue;
}

bool Remove(DataSession& session) {
    if (session.SafetyNetFile.empty()) return false;
    const bool removed = Files::Remove(session.SafetyNetFile) == 0;
    session.SafetyNetFile.clear();
    return removed;
}

}
