#ifndef CALIBRATIONPAGE_H
#define CALIBRATIONPAGE_H

#include "printGeometry.h"

#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QString>

class QPainter;

// The page an operator prints to measure a printer (校准页): rulers along the
// top and left edges with a mark every 5 mm and a number every 10 mm, each
// number the distance in millimetres from the paper's left or top edge, a
// faint 10 mm grid, and crosses at known places. Laid on the stationery or
// measured with a ruler from the paper's edges, it shows how far and in which
// direction this printer moves and stretches the page.
namespace calibrationPage {

struct cross {
    QString name;  // "A", "B", …
    QPointF atMm;  // from the sheet's top-left corner
};

// The crosses for a sheet of this size: A near the top-left corner and B near
// the bottom-right first (the two the calibration is computed from), then C
// (top-right) and D (bottom-left), all on whole centimetres.
QList<cross> crosses(const QSizeF &sheetMm);

// The first mark and the first number of each ruler, in millimetres. Nearer
// the corner the two rulers would run into each other.
constexpr int firstMarkMm = 15;
constexpr int firstNumberMm = 20;

// Draws the page for the geometry's paper and orientation, through its
// calibration (an identity calibration measures the printer as it is; the
// current one checks it). The painter must be active on a device whose page
// layout is geometry.pageLayout(), or on an image of the whole sheet.
void paint(QPainter &painter, const printGeometry &geometry, const QString &printerName);

} // namespace calibrationPage

#endif
