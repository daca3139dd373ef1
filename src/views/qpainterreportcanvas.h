#pragma once
// The report canvas over QPainter: the preview picture (a QImage in screen pixels), a printer or
// a PDF writer (any QPagedPaintDevice, drawn on the whole sheet). Fonts are realised from the
// canvas's font state at the moment of drawing, so the page code only sets names and sizes.

#include "reports/reportcanvas.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QPolygonF>

#include <functional>
#include <memory>
#include <optional>

class QPagedPaintDevice;
class QPaintDevice;

namespace velmara {

// Text extents through QFontMetricsF on the target device, in page inches. The metrics of the
// last font asked for are kept: the pages measure many texts in one font in a row.
class QtTextMeasure : public TextMeasure
{
public:
    QtTextMeasure(QPaintDevice *device, double pixelsPerInch) : mDevice(device), mPixelsPerInch(pixelsPerInch) {}

    double width(const ReportFont &font, std::string_view utf8) const override;
    double height(const ReportFont &font) const override;

    // The QFont standing for a report font on this device. "Small Fonts" becomes a narrow sans
    // face; "Arial" any face with its metrics.
    const QFont &realise(const ReportFont &font) const;
    const QFontMetricsF &metrics(const ReportFont &font) const;

private:
    QPaintDevice *mDevice;
    double mPixelsPerInch;
    mutable std::optional<ReportFont> mKey;
    mutable QFont mFont;
    mutable std::unique_ptr<QFontMetricsF> mMetrics;
};

class QPainterReportCanvas : public ReportCanvas
{
public:
    // The preview: image covers the 8.5 by 11 inch page (425 by 550 pixels for the normal
    // picture). The image's resolution is set to screenDpi so that a point is screenDpi / 72
    // pixels. The image must outlive the canvas.
    QPainterReportCanvas(QImage &image, double screenDpi = 96);

    // A printer job on device, which stands for a letter sheet at its logical resolution with the
    // origin at the paper's corner. Starts painting at once; check isActive(). finished is called
    // once the job has ended: with true after EndDoc, false after KillDoc. aborting runs on
    // KillDoc while the painter is still active (a QPrinter's abort()).
    QPainterReportCanvas(QPagedPaintDevice *device, std::function<void(bool completed)> finished = {},
                         std::function<void()> aborting = {});
    ~QPainterReportCanvas() override;

    bool isActive() const;

    // Ends pending drawing so that the image can be shown; the next operation goes on.
    void flush();

    double pixelsPerInch() const override { return mPpiX; }
    double deviceDpi() const override;

    void NewPage() override;
    void EndDoc() override;
    void KillDoc() override;

protected:
    void clearSurface() override;
    void drawText(double x, double y, std::string_view utf8) override;
    void drawLine(double x1, double y1, double x2, double y2, ReportColour colour) override;
    void drawRect(double x1, double y1, double x2, double y2, ReportColour outline,
                  std::optional<ReportColour> fill) override;
    void drawCircle(double x, double y, double radius, ReportColour outline,
                    std::optional<ReportColour> fill) override;

private:
    QPointF toDevice(double x, double y) const { return {x * mPpiX, (kPageHeight - y) * mPpiY}; }
    QPen penFor(ReportColour colour) const;
    bool ensurePainter();
    void flushPolyline();
    void finish(bool completed);

    QImage *mImage = nullptr;
    QPagedPaintDevice *mPaged = nullptr;
    double mPpiX;
    double mPpiY;
    double mDpi;
    QtTextMeasure mQtMeasure;
    QPainter mPainter;
    bool mEnded = false;
    std::function<void(bool)> mFinished;
    std::function<void()> mAborting;

    // Consecutive joined lines in one pen go out as one polyline: a curve of ten thousand
    // classes is one path in the PDF and one stroke on the picture.
    QPolygonF mPolyline;
    QPen mPolylinePen;
};

} // namespace velmara
