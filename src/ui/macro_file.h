// Macro and key files, read line by line.
//
// The first line is "MACRO-FILE" and a version; behind it stand macro lines. Line ends of all systems are
// read. A file is read in blocks, so that it may have any length and hold any bytes: what is not UTF-8 is
// taken for Latin-1, and a line over MacroLine::LongestLine characters is passed over.
#pragma once
#include "base/files.h"

#include <cstdint>
#include <string>

namespace MacroFile {

inline constexpr int MacroVersion = 1; // of recorded macros
inline constexpr int KeyVersion = 900; // of key files

enum class Report : std::uint8_t {
    Silent, // about a file that is not there
    Loud,
};

struct Source {
    Files::File File;
    std::string Path;
    std::int64_t Position = 0; // of the block's end
    std::string Block;
    std::size_t At = 0; // in the block
    bool AtEnd = false, Overlong = false, AfterReturn = false;
    std::string Part;      // of a line that goes on in the next block
    std::int64_t Line = 0; // number of the line that was read last
};

// Opens the file and reads its head. False after the reason was said: in the notebook, and as an alert but
// for a missing file when silent. A file of another version is read where the user says so.
[[nodiscard]] bool Open(Source& source, const std::string& path, int version, Report report);
void Close(Source& source);

enum class Next : std::uint8_t {
    Line,
    TooLong, // a line was passed over
    More,    // none yet: a look at the next block may take long on a strange device
    End,
    Failed, // the reason was said
};
[[nodiscard]] Next NextLine(Source& source, std::string& line);

// "MACRO-FILE        900"
[[nodiscard]] std::string HeadLine(int version);

}
