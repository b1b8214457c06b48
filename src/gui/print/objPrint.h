#ifndef OBJPRINT_H
#define OBJPRINT_H

#include "myDatabase.h"
#include "printerOutput.h"

#include <QObject>
#include <QString>

class printLayout;

// Prints one registration onto the pre-printed certificate, on the default
// printer and without a dialog, using the layout stored by frmSetPrintItem.
class objPrint : public QObject
{
    Q_OBJECT
public:
    explicit objPrint(const myDatabase &db, QObject *parent = nullptr);
    void setPrintNumber(const QString &number) { m_number = number; }
    // False when nothing was printed: the number was refused, or no printer
    // could be opened and the page was not saved as a PDF file instead. The
    // operator has already been told why.
    bool printRecord();

    // One page of the layout on the default printer (with that printer's
    // calibration); condition as for printLayout::boxes. Every value is
    // fetched before the printer is touched, so a page saved as a PDF file
    // when no printer answers shows the same values without asking the
    // server again. The layout editor's test page uses it too.
    static printerOutput::outcome print(const printLayout &layout, const myDatabase &db, const QString &condition,
                                        const QString &suggestedFileName, QString *savedPath = nullptr);

    // Tests only: send pages to this PDF file instead of the printer, at this
    // resolution (0: the PDF printer's default). An empty path restores the
    // printer.
    static void setPdfOutputForTests(const QString &path, int resolution = 0);

private:
    myDatabase m_db;
    QString m_number;
};

#endif
