#include "printerOutput.h"

#include <QPainter>
#include <QPrinter>

namespace printerOutput {

QString calibrationName(const QPrinter &printer)
{
    return printer.outputFormat() == QPrinter::NativeFormat ? printer.printerName() : QString();
}

bool printOne(QPrinter &printer, printGeometry geometry, QSettings &settings,
              const std::function<void(QPainter &, const printGeometry &)> &draw)
{
    geometry.setCalibration(printCalibration::load(settings, calibrationName(printer)));
    printer.setPageLayout(geometry.pageLayout());
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    draw(painter, geometry);
    return painter.end();
}

} // namespace printerOutput
