#ifndef PDFTEXT_H
#define PDFTEXT_H

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>

// Reads back what was printed into a PDF with poppler's pdftotext -bbox, so
// a test sees which text landed where, on which paper.
namespace pdfText {

struct word {
    QString text;
    QRectF box; // points, origin at the page's top-left
};

struct page {
    QSizeF size; // points
    QList<word> words;
};

QList<page> read(const QString &path);

// Every word of the page, joined without separators.
QString allText(const page &p);

// Where a text stands on the page. pdftotext may cut a line of Chinese into
// several words; the texts looked for never share a character, so the words
// that are pieces of it make it up. A null rectangle when it is not there.
QRectF find(const page &p, const QString &text);

// The text is on the page, inside box (points), at its top, placed as the
// alignment ("居左", "居中", "居右") asks. Fails the running test otherwise.
void checkInBox(const page &p, const QString &text, const QRectF &box, const QString &alignment);

} // namespace pdfText

#endif
