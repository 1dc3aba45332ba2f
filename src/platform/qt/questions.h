// Alerts, prompts, dialogs for files and colours, pictures and printing.
#pragma once
#include "platform/qt/state.h"

namespace QtDesktop {

int Alert(const Platform::AlertSpec& spec);
bool Prompt(const std::string& question, std::string& text);
bool FileDialog(const Platform::FileDialogSpec& spec, std::string& path);
bool ColorDialog(Platform::Color& color);

Platform::BitmapId MakeBitmap(Platform::Size size);
void DrawOnBitmap(Platform::BitmapId bitmap, const Platform::Drawing& drawing);
void DropBitmap(Platform::BitmapId bitmap);
bool SavePicture(const std::string& path, Platform::PictureFormat format, Platform::Size size,
                 const Platform::Drawing& drawing, std::string& reason);
bool SaveWindowPicture(Platform::WindowId window, const std::string& path, std::string& reason);
bool Print(const std::string& title, Platform::Size page, const std::vector<Platform::Drawing>& pages,
           const std::string& toPdf, std::string& reason);
void SetClipboardPicture(Platform::Size size, const Platform::Drawing& drawing);

}
