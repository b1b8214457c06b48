#ifndef PRINTGEOMETRY_H
#define PRINTGEOMETRY_H

#include "printCalibration.h"

#include <QPageLayout>
#include <QRectF>
#include <QTransform>

class QPaintDevice;

// Where the certificate's boxes land on paper, in one place for the printer,
// the PDF file and the preview.
//
// Layout numbers are 1/96 inch from the top-left corner of the printable area
// inside the page margins: the stored layouts were measured on 96-dpi desktops
// and must print where they printed there, whatever the screen or printer
// resolution. Fonts keep their point sizes (the painter resolves them against
// the device it is on), and margins are in points.
//
// Three frames are involved: layout units; the sheet, in points from the
// paper's top-left corner (where the calibration is defined and a ruler
// measures); and the painter's device units, whose origin is the device's
// paint rectangle on a printer or PDF writer and the sheet's corner on an
// image of the whole page.
class printGeometry
{
public:
    static constexpr double unitsPerInch = 96.0;
    static constexpr double pointsPerMm = 72.0 / 25.4;
    // The right and bottom margins were never part of the page setup.
    static constexpr double rightMarginPt = 40.0;
    static constexpr double bottomMarginPt = 40.0;

    // A4 landscape with 50-point margins, the page setup's defaults.
    printGeometry();
    printGeometry(QPageSize::PageSizeId paper, bool landscape, double leftMarginPt, double topMarginPt,
                  const printCalibration &calibration = {});

    // Give this to the QPdfWriter or QPrinter before the painter begins.
    QPageLayout pageLayout() const { return m_page; }
    const printCalibration &calibration() const { return m_calibration; }
    void setCalibration(const printCalibration &calibration) { m_calibration = calibration; }

    // The sheet's size in points, turned as the page is printed.
    QSizeF sheetSize() const;
    QSizeF sheetSizeMm() const { return sheetSize() / pointsPerMm; }
    // The paper as the operator reads it: "A4 横向 297 × 210 毫米".
    QString paperText() const;
    // The area inside the margins, in points on the sheet: the layout's frame.
    QRectF marginRect() const;
    // Layout units to points on the sheet (margins included, no calibration).
    QTransform layoutToSheet() const;

    // Points on the sheet to the uncalibrated coordinates of a painter on
    // device, at that device's logical resolution.
    static QTransform sheetToDevice(const QPaintDevice &device);
    // Where the painter's origin sits on the sheet, in points.
    static QPointF painterOrigin(const QPaintDevice &device);

    // A layout rectangle in the coordinates of a painter on device.
    QRectF toDevice(const QRectF &layoutRect, const QPaintDevice &device) const;
    // The calibration as the world transform of a painter on device. Glyphs
    // are scaled with it, as the printer's own stretch scales them.
    QTransform calibrationTransform(const QPaintDevice &device) const;

private:
    QPageLayout m_page;
    printCalibration m_calibration;
};

#endif
