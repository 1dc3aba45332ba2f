// Dialogs: every tool window is a flat, numbered array of items that a tool declares as one table of rows.
//
// A tool owns a DialogRecord. SetupDialogBuffer makes room for the items, OpenDialog lets the tool define
// them, takes the user's own layout from the .dia file (dia_file.h), lets the tool configure them, and opens
// the window. The toolkit does the rest: drawing (draw_item.h), keys and mouse (dialog_events.h), entry of
// numbers (item_value.h), recording and playing of macros (macros.h).
//
// Items run from 1 to ItemCount; item 0 is the template and the background. The code names them by number,
// macros by ItemName; a dialog by its DialogIDName. Numbers outside of the array are ignored without a word.
// Places are in logical pixels of the window's content.
#pragma once
#include "base/buffer.h"
#include "base/number_text.h"
#include "platform/platform.h"
#include "ui/events.h"

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Dialogs {

inline constexpr std::size_t TextMax = 79;                          // characters of names, texts, titles
inline constexpr std::size_t UnitMax = 7;                           // of a unit
inline constexpr std::size_t ValueTextMax = 1023;                   // of a text value outside of its item
inline constexpr int WindowWidthLeast = 40, WindowHeightLeast = 20; // a smaller one cannot be used

// The numbers stand in .dia files.
enum class ItemKind : std::uint8_t {
    NotKnown,
    Button,
    Switch,
    RadioButton,
    CheckBox,
    MultiCheck,
    Text,
    FramedText,
    FramedNumber,
    FramedBool,
    Drag,
    TrueFalse,
    HighLow,
    Drag2,
    EditText,
    List,
    Offscreen,
    GWindow,
    User,
    Pane,
};
[[nodiscard]] const char* KindWord(ItemKind kind); // "button", "illegal" for a number that is none

enum class ValueKind : std::uint8_t { Real64, Real32, Int32, Int16, Set16, Boolean, Byte, String };

struct Rect {
    std::int32_t Left = 0, Top = 0, Right = 0, Bottom = 0;
    bool operator==(const Rect&) const = default;
    [[nodiscard]] std::int32_t Width() const { return Right - Left; }
    [[nodiscard]] std::int32_t Height() const { return Bottom - Top; }
    [[nodiscard]] Platform::Area Area() const {
        return {static_cast<double>(Left), static_cast<double>(Top), static_cast<double>(Width()),
                static_cast<double>(Height())};
    }
};

// Where a value lives. List items are of kind Byte, from 0; those of 32 bits keep their index likewise.
struct ValueRef {
    ValueKind Kind = ValueKind::Boolean;
    void* Place = nullptr; // none: in the item itself

    constexpr ValueRef() = default;
    constexpr ValueRef(double* place) : Kind(ValueKind::Real64), Place(place) {}
    constexpr ValueRef(float* place) : Kind(ValueKind::Real32), Place(place) {}
    constexpr ValueRef(std::int32_t* place) : Kind(ValueKind::Int32), Place(place) {}
    constexpr ValueRef(std::int16_t* place) : Kind(ValueKind::Int16), Place(place) {}
    constexpr ValueRef(std::uint16_t* place) : Kind(ValueKind::Set16), Place(place) {}
    constexpr ValueRef(bool* place) : Kind(ValueKind::Boolean), Place(place) {}
    constexpr ValueRef(std::uint8_t* place) : Kind(ValueKind::Byte), Place(place) {}
    constexpr ValueRef(std::string* place) : Kind(ValueKind::String), Place(place) {}
    constexpr explicit ValueRef(ValueKind kind) : Kind(kind) {}
};

struct Shortcut {
    Events::KeyClass Class = Events::KeyClass::None;
    std::uint32_t Char = 0; // upper case where the modifiers do not matter; a KeyCode for special keys
    std::uint8_t Modifiers = 0;
    bool AnyModifier = false;
    bool FrontOnly = true;
    bool operator==(const Shortcut&) const = default;
    [[nodiscard]] bool IsSet() const { return Class >= Events::KeyClass::Printable; }
};

inline constexpr Shortcut EscapeKey{.Class = Events::KeyClass::Special,
                                    .Char = static_cast<std::uint32_t>(Platform::KeyCode::Escape)};
// Works in either case, and with any modifier.
[[nodiscard]] constexpr Shortcut LetterKey(char upperCase) {
    return {.Class = Events::KeyClass::Printable,
            .Char = static_cast<std::uint32_t>(upperCase),
            .AnyModifier = true};
}

// How a number looks and what it may be. Bounds are those of the stored value.
struct NumberForm {
    std::string_view Unit{};
    NumberText::Format Format = NumberText::Format::Fixed;
    std::int16_t Columns = 8, Digits = 1;
    double Low = -1E300, High = 1E300;
    double Scale = 1.0;  // what is shown is the stored value divided by it
    double Step = 1.0;   // of a drag item
    bool Strict = false; // a number out of bounds is refused, instead of put to the nearest bound
};

// A shortcut that the user has given to an item.
struct UserKey {
    int Number = 0;
    bool Second = false;
    Shortcut Key{};
};

// What a part of the window is for; the theme makes colour and weight of it.
enum class Role : std::uint8_t { Normal, Primary, Heading, Secondary, Warning, Good, Card };

// Which edges of the window an item keeps its distance from when the window is sized; with two opposite ones
// it grows.
inline constexpr std::uint8_t ToLeft = 1, ToRight = 2, ToTop = 4, ToBottom = 8;

struct DialogRecord;
struct DialogItem;
using ItemProcedure = void (*)(DialogRecord& dialog, int number);
// Makes the value part of the item's macro line. False: the item has none at the moment.
using MacroProcedure = bool (*)(DialogRecord& dialog, int number, std::string& value);
// Draws the inside of an item of kind User, GWindow or Offscreen, in its own coordinates from 0,0.
using DrawProcedure = void (*)(DialogRecord& dialog, int number, Platform::Drawing& drawing,
                               Platform::Size size);
// True: the event is dealt with, and the toolkit does nothing more.
using DialogProcedure = bool (*)(DialogRecord& dialog, const Events::Event& event);

// One item as a tool declares it.
struct Row {
    int Number = 0;
    ItemKind Kind = ItemKind::Text;
    const char* Name = "";
    const char* Text = "";
    Platform::Area At{}; // left, top, width, height
    ValueRef Value{};
    NumberForm Form{};
    std::span<const char* const> Entries{}; // of a list
    ItemProcedure Proc = nullptr;
    const char* Tip = "";
    Shortcut Key{}, Key2{};
    std::uint8_t Anchor = ToLeft | ToTop;
    std::int16_t Page = 0; // of the pane that shows it; 0: all. For a pane item: the page it selects
    Dialogs::Role Role = Role::Normal;
    Platform::Align Justify = Platform::Align::Left;
    std::int16_t TextLength = 0; // capacity of a text, 0: TextMax
    bool Macro = true;           // recorded
    std::uint8_t Level = 0;      // user level from which on it is enabled
    ItemProcedure Update = nullptr;
    DrawProcedure Draw = nullptr;
    bool Lines = false;                        // EditText: more than one line
    bool Password = false;                     //
    std::int16_t FontNumber = 0, FontSize = 0; // 0: the dialog's
};

struct DialogItem {
    ItemKind Kind = ItemKind::NotKnown;
    Dialogs::ValueKind ValueKind = ValueKind::Boolean;
    Shortcut Key{}, Key2{};
    bool Executable = true, Visible = true, Enabled = true;
    std::string ItemName{}, ItemText{}, UnitText{};
    // Text position in the item; both 0: where the kind has it.
    std::int16_t TextLeft = 0, TextBottom = 0;
    std::int16_t FontNumber = 0, FontSize = 10; // font_list.h; points
    std::uint8_t TextStyle = 0;                 // bits of TextStyles
    std::uint8_t Justify = 0;                   // 0 left, 1 center, 2 right, 3 last
    bool Inverted = false;
    NumberText::Format NumberFormat = NumberText::Format::Fixed;
    std::uint8_t NumberOption = 0;
    bool Busy = false; // being edited or tracked
    std::int16_t TextLength = 3, Digits = 1, LineHeight = 13;
    bool Password = false, Lines = false, Strict = false;
    bool LineNumbers = false; // of an EditText with Lines
    bool MacroEnabled = false;
    std::optional<Platform::Color> BackColor{}, HighColor{}; // none: the theme's
    void* ValuePointer = nullptr;
    double ValueScale = 1.0, ValueLow = -1E300, ValueHigh = 1E300;
    // List entries; a list may share those of a tool. A disabled entry begins with "(".
    std::vector<std::string> ListEntries{};
    std::int16_t ListMaxLines = 0;
    std::int32_t* ListSecond = nullptr;        // a second number that macros set with the entry; the tool's
    double StepSmall = 1.0, DragFactor = 0.25; // drag items
    std::int16_t DragDivisor = 2, DragInterval = 50;
    Platform::BitmapId OffscreenHandle = 0;
    ItemProcedure ItemProc = nullptr, TrackProc = nullptr, UpdateProc = nullptr;
    MacroProcedure MacroProc = nullptr;
    DrawProcedure DrawProc = nullptr;
    Rect ItemRect{};
    std::int16_t PaneNumber = 0, PaneSelects = 0;
    std::int16_t ScrollFrame = 0; // the pane item that clips and scrolls it, 0 none
    std::uint8_t UserLevel = 0;
    bool PaneHidden = false;
    std::uint8_t Anchor = ToLeft | ToTop;
    Dialogs::Role Role = Role::Normal;
    std::string Tip{};
    Platform::TextBoxId TextBox = 0; // of an EditText that is always open
    std::string BoxText{};           // the value that the box shows
    std::string BoxShown{};          // the same as the box tells it: line ends may differ
    std::string OwnText{};           // the value where ValuePointer names none and the kind has a text
    double OwnValue = 0;             // likewise for numbers, in the shape of ValueKind
};

enum TextStyles : std::uint8_t {
    Bold = 1,
    Italic = 2,
    Underline = 4,
    Outline = 8,
    Shadow = 16,
    Condense = 32,
    Extend = 64,
};

struct DialogProcs {
    DialogProcedure DefaultProc = nullptr, ActivateProc = nullptr, MouseProc = nullptr, KeyProc = nullptr,
                    WindowProc = nullptr, MacroKeyProc = nullptr, UpdateProc = nullptr, CloseProc = nullptr,
                    ResizeProc = nullptr, MoveProc = nullptr, IconizeProc = nullptr;
};

// A dialog as a tool declares it.
struct DialogSpec {
    std::string Title{};  // as in the title bar, in the window menu and in the name of the .dia file
    std::string IDName{}; // of macros and batches
    std::string BufferName{};
    int Count = 0;
    Platform::Area Place{}; // left, top: of a window outside of the frame, negative for the platform's choice
    Platform::Size Least{}; // none: that of Place
    std::int16_t Version = 1;
    bool Modal = false, NamesRequired = false, Storable = true;
    Platform::WindowKind Window = Platform::WindowKind::Panel;
    Platform::Dock Dock = Platform::Dock::Left;
    bool Growable = true, CloseBox = true, Shown = true;
    bool LoadDia = true;
    std::int16_t FontNumber = 0, FontSize = 10;
    void (*Define)(DialogRecord& dialog) = nullptr;    // calls SetItem, or Define below, for each item
    void (*Configure)(DialogRecord& dialog) = nullptr; // attaches what a .dia file does not hold
    DialogProcs Procs{};
};

struct DialogRecord {
    std::int16_t ItemCount = 0;
    std::int16_t Version = 0;
    std::int16_t CurrentItem = 0; // the one with the keyboard, 0 for none
    std::int16_t LastKeyItem = 0; // the highest with a key
    bool IsOpen = false, CanBeFront = true, Modal = false, NamesRequired = false, Storable = true;
    bool KeepScale = false, WasVisible = false;
    bool WasOpen = false;  // since it was set up: WindowRect is where the user left it
    bool Closing = false;  // CloseProc runs
    bool Arranged = false; // the user has changed the layout since it was set up
    int OpenOrder = 0;     // the highest of all open dialogs was opened last
    Platform::WindowId WindowHandle = 0;
    std::vector<bool> ItemRegion{}; // true: the item is locked
    DialogRecord* NextDialog = nullptr;
    Buffer::Heap* DialogMemory = nullptr;
    std::unique_ptr<std::pmr::vector<DialogItem>> Items{};
    DialogProcs Procs{};
    Rect WindowRect{}, IconRect{}; // as they are stored; the items' places belong to the size of WindowRect
    std::int16_t WindowState = 0, IconState = 0;
    std::string DialogName{}, DialogIDName{}, BufferName{};
    std::int16_t CurrentPage = 0;
    DialogSpec Spec{};
    std::string KeptLayout{}; // of the last time it was open, where Arranged; as in a .dia file
    std::vector<UserKey> UserKeys{};
    std::vector<Rect> BaseRects{}; // places of the items at the size of BaseSize
    Platform::Size BaseSize{};
};

// Makes the record ready for its items. False, after an alert, when the buffer's name is in use or the dialog
// is open, and when there is no memory; nothing is left behind then.
[[nodiscard]] bool SetupDialogBuffer(DialogRecord& dialog, const DialogSpec& spec);
// Gives a dialog back: window, items, buffer, its place in the list of dialogs.
void DisposeDialog(DialogRecord& dialog);
void DisposeAll(); // of the shutdown

// Makes one item of item 0. False: an item whose name an earlier one has, or that has none where names are
// required, is not made, and the notebook says so; a number outside of the array is ignored.
bool SetItem(DialogRecord& dialog, int number, ItemKind kind, std::string_view name, bool macroFlag,
             std::string_view text, int left, int top, int width, int height);
void SetItemNumber(DialogRecord& dialog, int number, const NumberForm& form, ValueKind kind);
void SetItemProc(DialogRecord& dialog, int number, ValueRef value, ItemProcedure itemProc,
                 ItemProcedure updateProc = nullptr);
void SetItemKey(DialogRecord& dialog, int number, const Shortcut& key);
void SetItemKey2(DialogRecord& dialog, int number, const Shortcut& key);
// A shortcut that the user gives to an item, open or not: it counts until the end of the program, whatever is
// coded and whatever a .dia file says. second: of a toggle or list.
void AssignKey(DialogRecord& dialog, int number, const Shortcut& key, bool second = false);
void SetList(DialogRecord& dialog, int number, std::span<const char* const> entries);
// An ID-name that another dialog has is not given twice, and the notebook says so: macros would not know
// which dialog is meant.
void SetDialogProcs(DialogRecord& dialog, const DialogProcs& procs, std::string_view idName);
// All of the above for rows of a table: Define what a .dia file may change, Configure the rest.
void DefineRows(DialogRecord& dialog, std::span<const Row> rows);
void ConfigureRows(DialogRecord& dialog, std::span<const Row> rows);

// Defines the items, opens the window and draws it. A dialog that is open comes to the front; one that was
// open before comes up where it was, with the layout and the private values it had. False when there is no
// window.
[[nodiscard]] bool OpenDialog(DialogRecord& dialog);
// The window goes, after CloseProc; the items stay. An entry that is under way is stored first.
void CloseDialog(DialogRecord& dialog);
// Told of each dialog that closes, its window still there; the configuration of items installs it.
extern void (*DialogCloses)(DialogRecord& dialog);
// Answers a Modal dialog: runs event steps until it is closed.
void RunModal(DialogRecord& dialog);
// What RunModal runs again and again; the event loop installs it.
extern void (*EventStep)();

// Called when a dialog that opens has been configured: the help puts its tips in.
extern void (*AfterConfigure)(DialogRecord& dialog);

// Shows or hides the window of an open dialog without closing it.
void ShowDialog(DialogRecord& dialog, bool shown);
void BringToFront(DialogRecord& dialog);
void SetAside(DialogRecord& dialog, std::string_view aside); // at the other end of the title bar

void UpdateDialog(DialogRecord& dialog); // draws everything anew, values refreshed
void UpdateAll();                        // all dialogs, as after a change of colours
void RedrawItem(DialogRecord& dialog, int number);
// All that it shows at present, as one drawing; texts in open boxes are not part of it.
[[nodiscard]] Platform::Drawing PictureOf(DialogRecord& dialog);
// After the window was sized: items keep their distance from the edges they hold on to.
void FitToWindow(DialogRecord& dialog);
// After the user has changed places or looks of items: they hold for the window's present size, and outlive
// it.
void KeepLayout(DialogRecord& dialog);
[[nodiscard]] std::string TitleOf(const DialogRecord& dialog); // the user's, else DialogName

[[nodiscard]] bool HasItem(const DialogRecord& dialog, int number); // 1 to ItemCount, and made
[[nodiscard]] DialogItem& Item(DialogRecord& dialog, int number);   // HasItem must hold, or number be 0
[[nodiscard]] const DialogItem& Item(const DialogRecord& dialog, int number);
// 0 when there is none.
[[nodiscard]] int FindItem(const DialogRecord& dialog, std::string_view name); // case counts
[[nodiscard]] int FindItemFolded(const DialogRecord& dialog, std::string_view name);
// The list of all dialogs that were set up, the newest first; none at its end.
[[nodiscard]] DialogRecord* FirstDialog();
[[nodiscard]] DialogRecord* FindDialog(std::string_view idName); // without regard to case
[[nodiscard]] DialogRecord* DialogOf(Platform::WindowId window);
[[nodiscard]] DialogRecord* FrontDialog();

// A locked item shows what it is but takes neither mouse nor key nor macro.
void LockItem(DialogRecord& dialog, int number, bool locked);
[[nodiscard]] bool ItemIsLocked(const DialogRecord& dialog, int number);
void EnableItem(DialogRecord& dialog, int number, bool enabled);
void ShowItem(DialogRecord& dialog, int number, bool visible);
void SetItemText(DialogRecord& dialog, int number, std::string_view text);
[[nodiscard]] bool IsVisible(const DialogRecord& dialog, int number); // also by its pane
// Executable, visible, enabled, within the user level.
[[nodiscard]] bool Accepts(const DialogRecord& dialog, int number);
extern std::uint8_t UserLevel;

// Selects a page of panes.
void SelectPage(DialogRecord& dialog, std::int16_t page);

enum class Source : std::uint8_t { None = 0, Mouse = 1, Key = 2, Macro = 3 };
// What an ItemProc may ask: which item, and how it came to it.
struct Activation {
    DialogRecord* Dialog = nullptr;
    int Item = 0;
    Events::KeyClass KeyClass = Events::KeyClass::None;
    std::uint32_t Char = 0, Modifiers = 0;
    Dialogs::Source Source = Source::None;
};
extern Activation Current;

// Around every activation, with Current set: Before may refuse, After sees what was done (the recorder of
// macros). AfterKey: a key that the dialog's own KeyProc has taken.
struct ActivationHooks {
    bool (*Before)(DialogRecord& dialog, int number) = nullptr;
    void (*After)(DialogRecord& dialog, int number) = nullptr;
    void (*AfterKey)(DialogRecord& dialog, const Events::Event& event) = nullptr;
};
extern ActivationHooks ItemHooks;

// Draws the item, runs its procedure between the hooks. False when Before refused: who has changed the value
// for this puts it back.
bool Activate(DialogRecord& dialog, int number, const Activation& how);
// Its two halves, for whoever changes the value only once Before has agreed. Without execute the procedure
// does not run.
[[nodiscard]] bool BeginActivation(DialogRecord& dialog, int number, const Activation& how);
void FinishActivation(DialogRecord& dialog, int number, bool execute = true);

// While the toolkit tracks the mouse, it takes no other input.
extern bool Tracking;

// The dialog that holds up the others: the modal one that was opened last; none as a rule.
[[nodiscard]] DialogRecord* ModalDialog();

}
