#include "app/tell_tale.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/text.h"

#include <filesystem>
#include <system_error>

namespace TellTale {

std::string Folder;

namespace {

constexpr std::int64_t BytesMost = 10'000;

std::string PathOf(const std::string& name) {
    std::filesystem::path folder = Folder;
    if (Folder.empty()) {
        std::error_code error;
        folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    }
    return (folder / name).string();
}

}

bool Check(const std::string& name) {
    if (!Files::Exists(PathOf(name))) return false;
    Messages::Log("TellTaleFile: \"" + name + "\"");
    return true;
}

bool Read(const std::string& name, std::string& contents) {
    contents.clear();
    if (!Check(name)) return false;
    std::string all;
    if (Files::ReadWhole(PathOf(name), BytesMost, all) == 0)
        contents = Texts::Utf8(std::string_view(all).substr(0, all.find_first_of("\r\n")));
    return true;
}

}
