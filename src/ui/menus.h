// The program's menus: tables of rows that their owners add in order. Menus and entries count from 1; the
// first menu is the program's own. What a user selects, a macro selects by the menu's title and the entry's
// number or text.
#pragma once
#include "ui/events.h"

#include <span>
#include <string>
#include <string_view>

namespace Menus {

struct Row {
    const char* Text = "-"; // "-": a separator
    char Shortcut = 0;      // 'A' to 'Z', '0' to '9'
    void (*Proc)() = nullptr;
    bool (*Enabled)() = nullptr;          // none: always
    bool (*Checked)() = nullptr;          // none: never
    std::string (*ShownText)() = nullptr; // a text that changes; Text stays its name in macros
    const char* SubMenu = nullptr;        // title of the menu that opens here
    bool Macro = true;                    // recorded
};

// Adds a menu behind those that are there. Only its title is taken where one of that title exists: its rows
// are replaced. inBar: false for one that is only opened by an entry of another.
void Add(std::string_view title, std::span<const Row> rows, bool inBar = true);
// An entry that is made while the program runs, at the end of a menu: index is handed to the procedure.
void AddEntry(std::string_view title, std::string_view text, int index, void (*proc)(int index),
              bool (*checked)(int index) = nullptr);
void Clear();

// Hands all menus to the platform; Refresh only the entries whose text, check mark or state has changed.
void Install();
void Refresh();

[[nodiscard]] int Count();
[[nodiscard]] std::string Title(int menu);
[[nodiscard]] int Entries(int menu);
[[nodiscard]] std::string EntryText(int menu, int entry); // name in macros
[[nodiscard]] char Shortcut(int menu, int entry);
[[nodiscard]] bool IsEnabled(int menu, int entry);
[[nodiscard]] bool IsChecked(int menu, int entry);
[[nodiscard]] int FindMenu(std::string_view title);                   // without regard to case; 0 none
[[nodiscard]] int FindEntry(int menu, std::string_view numberOrText); // 0 none

// Runs the entry's procedure. False for one that is disabled, or none at all.
bool Select(int menu, int entry);
// Gives it a shortcut, taking it from an entry that had it; 0 takes its own away. False, with a line "illegal
// shortcut key: ..." in the notebook, for any other letter.
bool AssignKey(int menu, int entry, char letter);

// A choice by hand, ahead of the entry's procedure, of an entry that is recorded: the recorder of macros.
extern void (*Chosen)(int menu, int entry);

// True when the event was a choice from a menu.
bool HandleEvent(const Events::Event& event);

}
