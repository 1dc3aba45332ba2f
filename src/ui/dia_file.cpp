#include "ui/dia_file.h"

#include "base/bytes.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/places.h"
#include "base/text.h"
#include "setup/settings.h"
#include "ui/dialog_events.h"
#include "ui/item_value.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace DiaFile {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Rect;

constexpr std::int64_t FileBytesMax = 16'000'000; // 32766 items take 10 million
constexpr std::uint8_t LittleMark = 1, BigMark = 0;
constexpr std::int32_t PlaceMost = 32000;
constexpr std::int16_t TextLengthMost = Dialogs::ValueTextMax;
constexpr std::size_t NameBytes = 80;

// Fields of a record at their places. One list of steps serves both directions; a foreign file is swapped.
// What lies beyond the end of a record that is shorter leaves its value as it is.
struct Fields {
    std::span<std::byte> Record;
    bool Write = false, Swap = false;

    template <class T>
    void Number(std::size_t at, T& value) const {
        if (at + sizeof value > Record.size()) return;
        if (Write) {
            Bytes::Store(&Record[at], value);
            return;
        }
        value = Bytes::Load<T>(&Record[at]);
        if (Swap) Bytes::ReverseElements({reinterpret_cast<std::byte*>(&value), sizeof value}, sizeof value);
    }
    void Flag(std::size_t at, bool& value) const {
        auto byte = static_cast<std::uint8_t>(value ? 1 : 0);
        Number(at, byte);
        value = byte != 0;
    }
    void Text(std::size_t at, std::size_t bytes, std::string& value) const {
        if (at + bytes > Record.size()) return;
        const std::span<char> field{reinterpret_cast<char*>(&Record[at]), bytes};
        if (Write) {
            Texts::ToField(field, Texts::CutUtf8(value, bytes - 1));
        } else {
            value = Texts::Utf8(Texts::FromField(field));
        }
    }
    template <class T>
    void Within(std::size_t at, T& value, T least, T most) const {
        T read = value;
        Number(at, read);
        if (read >= least && read <= most) value = read;
    }
    void Place(std::size_t at, Rect& rect) const {
        Rect read = rect;
        Number(at, read.Left);
        Number(at + 4, read.Top);
        Number(at + 8, read.Right);
        Number(at + 12, read.Bottom);
        const auto sane = [](std::int32_t value) { return value >= -PlaceMost && value <= PlaceMost; };
        if (sane(read.Left) && sane(read.Top) && sane(read.Right) && sane(read.Bottom) &&
            read.Right >= read.Left && read.Bottom >= read.Top)
            rect = read;
    }
    // Three 16-bit parts, and a byte behind that says whether the colour is the user's own.
    void Color(std::size_t at, std::optional<Platform::Color>& color) const {
        std::array<std::uint16_t, 3> parts{};
        auto set = static_cast<std::uint8_t>(color ? 1 : 0);
        const Platform::Color now = color.value_or(Platform::Color{});
        const std::array<std::uint8_t, 3> bytes = {now.Red, now.Green, now.Blue};
        for (std::size_t i = 0; i < 3; ++i) {
            parts[i] = static_cast<std::uint16_t>(bytes[i] * 257);
            Number(at + 2 * i, parts[i]);
        }
        Number(at + 6, set);
        if (Write || at + 7 > Record.size()) return;
        color.reset();
        const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(parts[i] >> 8); };
        if (set != 0) color = Platform::Color{byte(0), byte(1), byte(2), 255};
    }
};

// A key has one byte for its character: one beyond that is not stored, and the coded one stays.
void KeyField(const Fields& fields, std::size_t classAt, std::size_t charAt, Dialogs::Shortcut& key) {
    auto keyClass = static_cast<std::uint8_t>(key.Class);
    auto keyChar = static_cast<std::uint8_t>(key.Char <= 255 ? key.Char : 0);
    fields.Number(classAt, keyClass);
    fields.Number(charAt, keyChar);
    const auto read = static_cast<Events::KeyClass>(keyClass);
    if (fields.Write || read > Events::KeyClass::Special) return;
    if (read >= Events::KeyClass::Printable && keyChar == 0) return;
    key.Class = read;
    key.Char = keyChar;
}

