#ifndef PRINTEROUTPUT_H
#define PRINTEROUTPUT_H

#include "printPage.h"

class QPrinter;
class QSettings;
class QWidget;

// The one place where a page meets a QPrinter or a file the operator names
// (the widget side; the drawing itself is in printPage and calibrationPage,
// which need no printer).
namespace printerOutput {

// The name the printer's calibration is stored under; empty when the printer
// writes a file rather than paper.
QString calibrationName(const QPrinter &printer);
// The printer a print goes to when none is named: the system's default, or
// nothing when no printer is configured.
QString defaultPrinterName();

// Prints one page on the printer as the caller set it up (the default printer
// or a file): gives it the geometry's page, applies the calibration stored for
// it in the settings, and lets draw paint the page. Build the printer with
// QPrinter::HighResolution; its resolution no longer moves anything, but
// ScreenResolution renders at the desktop's coarse grain. False when the
// printer cannot be opened, as when no printer is configured.
bool printOne(QPrinter &printer, printGeometry geometry, QSettings &settings, const printPage::drawFunction &draw);

// One page straight to a printer, without a dialog: the named one, or the
// default printer when the name is empty, with its stored calibration. False
// when the printer cannot be opened.
bool print(const printGeometry &geometry, const printPage::drawFunction &draw,
           const QString &printerName = QString());

enum class outcome { printed, savedAsPdf, nothing };

// The same on the default printer. An office whose printer hangs on another
// PC still needs the page: when no printer can be opened, the "错误" box says
// so and offers to save the page as a PDF file (suggestedName in the home
// folder) to print elsewhere; *savedPath then names the file.
outcome printOrOfferPdf(const printGeometry &geometry, const printPage::drawFunction &draw,
                        const QString &suggestedName, QString *savedPath = nullptr);

// Asks for a file name ("另存为 PDF") and writes the page there, without any
// printer's calibration. The path written; empty when the operator cancelled
// or the file could not be written, which the "错误" box has said.
QString savePdf(QWidget *parent, const printGeometry &geometry, const printPage::drawFunction &draw,
                const QString &suggestedName);

// A file name for the page: the text (a registration number, a title) with
// the characters no file name may hold replaced, and ".pdf".
QString pdfFileName(const QString &text);

// Tests only: pages that would go to a printer go to this PDF file instead,
// at this resolution (0: the printer's default). An empty path restores the
// printer.
void setPdfOutputForTests(const QString &path, int resolution = 0);

} // namespace printerOutput

#endif
