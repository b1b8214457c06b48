#ifndef LEASEQUERY_H
#define LEASEQUERY_H

#include <QDate>
#include <QString>
#include <QStringList>

// The statements of browse and search, composed apart from the forms. The
// keyword is escaped, so it is found as typed, apostrophes and wildcard
// characters included.
class leaseQuery
{
public:
    // The registration-date condition shared by browse, search and the fee
    // total; dates written "yyyy-MM-dd".
    static QString dateRange(const QDate &from, const QDate &to);

    // The ticked fields over the joined view, newest number first (the
    // result table reverses it, so the oldest is shown on top). With no
    // fields the statement is invalid on purpose: the table stays empty.
    static QString browse(const QStringList &fields, const QDate &from, const QDate &to);

    // The fees of every lease of the range, listed or not.
    static QString feeTotal(const QDate &from, const QDate &to);

    // The keyword condition: up to 5 digits match the end of the number, 6
    // or more digits the end of the number or anywhere in a telephone,
    // anything else the names and the location. An empty text for an empty
    // keyword.
    static QString keywordCondition(const QString &keyword);

    static QString search(const QString &keyword, const QDate &from, const QDate &to);

    // A derived table r of text ranges (lo, hi) of 登记编号, one per region,
    // that together hold the number of every lease registered in the range;
    // a party table's key can read just those stretches.
    static QString candidateRanges(const QDate &from, const QDate &to);

    // The columns the keyword is looked for in, in the order they are shown.
    static QStringList searchColumns();
};

#endif
