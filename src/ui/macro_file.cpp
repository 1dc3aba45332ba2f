#include "ui/macro_file.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "ui/macro_line.h"

#include <array>
#include <cerrno>
#include <charconv>

namespace MacroFile {

namespace {

constexpr std::string_view Head = "MACRO-FILE";
constexpr std::size_t BlockBytes = 16384;
constexpr int VersionColumns = 11;

void SayReadError(const std::string& path, int error, Report report) {
    const std::string text = "Error reading '" + path + "':  " + Files::ErrorText(error);
    Messages::Note(text);
    if (error != ENOENT || report == Report::Loud) Messages::Alert(text);
}

[[nodiscard]] int ReadBlock(Source& source) {
    source.Block.resize(BlockBytes);
    source.At = 0;
    std::size_t got = 0;
    const int error =
        Files::ReadAt(source.File, source.Position, std::as_writable_bytes(std::span(source.Block)), got);
    source.Block.resize(error == 0 ? got : 0);
    source.Position += static_cast<std::int64_t>(source.Block.size());
    if (got == 0) source.AtEnd = true;
    return error;
}

// What the block still holds goes to the line. True when the line has ended.
bool TakeFromBlock(Source& source) {
    while (source.At < source.Block.size()) {
        const char c = source.Block[source.At++];
        const bool secondOfTwo = c == '\n' && source.AfterReturn;
        source.AfterReturn = c == '\r';
        if (secondOfTwo) continue;
        if (c == '\n' || c == '\r') return true;
        if (source.Part.size() < MacroLine::LongestLine) {
            source.Part += c;
        } else {
            source.Overlong = true;
        }
    }
    return false;
}

Next Finish(Source& source, std::string& line) {
    const bool overlong = source.Overlong;
    line = Texts::Utf8(source.Part);
    source.Part.clear();
    source.Overlong = false;
    ++source.Line;
    return overlong || line.size() > MacroLine::LongestLine ? Next::TooLong : Next::Line;
}

bool ReadHead(std::string_view line, std::int64_t& version) {
    if (!line.starts_with(Head)) return false;
    line = NumberText::Trimmed(line.substr(Head.size()));
    const std::size_t digits = std::min(line.find_first_of("; "), line.size());
    return NumberText::ReadInteger(line.substr(0, digits), version);
}

bool VersionAgreed(const std::string& path, std::string_view head, int version) {
    static constexpr const char* Buttons[] = {"Load anyway", "Cancel"};
    const std::string text = "Version conflict in Macro file: " + path +
                             "\n   required: " + std::to_string(version) + "\n   in file: \"" +
                             std::string(NumberText::Trimmed(head.substr(Head.size()))) + "\"";
    return Messages::AskChoice(text, {.Buttons = Buttons, .Default = 1, .Yes = 0, .No = 1}) == 0;
}

}

bool Open(Source& source, const std::string& path, int version, Report report) {
    source = {};
    source.Path = path;
    const int error = Files::Open(source.File, path, Files::Mode::Read);
    if (error != 0) {
        SayReadError(path, error, report);
        return false;
    }
    std::string head;
    std::int64_t found = 0;
    Next next = Next::More;
    while (next == Next::More && !source.Overlong) next = NextLine(source, head);
    if (next == Next::Failed) return false;
    if (next != Next::Line || !ReadHead(head, found)) {
        Messages::Alert("Not a macro file: \"" + path + "\".");
    } else if (found == version || VersionAgreed(path, head, version)) {
        return true;
    }
    Close(source);
    return false;
}

void Close(Source& source) {
    Files::Close(source.File);
    source = {};
}

Next NextLine(Source& source, std::string& line) {
    if (TakeFromBlock(source)) return Finish(source, line);
    if (source.AtEnd) {
        if (source.Part.empty()) return Next::End;
        return Finish(source, line);
    }
    const int error = ReadBlock(source);
    if (error != 0) {
        SayReadError(source.Path, error, Report::Loud);
        Close(source);
        return Next::Failed;
    }
    if (TakeFromBlock(source)) return Finish(source, line);
    if (!source.AtEnd) return Next::More;
    return source.Part.empty() ? Next::End : Finish(source, line);
}

std::string HeadLine(int version) {
    return std::string(Head) + NumberText::Integer(version, VersionColumns);
}

}
