#include "myTools.h"
#include "myDatabase.h"
#include "sqlText.h"

#include <QDate>
#include <QRegularExpression>
#include <QSqlQuery>

QList<columnInfo> myTools::showColumns(const myDatabase &db, const QString &table, QSqlError *error)
{
    QList<columnInfo> columns;
    QSqlQuery query = db.select(QStringLiteral("SHOW COLUMNS FROM ") + table, error);
    if (!query.isActive())
        return columns;
    while (query.next()) {
        columnInfo c;
        c.field = query.value(0).toString();
        c.type = query.value(1).toString();
        c.required = query.value(2).toString() == QLatin1String("NO");
        c.defaultValue = query.value(4);
        columns.append(c);
    }
    return columns;
}

columnKind myTools::kindOf(const QString &type)
{
    // Plain substring tests in this order: "varchar" must count as char, and
    // an enum is only a choice list when it is not already a char type.
    if (type.contains(QLatin1String("char")))
        return columnKind::Text;
    if (type.contains(QLatin1String("enum")))
        return columnKind::Choice;
    if (type.contains(QLatin1String("int")))
        return columnKind::Number;
    return columnKind::None;
}

QString myTools::kindPrefix(columnKind kind)
{
    switch (kind) {
    case columnKind::Text: return QStringLiteral("line");
    case columnKind::Choice: return QStringLiteral("comb");
    case columnKind::Number: return QStringLiteral("spin");
    case columnKind::None: break;
    }
    return QString();
}

int myTools::charLength(const QString &type)
{
    QString digits = type;
    digits.remove(QRegularExpression(QStringLiteral("[varchar()]")));
    return digits.toInt(); // 0 when unreadable, applied as it is
}

QStringList myTools::enumValues(const QString &type)
{
    QString values = type;
    values.remove(QRegularExpression(QStringLiteral("[enum(')]")));
    return values.split(QLatin1Char(','));
}

QString myTools::fieldList(const myDatabase &db)
{
    struct part { const char *table; QStringList skipped; };
    const part parts[] = {
        {"leaseout", {}},
        {"leasein", {QStringLiteral("登记编号")}},
        {"leasehouse", {QStringLiteral("登记编号")}},
        {"lease", {QStringLiteral("编号"), QStringLiteral("地区"), QStringLiteral("年度")}},
    };
    QString list;
    for (const part &p : parts) {
        for (const columnInfo &c : showColumns(db, QString::fromLatin1(p.table))) {
            if (!p.skipped.contains(c.field))
                list += QLatin1Char(',') + c.field;
        }
    }
    return list.mid(1);
}

QString myTools::nextRegisterNumber(const myDatabase &db, const QString &region, const QDate &registerDate,
                                    QSqlError *error)
{
    // The lookup filters on the year of the registration date, but the prefix
    // always comes from today's year. Saving a new number of another year is
    // refused later, so this only matters for numbers typed over by hand.
    const QString year = registerDate.toString(QStringLiteral("yyyy"));
    QSqlQuery query = db.select(QStringLiteral("SELECT MAX(编号)+1+YEAR(CURDATE())*100000 FROM lease WHERE 地区='")
                                    + sqlText::escaped(region) + QStringLiteral("' AND 年度=") + year,
                                error);
    // A failed lookup proposes nothing: the first serial of the year would
    // collide with every number already issued.
    if (!query.isActive())
        return QString();
    QString serial;
    if (query.next() && !query.value(0).isNull())
        serial = query.value(0).toString();
    if (serial.isEmpty() || serial == QLatin1String("0"))
        serial = QDate::currentDate().toString(QStringLiteral("yyyy")) + QStringLiteral("00001");
    return region + serial;
}
