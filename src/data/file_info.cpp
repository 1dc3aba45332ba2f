#include "data/file_info.h"

#include "base/files.h"
#include "base/messages.h"

#include <cstdint>

namespace {

std::string FreeDiskText(const std::string& path) {
    std::int64_t space = 0;
    if (Files::FreeSpace(path, space) != 0) return {};
    if (space <= 0) return "  ##  DISK IS FULL ! ##  ";
    return "free disk space: " + std::to_string(space) + " B";
}

}

std::string FileInfoLine(DataSession& session) {
    if (session.FileName.empty()) return "NO open file.";
    std::int64_t length = 0;
    if (Files::Length(session.DataFile, length) != 0) length = 0;
    return " file:  \"" + session.FileName + "\", " + (session.Modify ? "read-write" : "read-only") +
           ", length: " + std::to_string(length / 1024) + " kb;   " + FreeDiskText(session.FileName);
}

void CheckFreeDisk(const DataSession& session) {
    if (session.FileName.empty()) return;
    const std::string text = FreeDiskText(session.FileName);
    if (!text.empty()) Messages::Log(text);
}