void KeyFields(const Fields& fields, DialogItem& item) {
    KeyField(fields, 80, 81, item.Key);
    fields.Flag(82, item.Executable);
    fields.Flag(83, item.Visible);
    fields.Flag(84, item.Enabled);
    fields.Flag(188, item.Key.AnyModifier);
    fields.Number(196, item.Key.Modifiers);
    fields.Flag(197, item.Key.FrontOnly);
}

// Kinds whose own fields leave no room for it at their beginning have it behind them; the second text of a
// number leaves none at all.
void HighColorField(const Fields& fields, DialogItem& item) {
    switch (item.Kind) {
    case ItemKind::Switch:
    case ItemKind::FramedBool:
    case ItemKind::Pane:
    case ItemKind::Offscreen:
    case ItemKind::GWindow:
    case ItemKind::User: fields.Color(232, item.HighColor); break;
    case ItemKind::FramedNumber: break;
    default: fields.Color(272, item.HighColor); break;
    }
}

void KindFields(const Fields& fields, DialogItem& item) {
    HighColorField(fields, item);
    switch (item.Kind) {
    case ItemKind::Drag:
    case ItemKind::Drag2: {
        const DialogItem before = item;
        fields.Number(232, item.StepSmall);
        fields.Number(240, item.DragFactor);
        if (!std::isfinite(item.StepSmall)) item.StepSmall = before.StepSmall;
        if (!std::isfinite(item.DragFactor)) item.DragFactor = before.DragFactor;
        fields.Within<std::int16_t>(248, item.DragDivisor, 1, 1000);
        fields.Within<std::int16_t>(250, item.DragInterval, 1, 10000);
        break;
    }
    case ItemKind::TrueFalse:
    case ItemKind::HighLow:
    case ItemKind::List: {
        fields.Within<std::int16_t>(232, item.TextLength, 0, TextLengthMost);
        KeyField(fields, 235, 234, item.Key2);
        break;
    }
    default: break;
    }
}

void RecordFields(const Fields& fields, DialogItem& item) {
    std::string name = item.ItemName;
    fields.Text(0, NameBytes, name); // what a record is found by is not what it changes
    KeyFields(fields, item);
    fields.Text(86, 80, item.ItemText);
    fields.Text(166, 8, item.UnitText);
    fields.Within<std::int16_t>(174, item.TextLeft, -2000, 2000);
    fields.Within<std::int16_t>(176, item.TextBottom, -2000, 2000);
    fields.Within<std::int16_t>(178, item.FontNumber, 0, 10000);
    fields.Within<std::int16_t>(180, item.FontSize, 4, 144);
    auto kind = static_cast<std::uint8_t>(item.Kind);
    fields.Number(182, kind);
    fields.Number(183, item.TextStyle);
    fields.Within<std::uint8_t>(184, item.Justify, 0, 3);
    fields.Flag(185, item.Inverted);
    auto format = static_cast<std::uint8_t>(item.NumberFormat);
    fields.Within<std::uint8_t>(186, format, 0, 4);
    item.NumberFormat = static_cast<NumberText::Format>(format);
    fields.Number(187, item.NumberOption);
    // A file that does not say the kind means the item's.
    if (kind == 0 || kind == static_cast<std::uint8_t>(item.Kind)) {
        if (Dialogs::IsTextItem(item)) fields.Within<std::int16_t>(190, item.TextLength, 1, TextLengthMost);
        KindFields(fields, item);
    }
    fields.Within<std::int16_t>(192, item.Digits, 0, 15);
    fields.Within<std::int16_t>(194, item.LineHeight, 1, 500);
    fields.Color(198, item.BackColor);
    double scale = item.ValueScale;
    fields.Number(208, scale);
    if (std::isfinite(scale) && scale != 0) item.ValueScale = scale;
    fields.Place(216, item.ItemRect);
}

