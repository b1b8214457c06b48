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

namespace {

const int perRegion = 50000; // two districts, so serials stay within 5 digits
const QStringList regions = {QStringLiteral("370102"), QStringLiteral("370103")};
const int year = 2026;
const int batch = 1000;
// Exactly every tenth house lies on this road; no other text contains it.
const QString searchRoad = QStringLiteral("和平路");

// A small deterministic generator: the same data on every run.
struct generator {
    quint32 state = 20260101u;
    quint32 next()
    {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    }
    int below(int n) { return int(next() % quint32(n)); }
    QString pick(const QStringList &list) { return list.at(below(list.size())); }
    QString digits(int count)
    {
        QString text;
        for (int i = 0; i < count; ++i)
            text += QChar('0' + below(10));
        return text;
    }
};

const QStringList surnames = QString::fromUtf8(
    "王 李 张 刘 陈 杨 黄 赵 吴 周 徐 孙 马 朱 胡 郭 何 高 林 罗 郑 梁 谢 宋 唐 许 韩 冯 邓 曹 彭 曾 肖 田 董 袁 潘 于 蒋 蔡")
                                 .split(QLatin1Char(' '));
const QStringList given = QString::fromUtf8(
    "伟 芳 娜 秀英 敏 静 丽 强 磊 军 洋 勇 艳 杰 娟 涛 明 超 秀兰 霞 平 刚 桂英 华 玉兰 建华 建国 志强 海燕 晓东 文 斌 鹏 宇 浩 欣 婷 雪 琳 凯")
                              .split(QLatin1Char(' '));
const QStringList companies = QString::fromUtf8(
    "鲁信置业有限公司 泉城物业管理有限公司 历下商贸有限公司 华联房产经纪有限公司 齐鲁建设集团")
                                  .split(QLatin1Char(' '));
const QStringList districts = QString::fromUtf8("历下区 市中区 槐荫区 天桥区 历城区").split(QLatin1Char(' '));
const QStringList roads = QString::fromUtf8(
    "经十路 解放路 泉城路 历山路 文化东路 山大路 花园路 工业南路 二环东路 英雄山路 舜耕路 旅游路")
                              .split(QLatin1Char(' '));

QString personName(generator &g)
{
    return g.pick(surnames) + g.pick(given);
}

QString mobile(generator &g)
{
    static const QStringList prefixes = {"130", "133", "135", "136", "138", "139", "150", "151", "158", "186", "189"};
    return g.pick(prefixes) + g.digits(8);
}

QString idNumber(generator &g)
{
    return QStringLiteral("3701") + g.digits(2) + QStringLiteral("19") + QString::number(50 + g.below(50))
        + QStringLiteral("%1%2").arg(1 + g.below(12), 2, 10, QChar('0')).arg(1 + g.below(28), 2, 10, QChar('0'))
        + g.digits(4);
}

QString address(generator &g, const QString &road)
{
    return QStringLiteral("济南市") + g.pick(districts) + road + QString::number(1 + g.below(300))
        + QStringLiteral("号") + QString::number(1 + g.below(20)) + QStringLiteral("号楼")
        + QString::number(1 + g.below(4)) + QStringLiteral("单元") + QString::number(101 + g.below(20) * 100 + g.below(4))
        + QStringLiteral("室");
}

QString q(const QString &text)
{
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

bool run(const QString &sql)
{
    QSqlQuery query;
    if (query.exec(sql))
        return true;
    std::fprintf(stderr, "statement failed: %s\n", qPrintable(sql.left(200)));
    return false;
}

// Multi-row INSERTs of one batch per table, the whole load in one
// transaction: one round trip per thousand rows instead of per row.
bool load()
{
    generator g;
    QSqlDatabase db = QSqlDatabase::database();
    db.transaction();
    int row = 0;
    const QDate first(year, 1, 1);
    for (const QString &region : regions) {
        for (int start = 1; start <= perRegion; start += batch) {
            QStringList lease, out, in, house;
            for (int serial = start; serial < start + batch && serial <= perRegion; ++serial, ++row) {
                const QString number = region + QString::number(year * 100000 + serial);
                const QDate date = first.addDays(serial * 365 / (perRegion + 1));
                lease << QStringLiteral("(%1,%2,%3,'%4','%4','%5',%6)")
                             .arg(q(region))
                             .arg(year)
                             .arg(serial)
                             .arg(date.toString(Qt::ISODate), date.addYears(1).addDays(-1).toString(Qt::ISODate))
                             .arg(100 + 20 * g.below(11));
                const bool company = g.below(8) == 0;
                out << QStringLiteral("(%1,%2,%3,%4,%5,%6,%7)")
                           .arg(q(number), q(company ? g.pick(companies) : personName(g)),
                                q(company ? QStringLiteral("单位") : QStringLiteral("个人")), q(idNumber(g)),
                                q(g.below(5) ? mobile(g) : QStringLiteral("0531-8") + g.digits(7)),
                                q(address(g, g.pick(roads))), q(g.below(6) ? QString() : personName(g)));
                in << QStringLiteral("(%1,%2,%3,%4,%5,%6)")
                          .arg(q(number), q(personName(g)), q(idNumber(g)), q(mobile(g)),
                               q(QStringLiteral("山东省") + g.pick(districts) + QStringLiteral("某村")),
                               QString::number(1 + g.below(5)));
                house << QStringLiteral("(%1,%2,%3,%4,%5)")
                             .arg(q(number), q(address(g, row % 10 == 0 ? searchRoad : g.pick(roads))),
                                  q(QStringLiteral("济房权证字第") + g.digits(7) + QStringLiteral("号")))
                             .arg(40 + g.below(120))
                             .arg(500 + 100 * g.below(30));
            }
            if (!run(QStringLiteral("INSERT INTO lease (地区,年度,编号,登记日期,有效日起,有效日止,收费金额) VALUES ")
                     + lease.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leaseout (登记编号,出方名称,出方类别,出方证件号码,出方电话,出方地址,委托代理人) VALUES ")
                        + out.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leasein (登记编号,承方名称,承方证件号码,承方电话,户籍地址,居住人数) VALUES ")
                        + in.join(QLatin1Char(',')))
                || !run(QStringLiteral("INSERT INTO leasehouse (登记编号,房屋坐落,房产证号,建筑面积,月租金) VALUES ")
                        + house.join(QLatin1Char(',')))) {
                db.rollback();
                return false;
            }
        }
    }
    return db.commit();
}

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
