// A folder of its own for a test, gone at its end; whole files in and out.
#pragma once
#include "support/testing.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace Support {

// The files of a folder and their content.
using FolderState = std::map<std::string, std::string>;

inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteWhole(const std::string& path, std::string_view content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

// Where files of a test need no disk: many small ones are made and cut much faster there.
inline std::filesystem::path Memory() {
    const std::filesystem::path shared = "/dev/shm";
    return std::filesystem::is_directory(shared) ? shared : std::filesystem::temp_directory_path();
}

class TempFolder {
public:
    TempFolder() : TempFolder(std::filesystem::temp_directory_path()) {}
    explicit TempFolder(const std::filesystem::path& where) {
        std::string pattern = (where / "qorvanite-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) std::abort();
        Path = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    TempFolder(TempFolder&&) = delete;

    [[nodiscard]] std::string At(std::string_view name) const { return Path + "/" + std::string(name); }
    [[nodiscard]] std::string Write(std::string_view name, std::string_view content) const {
        WriteWhole(At(name), content);
        return At(name);
    }
    // The number of entries: a step that leaves a temporary file behind is caught by it.
    [[nodiscard]] int Count() const {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(Path)) count += !entry.path().empty();
        return count;
    }

    // All files with their content, and a folder that holds these and no others.
    [[nodiscard]] FolderState Files() const {
        FolderState files;
        for (const auto& entry : std::filesystem::directory_iterator(Path))
            files[entry.path().filename().string()] = ReadWhole(entry.path().string());
        return files;
    }
    void Put(const FolderState& files) const {
        for (const auto& entry : std::filesystem::directory_iterator(Path))
            std::filesystem::remove(entry.path());
        for (const auto& [name, content] : files) WriteWhole(At(name), content);
    }

    std::string Path;
};

}
