// The notebook: where every message that is not an alert lands, and where the user writes remarks.
//
// Lines come in at the end. Beyond MaxLines the oldest tenth of them is dropped. With Buffered, what comes in
// waits for the next idle step, so that long reports do not draw line by line. What the user types belongs to
// the text.
//
// Its settings live with the program's: NotebookLength (MaxLines), TermIOBuffering (Buffered), TermIOClear
// (ClearWhenSaved), LineEndMode.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace Notebook {

struct NotebookState {
    bool LineNumbers = false;
    std::int16_t FontSize = 10; // points
    bool Modified = false;
    std::string FileName; // of the last save
};
extern NotebookState State;
inline constexpr std::int16_t FontSizeLeast = 6, FontSizeMost = 32;

// Makes the window. False after an alert.
[[nodiscard]] bool Initialise();
void Show();

void WriteString(std::string_view text); // without a line end
void WriteLine(std::string_view text);
// A line of routine: it does not make the notebook worth asking about at the end.
void WriteLog(std::string_view text);
void WriteInt(std::int64_t value, int width);
void WriteLn();
void WriteChar(char code);

// Brings what waits to the screen; of the idle step.
void Flush();

[[nodiscard]] std::string Text(); // with "\n" behind each line
[[nodiscard]] int Lines();

// Menu commands. Those that ask for a file or a number do so; false when the user turned away or it failed,
// which has been said.
bool Save(); // to the file of the last save, else as SaveAs
bool SaveAs();
bool SaveTo(const std::string& file);
bool Merge();
bool MergeFile(const std::string& file);
bool Print();
bool PrintTo(const std::string& pdfFile);
void Clear(); // can be taken back once
[[nodiscard]] bool CanUndoClear();
void UndoClear();
bool SetLength();
void SetLineNumbers(bool shown);
bool AskFontSize();
void Zoom(int points);

}