struct Header {
    std::int32_t Version = 0, HeaderLength = HeaderBytes, RecordLength = RecordBytes;
    std::uint8_t Mark = Bytes::MachineIsLittle ? LittleMark : BigMark;
};

void WindowFields(const Fields& fields, DialogRecord& dialog) {
    fields.Flag(17, dialog.KeepScale);
    Rect window = dialog.WindowRect;
    fields.Place(24, window);
    if (window.Width() >= Dialogs::WindowWidthLeast && window.Height() >= Dialogs::WindowHeightLeast)
        dialog.WindowRect = window;
    std::int32_t state = dialog.WindowState;
    fields.Number(40, state);
    dialog.WindowState = static_cast<std::int16_t>(state);
    fields.Place(44, dialog.IconRect);
    state = dialog.IconState;
    fields.Number(60, state);
    dialog.IconState = static_cast<std::int16_t>(state);
}

std::string WithQuotes(const std::string& file) {
    return "\"" + file + "\"";
}

bool Agreed(const std::string& text) {
    static constexpr const char* Buttons[] = {"Load", "Abort"};
    return Messages::AskChoice(text, {.Buttons = Buttons, .Default = 1, .Yes = 0, .No = 1}) == 0;
}

bool HeaderAgrees(const DialogRecord& dialog, const std::string& file, std::span<std::byte> header,
                  bool& swap, Header& read) {
    const auto mark = std::to_integer<std::uint8_t>(header[16]);
    if (mark != Header{}.Mark) {
        if (!Agreed("Version conflict (wrong CPU) loading " + WithQuotes(file) + ".")) return false;
        swap = true;
    }
    const Fields fields{header, false, swap};
    fields.Number(0, read.Version);
    fields.Number(4, read.HeaderLength);
    fields.Number(8, read.RecordLength);
    if (read.HeaderLength != HeaderBytes || read.RecordLength < static_cast<std::int32_t>(NameBytes) ||
        read.RecordLength > 1'000'000) {
        Messages::Alert("Header Length conflict loading " + WithQuotes(file) + " loading aborted.");
        return false;
    }
    if (dialog.Version != 0 && read.Version != dialog.Version)
        return Agreed("Version conflict loading " + WithQuotes(file) + ".");
    return true;
}

// The item that a record belongs to: the next one, or any other of the name.
int ItemOf(const DialogRecord& dialog, int next, const std::string& name) {
    if (Dialogs::HasItem(dialog, next) && Dialogs::Item(dialog, next).ItemName == name) return next;
    return name.empty() ? 0 : Dialogs::FindItem(dialog, name);
}

void TakeRecords(DialogRecord& dialog, std::span<std::byte> records, const Header& header, bool swap) {
    const auto length = static_cast<std::size_t>(header.RecordLength);
    int next = 0;
    for (std::size_t at = 0; at + length <= records.size(); at += length) {
        const Fields fields{records.subspan(at, std::min<std::size_t>(length, RecordBytes)), false, swap};
        if (at == 0) {
            RecordFields(fields, Dialogs::Item(dialog, 0));
            next = 1;
            continue;
        }
        std::string name;
        fields.Text(0, NameBytes, name);
        const int number = ItemOf(dialog, next, name);
        if (number != 0) RecordFields(fields, Dialogs::Item(dialog, number));
        next = (number != 0 ? number : next) + 1;
    }
}

bool CanStore(const DialogRecord& dialog, const char* refusal, bool loud) {
    const char* const text = !dialog.Items      ? "Error: no buffer allocated!"
                             : !dialog.Storable ? refusal
                                                : nullptr;
    if (text == nullptr) return true;
    if (loud) Messages::Alert(text);
    return false;
}

}

std::string PathOf(const DialogRecord& dialog) {
    std::string name;
    for (const char c : dialog.DialogName) {
        if (c == '/' || c == ':' || c == '\\') continue;
        name += c == ' ' ? '_' : c;
    }
    std::string folder = Setup::Settings.Files.DiaFilesPath;
    if (folder.empty()) folder = Places::ConfigFolder();
    if (folder.empty()) return {};
    if (!folder.ends_with('/')) folder += '/';
    return folder + name + ".dia";
}

