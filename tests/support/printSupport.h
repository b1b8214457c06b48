#ifndef PRINTSUPPORT_H
#define PRINTSUPPORT_H

// What the printing tests share: scans of blank stationery made to measure,
// ink found on rendered pages, and a real print queue to print through.
#include "pdfText.h"
#include "printCalibration.h"

#include <QImage>
#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>

Q_DECLARE_METATYPE(printCalibration)
char *toString(const printCalibration &c); // for Qt Test's messages

namespace printSupport {

// A scan of blank stationery: one pale box with a green frame where each
// value belongs (points on the sheet), at dpi pixels per inch, the file
// recording recordedDpi. PNG or JPEG by the path's suffix. Returns the path.
QString writeScan(const QString &path, const QSizeF &sheetPt, const QList<QRectF> &boxesPt, double dpi,
                  double recordedDpi);

const double mm = 72.0 / 25.4; // points

// A point (a rectangle) of the sheet, in points, where a printer with this
// calibration puts it: offset plus scale times its distance from the corner.
QPointF calibrated(const printCalibration &c, const QPointF &p);
QRectF calibrated(const printCalibration &c, const QRectF &r);

// Each text stands on the page where it stands on the reference page, moved
// as the calibration moves a point: all four edges, so the font kept its
// size too, within tolerance points. Fails the running test otherwise.
void checkMoved(const pdfText::page &page, const pdfText::page &reference, const QStringList &texts,
                double tolerance, const printCalibration &c = {});

// Ink: text and ruler lines, not the scan's pale boxes or green frames.
bool dark(QRgb pixel);

// Counts the dark pixels of the image inside each rectangle (pixels); those
// inside none are counted in *outside.
QVector<int> inkInside(const QImage &image, const QList<QRect> &boxes, int *outside);

// --- a real print queue ----------------------------------------------------
// tests/support/print-queue runs a test row in a child process beside a
// private CUPS server whose default printer is a cups-pdf queue.

// True in such a child.
bool inPrintQueue();
// The queue's name: the name its calibration is stored under.
QString queueName();
// Runs the current test row again in a child beside the print queue. True in
// the parent once the child ran (its failure fails the row; a machine that
// cannot make the queue skips it); false in the child, which goes on with the
// row.
bool ranInPrintQueue();
// Waits until the queue has written count pages (one PDF each) and returns
// them in the order they were printed. The queue prints a landscape sheet
// turned onto portrait paper; pages whose size is sheet's transposed are
// turned back, so positions read as on the sheet the layout describes.
QList<pdfText::page> queuePages(int count, const QSizeF &sheet);
// The jobs the queue was given so far, printed or not.
int queueJobs();

} // namespace printSupport

#endif
