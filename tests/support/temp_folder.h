// A folder of its own for a test, gone at its end; whole files in and out.
#pragma once
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace Support {

inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteWhole(const std::string& path, std::string_view content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qorvanite-test-XXXXXX").string();
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

    std::string Path;
};

}
