#ifndef OBJPRINT_H
#define OBJPRINT_H

#include <QObject>
#include <QString>

// Prints one registration onto the pre-printed certificate, on the default
// printer and without a dialog, using the layout stored by frmSetPrintItem.
class objPrint : public QObject
{
    Q_OBJECT
public:
    explicit objPrint(QObject *parent = nullptr);
    void setPrintNumber(const QString &number) { m_number = number; }
    // False when nothing was printed: the number was refused or no printer
    // could be opened. The operator has already been told why.
    bool printRecord();

private:
    QString m_number;
};

#endif
