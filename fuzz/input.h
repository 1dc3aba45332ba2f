// What the targets share: the bytes that lead a run, and the user who answers all questions alike.
#pragma once
#include "base/messages.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Fuzz {

// The bytes of one run. The first ones choose what is done, the rest is the file.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : Left(data, size) {}

    // 0 behind the end.
    std::uint8_t Byte() {
        if (Left.empty()) return 0;
        const std::uint8_t byte = Left.front();
        Left = Left.subspan(1);
        return byte;
    }
    std::span<const std::byte> Bytes(std::size_t count) {
        const auto piece = Left.first(std::min(count, Left.size()));
        Left = Left.subspan(piece.size());
        return std::as_bytes(piece);
    }
    std::span<const std::byte> Rest() { return Bytes(Left.size()); }

private:
    std::span<const std::uint8_t> Left;
};

// Every question gets this answer; nothing is said anywhere.
inline bool AnswerYes = false;

inline void InstallUser() {
    Messages::HookTable hooks;
    hooks.AskYesNo = [](std::string_view, bool) { return AnswerYes; };
    hooks.AskChoice = [](std::string_view, const Messages::Choice& choice) {
        return AnswerYes ? choice.Yes : choice.No;
    };
    Messages::Install(hooks);
}

}
