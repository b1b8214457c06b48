#include "queryForm.h"

#include "formHost.h"
#include "myDateDelegate.h"
#include "mySqlQuery.h"

#include <QDateEdit>
#include <QHeaderView>
#include <QMessageBox>
#include <QTableWidget>

namespace queryForm {

QDateEdit *dateEdit(const QDate &date, const QString &toolTip)
{
    auto *edit = new QDateEdit(date);
    edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    edit->setCalendarPopup(true);
    edit->setToolTip(toolTip);
    // A form narrowed to fit the window must not cut the date short.
    edit->setMinimumWidth(edit->sizeHint().width());
    return edit;
}

QDateEdit *fromDateEdit(const QDate &workDate)
{
    return dateEdit(QDate(workDate.year(), 1, 1), QStringLiteral("设置登记日期范围（≥）"));
}

QDateEdit *toDateEdit(const QDate &workDate)
{
    return dateEdit(workDate, QStringLiteral("设置登记日期范围（≤）"));
}

void setupResultTable(QTableWidget *table)
{
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setAlternatingRowColors(true);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSortingEnabled(false);
    table->setItemDelegate(new myDateDelegate(table));
    // Fitting a column to its contents measures its cells. Over every row of
    // a year's result (100 000 rows, 8 columns) that takes about 2.5 s, more
    // than filling the table; a sample of 500 rows (visible ones first) takes
    // about 10 ms and misses at most a rare wider cell, which the operator can
    // widen by hand. Qt samples by default too; the number is fixed here so
    // the forms do not depend on that default.
    table->horizontalHeader()->setResizeContentsPrecision(500);
}

void showResult(mySqlQuery *query, QTableWidget *table, const QString &sql)
{
    mySqlQuery::emptyTable(table);
    query->setStatement(sql);
    query->fillTable(table);
    table->resizeColumnsToContents();
}

void openCurrentLease(formHost *host, QTableWidget *table)
{
    if (table->rowCount() == 0) {
        host->showStatus(QStringLiteral("没有可以查看的记录"), 2000);
        return;
    }
    const int row = table->currentRow();
    if (row < 0) {
        QMessageBox::information(table->window(), QStringLiteral("提示"), QStringLiteral("请选择需要查看的记录"));
        return;
    }
    QTableWidgetItem *cell = table->item(row, 0);
    host->openRegistration(cell ? cell->text() : QString());
}

} // namespace queryForm
