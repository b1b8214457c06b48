// A decade of a city office: every daily action timed with one year
// (100 000 registrations) and with ten years (1 000 000) in the tables, each
// beside the server-alone time of the same statements (its floor).
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_decade [--runs N] [--keep] [--reuse]
//
// It starts a server of its own in /tmp/zelnor-bench-decade, fills it with
// bulk INSERT … SELECT statements over MariaDB's sequence tables (this year
// first, then all ten years into fresh tables) and stops it at the end. The
// folder, about 1.5 GB, is removed unless --keep is given.
//
// After each fill it waits until the server has flushed and purged (see
// benchServer::settle()); every figure is the median of several runs, program and floor
// taking turns. The machine is shared, so the ratios (ten years against one,
// program against floor) say more than the milliseconds.
#include "frmSearchLease.h"
#include "frmViewLease.h"
#include "leaseQuery.h"
#include "leaseSql.h"
#include "mainWindow.h"
#include "myDatabase.h"
#include "objPrint.h"
#include "printLayout.h"
#include "../tests/recordFormDriver.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QApplication>
#include <QDateEdit>
#include <QElapsedTimer>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPrinter>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTableWidget>
#include <QTreeWidget>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <vector>

namespace {

const int perRegion = 50000;
// Every tenth house lies on this road, every thousandth in this lane; no
// other text contains either.
const QString road = QStringLiteral("和平路");
const QString lane = QStringLiteral("翠湖巷");

// The rows of the years first..last: two regions of 50 000 serials each per
// year, dates spread over the year, names, telephones and addresses drawn
// from small lists by a hash of the number, so every run has the same data.
// One statement per table; the caller wraps them in one transaction on empty
// tables, which lets InnoDB build each index by sorting instead of row by row.
QStringList fillStatements(int first, int last)
{
    const QString rows = QStringLiteral(
        "(SELECT '370102' region, 1 k UNION ALL SELECT '370103', 2) r JOIN seq_1_to_%1 s "
        "JOIN (SELECT seq y FROM seq_%2_to_%3) years")
                             .arg(perRegion).arg(first).arg(last);
    const QString surname = QStringLiteral(
        "ELT(1 + h % 40, '王','李','张','刘','陈','杨','黄','赵','吴','周','徐','孙','马','朱','胡','郭','何','高','林','罗',"
        "'郑','梁','谢','宋','唐','许','韩','冯','邓','曹','彭','曾','肖','田','董','袁','潘','于','蒋','蔡')");
    const QString given = QStringLiteral(
        "ELT(1 + h DIV 40 % 40, '伟','芳','娜','秀英','敏','静','丽','强','磊','军','洋','勇','艳','杰','娟','涛','明','超',"
        "'秀兰','霞','平','刚','桂英','华','玉兰','建华','建国','志强','海燕','晓东','文','斌','鹏','宇','浩','欣','婷','雪','琳','凯')");
    const QString district = QStringLiteral("ELT(1 + h % 5, '历下区','市中区','槐荫区','天桥区','历城区')");
    const QString street = QStringLiteral(
        "ELT(1 + h DIV 5 % 12, '经十路','解放路','泉城路','历山路','文化东路','山大路','花园路','工业南路','二环东路',"
        "'英雄山路','舜耕路','旅游路')");
    const QString mobile = QStringLiteral(
        "CONCAT(ELT(1 + h % 11, '130','133','135','136','138','139','150','151','158','186','189'), "
        "LPAD(h DIV 11 % 100000000, 8, '0'))");
    const QString idCard = QStringLiteral(
        "CONCAT('%1', 1950 + h % 50, LPAD(1 + h % 12, 2, '0'), LPAD(1 + h % 28, 2, '0'), LPAD(h % 10000, 4, '0'))");
    // A different multiplier per table, so a lessor's hash says nothing of the lessee's.
    auto numbered = [&](const QString &multiplier) {
        return QStringLiteral("(SELECT y, s.seq, CONCAT(r.region, y * 100000 + s.seq) n, "
                              "(s.seq * %1 + y * 40503 + r.k * 97) % 4294967291 h FROM ")
                   .arg(multiplier)
            + rows + QStringLiteral(") b");
    };
    return {
        QStringLiteral("INSERT INTO lease (地区,年度,编号,登记日期,有效日起,有效日止,收费金额) "
                       "SELECT region, y, seq, day, day, day + INTERVAL 1 YEAR - INTERVAL 1 DAY, 100 + 20 * (h % 11) "
                       "FROM (SELECT r.region, y, s.seq, MAKEDATE(y, 1) + INTERVAL (s.seq * 365 DIV %1) DAY day, "
                       "(s.seq * 2654435761 + y * 40503 + r.k * 97) % 4294967291 h FROM ")
            .arg(perRegion + 1)
            + rows + QStringLiteral(") b"),
        QStringLiteral("INSERT INTO leaseout (登记编号,出方名称,出方类别,出方证件号码,出方电话,出方地址,委托代理人) "
                       "SELECT n, IF(h % 8 = 0, ELT(1 + h DIV 8 % 5, '鲁信置业有限公司','泉城物业管理有限公司',"
                       "'历下商贸有限公司','华联房产经纪有限公司','齐鲁建设集团'), CONCAT(")
            + surname + QLatin1Char(',') + given + QStringLiteral(")), IF(h % 8 = 0, '单位', '个人'), ")
            + idCard.arg(QStringLiteral("370102")) + QStringLiteral(", IF(h % 5 = 0, CONCAT('0531-8', LPAD(h % 10000000, 7, '0')), ")
            + mobile + QStringLiteral("), CONCAT('济南市', ") + district + QLatin1Char(',') + street
            + QStringLiteral(", 1 + h % 300, '号'), IF(h % 6 = 0, '赵六', NULL) FROM ")
            + numbered(QStringLiteral("2654435761")),
        QStringLiteral("INSERT INTO leasein (登记编号,承方名称,承方证件号码,承方电话,户籍地址,居住人数) SELECT n, CONCAT(")
            + surname + QLatin1Char(',') + given + QStringLiteral("), ") + idCard.arg(QStringLiteral("370105"))
            + QStringLiteral(", ") + mobile + QStringLiteral(", CONCAT('山东省', ") + district
            + QStringLiteral(", '某村'), 1 + h % 5 FROM ") + numbered(QStringLiteral("2246822519")),
        QStringLiteral("INSERT INTO leasehouse (登记编号,房屋坐落,房产证号,建筑面积,月租金) SELECT n, CONCAT('济南市', ")
            + district + QStringLiteral(", CASE WHEN seq % 1000 = 0 THEN '") + lane
            + QStringLiteral("' WHEN seq % 10 = 0 THEN '") + road + QStringLiteral("' ELSE ") + street
            + QStringLiteral(" END, 1 + h % 300, '号', 1 + h % 20, '号楼', 1 + h % 4, '单元', 101 + h % 2000, '室'), "
                             "CONCAT('济房权证字第', LPAD(h % 10000000, 7, '0'), '号'), 40 + h % 120, 500 + 100 * (h % 30) FROM ")
            + numbered(QStringLiteral("3266489917")),
    };
}

bool run(const QString &sql)
{
    QSqlQuery query;
    if (query.exec(sql))
        return true;
    std::fprintf(stderr, "statement failed: %s\n  %s\n", qPrintable(sql.left(300)),
                 qPrintable(query.lastError().text()));
    return false;
}

// Fresh tables holding the years first..last; milliseconds taken.
qint64 fill(int first, int last)
{
    QElapsedTimer timer;
    timer.start();
    testSupport::resetDatabase();
    if (!run(QStringLiteral("SET unique_checks=0, foreign_key_checks=0")) || !run(QStringLiteral("BEGIN")))
        return -1;
    for (const QString &sql : fillStatements(first, last))
        if (!run(sql))
            return -1;
    if (!run(QStringLiteral("COMMIT")) || !run(QStringLiteral("SET unique_checks=1, foreign_key_checks=1")))
        return -1;
    return timer.elapsed();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n == 0 ? 0 : (n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

// Milliseconds of one call.
double timed(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

// One run of an action and of its floor, the floor first on even runs and
// second on odd ones: whatever drifts on the machine (other work, the
// server's background threads) then falls on both alike, and neither always
// finds the caches as the other left them.
void interleaved(int run, const std::function<void()> &floor, const std::function<void()> &program)
{
    if (run % 2 == 0) {
        floor();
        program();
    } else {
        program();
        floor();
    }
}

// The server's share: the statement executed and every value fetched
// through the driver, nothing else. Returns the rows read.
int fetchAll(const QString &sql)
{
    QSqlQuery query;
    query.setForwardOnly(true);
    if (!query.exec(sql)) {
        std::fprintf(stderr, "statement failed: %s\n", qPrintable(query.lastError().text()));
        return -1;
    }
    const int columns = query.record().count();
    int rows = 0;
    while (query.next()) {
        for (int c = 0; c < columns; ++c)
            query.value(c);
        ++rows;
    }
    return rows;
}

// The layout of a real certificate: 20 items, one statement each.
void saveCertificate()
{
    printLayout layout;
    layout.paper = QStringLiteral("A5");
    const QStringList expressions = {
        "leaseout.登记编号", "出方名称", "出方证件号码", "出方电话", "出方地址", "承方名称", "承方证件号码",
        "承方电话", "户籍地址", "房屋坐落", "房产证号", "房屋用途", "建筑面积", "月租金", "年度",
        "收费金额", "登记日期", "有效日起", "有效日止", "委托代理人"};
    for (int i = 0; i < expressions.size(); ++i) {
        printItem item;
        item.expression = expressions.at(i);
        item.font = QFont(QStringLiteral("WenQuanYi Zen Hei"), 11);
        item.hasFont = true;
        item.position = QStringLiteral("%1,%2").arg(40 + (i % 2) * 300).arg(40 + (i / 2) * 30);
        item.size = QStringLiteral("280,24");
        item.alignment = QStringLiteral("居左");
        item.conversion = expressions.at(i) == QLatin1String("收费金额") ? QStringLiteral("金额大写")
                                                                          : QStringLiteral("无");
        layout.items.append(item);
    }
    layout.save();
}

struct figure {
    double program = 0;
    double floor = 0;
    int rows = 0;
};

// One action's figures at one year [0] and at ten years [1].
struct resultRow {
    QString action;
    figure at[2];
};
std::vector<resultRow> results;

figure &slot(const QString &action, int stage)
{
    for (resultRow &r : results)
        if (r.action == action)
            return r.at[stage];
    results.push_back({action, {}});
    return results.back().at[stage];
}

void record(const QString &action, int stage, double program, double floor, int rows)
{
    figure &f = slot(action, stage);
    f.program = program;
    f.floor = floor;
    f.rows = rows;
    std::printf("  %-42s %9.2f ms  floor %9.2f ms  %7d rows\n", qPrintable(action), program, floor, rows);
    std::fflush(stdout);
}

template <typename Form>
Form *open(mainWindow *window, void (mainWindow::*slotOf)())
{
    (window->*slotOf)();
    return qobject_cast<Form *>(window->mdiArea()->activeSubWindow()->widget());
}

void measure(int stage, int runs, int year)
{
    std::unique_ptr<mainWindow> window(testSupport::login());
    if (window->operatorName().isEmpty()) {
        std::fprintf(stderr, "login failed\n");
        std::exit(1);
    }
    modalWatcher watcher;
    const QDate first(year, 1, 1), last(year, 12, 31), decadeStart(year - 9, 1, 1);

    // Load by number, as every keystroke in the number field does. Numbers
    // spread over the year so no single page stays hot by chance.
    {
        frmRegisterLease *form = recordForm::open(window.get());
        QStringList numbers;
        for (int i = 0; i < 20; ++i)
            numbers << QStringLiteral("370103") + QString::number(year * 100000 + 1 + i * 2477);
        const QStringList parties = {"leaseout", "leasein", "leasehouse"};
        std::vector<double> program, floor, typing, typingFloor;
        for (int r = 0; r < runs; ++r) {
            program.push_back(timed([&] {
                for (const QString &n : numbers)
                    form->slotEditLinDJBH(n);
            }) / numbers.size());
            floor.push_back(timed([&] {
                for (const QString &n : numbers) {
                    fetchAll(QStringLiteral("SELECT 登记日期,有效日起,有效日止,收费金额 FROM lease WHERE ")
                             + leaseSql::numberIs(n));
                    for (const QString &t : parties)
                        fetchAll(QStringLiteral("SELECT * FROM ") + t + QStringLiteral(" WHERE 登记编号='") + n
                                 + QLatin1Char('\''));
                }
            }) / numbers.size());
            // The keystrokes before the last digit: 14 digits find nothing.
            typing.push_back(timed([&] {
                for (const QString &n : numbers)
                    form->slotEditLinDJBH(n.left(14));
            }) / numbers.size());
            typingFloor.push_back(timed([&] {
                for (const QString &n : numbers)
                    fetchAll(QStringLiteral("SELECT 登记日期,有效日起,有效日止,收费金额 FROM lease WHERE ")
                             + leaseSql::numberIs(n.left(14)));
            }) / numbers.size());
        }
        if (form->numberEdit()->text() != numbers.last())
            std::fprintf(stderr, "the last number did not load\n");
        record(QStringLiteral("load a registration by number"), stage, median(program), median(floor), 1);
        record(QStringLiteral("keystroke: 14 digits typed"), stage, median(typing), median(typingFloor), 0);
        // What the lookup cost before the key conditions, server alone.
        std::vector<double> old;
        for (int r = 0; r < std::min(runs, 3); ++r)
            old.push_back(timed([&] {
                fetchAll(QStringLiteral("SELECT 登记日期,有效日起,有效日止,收费金额 FROM lease WHERE ")
                         + leaseSql::numberExpr() + QStringLiteral("='") + numbers.first() + QLatin1Char('\''));
            }));
        record(QStringLiteral("  (lookup without key conditions, server)"), stage, median(old), median(old), 1);
        form->parentWidget()->close();
    }

    // One certificate, 20 items, to a PDF.
    {
        saveCertificate();
        QTemporaryDir scratch;
        objPrint::setPdfOutputForTests(scratch.filePath(QStringLiteral("page.pdf")));
        const printLayout layout = printLayout::load();
        const QString number = QStringLiteral("370102") + QString::number(year * 100000 + 31415);
        // The floor is the same page made by the server and a minimal Qt
        // program: the 20 statements, then their texts painted into a PDF.
        // Qt's PDF writer alone (font subsetting, compression) costs several
        // milliseconds, so the statements are also reported on their own.
        std::vector<double> program, floor, statements;
        for (int r = 0; r < runs; ++r)
            interleaved(r, [&] {
                QElapsedTimer timer;
                timer.start();
                QStringList texts;
                for (const printItem &item : layout.items) {
                    QSqlQuery query;
                    query.exec(QStringLiteral("SELECT ") + item.expression + QLatin1Char(' ')
                               + leaseSql::joinedView() + QStringLiteral(" AND leaseout.登记编号='") + number
                               + QStringLiteral("' AND ") + leaseSql::numberKey(number));
                    texts << (query.next() ? query.value(0).toString() : QString());
                }
                statements.push_back(double(timer.nsecsElapsed()) / 1e6);
                // The program's printer: high resolution, the page from the
                // paper's corner, boxes at 96 units an inch from the margins.
                QPrinter printer(QPrinter::HighResolution);
                printer.setOutputFormat(QPrinter::PdfFormat);
                printer.setOutputFileName(scratch.filePath(QStringLiteral("floor.pdf")));
                printer.setPageLayout(QPageLayout(QPageSize(printLayout::pageSizeOf(layout.paper)),
                                                  QPageLayout::Landscape, QMarginsF(), QPageLayout::Point));
                QPainter painter(&printer);
                const double unit = printer.resolution() / 96.0;
                const double margin = layout.leftMargin.toInt() * 96 / 72.0; // the same on top
                for (int i = 0; i < layout.items.size(); ++i) {
                    const printItem &item = layout.items.at(i);
                    const QPoint at = printLayout::pairOf(item.position);
                    const QPoint extent = printLayout::pairOf(item.size);
                    painter.setFont(item.font);
                    painter.drawText(QRectF((margin + at.x()) * unit, (margin + at.y()) * unit, extent.x() * unit,
                                            extent.y() * unit),
                                     int(printLayout::alignmentOf(item.alignment)), texts.at(i));
                }
                painter.end();
                floor.push_back(double(timer.nsecsElapsed()) / 1e6);
            }, [&] {
                program.push_back(timed([&] {
                    objPrint job{myDatabase()};
                    job.setPrintNumber(number);
                    job.printRecord();
                }));
            });
        objPrint::setPdfOutputForTests(QString());
        record(QStringLiteral("print one certificate (20 items)"), stage, median(program), median(floor), 1);
        record(QStringLiteral("  (its 20 statements alone, server)"), stage, median(statements),
               median(statements), 1);
    }

    // Browse one year, eight fields: the click to a filled table.
    {
        auto *view = open<frmViewLease>(window.get(), &mainWindow::slotViewLease);
        const QStringList eight = {"登记编号", "登记日期", "收费金额", "出方名称", "出方电话", "承方名称", "承方电话", "房屋坐落"};
        QTreeWidget *tree = view->fieldTree();
        for (int t = 0; t < tree->topLevelItemCount(); ++t) {
            QTreeWidgetItem *top = tree->topLevelItem(t);
            top->setCheckState(0, Qt::Unchecked);
            for (int c = 0; c < top->childCount(); ++c)
                if (eight.contains(top->child(c)->text(0)))
                    top->child(c)->setCheckState(0, Qt::Checked);
        }
        view->fromDateEdit()->setDate(first);
        view->toDateEdit()->setDate(last);
        const QString sql = leaseQuery::browse(view->checkedFields(), first, last);
        std::vector<double> program, floor;
        int rows = 0;
        for (int r = 0; r < runs; ++r)
            interleaved(r, [&] { floor.push_back(timed([&] { rows = fetchAll(sql); })); }, [&] {
                program.push_back(timed([&] { view->viewButton()->click(); }));
                QApplication::processEvents();
            });
        if (view->resultTable()->rowCount() != rows)
            std::fprintf(stderr, "browse showed %d rows, the statement gives %d\n", view->resultTable()->rowCount(),
                         rows);
        record(QStringLiteral("browse one year, 8 fields"), stage, median(program), median(floor), rows);
        view->parentWidget()->close();
    }

    // Keyword search: this year (the form's default range) and all years.
    {
        auto *search = open<frmSearchLease>(window.get(), &mainWindow::slotSearchLease);
        struct searchCase {
            QString name, keyword;
            QDate from;
            int runs;
        };
        const QList<searchCase> cases = {
            {QStringLiteral("search \"和平路\", this year"), road, first, runs},
            {QStringLiteral("search \"翠湖巷\", this year"), lane, first, runs},
            {QStringLiteral("search \"翠湖巷\", all years"), lane, decadeStart, std::min(runs, 3)},
            {QStringLiteral("search \"和平路\", all years"), road, decadeStart, std::min(runs, 3)},
        };
        for (const searchCase &c : cases) {
            search->keywordEdit()->setText(c.keyword);
            search->fromDateEdit()->setDate(c.from);
            search->toDateEdit()->setDate(last);
            const QString sql = leaseQuery::search(c.keyword, c.from, last);
            std::vector<double> program, floor;
            int rows = 0;
            for (int r = 0; r < c.runs; ++r)
                interleaved(r, [&] { floor.push_back(timed([&] { rows = fetchAll(sql); })); }, [&] {
                    program.push_back(timed([&] { search->searchButton()->click(); }));
                    QApplication::processEvents();
                });
            if (search->resultTable()->rowCount() != rows)
                std::fprintf(stderr, "search showed %d rows, the statement gives %d\n",
                             search->resultTable()->rowCount(), rows);
            record(c.name, stage, median(program), median(floor), rows);
        }
        search->parentWidget()->close();
    }
    if (!watcher.boxes.isEmpty())
        std::fprintf(stderr, "a message box appeared: %s\n", qPrintable(watcher.lastText()));
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runIndex = args.indexOf(QStringLiteral("--runs"));
    const int runs = runIndex > 0 && runIndex + 1 < args.size() ? std::max(1, args.at(runIndex + 1).toInt()) : 5;
    testSupport::benchServer server(QStringLiteral("decade"), !args.contains(QStringLiteral("--keep")));
    if (!server.isUp())
        return 1;
    const int year = QDate::currentDate().year();

    // --reuse (with --keep on the run before): ten years already loaded, so
    // only that stage is measured again; for looking at one change quickly.
    const bool reuse = args.contains(QStringLiteral("--reuse")) && testSupport::connectAsRoot(QStringLiteral("zelnor"))
        && testSupport::count(QStringLiteral("lease")) == 20 * perRegion;
    const char *stages[] = {"one year (100 000 registrations)", "ten years (1 000 000 registrations)"};
    for (int stage = reuse ? 1 : 0; stage < 2; ++stage) {
        const qint64 ms = reuse ? 0 : fill(stage == 0 ? year : year - 9, year);
        if (ms < 0)
            return 1;
        std::printf("%s: %s in %.1f s (%d registrations)\n", stages[stage], reuse ? "kept" : "filled", ms / 1000.0,
                    testSupport::count(QStringLiteral("lease")));
        std::fflush(stdout);
        const qint64 settled = server.settle();
        std::printf("  server quiet after %.1f s (no dirty page, no purge backlog)\n", settled / 1000.0);
        std::fflush(stdout);
        measure(stage, runs, year);
    }

    std::printf("\nmedians of %d runs (all-years searches: of %d)\n", runs, std::min(runs, 3));
    std::printf("%-42s %10s %10s %8s   %10s %10s %8s\n", "action", "1 year ms", "10 yrs ms", "10y/1y",
                "floor 10y", "prog/floor", "");
    for (const resultRow &r : results) {
        const figure &one = r.at[0], &ten = r.at[1];
        std::printf("%-42s %10.2f %10.2f %7.2fx   %10.2f %9.2fx\n", qPrintable(r.action), one.program, ten.program,
                    one.program > 0 ? ten.program / one.program : 0, ten.floor,
                    ten.floor > 0 ? ten.program / ten.floor : 0);
    }
    return 0;
}
