// The recordings of tests/data and what must come out of them (see tests/data/README.md).
#pragma once
#include "support/temp_folder.h"

#include <nlohmann/json.hpp>

namespace Support {

using Json = nlohmann::json;

inline std::string DataFile(const std::string& name) {
    return std::string(TEST_DATA) + "/" + name;
}

inline std::string Recording(const std::string& name) {
    return DataFile("recordings/" + name);
}

// The files of a recording, under another name.
inline void AddSet(FolderState& files, const std::string& set, const std::string& name) {
    for (const char* const extension : {".dat", ".vnc", ".pgf", ".amp", ".sol", ".ana"}) {
        const std::string path = Recording(set + extension);
        if (std::filesystem::exists(path)) files[name + extension] = ReadWhole(path);
    }
}

// Fails the test program at once when there is no such file: nothing below could hold.
inline Json ReadJson(const std::string& name) {
    return Json::parse(ReadWhole(DataFile(name)));
}

inline Json Expected(const std::string& set) {
    return ReadJson("recordings/" + set + ".json");
}

// The cases of tests/data/cases/NAME.txt: one a line, its fields between bars; "\\n" stands for a line's end.
inline std::vector<std::vector<std::string>> CaseTable(const std::string& name) {
    std::vector<std::vector<std::string>> table;
    std::ifstream file(DataFile("cases/" + name + ".txt"));
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        for (std::size_t at; (at = line.find("\\n")) != std::string::npos;) line.replace(at, 2, "\n");
        std::vector<std::string>& fields = table.emplace_back();
        std::istringstream rest(line);
        for (std::string field; std::getline(rest, field, '|');) fields.push_back(field);
        if (line.ends_with('|')) fields.emplace_back();
    }
    EXPECT_FALSE(table.empty()) << name;
    return table;
}

// The bytes of a damaged file: what is taken out, where it is cut, and what is written over it.
inline std::string Damaged(const Json& damage) {
    const auto name = damage["file"].get<std::string>();
    const std::string extension = name.substr(name.rfind('.'));
    std::string bytes =
        ReadWhole(extension == ".onl" ? Recording("functions.onl") : DataFile("damage/sound" + extension));
    for (const Json& piece : damage.value("remove", Json::array())) bytes.erase(piece[0], piece[1]);
    bytes.resize(damage.value("length", bytes.size()));
    for (const Json& patch : damage.value("patches", Json::array())) {
        const auto hex = patch[1].get<std::string>();
        std::size_t at = patch[0];
        for (int n = patch.size() > 2 ? patch[2].get<int>() : 1; n > 0; --n)
            for (std::size_t i = 0; i < hex.size(); i += 2)
                bytes.at(at++) = static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string DamagedFile(const char* file) {
    for (const Json& damage : ReadJson("damage/damages.json"))
        if (damage["file"] == file) return Damaged(damage);
    std::abort();
}

inline std::string SoundData() {
    return ReadWhole(DataFile("damage/sound.dat"));
}

}
