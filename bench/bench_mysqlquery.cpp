// Fills a table widget from 20 000, 50 000 and 100 000-row, 8-column results
// with the query helper, and compares with inserting every row at the top one
// by one (the naive way to get the same reversed order).
//
// Runs on a server of its own (/tmp/zelnor-bench-mysqlquery), started and
// stopped here:
//   QT_QPA_PLATFORM=offscreen build/bench/bench_mysqlquery
#include "mySqlQuery.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTableWidget>
#include <QTextStream>
#include <cstdio>

static bool run(const QString &sql)
{
    QSqlQuery q;
    if (q.exec(sql))
        return true;
    fprintf(stderr, "%s\n%s\n", qPrintable(sql), qPrintable(q.lastError().text()));
    return false;
}

static const char *const columns =
    "CONCAT('330102',2026*100000+n) AS 登记编号, DATE_ADD('2026-01-01', INTERVAL n MOD 365 DAY) AS 登记日期, "
    "n*7 MOD 1000 + 100 AS 收费金额, CONCAT('出租人',n) AS 出方名称, CONCAT('138',LPAD(n,8,'0')) AS 出方电话, "
    "CONCAT('承租人',n) AS 承方名称, CONCAT('139',LPAD(n,8,'0')) AS 承方电话, "
    "CONCAT('城关镇解放路',n MOD 500,'号') AS 房屋坐落";

// The obvious way to show rows in reverse: each at the top as it arrives.
static void fillTopInsertion(QTableWidget *table, const QString &sql)
{
    QSqlQuery q;
    q.setForwardOnly(true);
    q.exec(sql);
    const int n = q.record().count();
    table->setColumnCount(n);
    while (q.next()) {
        table->insertRow(0);
        for (int c = 0; c < n; ++c) {
            auto *item = new QTableWidgetItem;
            item->setData(Qt::DisplayRole, q.value(c).toString());
            table->setItem(0, c, item);
        }
    }
}

static double timeHelper(int rows)
{
    QTableWidget table;
    table.show();
    mySqlQuery helper{myDatabase()};
    helper.setStatement(QStringLiteral("SELECT %1 FROM seq WHERE n<=%2 ORDER BY n DESC").arg(columns).arg(rows));
    QElapsedTimer t;
    t.start();
    helper.fillTable(&table);
    QApplication::processEvents();
    const double s = t.nsecsElapsed() / 1e9;
    if (table.rowCount() != rows)
        fprintf(stderr, "helper filled %d rows, expected %d\n", table.rowCount(), rows);
    return s;
}

static double timeTopInsertion(int rows)
{
    QTableWidget table;
    table.show();
    QElapsedTimer t;
    t.start();
    fillTopInsertion(&table, QStringLiteral("SELECT %1 FROM seq WHERE n<=%2 ORDER BY n DESC").arg(columns).arg(rows));
    QApplication::processEvents();
    return t.nsecsElapsed() / 1e9;
}

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("mysqlquery"));
    if (!server.isUp() || !testSupport::connectAsRoot())
        return 1;
    if (!run("CREATE DATABASE IF NOT EXISTS zelnor_bench") || !run("USE zelnor_bench")
        || !run("CREATE TABLE IF NOT EXISTS seq (n int PRIMARY KEY)"))
        return 1;
    // 100 000 numbers from MariaDB's sequence engine.
    QSqlQuery count(QStringLiteral("SELECT COUNT(*) FROM seq"));
    if (!count.next() || count.value(0).toInt() != 100000) {
        run("TRUNCATE seq");
        if (!run("INSERT seq SELECT seq FROM seq_1_to_100000"))
            return 1;
    }

    QTextStream out(stdout);
    out << "rows      helper (s)  top-insertion (s)  ratio\n";
    for (int rows : {20000, 50000, 100000}) {
        const double helper = timeHelper(rows);
        const double naive = timeTopInsertion(rows);
        out << QStringLiteral("%1  %2      %3             %4x\n")
                   .arg(rows, 6).arg(helper, 0, 'f', 3).arg(naive, 0, 'f', 3).arg(naive / helper, 0, 'f', 1);
        out.flush();
    }
    run("DROP DATABASE zelnor_bench");
    return 0;
}
