#include "base/places.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace Places {

namespace {

constexpr const char* Folder = "/qorvanite";

std::string Absolute(const char* path) {
    return path && path[0] == '/' ? path : "";
}

std::string Home() {
    const std::string home = Absolute(std::getenv("HOME"));
    if (!home.empty()) return home;
    const passwd* const account = ::getpwuid(::getuid());
    return account ? Absolute(account->pw_dir) : "";
}

std::string Under(const char* variable, const char* inHome) {
    const std::string named = Absolute(std::getenv(variable));
    if (!named.empty()) return named + Folder;
    const std::string home = Home();
    return home.empty() ? "" : home + inHome + Folder;
}

}

std::string ConfigFolder() {
    return Under("XDG_CONFIG_HOME", "/.config");
}

std::string DataFolder() {
    return Under("XDG_DATA_HOME", "/.local/share");
}

std::string StateFolder() {
    return Under("XDG_STATE_HOME", "/.local/state");
}

std::string TempFolder() {
    const std::string named = Absolute(std::getenv("TMPDIR"));
    return named.empty() ? "/tmp" : named;
}

std::vector<std::string> SystemConfigFolders() {
    std::vector<std::string> folders;
    const char* const variable = std::getenv("XDG_CONFIG_DIRS");
    std::string_view rest = variable ? variable : "";
    while (!rest.empty()) {
        const std::string_view one = rest.substr(0, rest.find(':'));
        if (one.starts_with('/')) folders.push_back(std::string(one) + Folder);
        rest.remove_prefix(std::min(rest.size(), one.size() + 1));
    }
    if (folders.empty()) folders.push_back(std::string("/etc/xdg") + Folder);
    return folders;
}

int EnsureFolder(const std::string& path) {
    if (path.empty()) return ENOENT;
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return 0;
    const std::string parent = std::filesystem::path(path).parent_path().string();
    if (!parent.empty() && parent != path) {
        const int above = EnsureFolder(parent);
        if (above != 0) return above;
    }
    // Another program may have made it in between; a path that ends in "/" names its parent again.
    if (::mkdir(path.c_str(), 0700) == 0 || (errno == EEXIST && std::filesystem::is_directory(path, error)))
        return 0;
    return errno == 0 ? EIO : errno;
}

}
