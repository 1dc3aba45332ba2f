#include "app/frame_file.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "base/places.h"
#include "platform/platform.h"
#include "ui/dialog_events.h"
#include "ui/notebook.h"
#include "ui/theme.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace FrameFile {

namespace {

constexpr std::int64_t BytesMost = 1'000'000;
constexpr std::string_view Head = "QORVANITE-FRAME 1";

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
    if (file.empty() || Files::ReadWhole(file, BytesMost, content) != 0 || !content.starts_with(Head))
        return {};
    return content;
}

int NumberOf(std::string_view content, std::string_view key, int least, int most, int otherwise) {
    std::int64_t number = 0;
    const std::string text = ValueOf(content, key);
    if (!NumberText::ReadInteger(text, number) || number < least || number > most) return otherwise;
    return static_cast<int>(number);
}

}

void RestoreTheme() {
    Themes::Apply(static_cast<Themes::Choice>(NumberOf(Content(), "THEME", 0, 2, 0)));
}

void Restore() {
    const std::string content = Content();
    if (content.empty()) return;
    const std::string arrangement = ValueOf(content, "WINDOWS");
    if (!arrangement.empty()) (void)Platform::Ops().Arrange(arrangement);
    Dialogs::ShowTooltips = NumberOf(content, "TIPS", 0, 1, 1) == 1;
    Notebook::SetLineNumbers(NumberOf(content, "LINENUMBERS", 0, 1, 0) == 1);
    Notebook::Zoom(NumberOf(content, "NOTEBOOKSIZE", Notebook::FontSizeLeast, Notebook::FontSizeMost,
                            Notebook::State.FontSize) -
                   Notebook::State.FontSize);
}

void Store() {
    const std::string file = FileName();
    if (file.empty() || Places::EnsureFolder(Places::ConfigFolder()) != 0) return;
    const auto flag = [](bool on) { return on ? "1\n" : "0\n"; };
    std::string content = std::string(Head) + "\n";
    content += "THEME " + std::to_string(static_cast<int>(Themes::Chosen())) + "\n";
    content += "TIPS " + std::string(flag(Dialogs::ShowTooltips));
    content += "LINENUMBERS " + std::string(flag(Notebook::State.LineNumbers));
    content += "NOTEBOOKSIZE " + std::to_string(Notebook::State.FontSize) + "\n";
    content += "WINDOWS " + Platform::Ops().Arrangement() + "\n";
    const int error = Files::WriteWhole(file, content);
    if (error != 0)
        Messages::Log("The places of the windows could not be stored: " + Files::ErrorText(error));
}

}
