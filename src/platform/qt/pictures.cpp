// Bitmaps, picture files and printing.
#include "platform/picture.h"
#include "platform/qt/frame.h"
#include "platform/qt/paint.h"
#include "platform/qt/questions.h"

#include <QClipboard>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrinter>
#include <QSaveFile>

#include <cmath>

namespace QtDesktop {

namespace {

constexpr double PictureScale = 2;           // of PNG pictures, for print
constexpr double PixelsMost = 16000.0;       // a side of a bitmap or picture
constexpr double PointsPerPixel = 72.0 / 96; // of PDF

QSize Pixels(Platform::Size size, double scale) {
    const auto side = [scale](double length) {
        return static_cast<int>(std::clamp(std::ceil(length * scale), 1.0, PixelsMost));
    };
    return {side(size.Width), side(size.Height)};
}

QImage ImageOf(Platform::Size size, const Platform::Drawing& drawing, double scale) {
    QImage image(Pixels(size, scale), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.scale(scale, scale);
    Play(painter, drawing);
    return image;
}

bool SaveImage(const QImage& image, const std::string& path, std::string& reason) {
    QSaveFile file(Text(path));
    if (file.open(QIODevice::WriteOnly) && image.save(&file, "PNG") && file.commit()) return true;
    reason = Utf8(file.errorString());
    return false;
}

// The drawing as large as the paper lets it be, in its middle.
void FitOnPage(QPainter& painter, const QRectF& paper, Platform::Size size,
               const Platform::Drawing& drawing) {
    const double scale = std::min(paper.width() / size.Width, paper.height() / size.Height);
    painter.save();
    painter.translate((paper.width() - size.Width * scale) / 2, 0);
    painter.scale(scale, scale);
    Play(painter, drawing);
    painter.restore();
}

bool SavePdf(const std::string& path, Platform::Size size, const Platform::Drawing& drawing,
             std::string& reason) {
    QSaveFile file(Text(path));
    if (!file.open(QIODevice::WriteOnly)) {
        reason = Utf8(file.errorString());
        return false;
    }
    {
        QPdfWriter pdf(&file);
        pdf.setCreator(QApplication::applicationName());
        pdf.setPageSize(QPageSize(QSizeF(size.Width, size.Height) * PointsPerPixel, QPageSize::Point));
        pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
        QPainter painter(&pdf);
        FitOnPage(painter, QRectF(0, 0, pdf.width(), pdf.height()), size, drawing);
    }
    if (file.commit()) return true;
    reason = Utf8(file.errorString());
    return false;
}

bool PrintPages(QPrinter& printer, Platform::Size page, const std::vector<Platform::Drawing>& pages) {
    QPainter painter;
    if (!painter.begin(&printer)) return false;
    const QRectF paper(QPointF(0, 0), printer.pageRect(QPrinter::DevicePixel).size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (i > 0 && !printer.newPage()) return false;
        FitOnPage(painter, paper, page, pages[i]);
    }
    return painter.end();
}

}

Platform::BitmapId MakeBitmap(Platform::Size size) {
    const double scale = Desktop.Main->devicePixelRatioF();
    QPixmap bitmap(Pixels(size, scale));
    bitmap.setDevicePixelRatio(scale);
    bitmap.fill(Qt::transparent);
    Desktop.Bitmaps[++Desktop.LastNumber] = bitmap;
    return Desktop.LastNumber;
}

void DrawOnBitmap(Platform::BitmapId bitmap, const Platform::Drawing& drawing) {
    const auto found = Desktop.Bitmaps.find(bitmap);
    if (found == Desktop.Bitmaps.end()) return;
    QPainter painter(&found->second);
    Play(painter, drawing);
}

void DropBitmap(Platform::BitmapId bitmap) {
    Desktop.Bitmaps.erase(bitmap);
}

bool SavePicture(const std::string& path, Platform::PictureFormat format, Platform::Size size,
                 const Platform::Drawing& drawing, std::string& reason) {
    if (!(size.Width > 0) || !(size.Height > 0)) {
        reason = "The picture is empty.";
        return false;
    }
    if (format == Platform::PictureFormat::Png)
        return SaveImage(ImageOf(size, drawing, PictureScale), path, reason);
    if (format == Platform::PictureFormat::Pdf) return SavePdf(path, size, drawing, reason);
    const std::string content =
        format == Platform::PictureFormat::Svg ? Picture::Svg(size, drawing) : Picture::Wmf(size, drawing);
    QSaveFile file(Text(path));
    const auto bytes = static_cast<qint64>(content.size());
    if (file.open(QIODevice::WriteOnly) && file.write(content.data(), bytes) == bytes && file.commit())
        return true;
    reason = Utf8(file.errorString());
    return false;
}

bool SaveWindowPicture(Platform::WindowId window, const std::string& path, std::string& reason) {
    QWidget* shell = Desktop.Main.get();
    if (window != Platform::FrameWindow) {
        const Canvas* const canvas = FindCanvas(window);
        if (canvas == nullptr) {
            reason = "There is no such window.";
            return false;
        }
        shell = canvas->Shell;
    }
    Desktop.App->processEvents(QEventLoop::ExcludeUserInputEvents);
    return SaveImage(shell->grab().toImage(), path, reason);
}

bool Print(const std::string& title, Platform::Size page, const std::vector<Platform::Drawing>& pages,
           const std::string& toPdf, std::string& reason) {
    reason.clear();
    if (!(page.Width > 0) || !(page.Height > 0) || pages.empty()) {
        reason = "There is nothing to print.";
        return false;
    }
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(Text(title));
    printer.setCreator(QApplication::applicationName());
    printer.setPageOrientation(page.Width > page.Height ? QPageLayout::Landscape : QPageLayout::Portrait);
    if (!toPdf.empty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(Text(toPdf));
    } else {
        QPrintDialog dialog(&printer, Desktop.Main.get());
        Desktop.Button = 0;
        if (dialog.exec() != QDialog::Accepted) return false;
    }
    if (PrintPages(printer, page, pages)) return true;
    reason = "The printer does not take the pages.";
    return false;
}

void SetClipboardPicture(Platform::Size size, const Platform::Drawing& drawing) {
    if (size.Width > 0 && size.Height > 0)
        QApplication::clipboard()->setImage(ImageOf(size, drawing, PictureScale));
}

}
