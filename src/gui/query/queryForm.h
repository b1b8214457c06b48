#ifndef QUERYFORM_H
#define QUERYFORM_H

#include <QDate>
#include <QString>

class QDateEdit;
class QTableWidget;
class QWidget;
class formHost;
class mySqlQuery;

// Pieces the browse and search forms share, so both behave alike: the date
// range edits, the result table and opening a result in the record form.
namespace queryForm {

// A registration-date edit ("yyyy-MM-dd", with a calendar) and its tool tip.
QDateEdit *dateEdit(const QDate &date, const QString &toolTip);
QDateEdit *fromDateEdit(const QDate &workDate); // 1 January of the working year
QDateEdit *toDateEdit(const QDate &workDate);   // the working date

// Read-only rows, alternating colours; no sorting, because the order the
// statement gives is the order the operator expects.
void setupResultTable(QTableWidget *table);

// Empties the table, fills it with the statement's result and fits the
// columns to their contents.
void showResult(mySqlQuery *query, QTableWidget *table, const QString &sql);

// Opens the registration in column 0 of the table's current row through the
// host. Without rows or without a current row the operator is told so instead.
void openCurrentLease(formHost *host, QTableWidget *table);

} // namespace queryForm

#endif
