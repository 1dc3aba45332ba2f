#include "app/tools.h"

#include "app/desktop_menus.h"
#include "app/frame_file.h"
#include "app/start.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "online/equation_words.h"
#include "ui/help.h"
#include "ui/key_file.h"
#include "ui/notebook.h"
#include "windows/configuration.h"
#include "windows/control_window.h"
#include "windows/equation_editor.h"
#include "windows/open_files.h"

namespace Tools {

namespace {

bool LoadHelp() {
    if (!Help::Initialise()) return false;
    const std::string file = Help::FindFile(Start::Program().ProgramName);
    if (file.empty()) {
        Messages::Log("There is no help file.");
    } else if (Help::Load(file)) {
        Help::ApplyTips();
    }
    return true; // the program works without
}

bool MakeMenus() {
    DesktopMenus::Make();
    return true;
}

bool LoadKeys() {
    const std::string file = KeyFile::Path();
    if (!file.empty() && Files::Exists(file)) (void)KeyFile::Load(file);
    return true;
}

bool RestorePlaces() {
    FrameFile::Restore();
    return true;
}

void ShowConfiguration() {
    (void)Configuration::Show();
}

constexpr Tool Order[] = {
    {"Initializing Notebook ...", Notebook::Initialise},
    {"Initializing Configuration ...", Configuration::Initialise},
    {"Initializing Control Window ...", ControlWindow::Initialise},
    {nullptr, OpenFiles::Initialise},
    {nullptr, EquationEditor::Initialise},
    {"Loading help file ...", LoadHelp},
    {"Initializing Menus ...", MakeMenus},
    {nullptr, RestorePlaces},
    {"Loading Macros ...", LoadKeys},
};

// Beside a tool that asks for an equation, the editor is a calculator: what was done goes to the notebook.
void ShowEquationEditor() {
    static std::string text;
    static double value = 0;
    (void)EquationEditor::Open({.Text = &text,
                                .Value = &value,
                                .Words = {.Find = EquationWords::Find, .Read = EquationWords::Read},
                                .Done = [] {
                                    Notebook::WriteLine(
                                        text + " = " +
                                        std::string(NumberText::Trimmed(NumberText::Scientific(value, 16))));
                                }});
}

constexpr WindowRow Windows[] = {
    {"Control Window", ControlWindow::Show},
    {"Configuration", ShowConfiguration},
    {"Notebook", Notebook::Show},
    {"Equation Editor", ShowEquationEditor},
};

}

std::span<const Tool> StartOrder() {
    return Order;
}

std::span<const WindowRow> MenuOrder() {
    return Windows;
}

}
