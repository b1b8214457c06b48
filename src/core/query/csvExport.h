#ifndef CSVEXPORT_H
#define CSVEXPORT_H

#include <QString>

class QAbstractItemModel;

// Composes and writes the comma-separated export of a result table. Kept
// apart from the browse form so the exact bytes can be checked without a
// window. Cells are neither quoted nor escaped: files written by earlier
// installations look like this and the offices' spreadsheets expect it.
class csvExport
{
public:
    // True for a cell of 7 or more characters that is a plain number
    // (optional minus, digits, optional point, digits). Such cells get a
    // leading apostrophe so spreadsheets keep them as text instead of
    // rounding a 15-digit registration number to a float.
    static bool needsApostrophe(const QString &cell);

    // The header line and one line per row, each ended by "\n".
    static QString compose(const QAbstractItemModel *model);

    // Writes compose() as GB18030; false with *error set when the file
    // cannot be written.
    static bool write(const QAbstractItemModel *model, const QString &path, QString *error = nullptr);
};

#endif
