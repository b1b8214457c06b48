#include "leaseQuery.h"

#include "leaseSql.h"
#include "sqlText.h"

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
    // Found literally: a % or _ typed is that character, not a wildcard
    // (a keyword "%" would otherwise read every registration of the range).
    const QString pattern = sqlText::likeEscaped(keyword);
    const keywordTerm suffix{"leaseout", QStringLiteral("leaseout.登记编号 LIKE '%") + pattern + QLatin1Char('\'')};
    auto anywhere = [&](const char *table, const char *column) {
        return keywordTerm{table, QString::fromUtf8(column) + QStringLiteral(" LIKE '%") + pattern + QStringLiteral("%'")};
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
    if (terms.isEmpty())
        return QStringLiteral("SELECT ") + select + leaseSql::joinedViewByDate() + conditions;
    // Joining every lease of the range with its three parties before the
    // keyword can be tested costs about a second per year of registrations,
    // most of it in the lookups of the joins. Reading a party table in key
    // order and testing the keyword costs a tenth of that per row, so each
    // party table is searched on its own for the numbers that match, and
    // only those are joined. Over up to a year, only the stretch of numbers
    // the range's registrations hold is read (candidateRanges); over longer
    // ranges that stretch is most of the table, and working it out costs
    // more than it saves. The full condition stays, so the rows are those
    // the plain join gives for every number of the program's shape (region,
    // year, five-digit serial), which joinedViewOf() relies on as well.
    const bool wholeTables = from.daysTo(to) > 366;
    const QString ranges = wholeTables ? QString() : candidateRanges(from, to);
    QStringList parts;
    for (const keywordTerm &t : terms) {
        const QString table = QString::fromUtf8(t.table);
        parts << QStringLiteral("SELECT 登记编号 FROM ")
                + (wholeTables ? table
                               : ranges + QStringLiteral(" STRAIGHT_JOIN ") + table + QStringLiteral(" ON ") + table
                           + QStringLiteral(".登记编号 BETWEEN r.lo AND r.hi"))
                + QStringLiteral(" WHERE ") + t.condition;
    }
    const QString hits = QLatin1Char('(') + parts.join(QStringLiteral(" UNION ")) + QStringLiteral(") hit");
    return QStringLiteral("SELECT STRAIGHT_JOIN ") + select + leaseSql::joinedViewOf(hits) + conditions;
}

QString leaseQuery::candidateRanges(const QDate &from, const QDate &to)
{
    // v = 年度*100000+编号 over the range (one pass over the date index,
    // which holds the unique key's columns), and each region: every number
    // of the range is the region followed by some v between the two. When
    // all those v have as many digits, text order is number order and the
    // bounds are the region followed by the least and the greatest v. When
    // they do not, the region alone and the region followed by as many 9s as
    // the greatest v has digits still enclose every such number.
    const QString v = QStringLiteral("年度*100000+编号");
    const QString sameWidth = QStringLiteral("m.lo>=0 AND LENGTH(m.lo)=LENGTH(m.hi)");
    return QStringLiteral("(SELECT CONCAT(g.地区,IF(") + sameWidth + QStringLiteral(",m.lo,'')) lo,CONCAT(g.地区,IF(")
        + sameWidth + QStringLiteral(",m.hi,REPEAT('9',LENGTH(m.hi)))) hi FROM (SELECT DISTINCT 地区 FROM lease) g,"
                                     "(SELECT MIN(")
        + v + QStringLiteral(") lo,MAX(") + v + QStringLiteral(") hi FROM lease WHERE ") + dateRange(from, to)
        + QStringLiteral(") m) r");
}
