#ifndef PRINTLAYOUT_H
#define PRINTLAYOUT_H

#include "printPage.h"

#include <QFont>
#include <QList>
#include <QPageSize>
#include <QString>
#include <QStringList>

class myDatabase;

// One box on the pre-printed certificate: what to print, in which font, where
// and how. Positions and sizes stay the texts the operator typed ("x,y",
// "w,h"); they are read as numbers only when drawing, so a half-typed cell
// survives a save and read unchanged.
struct printItem {
    QString expression;  // a field name or any SQL expression over the joined lease tables
    QFont font;
    bool hasFont = false; // false: no font was chosen; saved as an empty description
    QString position;
    QString size;
    QString alignment;   // "居左", "居中", "居右"; anything else prints left-aligned
    QString conversion;  // "无", "中文数字", "金额大写"

    // The settings value: the six parts joined with TAB, font as QFont::toString.
    QString settingsValue() const;
    static printItem fromSettingsValue(const QString &value);
};

// The certificate's page setup and items, turned into the page geometry and
// the filled boxes that the printer, the PDF file and the preview all draw
// (printPage). The printer itself is chosen by the caller.
class printLayout
{
public:
    QString paper = QStringLiteral("A4");
    bool landscape = true;
    static QString defaultMargin() { return QStringLiteral("50"); }
    QString leftMargin = defaultMargin(); // points, as typed
    QString topMargin = defaultMargin();
    QList<printItem> items;

    // The layout stored in the settings file; items in the order the settings
    // library lists their keys ("0", "1", "10", "2", …), as earlier
    // installations printed them.
    static printLayout load();
    // Replaces the stored layout. Items without an expression are left out and
    // the rest are numbered from 0 in list order.
    void save() const;

    // Paper, orientation and the left and top margins (trimmed; text that is
    // not an integer counts 0), without any printer's calibration.
    printGeometry geometry() const;
    // Every item as a box with its value. Each value comes from
    // "SELECT <expression> <joined view><condition>"; condition is empty for a
    // test page (the first registration the server returns) or
    // numberCondition() for one registration.
    QList<printBox> boxes(const myDatabase &db, const QString &condition) const;
    // The condition that picks one registration by its number, as typed.
    static QString numberCondition(const QString &number);

    // The texts the layout editor offers for alignment and conversion; these
    // are the ones alignmentOf() and converted() recognise.
    static QStringList alignments();
    static QStringList conversions();

    static QPageSize::PageSizeId pageSizeOf(const QString &paper);
    static Qt::Alignment alignmentOf(const QString &alignment);
    // "a,b" → (a, b); "a" → (a, 0); anything else → (0, 0). Non-numbers count 0.
    static QPoint pairOf(const QString &text);
    // Applies a conversion to a printed value ("中文数字", "金额大写", else none).
    static QString converted(const QString &value, const QString &conversion);

private:
    static QString valueOf(const myDatabase &db, const QString &expression, const QString &condition);
};

#endif
