#include "data/bundle.h"

#include "base/messages.h"
#include "base/text.h"
#include "base/time_scale.h"
#include "trees/record_tree.h"

#include <algorithm>
#include <cstring>

namespace Bundle {

namespace {

using namespace Conversion;

constexpr Field ItemFields[] = {
    Int32("Start", 0, offsetof(Item, Start)),
    Int32("Length", 4, offsetof(Item, Length)),
    Text("Extension", 8, offsetof(Item, Extension), 8),
};

// HeaderCRC is listed as a plain number: a value that is not 0 tells that the file is protected.
constexpr Field Fields[] = {
    Text("Signature", 0, offsetof(Header, Signature), 8),
    Text("Version", 8, offsetof(Header, Version), 32),
    Real64("Time", 40, offsetof(Header, Time), "s"),
    Int32("Items", 48, offsetof(Header, Items)),
    Byte("IsLittleEndian", 52, offsetof(Header, IsLittleEndian)),
    Byte("FileMark", 53, offsetof(Header, FileMark)),
    Int32("HeaderCRC", 60, offsetof(Header, HeaderCRC)),
    Group("Item", 64, offsetof(Header, Entries), ItemFields, 16, sizeof(Item), ItemMax),
};
static_assert(EndOf(Fields) <= HeaderBytes);

constexpr std::size_t ReservedAt = 56;
constexpr std::uint8_t FileMarkWritten = 2;
constexpr std::size_t MessageMax = 80;

bool IsHeader(std::span<const std::byte, HeaderBytes> bytes) {
    if (Bytes::Load<std::uint32_t>(bytes.data() + ReservedAt) != 0) return false;
    const auto* const text = reinterpret_cast<const char*>(bytes.data());
    const FileKind kind = BundleKind({text, 4});
    return kind == FileKind::WithHeader || kind == FileKind::Bundle;
}

// Older writers left a bundle's signature on files that hold the samples alone.
bool HoldsSamplesOnly(const Header& header, std::int64_t fileLength) {
    return header.FileMark == 0 && header.Items == ItemMax &&
           BundleKind(Texts::FromField(header.Signature)) == FileKind::Bundle &&
           std::int64_t{header.Entries[0].Start} + header.Entries[0].Length == fileLength;
}

}

std::span<const Conversion::Field> HeaderFields() {
    return Fields;
}

FileKind BundleKind(std::string_view signature) {
    const std::string_view word = signature.substr(0, 4);
    if (word == "DATA") return FileKind::Old;
    if (word == "DAT1") return FileKind::WithHeader;
    if (word == "DAT2") return FileKind::Bundle;
    return FileKind::Plain;
}

std::int64_t DataStart(FileKind kind) {
    switch (kind) {
    case FileKind::Old: return 4;
    case FileKind::WithHeader:
    case FileKind::Bundle: return HeaderBytes;
    default: return 0;
    }
}

void DumpBundleHeader(const Header& header) {
    const auto text = [](std::span<const char> field) { return Texts::Utf8(Texts::FromField(field)); };
    Messages::Log("bundle file - signature: " + text(header.Signature));
    Messages::Log("            - version:   " + text(header.Version));
    Messages::Log("            - created:   " + TimeScale::DateText(header.Time) + " " +
                  TimeScale::TimeText(header.Time));
    Messages::Log("            - items:     " + std::to_string(header.Items) +
                  ", little=" + (header.IsLittleEndian ? "TRUE" : "FALSE"));
}

std::string FileMessage(std::string_view message, int error) {
    std::string text(message);
    text += ": ";
    text += Files::ErrorText(error);
    return text.substr(0, std::max(MessageMax, message.size()));
}

bool ReadBundleHeader(Header& header, Files::File& file, bool forWriting, bool check) {
    header = {};
    std::array<std::byte, HeaderBytes> bytes{};
    std::size_t got = 0;
    const int error = Files::ReadAt(file, 0, bytes, got);
    if (error != 0) {
        Messages::Alert(FileMessage("Error reading file header", error));
        return false;
    }
    if (got < HeaderBytes || !IsHeader(bytes)) {
        std::memcpy(header.Signature, bytes.data(), 4);
        return true;
    }
    const bool swap = (bytes[52] != std::byte{0}) != Bytes::MachineIsLittle;
    Convert(Fields, bytes.data(), reinterpret_cast<std::byte*>(&header), swap ? Mode::Swap : Mode::Plain);
    if (check && header.Items > ItemMax) {
        const std::string text = "File has more elements than the present version!";
        if (forWriting) {
            Messages::Alert(text + " It cannot be opened for writing!");
            return false;
        }
        Messages::Note(text);
    }
    if (check && forWriting && header.HeaderCRC != 0) {
        Messages::Alert(RecordTree::ProtectedMessage);
        return false;
    }
    std::int64_t length = 0;
    if (Files::Length(file, length) == 0 && HoldsSamplesOnly(header, length))
        std::memcpy(header.Signature, "DAT1", 4);
    return true;
}

std::array<std::byte, HeaderBytes> HeaderImage(Header& header, bool fresh, bool keepTime,
                                               std::string_view version) {
    if (fresh) {
        const double time = keepTime ? header.Time : TimeScale::Now();
        header = {};
        header.Time = time;
        Texts::ToField(header.Signature, "DAT1");
        Texts::ToField(header.Version, version);
    }
    header.FileMark = FileMarkWritten;
    header.IsLittleEndian = Bytes::MachineIsLittle;
    header.HeaderCRC = 0;
    std::array<std::byte, HeaderBytes> bytes{};
    Convert(Fields, bytes.data(), reinterpret_cast<std::byte*>(&header), Mode::Write);
    return bytes;
}

bool WriteBundleHeader(Header& header, Files::File& file, bool fresh, bool keepTime,
                       std::string_view version) {
    return Files::WriteAt(file, 0, HeaderImage(header, fresh, keepTime, version)) == 0;
}

const Item* FindItem(const Header& header, std::string_view extension) {
    const int items = std::clamp(header.Items, 0, ItemMax);
    for (int i = 0; i < items; ++i)
        if (Texts::FromField(header.Entries[i].Extension) == extension) return &header.Entries[i];
    return nullptr;
}

}
