#ifndef PRINTPREVIEW_H
#define PRINTPREVIEW_H

#include "printPage.h"

#include <QImage>
#include <QSizeF>

class QSettings;

// A scan of the blank stationery, shown under the preview so the operator
// sees each value against the form's own boxes. It is never printed.
struct stationeryScan {
    QImage image;
    double dpiX = 0; // pixels per inch of the scan
    double dpiY = 0;

    bool isNull() const { return image.isNull() || dpiX <= 0 || dpiY <= 0; }
    // How large the scan is on paper, in millimetres.
    QSizeF sizeMm() const;

    // A PNG or JPEG file at the resolution it records, or at typedDpi when
    // that is given (many scanners record none, or a wrong one). Null when
    // the file cannot be read as an image.
    static stationeryScan load(const QString &path, double typedDpi = 0);

    // The scan the operator chose, remembered in the settings file
    // (appSettings::key::stationeryFile and stationeryDpi: the typed
    // resolution, 0 or missing for the file's own).
    static QString fileName(QSettings &settings);
    static double typedDpi(QSettings &settings);
    static void remember(QSettings &settings, const QString &fileName, double typedDpi);
};

// The page as it will print, as an image: the sheet at pixelsPerInch (the
// screen's resolution times the zoom gives true size on screen), the scan
// under it at its own resolution from the sheet's corner, and the boxes drawn
// through the same code as the printer, with the geometry's calibration.
namespace printPreview {

struct options {
    int pixelsPerInch = 96;
    // Dashed outlines of the boxes and of the area inside the margins: help
    // for placing boxes, drawn only here.
    bool outlines = false;
};

QImage render(const printGeometry &geometry, const QList<printBox> &boxes, const options &how,
              const stationeryScan &scan = {});

} // namespace printPreview

#endif
