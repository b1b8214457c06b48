#include "leaseQuery.h"

#include "leaseSql.h"

#include <QRegularExpression>

static const char *const nameColumns[] = {"出方名称", "承方名称", "房屋坐落"};
static const char *const phoneColumns[] = {"出方电话", "承方电话"};

static QString day(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy-MM-dd"));
}

QString leaseQuery::dateRange(const QDate &from, const QDate &to)
{
    return QStringLiteral("登记日期>='") + day(from) + QStringLiteral("' AND 登记日期<='") + day(to)
        + QLatin1Char('\'');
}

QString leaseQuery::browse(const QStringList &fields, const QDate &from, const QDate &to)
{
    return QStringLiteral("SELECT ") + fields.join(QLatin1Char(',')) + QLatin1Char(' ')
        + leaseSql::joinedViewByDate() + QStringLiteral(" AND ") + dateRange(from, to)
        + QStringLiteral(" ORDER BY leaseout.登记编号 DESC");
}

QString leaseQuery::feeTotal(const QDate &from, const QDate &to)
{
    return QStringLiteral("SELECT SUM(收费金额) FROM lease WHERE ") + dateRange(from, to);
}

QString leaseQuery::keywordCondition(const QString &keyword)
{
    if (keyword.isEmpty())
        return QString();
    static const QRegularExpression digits(QRegularExpression::anchoredPattern(QStringLiteral("[0-9]*")));
    const QString suffix = QStringLiteral("leaseout.登记编号 LIKE '%") + keyword + QLatin1Char('\'');
    if (digits.match(keyword).hasMatch()) {
        // A short number is a serial typed from a certificate; telephones
        // would match it everywhere, so only the number's end is compared.
        if (keyword.size() <= 5)
            return QStringLiteral(" AND ") + suffix;
        QString terms = suffix;
        for (const char *column : phoneColumns)
            terms += QStringLiteral(" OR ") + QString::fromUtf8(column) + QStringLiteral(" LIKE '%") + keyword
                + QStringLiteral("%'");
        return QStringLiteral(" AND (") + terms + QLatin1Char(')');
    }
    QStringList terms;
    for (const char *column : nameColumns)
        terms << QString::fromUtf8(column) + QStringLiteral(" LIKE '%") + keyword + QStringLiteral("%'");
    return QStringLiteral(" AND (") + terms.join(QStringLiteral(" OR ")) + QLatin1Char(')');
}

QStringList leaseQuery::searchColumns()
{
    return {QStringLiteral("出方名称"), QStringLiteral("出方电话"), QStringLiteral("承方名称"),
            QStringLiteral("承方电话"), QStringLiteral("房屋坐落")};
}

QString leaseQuery::search(const QString &keyword, const QDate &from, const QDate &to)
{
    return QStringLiteral("SELECT leaseout.登记编号,登记日期,") + searchColumns().join(QLatin1Char(','))
        + QLatin1Char(' ') + leaseSql::joinedViewByDate() + QStringLiteral(" AND ") + dateRange(from, to)
        + keywordCondition(keyword) + QStringLiteral(" ORDER BY leaseout.登记编号 DESC");
}
