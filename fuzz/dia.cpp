// Layouts of dialogs are loaded, stored, and loaded again.
//
//     byte 0   bit 0: Yes to questions
//              bit 1: the rest is a whole file, else it is made of parts:
//              bit 2: a header that agrees; bit 3: records have their length; bit 4: names are those of items
//              bits 5 and 7, length 4 n + 3: the dialog is opened so, and one item of it pressed and moved
//              bit 6, odd length: stored and loaded again
//     rest     the file; or the header's first 64 bytes, and for each record a byte for the item's name and
//              232 bytes for what is behind the names
//
// Promises: what an item may be has bounds that no file leaves; names, kinds and values stay as they are; a
// file that was stored loads, and is stored to the same bytes; a dialog opens with any layout.
#include "desk.h"

#include "base/bytes.h"
#include "setup/settings.h"
#include "ui/dia_file.h"

namespace {

using Fuzz::Promise;

Dialogs::DialogRecord& Dialog() {
    return Fuzz::Desk().Dialog;
}

void PutNumber(std::vector<std::byte>& file, std::size_t at, std::int32_t value) {
    Bytes::Store(&file[at], value);
}

std::vector<std::byte> FileOfParts(Fuzz::Input& input, std::uint8_t choice) {
    std::vector<std::byte> file(DiaFile::HeaderBytes);
    const auto head = input.Bytes(64);
    std::copy(head.begin(), head.end(), file.begin());
    if ((choice & 4) != 0) {
        PutNumber(file, 0, Dialog().Version);
        PutNumber(file, 4, DiaFile::HeaderBytes);
        file[16] = std::byte{Bytes::MachineIsLittle ? 1 : 0};
    }
    if ((choice & 8) != 0) PutNumber(file, 8, DiaFile::RecordBytes);
    constexpr std::size_t Behind = 232;
    for (int records = 0; records < 10; ++records) {
        const std::uint8_t which = input.Byte();
        const auto part = input.Bytes(Behind);
        if (part.empty()) break;
        const std::size_t at = file.size();
        file.resize(at + DiaFile::RecordBytes);
        if ((choice & 16) != 0) {
            const std::string& name = Dialogs::Item(Dialog(), which % (Support::LastItem + 1)).ItemName;
            std::memcpy(&file[at], name.data(), name.size());
        }
        std::copy(part.begin(), part.end(), &file[at + 80]);
    }
    return file;
}

void CheckItem(const Dialogs::DialogItem& item, const Dialogs::Row& row) {
    Promise(item.ItemName == row.Name && item.Kind == row.Kind, "a layout changes a name or a kind");
    Promise(item.FontSize >= 4 && item.FontSize <= 144 && item.LineHeight >= 1, "a font out of bounds");
    Promise(item.TextLength >= 0 && item.TextLength <= 1023 && item.Digits >= 0 && item.Digits <= 15,
            "a text out of bounds");
    Promise(std::isfinite(item.ValueScale) && item.ValueScale != 0, "a scale that divides by nothing");
    Promise(std::isfinite(item.StepSmall) && std::isfinite(item.DragFactor) && item.DragDivisor > 0 &&
                item.DragInterval > 0,
            "a drag out of bounds");
    Promise(item.Justify <= 3 && item.NumberFormat <= NumberText::Format::Engineering &&
                item.Key.Class <= Events::KeyClass::Special && item.Key2.Class <= Events::KeyClass::Special,
            "a number without a meaning");
    const Dialogs::Rect& place = item.ItemRect;
    Promise(place.Left <= place.Right && place.Top <= place.Bottom && std::abs(place.Left) <= 32000 &&
                std::abs(place.Bottom) <= 32000,
            "a place out of bounds");
    for (const std::string* text : {&item.ItemText, &item.UnitText})
        Promise(Texts::Utf8(*text) == *text && text->size() <= 160, "a text that is none");
}

void CheckItems() {
    for (const Dialogs::Row& row : Support::DeskRows()) CheckItem(Dialogs::Item(Dialog(), row.Number), row);
}

void StoreAndLoad() {
    const std::string file = MemoryDisk::Folder + "stored.dia";
    Promise(DiaFile::Store(Dialog(), file), "a layout cannot be stored");
    const std::vector<std::byte> stored = MemoryDisk::Get(file);
    Promise(DiaFile::Load(Dialog(), file, DiaFile::Report::Loud), "what was stored does not load");
    Promise(DiaFile::Store(Dialog(), file), "what was loaded cannot be stored");
    Promise(MemoryDisk::Get(file) == stored, "a second store gives other bytes");
}

void UseDialog(int number) {
    Dialogs::DialogRecord& dialog = Dialog();
    if (Dialogs::Accepts(dialog, number)) {
        Dialogs::PressItem(dialog, number, {.Source = Dialogs::Source::Mouse});
        Headless::Type("12.5");
        (void)Editing::Commit();
        Editing::Cancel();
    }
    const Dialogs::Rect place = Dialogs::Item(dialog, number).ItemRect;
    const Platform::Point at{place.Left + 2.0, place.Top + 2.0};
    Headless::Click(dialog.WindowHandle, at);
    Headless::Drag(dialog.WindowHandle, {at, {at.X + 5, at.Y + 5}, {40, 60}}, Platform::Option);
    if (number % 4 == 0) Headless::Resize(dialog.WindowHandle, {500, 200});
    Events::Event event;
    for (int i = 0; i < 50 && Events::GetNextEvent(event); ++i) (void)Dialogs::HandleEvent(event);
    Editing::LeaveAny();
    Events::Clear();
}

// The items as they are coded, without the layout of the run before.
void Fresh() {
    Dialogs::CloseDialog(Dialog());
    Dialog().KeptLayout.clear(); // or it would count, and no file be read
    Dialog().Arranged = false;
    Support::Now = {};
    static const std::pmr::vector<Dialogs::DialogItem> fresh = *Dialog().Items;
    std::copy(fresh.begin(), fresh.end(), Dialog().Items->begin());
}

void Prepare() {
    MemoryDisk::PlugIn();
    Fuzz::InstallUser();
    Setup::Settings.Files.DiaFilesPath = MemoryDisk::Folder;
    Promise(Fuzz::Desk().Ready, "there is no desk");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (Prepare(), true);
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    Fuzz::AnswerYes = (choice & 1) != 0;
    MemoryDisk::Clear();
    Fresh();
    std::vector<std::byte> content;
    if ((choice & 2) != 0) {
        const auto rest = input.Rest();
        content.assign(rest.begin(), rest.end());
    } else {
        content = FileOfParts(input, choice);
    }
    const std::string file = MemoryDisk::Put("The_Desk.dia", content);
    if ((choice & 0xA0) == 0xA0 && size % 4 == 3) { // most of the time goes there
        Dialog().Spec.LoadDia = true;
        Promise(Dialogs::OpenDialog(Dialog()), "a dialog does not open with its layout");
        Promise(!Dialogs::Tracking && !Editing::IsUnderWay(), "a guard is up");
        UseDialog(1 + static_cast<int>(size) % Support::LastItem);
    } else {
        (void)DiaFile::Load(Dialog(), file, DiaFile::Report::Loud);
        CheckItems();
        if ((choice & 64) != 0 && size % 2 == 1) StoreAndLoad();
    }
    CheckItems();
    return 0;
}
