#include "platform/module.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace Platform {

namespace {

constexpr const char* ModuleFile = "qorvanite_desktop.so";
constexpr const char* Entry = "QorvaniteDesktop";

bool IsSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

std::filesystem::path ProgramFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : program.parent_path();
}

std::filesystem::path FindModule() {
    const std::filesystem::path folder = ProgramFolder();
    for (const std::filesystem::path& place : {folder, folder / "..", folder / ".." / "lib" / "qorvanite"}) {
        std::error_code error;
        if (std::filesystem::exists(place / ModuleFile, error)) return place / ModuleFile;
    }
    return {};
}

}

bool UseDesktop(std::string& reason) {
    // Without any display the library would end the process.
    if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY") && !IsSet("QT_QPA_PLATFORM")) {
        reason =
            "There is no display: neither DISPLAY nor WAYLAND_DISPLAY is set. \"qorvanite --help\" lists the "
            "commands that need none.";
        return false;
    }
    const std::filesystem::path file = FindModule();
    if (file.empty()) {
        reason = "This program was built without its desktop: install qt6-base-dev and build it again.";
        return false;
    }
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* const problem = dlerror();
        reason = "The desktop cannot be loaded, which needs the packages libqt6widgets6 and "
                 "libqt6printsupport6: " +
                 std::string(problem != nullptr ? problem : "");
        return false;
    }
    using Procedure = const Operations* (*)(HookTable*);
    const auto entry = reinterpret_cast<Procedure>(dlsym(module, Entry));
    if (entry == nullptr) {
        reason = "The desktop's module is of another version.";
        return false;
    }
    Use(*entry(&Hooks));
    return true;
}

}
