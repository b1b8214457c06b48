#include "printGeometry.h"

#include <QPagedPaintDevice>
#include <QPaintDevice>

printGeometry::printGeometry()
    : printGeometry(QPageSize::A4, true, 50, 50)
{
}

printGeometry::printGeometry(QPageSize::PageSizeId paper, bool landscape, double leftMarginPt, double topMarginPt,
                             const printCalibration &calibration)
    : m_calibration(calibration)
{
    // Full-page mode: the painter starts at the paper's corner and the margins
    // are only the layout's origin, added here. In the standard mode a printer
    // whose minimum margins exceed the typed ones refuses them and keeps its
    // own, which would move every box by the difference.
    m_page = QPageLayout(QPageSize(paper), landscape ? QPageLayout::Landscape : QPageLayout::Portrait,
                         QMarginsF(leftMarginPt, topMarginPt, rightMarginPt, bottomMarginPt), QPageLayout::Point);
    m_page.setMode(QPageLayout::FullPageMode);
}

QSizeF printGeometry::sheetSize() const
{
    return m_page.fullRect(QPageLayout::Point).size();
}

QString printGeometry::paperText() const
{
    const QSizeF mm = sheetSizeMm();
    return QStringLiteral("%1 %2 %3 × %4 毫米")
        .arg(m_page.pageSize().name(),
             m_page.orientation() == QPageLayout::Landscape ? QStringLiteral("横向") : QStringLiteral("纵向"))
        .arg(qRound(mm.width()))
        .arg(qRound(mm.height()));
}

QRectF printGeometry::marginRect() const
{
    // Not paintRect(): in full-page mode that is the whole sheet.
    return m_page.fullRect(QPageLayout::Point).marginsRemoved(m_page.margins(QPageLayout::Point));
}

QTransform printGeometry::layoutToSheet() const
{
    const double pointsPerUnit = 72.0 / unitsPerInch;
    const QMarginsF margins = m_page.margins(QPageLayout::Point);
    return QTransform(pointsPerUnit, 0, 0, pointsPerUnit, margins.left(), margins.top());
}

QPointF printGeometry::painterOrigin(const QPaintDevice &device)
{
    // A printer or PDF writer starts its painter at its paint rectangle, which
    // its own page layout knows; an image is the whole sheet.
    if (const auto *paged = dynamic_cast<const QPagedPaintDevice *>(&device))
        return paged->pageLayout().paintRect(QPageLayout::Point).topLeft();
    return QPointF();
}

QTransform printGeometry::sheetToDevice(const QPaintDevice &device)
{
    const QPointF origin = painterOrigin(device);
    const double sx = device.logicalDpiX() / 72.0, sy = device.logicalDpiY() / 72.0;
    return QTransform(sx, 0, 0, sy, -origin.x() * sx, -origin.y() * sy);
}

QRectF printGeometry::toDevice(const QRectF &layoutRect, const QPaintDevice &device) const
{
    return (layoutToSheet() * sheetToDevice(device)).mapRect(layoutRect);
}

QTransform printGeometry::calibrationTransform(const QPaintDevice &device) const
{
    // Back to the sheet, correct there, forward to the device: the
    // calibration is measured from the paper's corner, not the margins.
    const QTransform toDevice = sheetToDevice(device);
    return toDevice.inverted() * m_calibration.sheetTransform() * toDevice;
}
