#include "app/frame_file.h"

#include "base/checksum.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "base/places.h"
#include "platform/platform.h"
#include "ui/dialog_events.h"
#include "ui/notebook.h"
#include "ui/theme.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

namespace FrameFile {

bool InUse = true;

namespace {

constexpr std::int64_t BytesMost = 1'000'000;
constexpr std::string_view Head = "QORVANITE-FRAME 1";

// A start that fails half-way has nothing that could replace what is stored.
bool Restored = false;

std::string FileName() {
    const std::string folder = Places::ConfigFolder();
    return folder.empty() ? std::string() : folder + "/Qorvanite.frame";
}

// The text behind a key, up to the line's end; empty when there is none.
std::string ValueOf(std::string_view content, std::string_view key) {
    while (!content.empty()) {
        const std::size_t end = content.find('\n');
        const std::string_view line = content.substr(0, end);
        if (line.starts_with(key) && line.size() > key.size() && line[key.size()] == ' ')
            return std::string(line.substr(key.size() + 1));
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    }
    return {};
}

std::string Content() {
    std::string content;
    const std::string file = FileName();
    if (!InUse || file.empty() || Files::ReadWhole(file, BytesMost, content) != 0 ||
        !content.starts_with(Head))
        return {};
    return content;
}

// The platform's own words, which nobody reads but the platform: with a sum in front, so that damaged ones
// are told from sound ones before it sees them.
std::string Sealed(const std::string& text) {
    std::array<char, 16> sum{};
    std::snprintf(sum.data(), sum.size(), "%08x ",
                  static_cast<unsigned>(Checksum::Crc32(0, std::as_bytes(std::span(text)))));
    return sum.data() + text;
}

std::string Unsealed(const std::string& sealed) {
    constexpr std::size_t SumLength = 9;
    if (sealed.size() < SumLength) return {};
    std::string text = sealed.substr(SumLength);
    return Sealed(text) == sealed ? text : std::string();
}

int NumberOf(std::string_view content, std::string_view key, int least, int most, int otherwise) {
    std::int64_t number = 0;
    const std::string text = ValueOf(content, key);
    if (!NumberText::ReadInteger(text, number) || number < least || number > most) return otherwise;
    return static_cast<int>(number);
}

}

void RestoreTheme() {
    Restored = false;
    Themes::Apply(static_cast<Themes::Choice>(NumberOf(Content(), "THEME", 0, 2, 0)));
}

void Restore() {
    Restored = true;
    const std::string content = Content();
    if (content.empty()) return;
    const std::string arrangement = Unsealed(ValueOf(content, "WINDOWS"));
    if (!arrangement.empty()) (void)Platform::Ops().Arrange(arrangement);
    Dialogs::ShowTooltips = NumberOf(content, "TIPS", 0, 1, 1) == 1;
    Notebook::SetLineNumbers(NumberOf(content, "LINENUMBERS", 0, 1, 0) == 1);
    Notebook::Zoom(NumberOf(content, "NOTEBOOKSIZE", Notebook::FontSizeLeast, Notebook::FontSizeMost,
                            Notebook::State.FontSize) -
                   Notebook::State.FontSize);
}

void Store() {
    const std::string file = FileName();
    if (!InUse || !Restored || file.empty() || Places::EnsureFolder(Places::ConfigFolder()) != 0) return;
    const auto flag = [](bool on) { return on ? "1\n" : "0\n"; };
    std::string content = std::string(Head) + "\n";
    content += "THEME " + std::to_string(static_cast<int>(Themes::Chosen())) + "\n";
    content += "TIPS " + std::string(flag(Dialogs::ShowTooltips));
    content += "LINENUMBERS " + std::string(flag(Notebook::State.LineNumbers));
    content += "NOTEBOOKSIZE " + std::to_string(Notebook::State.FontSize) + "\n";
    content += "WINDOWS " + Sealed(Platform::Ops().Arrangement()) + "\n";
    const int error = Files::WriteWhole(file, content);
    if (error != 0)
        Messages::Log("The places of the windows could not be stored: " + Files::ErrorText(error));
}

}
