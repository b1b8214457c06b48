#ifndef PRINTPAGE_H
#define PRINTPAGE_H

#include "printGeometry.h"

#include <QFont>
#include <QList>
#include <QRect>
#include <QString>

#include <functional>

class QPainter;

// One box of the certificate with the text it shows: position and size in
// layout units, the text already fetched and converted.
struct printBox {
    QRect rect;
    QFont font;
    Qt::Alignment alignment = Qt::AlignLeft; // horizontal only: text sits at the top of its box
    QString text;
};

// Draws a certificate page. The printer, the PDF file and the preview all go
// through paint(), so what the operator previews is what the printer gets.
namespace printPage {

// Draws the boxes on the painter's device through the geometry, calibration
// included. The painter must be active; its state is restored afterwards.
void paint(QPainter &painter, const printGeometry &geometry, const QList<printBox> &boxes);

// Draws text into a rectangle given in the painter's coordinates, at the
// font's exact size. Qt sizes a font in whole device pixels, so at 96 dpi an
// 11-point font came out at 11.25 points and at 120 dpi at 10.8, moving
// centred and right-aligned text and changing its width with the resolution.
// Here the font is sized in a finer unit and scaled back.
void drawText(QPainter &painter, const QRectF &rect, const QFont &font, Qt::Alignment alignment,
              const QString &text);

// Whatever draws one page, given the geometry it is to use.
using drawFunction = std::function<void(QPainter &, const printGeometry &)>;

// One page as a PDF file. A file goes to no printer, so no calibration is
// applied whatever the geometry holds. False when the file cannot be written.
bool writePdf(const QString &path, const printGeometry &geometry, const drawFunction &draw, int resolution = 1200);
// The certificate's boxes as a PDF file.
bool writePdf(const QString &path, const printGeometry &geometry, const QList<printBox> &boxes,
              int resolution = 1200);

} // namespace printPage

#endif
