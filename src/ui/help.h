// Help: a text file with a section for each window, shown in a window of its own, and the tips of items.
//
// The file, lines of text with any line end:
//   == Title          starts a section; its title is the window's, or any other
//   FONT: Name        the font of the window
//   TIP Dialog Item  text      the tip of an item, by ID-name and item name; replaces the coded one
// All other lines are the section's text. What stands before the first section is the section "Overview".
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace Help {

inline constexpr std::size_t TipsMost = 4096;

struct Section {
    std::string Title;
    std::string Text;
};

// Makes the dialog known, to macros and to the key file; Show does it as well.
[[nodiscard]] bool Initialise();
// Reads the file; the sections and tips of one that was read before go. False with the reason in the
// notebook; the start goes on without help.
[[nodiscard]] bool Load(const std::string& file);
// Qorvanite.hlp beside the program, in share/qorvanite beside the program's folder, or in the data folder of
// the user; empty where there is none.
[[nodiscard]] std::string FindFile(const std::string& programName);

[[nodiscard]] const std::vector<Section>& Sections();
// The tip that the file has for an item; empty where it has none.
[[nodiscard]] std::string Tip(std::string_view dialogIDName, std::string_view itemName);
// Puts the tips of the file into the items of all dialogs, now and whenever one opens.
void ApplyTips();

// Opens the window at a section, the first one where there is no such title. False after a message.
bool Show(std::string_view title);
// The section of the front window.
void ShowForFront();

}