std::string Image(DialogRecord& dialog) {
    std::vector<std::byte> content(static_cast<std::size_t>(HeaderBytes) +
                                   (static_cast<std::size_t>(dialog.ItemCount) + 1) * RecordBytes);
    Header header{.Version = dialog.Version};
    const Fields fields{std::span(content).first(HeaderBytes), true, false};
    std::int16_t one = 1;
    fields.Number(0, header.Version);
    fields.Number(4, header.HeaderLength);
    fields.Number(8, header.RecordLength);
    fields.Number(12, dialog.Version);
    fields.Number(14, one);
    fields.Number(16, header.Mark);
    WindowFields(fields, dialog);
    for (int number = 0; number <= dialog.ItemCount; ++number) {
        const std::size_t at =
            static_cast<std::size_t>(HeaderBytes) + static_cast<std::size_t>(number) * RecordBytes;
        // Scrolled items are stored where they stand at rest.
        DialogItem& item = Dialogs::Item(dialog, number);
        const Rect place = item.ItemRect;
        if (item.ScrollFrame != 0) {
            const int offset = Dialogs::ScrollOffset(dialog, item.ScrollFrame);
            item.ItemRect.Top += offset;
            item.ItemRect.Bottom += offset;
        }
        RecordFields({std::span(content).subspan(at, RecordBytes), true, false}, item);
        item.ItemRect = place;
    }
    return {reinterpret_cast<const char*>(content.data()), content.size()};
}

bool Store(DialogRecord& dialog, const std::string& file) {
    if (!CanStore(dialog, "Error: this dialog cannot be stored!", true)) return false;
    const std::string path = file.empty() ? PathOf(dialog) : file;
    int error = path.empty() ? ENOENT : 0;
    if (error == 0 && file.empty() && Setup::Settings.Files.DiaFilesPath.empty())
        error = Places::EnsureFolder(Places::ConfigFolder());
    if (error == 0) error = Files::WriteWhole(path, Image(dialog));
    if (error == 0) return true;
    Messages::Alert("Error storing '" + path + "':   " + Files::ErrorText(error));
    return false;
}

bool StoreArranged() {
    bool all = true;
    for (DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr; dialog = dialog->NextDialog)
        if (dialog->Arranged && dialog->Storable) all = Store(*dialog) && all;
    return all;
}

bool Load(DialogRecord& dialog, const std::string& file, Report report) {
    if (!CanStore(dialog, "Error: dialog not setup to be read!", report == Report::Loud)) return false;
    const std::string path = file.empty() ? PathOf(dialog) : file;
    std::string content;
    int error = path.empty() ? ENOENT : Files::ReadWhole(path, FileBytesMax, content);
    if (error == ENOENT && report == Report::Silent) return false;
    if (error == 0 && content.size() < static_cast<std::size_t>(HeaderBytes) + NameBytes) error = EIO;
    if (error != 0) {
        Messages::Alert("Error loading '" + path + "':   " + Files::ErrorText(error));
        return false;
    }
    const std::span bytes{reinterpret_cast<std::byte*>(content.data()), content.size()};
    Header header;
    bool swap = false;
    if (!HeaderAgrees(dialog, path, bytes.first(HeaderBytes), swap, header)) return false;
    if ((content.size() - HeaderBytes) % static_cast<std::size_t>(header.RecordLength) != 0) {
        Messages::Alert("Error loading '" + path + "':   the file ends within a record");
        return false;
    }
    WindowFields({bytes.first(HeaderBytes), false, swap}, dialog);
    TakeRecords(dialog, bytes.subspan(HeaderBytes), header, swap);
    return true;
}

void TakeImage(DialogRecord& dialog, std::string image) {
    if (!dialog.Items || image.size() < static_cast<std::size_t>(HeaderBytes)) return;
    const std::span bytes{reinterpret_cast<std::byte*>(image.data()), image.size()};
    WindowFields({bytes.first(HeaderBytes), false, false}, dialog);
    TakeRecords(dialog, bytes.subspan(HeaderBytes), {}, false);
}

}
