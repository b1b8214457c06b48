#ifndef OBJPRINT_H
#define OBJPRINT_H

#include "myDatabase.h"

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
    // False when nothing was printed: the number was refused or no printer
    // could be opened. The operator has already been told why.
    bool printRecord();

    // One page of the layout on the default printer; condition as for
    // printLayout::paint. False, after telling the operator, when the
    // printer cannot be opened. The layout editor's test page uses it too.
    static bool print(const printLayout &layout, const myDatabase &db, const QString &condition);

    // Tests only: send pages to this PDF file instead of the printer. An empty
    // path restores the printer.
    static void setPdfOutputForTests(const QString &path);

private:
    myDatabase m_db;
    QString m_number;
};

#endif
