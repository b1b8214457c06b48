#include "printPage.h"

#include <QPainter>
#include <QPdfWriter>
#include <QTextOption>

namespace printPage {

void drawText(QPainter &painter, const QRectF &rect, const QFont &font, Qt::Alignment alignment,
              const QString &text)
{
    // Whole pixels at 1200 dpi are within 0.03 points of any size.
    const double fine = qMax(1.0, 1200.0 / painter.device()->logicalDpiY());
    QFont fineFont = font;
    if (font.pointSizeF() > 0)
        fineFont.setPointSizeF(font.pointSizeF() * fine);
    else
        fineFont.setPixelSize(qRound(font.pixelSize() * fine));
    // Design metrics: glyph advances hinted to whole pixels would still make
    // a line's width depend on the resolution.
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::NoWrap);
    option.setUseDesignMetrics(true);
    painter.save();
    painter.scale(1 / fine, 1 / fine);
    painter.setFont(fineFont);
    painter.drawText(QRectF(rect.topLeft() * fine, rect.size() * fine), text, option);
    painter.restore();
}

void paint(QPainter &painter, const printGeometry &geometry, const QList<printBox> &boxes)
{
    const QPaintDevice &device = *painter.device();
    painter.save();
    painter.setWorldTransform(geometry.calibrationTransform(device), true);
    for (const printBox &box : boxes) {
        // The box is mapped by hand rather than by scaling the painter, so the
        // font is sized by the device's own resolution and keeps its points.
        drawText(painter, geometry.toDevice(box.rect, device), box.font, box.alignment, box.text);
    }
    painter.restore();
}

bool writePdf(const QString &path, const printGeometry &geometry, const drawFunction &draw, int resolution)
{
    printGeometry uncalibrated = geometry;
    uncalibrated.setCalibration(printCalibration());
    QPdfWriter writer(path);
    writer.setResolution(resolution);
    writer.setCreator(QStringLiteral("ZELNOR"));
    writer.setPageLayout(uncalibrated.pageLayout());
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    draw(painter, uncalibrated);
    return painter.end();
}

bool writePdf(const QString &path, const printGeometry &geometry, const QList<printBox> &boxes, int resolution)
{
    return writePdf(
        path, geometry, [&](QPainter &painter, const printGeometry &used) { paint(painter, used, boxes); }, resolution);
}

} // namespace printPage
