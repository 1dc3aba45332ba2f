#include "ui/menus.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "platform/platform.h"

#include <algorithm>
#include <vector>

namespace Menus {

void (*Chosen)(int menu, int entry) = nullptr;

namespace {

struct EntryRecord {
    Row Rules;
    std::string Text;
    char Shortcut = 0;
    int Index = 0; // of an entry that was made while the program runs
    void (*IndexProc)(int index) = nullptr;
    bool (*IndexChecked)(int index) = nullptr;
    Platform::MenuEntry Shown; // as the platform has it
};

struct MenuRecord {
    std::string Title;
    bool InBar = true;
    std::vector<EntryRecord> Entries;
};

std::vector<MenuRecord> All;

EntryRecord* Find(int menu, int entry) {
    if (menu < 1 || menu > Count()) return nullptr;
    std::vector<EntryRecord>& entries = All[static_cast<std::size_t>(menu) - 1].Entries;
    if (entry < 1 || static_cast<std::size_t>(entry) > entries.size()) return nullptr;
    return &entries[static_cast<std::size_t>(entry) - 1];
}

bool Enabled(const EntryRecord& entry) {
    return entry.Text != "-" && (entry.Rules.Enabled == nullptr || entry.Rules.Enabled());
}

bool Checked(const EntryRecord& entry) {
    if (entry.IndexChecked != nullptr) return entry.IndexChecked(entry.Index);
    return entry.Rules.Checked != nullptr && entry.Rules.Checked();
}

Platform::MenuEntry Now(const EntryRecord& entry) {
    return {.Text = entry.Rules.ShownText != nullptr ? entry.Rules.ShownText() : entry.Text,
            .Shortcut = entry.Shortcut,
            .Enabled = Enabled(entry),
            .Checked = Checked(entry),
            .SubMenu = entry.Rules.SubMenu != nullptr ? FindMenu(entry.Rules.SubMenu) : 0};
}

bool Same(const Platform::MenuEntry& a, const Platform::MenuEntry& b) {
    return a.Text == b.Text && a.Shortcut == b.Shortcut && a.Enabled == b.Enabled && a.Checked == b.Checked &&
           a.SubMenu == b.SubMenu;
}

}

void Add(std::string_view title, std::span<const Row> rows, bool inBar) {
    int menu = FindMenu(title);
    if (menu == 0) {
        All.push_back({.Title = std::string(title), .InBar = inBar, .Entries = {}});
        menu = Count();
    }
    std::vector<EntryRecord>& entries = All[static_cast<std::size_t>(menu) - 1].Entries;
    entries.clear();
    for (const Row& row : rows)
        entries.push_back({.Rules = row, .Text = row.Text, .Shortcut = row.Shortcut, .Shown = {}});
}

void AddEntry(std::string_view title, std::string_view text, int index, void (*proc)(int index),
              bool (*checked)(int index)) {
    const int menu = FindMenu(title);
    if (menu == 0) return;
    All[static_cast<std::size_t>(menu) - 1].Entries.push_back({.Rules = {},
                                                               .Text = std::string(text),
                                                               .Index = index,
                                                               .IndexProc = proc,
                                                               .IndexChecked = checked,
                                                               .Shown = {}});
}

void Clear() {
    All.clear();
}

void Install() {
    std::vector<Platform::Menu> menus;
    for (MenuRecord& record : All) {
        Platform::Menu menu{.Title = record.Title, .Entries = {}, .InBar = record.InBar};
        for (EntryRecord& entry : record.Entries) {
            entry.Shown = Now(entry);
            menu.Entries.push_back(entry.Shown);
        }
        menus.push_back(std::move(menu));
    }
    Platform::Ops().SetMenus(menus);
}

void Refresh() {
    for (std::size_t menu = 0; menu < All.size(); ++menu) {
        std::vector<EntryRecord>& entries = All[menu].Entries;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            Platform::MenuEntry now = Now(entries[i]);
            if (Same(now, entries[i].Shown)) continue;
            Platform::Ops().SetMenuEntry(static_cast<int>(menu + 1), static_cast<int>(i + 1), now);
            entries[i].Shown = std::move(now);
        }
    }
}

int Count() {
    return static_cast<int>(All.size());
}

std::string Title(int menu) {
    return menu >= 1 && menu <= Count() ? All[static_cast<std::size_t>(menu) - 1].Title : std::string();
}

int Entries(int menu) {
    return menu >= 1 && menu <= Count()
               ? static_cast<int>(All[static_cast<std::size_t>(menu) - 1].Entries.size())
               : 0;
}

std::string EntryText(int menu, int entry) {
    const EntryRecord* const found = Find(menu, entry);
    return found != nullptr ? found->Text : std::string();
}

char Shortcut(int menu, int entry) {
    const EntryRecord* const found = Find(menu, entry);
    return found != nullptr ? found->Shortcut : '\0';
}

bool IsEnabled(int menu, int entry) {
    const EntryRecord* const found = Find(menu, entry);
    return found != nullptr && Enabled(*found);
}

bool IsChecked(int menu, int entry) {
    const EntryRecord* const found = Find(menu, entry);
    return found != nullptr && Checked(*found);
}

int FindMenu(std::string_view title) {
    for (int menu = 1; menu <= Count(); ++menu)
        if (Texts::SameFolded(All[static_cast<std::size_t>(menu) - 1].Title, title)) return menu;
    return 0;
}

int FindEntry(int menu, std::string_view numberOrText) {
    std::int64_t number = 0;
    const bool digits =
        !numberOrText.empty() && numberOrText.find_first_not_of("0123456789") == std::string_view::npos;
    if (digits && NumberText::ReadInteger(numberOrText, number) && number >= 1 && number <= Entries(menu))
        return static_cast<int>(number);
    for (int entry = 1; entry <= Entries(menu) && !numberOrText.empty(); ++entry)
        if (Texts::SameFolded(EntryText(menu, entry), numberOrText)) return entry;
    return 0;
}

bool Select(int menu, int entry) {
    const EntryRecord* const found = Find(menu, entry);
    if (found == nullptr || !Enabled(*found)) return false;
    // The procedure may change the menus: nothing of the entry is used behind it.
    if (found->IndexProc != nullptr) {
        found->IndexProc(found->Index);
    } else if (found->Rules.Proc != nullptr) {
        found->Rules.Proc();
    } else {
        return false;
    }
    return true;
}

bool AssignKey(int menu, int entry, char letter) {
    EntryRecord* const found = Find(menu, entry);
    if (found == nullptr) return false;
    const bool legal = letter == 0 || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
    if (!legal) {
        Messages::Note(std::string("illegal shortcut key: ") + letter + "   must be: A to Z, or 0 to 9 !");
        return false;
    }
    for (MenuRecord& record : All)
        for (EntryRecord& other : record.Entries)
            if (letter != 0 && other.Shortcut == letter) other.Shortcut = 0;
    found->Shortcut = letter;
    return true;
}

bool HandleEvent(const Events::Event& event) {
    if (event.Kind != Events::KeyKind::KeyWindow || event.Detail != Platform::MenuChosen) return false;
    const int menu = static_cast<int>(event.Parameter1), entry = static_cast<int>(event.Parameter2);
    const EntryRecord* const found = Find(menu, entry);
    if (found == nullptr || !Enabled(*found)) return true;
    if (Chosen != nullptr && found->Rules.Macro) Chosen(menu, entry);
    (void)Select(menu, entry);
    return true;
}

}
