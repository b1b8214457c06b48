// Scale check of browse and search: loads 100 000 registrations of one year
// into the server the environment points at, then times the real forms from
// the button click to a filled table, with the phases measured apart so the
// time can be placed. Prints the process's peak memory at the end.
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_browse
//
// It runs on a server of its own in /tmp/zelnor-bench-browse, started and
// stopped here. Its database zelnor is dropped and created anew; with
// --reuse a database already holding the generated year is kept, which
// makes repeated runs under a profiler quick.
#include "csvExport.h"
#include "frmSearchLease.h"
#include "frmViewLease.h"
#include "leaseQuery.h"
#include "mainWindow.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QApplication>
#include <QDateEdit>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>
#include <QTableWidget>
#include <QTreeWidget>
#include <cstdio>
#include <sys/resource.h>

#include "leaseGenerator.h"

using namespace leaseGenerator;

namespace {

long peakKb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

template <typename Form>
Form *open(mainWindow *window, void (mainWindow::*slot)())
{
    (window->*slot)();
    return qobject_cast<Form *>(window->mdiArea()->activeSubWindow()->widget());
}

// CPU milliseconds this process has used: the wall time below also holds
// the server's work and whatever else the machine is running.
qint64 cpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000
        + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
}

// Milliseconds of one click, and of the click plus the repaint it causes.
void timeClick(const char *what, QPushButton *button, QTableWidget *table)
{
    QElapsedTimer timer;
    const qint64 cpu = cpuMs();
    timer.start();
    button->click();
    const qint64 filled = timer.elapsed();
    QApplication::processEvents();
    const qint64 painted = timer.elapsed();
    std::printf("%-34s %7d rows  %6lld ms to filled table, %6lld ms with repaint (client CPU %lld ms)\n", what,
                table->rowCount(), filled, painted, cpuMs() - cpu);
    // The helper reports nothing when the statement fails; say so here
    // rather than time an empty table unnoticed.
    if (table->columnCount() == 0)
        std::printf("  the statement failed: %s\n", qPrintable(QSqlDatabase::database().lastError().text()));
}

// The server's share: the statement executed and every value fetched,
// without any table.
void timeFetch(const char *what, const QString &sql)
{
    QElapsedTimer timer;
    timer.start();
    QSqlQuery query;
    query.setForwardOnly(true);
    if (!query.exec(sql))
        std::printf("  the statement failed: %s\n", qPrintable(query.lastError().text()));
    int rows = 0;
    const int columns = query.record().count();
    while (query.next()) {
        for (int c = 0; c < columns; ++c)
            query.value(c);
        ++rows;
    }
    std::printf("%-34s %7d rows  %6lld ms\n", what, rows, timer.elapsed());
}

} // namespace

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("browse"));
    if (!server.isUp())
        return 1;

    QElapsedTimer timer;
    timer.start();
    const bool reuse = app.arguments().contains(QStringLiteral("--reuse"))
        && testSupport::connectAsRoot(QStringLiteral("zelnor"))
        && testSupport::count(QStringLiteral("lease")) == perRegion * int(regions.size());
    if (!reuse) {
        testSupport::resetDatabase();
        if (!load())
            return 1;
    }
    std::printf("%s %d registrations of %d in %lld ms (peak %ld MB so far)\n", reuse ? "kept" : "loaded",
                perRegion * int(regions.size()), year, timer.elapsed(), peakKb() / 1024);

    mainWindow *window = testSupport::login();
    if (!window->workDate().isValid()) {
        std::fprintf(stderr, "login failed\n");
        return 1;
    }

    auto *view = open<frmViewLease>(window, &mainWindow::slotViewLease);
    const QStringList eight = {"登记编号", "登记日期", "收费金额", "出方名称", "出方电话", "承方名称", "承方电话", "房屋坐落"};
    QTreeWidget *tree = view->fieldTree();
    for (int t = 0; t < tree->topLevelItemCount(); ++t) {
        QTreeWidgetItem *top = tree->topLevelItem(t);
        top->setCheckState(0, Qt::Unchecked);
        for (int c = 0; c < top->childCount(); ++c) {
            if (eight.contains(top->child(c)->text(0)))
                top->child(c)->setCheckState(0, Qt::Checked);
        }
    }
    view->fromDateEdit()->setDate(QDate(year, 1, 1));
    view->toDateEdit()->setDate(QDate(year, 12, 31));
    timeFetch("browse, fetch only",
              leaseQuery::browse(view->checkedFields(), QDate(year, 1, 1), QDate(year, 12, 31)));
    timeClick("browse 8 fields, whole year", view->viewButton(), view->resultTable());
    timeClick("browse again (old rows dropped)", view->viewButton(), view->resultTable());
    // Column fitting as the forms do it (a sample of rows), and what
    // measuring every row would cost instead.
    QTableWidget *table = view->resultTable();
    timer.restart();
    table->resizeColumnsToContents();
    std::printf("%-34s %7s       %6lld ms\n", "  of which column fitting", "", timer.elapsed());
    const int precision = table->horizontalHeader()->resizeContentsPrecision();
    table->horizontalHeader()->setResizeContentsPrecision(-1);
    timer.restart();
    table->resizeColumnsToContents();
    std::printf("%-34s %7s       %6lld ms\n", "  column fitting over every row", "", timer.elapsed());
    table->horizontalHeader()->setResizeContentsPrecision(precision);

    // Export of the whole year, as the export button writes it.
    QTemporaryDir dir;
    timer.restart();
    const bool written = csvExport::write(table->model(), dir.filePath(QStringLiteral("mydata.csv")));
    std::printf("%-34s %7d rows  %6lld ms, %lld bytes%s\n", "export to CSV (GB18030)", table->rowCount(),
                timer.elapsed(), QFileInfo(dir.filePath(QStringLiteral("mydata.csv"))).size(),
                written ? "" : " (failed)");

    auto *search = open<frmSearchLease>(window, &mainWindow::slotSearchLease);
    search->fromDateEdit()->setDate(QDate(year, 1, 1));
    search->toDateEdit()->setDate(QDate(year, 12, 31));
    search->keywordEdit()->setText(searchRoad);
    timeFetch("search, fetch only", leaseQuery::search(searchRoad, QDate(year, 1, 1), QDate(year, 12, 31)));
    timeClick("search \"和平路\"", search->searchButton(), search->resultTable());
    search->keywordEdit()->setText(QStringLiteral("0"));
    timeClick("search \"0\" (number suffix)", search->searchButton(), search->resultTable());

    std::printf("peak memory (ru_maxrss): %ld MB\n", peakKb() / 1024);
    delete window;
    return 0;
}
