#include "fit/logbook.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/time_scale.h"
#include "setup/settings.h"

#include <charconv>
#include <cmath>
#include <filesystem>

namespace Logbook {

bool WithHeadLine = false;

namespace {

struct {
    std::string DataSet; // path; empty while none is open
    Files::File File;
    bool LineEndMissing = false; // the file ends inside of a line
} Book;

LogTarget Target() {
    return static_cast<LogTarget>(Setup::Settings.FitParams.LogTarget);
}

bool ToNotebook(LogTarget target) {
    return target == LogTarget::Notebook || target == LogTarget::NotebookAndFile;
}

bool ToFile(LogTarget target) {
    return target == LogTarget::File || target == LogTarget::NotebookAndFile;
}

// The text, at most so many bytes of it, not cut inside of a character's UTF-8 sequence.
std::string_view Cut(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
    return text.substr(0, most);
}

// One line of the book: a line break inside would make two of it.
std::string AsLine(std::string_view text) {
    std::string line(Cut(text, LineMax));
    for (char& c : line)
        if (c == '\n' || c == '\r' || c == '\0') c = ' ';
    return line;
}

int Append(std::string_view line) {
    std::int64_t length = 0;
    int error = Files::Length(Book.File, length);
    if (error != 0) return error;
    const std::string text = (Book.LineEndMissing ? "\n" : "") + std::string(line) + "\n";
    error = Files::WriteAt(Book.File, length, std::as_bytes(std::span(text)));
    if (error == 0) {
        Book.LineEndMissing = false;
        return 0;
    }
    // A part of the line may have reached the file.
    if (Files::SetLength(Book.File, length) != 0) Book.LineEndMissing = true;
    return error;
}

std::string DateAndTime() {
    const double now = TimeScale::Now();
    return TimeScale::DateText(now) + " " + TimeScale::TimeText(now);
}

int LookAtEnd() {
    std::int64_t length = 0;
    const int error = Files::Length(Book.File, length);
    Book.LineEndMissing = false;
    if (error != 0 || length == 0) return error;
    char last[1] = {};
    std::size_t got = 0;
    const int reading = Files::ReadAt(Book.File, length - 1, std::as_writable_bytes(std::span(last)), got);
    Book.LineEndMissing = last[0] != '\n';
    return reading;
}

bool OpeningFailed(const std::string& reason) {
    Files::Close(Book.File);
    Messages::Alert("Error opening LogFile: " + reason);
    return false;
}

bool OpenFile(const std::string& headLine) {
    const std::string path = Files::WithExtension(Book.DataSet, ".log");
    int error = Files::Open(Book.File, path, Files::Mode::Keep);
    if (error == 0) error = Files::Lock(Book.File, Files::LockKind::Writer);
    if (Files::LockedByAnother(error) && Book.File.IsOpen())
        return OpeningFailed("another program writes it (\"" + path + "\").");
    if (error == 0) error = LookAtEnd();
    if (error == 0 && !headLine.empty()) error = Append(headLine);
    if (error == 0) error = Append("Start of Qorvanite analysis: " + DateAndTime());
    return error == 0 || OpeningFailed(Files::ErrorText(error) + " (\"" + path + "\").");
}

bool CloseFile() {
    if (!Book.File.IsOpen()) return true;
    int error = Append("End of Qorvanite analysis: " + DateAndTime());
    const int flushing = Files::Flush(Book.File);
    if (error == 0) error = flushing;
    const int closing = Files::Close(Book.File);
    if (error == 0) error = closing;
    if (error == 0) return true;
    Messages::Alert("Error closing LogFile: " + Files::ErrorText(error));
    return false;
}

std::string HeadLine() {
    if (!WithHeadLine) return {};
    return AsLine("File: " + std::filesystem::path(Book.DataSet).filename().string() +
                  ", User: " + Setup::Settings.Files.Username);
}

const char* Prefix(Kind kind) {
    switch (kind) {
    case Kind::TraceFit: return "T:";
    case Kind::SeriesFit: return "S:";
    default: return "";
    }
}

}

void LogLine(Kind kind, std::string_view command, std::string_view argument) {
    if (!ToNotebook(Target()) && !ToFile(Target())) return;
    std::string line = AsLine(Prefix(kind) + std::string(command));
    if (!argument.empty() && line.size() + 2 < LineMax)
        line += "[" + AsLine(Cut(argument, LineMax - line.size() - 2)) + "]";
    if (ToNotebook(Target())) Messages::Note(line);
    if (!ToFile(Target()) || !Book.File.IsOpen()) return;
    const int error = Append(line);
    if (error != 0) Messages::Alert("Error writing to Logbook file: " + Files::ErrorText(error));
}

void LogBool(Kind kind, std::string_view command, bool flag) {
    LogLine(kind, command, flag ? "on" : "off");
}

void LogInt(Kind kind, std::string_view command, std::int64_t value) {
    LogLine(kind, command, std::to_string(value));
}

void LogReal(Kind kind, std::string_view command, double value) {
    if (std::isnan(value)) return LogLine(kind, command, "NAN");
    if (std::isinf(value)) return LogLine(kind, command, value < 0 ? "-INF" : "INF");
    char digits[32];
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 12);
    LogLine(kind, command, {digits, static_cast<std::size_t>(end - digits)});
}

bool LogOpen(const std::string& dataSet) {
    const bool closed = CloseFile();
    Book.DataSet = dataSet;
    const std::string head = HeadLine();
    if (ToNotebook(Target()) && !head.empty())
        for (const std::string& line : {std::string(), head, std::string()}) Messages::Note(line);
    return (!ToFile(Target()) || OpenFile(head)) && closed;
}

bool LogClose() {
    Book.DataSet.clear();
    return CloseFile();
}

void LogTargetChanged(LogTarget former) {
    if (Book.DataSet.empty() || ToFile(former) == ToFile(Target())) return;
    if (ToFile(Target()))
        (void)LogOpen(std::string(Book.DataSet));
    else
        (void)CloseFile();
}

}
