#ifndef PRINTEROUTPUT_H
#define PRINTEROUTPUT_H

#include "printGeometry.h"

#include <functional>

class QPainter;
class QPrinter;
class QSettings;

// The one place where a page meets a QPrinter (the widget side; the drawing
// itself is in printPage and calibrationPage, which need no printer).
namespace printerOutput {

// The name the printer's calibration is stored under; empty when the printer
// writes a file rather than paper.
QString calibrationName(const QPrinter &printer);

// Prints one page on the printer as the caller set it up (the default printer
// or a file): gives it the geometry's page, applies the calibration stored for
// it in the settings, and lets draw paint the page. Build the printer with
// QPrinter::HighResolution; its resolution no longer moves anything, but
// ScreenResolution renders at the desktop's coarse grain. False when the
// printer cannot be opened, as when no printer is configured.
bool printOne(QPrinter &printer, printGeometry geometry, QSettings &settings,
              const std::function<void(QPainter &, const printGeometry &)> &draw);

} // namespace printerOutput

#endif
