#include "leaseQuery.h"

#include "leaseSql.h"

#include <QRegularExpression>


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

namespace {

// One LIKE term of the keyword and the table its column lives in.
struct keywordTerm {
    const char *table;
    QString condition;
};

QList<keywordTerm> keywordTerms(const QString &keyword)
{
    if (keyword.isEmpty())
        return {};
    static const QRegularExpression digits(QRegularExpression::anchoredPattern(QStringLiteral("[0-9]*")));
    const keywordTerm suffix{"leaseout", QStringLiteral("leaseout.登记编号 LIKE '%") + keyword + QLatin1Char('\'')};
    auto anywhere = [&](const char *table, const char *column) {
        return keywordTerm{table, QString::fromUtf8(column) + QStringLiteral(" LIKE '%") + keyword + QStringLiteral("%'")};
    };
    if (digits.match(keyword).hasMatch()) {
        // A short number is a serial typed from a certificate; telephones
        // would match it everywhere, so only the number's end is compared.
        if (keyword.size() <= 5)
            return {suffix};
        return {suffix, anywhere("leaseout", "出方电话"), anywhere("leasein", "承方电话")};
    }
    return {anywhere("leaseout", "出方名称"), anywhere("leasein", "承方名称"), anywhere("leasehouse", "房屋坐落")};
}

} // namespace

QString leaseQuery::keywordCondition(const QString &keyword)
{
    const QList<keywordTerm> terms = keywordTerms(keyword);
    if (terms.isEmpty())
        return QString();
    if (terms.size() == 1)
        return QStringLiteral(" AND ") + terms.first().condition;
    QStringList conditions;
    for (const keywordTerm &t : terms)
        conditions << t.condition;
    return QStringLiteral(" AND (") + conditions.join(QStringLiteral(" OR ")) + QLatin1Char(')');
}

QStringList leaseQuery::searchColumns()
{
    return {QStringLiteral("出方名称"), QStringLiteral("出方电话"), QStringLiteral("承方名称"),
            QStringLiteral("承方电话"), QStringLiteral("房屋坐落")};
}

QString leaseQuery::search(const QString &keyword, const QDate &from, const QDate &to)
{
    const QString select = QStringLiteral("leaseout.登记编号,登记日期,") + searchColumns().join(QLatin1Char(','))
        + QLatin1Char(' ');
    const QString conditions = QStringLiteral(" AND ") + dateRange(from, to) + keywordCondition(keyword)
        + QStringLiteral(" ORDER BY leaseout.登记编号 DESC");
    const QList<keywordTerm> terms = keywordTerms(keyword);
    // Every lease of the range is joined with its three parties before the
    // keyword can be tested: a second or so per year of registrations. Over
    // more than a year it is cheaper to find the matching numbers in each
    // party table on its own (one pass each, no joins) and join only those;
    // over one year the date index reads less. The full condition stays, so
    // both plans give the same rows.
    if (terms.isEmpty() || from.daysTo(to) <= 366)
        return QStringLiteral("SELECT ") + select + leaseSql::joinedViewByDate() + conditions;
    QStringList parts;
    for (const keywordTerm &t : terms)
        parts << QStringLiteral("SELECT 登记编号 FROM ") + QString::fromUtf8(t.table) + QStringLiteral(" WHERE ")
                + t.condition;
    const QString hits = QLatin1Char('(') + parts.join(QStringLiteral(" UNION ")) + QStringLiteral(") hit");
    return QStringLiteral("SELECT STRAIGHT_JOIN ") + select + leaseSql::joinedViewOf(hits) + conditions;
}
