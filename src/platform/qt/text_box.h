// Text boxes: Qt's own editing over a canvas.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

Platform::TextBoxId OpenTextBox(Platform::WindowId window, const Platform::TextBoxSpec& spec);
void CloseTextBox(Platform::TextBoxId box);
std::string TextBoxText(Platform::TextBoxId box);
void SetTextBoxText(Platform::TextBoxId box, std::string_view text);
void AppendToTextBox(Platform::TextBoxId box, std::string_view text);
void DropTextBoxLines(Platform::TextBoxId box, int lines);
void ChangeTextBox(Platform::TextBoxId box, const Platform::TextBoxSpec& spec);
void SelectInTextBox(Platform::TextBoxId box, int from, int count);
bool FindInTextBox(Platform::TextBoxId box, std::string_view text);
bool EditTextBox(Platform::EditCommand command);

}
