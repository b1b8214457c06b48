#ifndef LEASESQL_H
#define LEASESQL_H

#include "sqlText.h"

#include <QString>

// SQL texts that several subsystems must agree on word for word.
namespace leaseSql {

// The 15-digit registration number of a lease row: region + year*100000 + serial.
inline QString numberExpr() { return QStringLiteral("CONCAT(地区,年度*100000+编号)"); }

// The joined view of one lease. The inner join with leaseout is intended: a
// lease without a lessor row is invisible to browse, search and printing.
inline QString joinedView(const QString &lease = QStringLiteral("lease"))
{
    return QStringLiteral("FROM ") + lease
        + QStringLiteral(",leaseout LEFT JOIN leasein USING (登记编号) "
                         "LEFT JOIN leasehouse USING (登记编号)  WHERE ")
        + numberExpr() + QStringLiteral("=leaseout.登记编号");
}

// The joined view for statements that pick a range of 登记日期. Once other
// years fill the table the server estimates reading all of lease cheaper
// than a year through the date index, and a year's browse then costs as much
// as the whole decade; the hint keeps it to the rows of the range.
inline QString joinedViewByDate() { return joinedView(QStringLiteral("lease FORCE INDEX (登记日期)")); }

// The joined view driven by a small set of numbers: `hits` is a derived
// table of 登记编号 (a subquery with its alias), read first, so only its rows
// are joined (SELECT STRAIGHT_JOIN keeps that order). lease is reached by its
// unique key through the same equivalence as numberKey() below; the
// expression stays, so the rows are exactly those of joinedView().
inline QString joinedViewOf(const QString &hits)
{
    return QStringLiteral("FROM ") + hits
        + QStringLiteral(" JOIN leaseout USING (登记编号) LEFT JOIN leasein USING (登记编号) "
                         "LEFT JOIN leasehouse USING (登记编号),lease WHERE ")
        + numberExpr()
        + QStringLiteral("=leaseout.登记编号 AND lease.地区=LEFT(leaseout.登记编号,6) "
                         "AND lease.年度=SUBSTRING(leaseout.登记编号,7,4) AND lease.编号=SUBSTRING(leaseout.登记编号,11)");
}

// Conditions on lease equivalent to numberExpr()='<number>' that the unique
// key 登记编号 (地区,年度,编号) can serve: the expression itself can use no
// index, so alone it reads every registration. The program only ever writes a
// six-digit region, a four-digit year and a serial below 100000, and for such
// rows the two agree. A text that is not fifteen digits can match no such row,
// so it gets a condition the server sees as impossible before reading anything.
inline QString numberKey(const QString &number)
{
    // The column collation pads with spaces: '…1 ' equals '…1' in the
    // expression, so trailing blanks must not make the key refuse it.
    QString digits = number;
    while (digits.endsWith(QLatin1Char(' ')))
        digits.chop(1);
    bool ok = digits.size() == 15;
    for (int i = 0; ok && i < digits.size(); ++i)
        ok = digits.at(i) >= QLatin1Char('0') && digits.at(i) <= QLatin1Char('9');
    if (!ok)
        return QStringLiteral("FALSE");
    return QStringLiteral("lease.地区='") + digits.left(6) + QStringLiteral("' AND lease.年度=")
        + QString::number(digits.mid(6, 4).toInt()) + QStringLiteral(" AND lease.编号=")
        + QString::number(digits.mid(10, 5).toInt());
}

// One registration by its number. The expression stays in the statement so
// the result is exactly what it alone selects; the key conditions only choose
// the plan.
inline QString numberIs(const QString &number)
{
    return numberExpr() + QStringLiteral("='") + sqlText::escaped(number) + QStringLiteral("' AND ")
        + numberKey(number);
}

} // namespace leaseSql

#endif
