#include "registrationSql.h"

#include "myDatabase.h"
#include "sqlText.h"

namespace registrationSql {

numberParts split(const QString &number)
{
    return {number.mid(0, 6), number.mid(6, 4), number.mid(10, 5)};
}

QString dateLiteral(const QDate &date)
{
    // Written ISO rather than in the system locale's short format: on Linux
    // that format is M/d/yy, which MariaDB does not read as a date (it would
    // store 0000-00-00 or refuse the row in strict mode).
    return date.toString(QStringLiteral("yyyy-MM-dd"));
}

QString textValue(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("NULL") : sqlText::quoted(text);
}

static QStringList leasePairs(const leaseValues &v)
{
    return {QStringLiteral("登记日期='") + dateLiteral(v.registered) + QLatin1Char('\''),
            QStringLiteral("有效日起='") + dateLiteral(v.validFrom) + QLatin1Char('\''),
            QStringLiteral("有效日止='") + dateLiteral(v.validUntil) + QLatin1Char('\''),
            QStringLiteral("收费金额=") + QString::number(v.fee)};
}

static QString leaseAssignments(const leaseValues &v) { return leasePairs(v).join(QLatin1Char(',')); }

QString insertLease(const numberParts &n, const leaseValues &v)
{
    return QStringLiteral("INSERT lease SET 地区='") + sqlText::escaped(n.region) + QStringLiteral("',年度='")
        + sqlText::escaped(n.year) + QStringLiteral("',编号='") + sqlText::escaped(n.serial) + QStringLiteral("',")
        + leaseAssignments(v);
}

static QString leaseCondition(const numberParts &n)
{
    return QStringLiteral(" WHERE 地区='") + sqlText::escaped(n.region) + QStringLiteral("' AND 年度='")
        + sqlText::escaped(n.year) + QStringLiteral("' AND 编号='") + sqlText::escaped(n.serial) + QLatin1Char('\'');
}

QString updateLease(const numberParts &n, const leaseValues &v)
{
    return QStringLiteral("UPDATE lease SET ") + leaseAssignments(v) + leaseCondition(n);
}

QString insertParty(const QString &table, const QString &number, const QStringList &pairs)
{
    QString sql = QStringLiteral("INSERT ") + table + QStringLiteral(" SET 登记编号='") + sqlText::escaped(number)
        + QLatin1Char('\'');
    for (const QString &pair : pairs)
        sql += QLatin1Char(',') + pair;
    return sql;
}

QString partyCondition(const QString &number)
{
    return QStringLiteral(" WHERE 登记编号='") + sqlText::escaped(number) + QLatin1Char('\'');
}

QString updateParty(const QString &table, const QString &number, const QStringList &pairs)
{
    return QStringLiteral("UPDATE ") + table + QStringLiteral(" SET ") + pairs.join(QLatin1Char(','))
        + partyCondition(number);
}

QStringList deleteRegistration(const numberParts &n, const QString &number)
{
    QStringList statements{QStringLiteral("DELETE FROM lease") + leaseCondition(n)};
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        statements << QStringLiteral("DELETE FROM ") + QLatin1String(table) + partyCondition(number);
    return statements;
}

QString countStoredAsTyped(const numberParts &n, const leaseValues &v, const QString &number,
                           const QStringList &lessorPairs)
{
    // The lessor's row in a subquery of its own: columns a supervisor adds to
    // leaseout may bear a lease column's name.
    QString sql = QStringLiteral("SELECT COUNT(*) FROM lease") + leaseCondition(n) + QStringLiteral(" AND ")
        + leasePairs(v).join(QStringLiteral(" AND ")) + QStringLiteral(" AND EXISTS (SELECT 1 FROM leaseout")
        + partyCondition(number);
    for (QString pair : lessorPairs) {
        // "column=NULL" is never true: a NULL stored for an empty field is IS NULL.
        if (pair.endsWith(QLatin1String("=NULL")))
            pair = pair.chopped(5) + QStringLiteral(" IS NULL");
        sql += QStringLiteral(" AND ") + pair;
    }
    return sql + QLatin1Char(')');
}

refusal checkBeforeSave(bool adding, const QDate &validFrom, const QDate &validUntil,
                        const QString &number, const QString &region, const QDate &workDate)
{
    // The validity test comes first and runs even for a deletion, so a record
    // stored with reversed dates has to be corrected before it can go.
    if (validUntil <= validFrom)
        return {QStringLiteral("有效期错误，请检查"), false};
    if (number.size() != 15)
        return {QStringLiteral("登记编号错误，应为15位数字，请检查"), true};
    if (number.left(6) != region)
        return {QStringLiteral("不是本地区登记编号，请检查"), true};
    // Only new numbers are tied to the working year; old records stay editable.
    if (adding && number.mid(6, 4) != QString::number(workDate.year()))
        return {QStringLiteral("不能跨年度办理登记业务，请检查"), true};
    return {};
}

// The column a server message names between its first two apostrophes.
static QString quotedColumn(const QString &text)
{
    const int first = text.indexOf(QLatin1Char('\''));
    const int second = text.indexOf(QLatin1Char('\''), first + 1);
    return text.mid(first + 1, second - first - 1);
}

bool isDuplicateNumber(const QSqlError &error) { return error.nativeErrorCode() == QLatin1String("1062"); }

QString problemText(const QSqlError &error)
{
    if (myDatabase::connectionLost(error))
        return QStringLiteral("无法连接数据库服务器（服务器可能已经停止，或者网络中断）");
    return error.databaseText().isEmpty() ? error.text() : error.databaseText();
}

QString commitUncertainText()
{
    return QStringLiteral("提交时与数据库服务器的连接中断，无法确定这次保存是否完成。"
                          "服务器恢复后请再按“确定”：程序会先查看这一登记是否已经保存，不会重复登记。");
}

refusal saveErrorMessage(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    const QString text = error.databaseText();
    if (code == QLatin1String("1213") || code == QLatin1String("1205"))
        return {QStringLiteral("另一台工作站同时在保存，这次保存没有完成，也没有留下任何数据。请再按“确定”保存。"), false};
    if (code == QLatin1String("1317"))
        return {QStringLiteral("保存被中断，这次保存没有完成，也没有留下任何数据。请再按“确定”保存。"), false};
    if (myDatabase::commitUncertain(error))
        return {commitUncertainText(), false};
    if (myDatabase::connectionLost(error))
        return {problemText(error)
                    + QStringLiteral("，这次保存没有完成，也没有留下任何数据。服务器恢复后请再按“确定”保存，"
                                     "不必重新输入，也不必重新启动程序。"),
                false};
    if (text.contains(QLatin1String("cannot be null")))
        return {QStringLiteral("“") + quotedColumn(text) + QStringLiteral("”不允许空，请修正后保存。"), false};
    if (text.contains(QLatin1String("Out of range value for column")))
        return {QStringLiteral("“") + quotedColumn(text) + QStringLiteral("”超出允许范围，请修正后保存。"), false};
    if (text.startsWith(QLatin1String("Duplicate entry '")))
        return {QStringLiteral("已有此登记编号，请修正后再试保存。"), true};
    return {text.isEmpty() ? error.text() : text, false};
}

} // namespace registrationSql
