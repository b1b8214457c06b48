// Statements a record form sends to the server to load and to save one
// registration when the party tables carry 30 fields in all, counted with the
// session's Questions status counter on the real server.
//
//   build/bench/bench_registerStatements
// (on a server of its own in /tmp/zelnor-bench-registerStatements)
#include "../tests/recordFormDriver.h"
#include "myDatabase.h"
#include "myTools.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <cstdio>
#include <functional>
#include <memory>

static const int partyFields = 30;
static const int repetitions = 20;

static qlonglong questions()
{
    QSqlQuery query;
    query.exec(QStringLiteral("SHOW SESSION STATUS LIKE 'Questions'"));
    return query.next() ? query.value(1).toLongLong() : -1;
}

static int fieldCount()
{
    int fields = 0;
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        for (const columnInfo &c : myTools::showColumns(myDatabase(), QString::fromLatin1(table)))
            fields += c.field != QStringLiteral("登记编号") && myTools::kindOf(c.type) != columnKind::None;
    return fields;
}

// Widens the party tables of the data model to the measured number of fields.
static void widenPartyTables()
{
    const char *tables[] = {"leaseout", "leasein", "leasehouse"};
    for (int i = 0; fieldCount() < partyFields; ++i)
        testSupport::exec(QStringLiteral("ALTER TABLE %1 ADD 附加项目%2 varchar(40)")
                              .arg(QString::fromLatin1(tables[i % 3]))
                              .arg(i + 1));
}

struct measurement {
    qlonglong statements;
    double milliseconds;
};

// The counter's own status query is counted too; measuring an empty step
// first gives that overhead, whatever the server counts for it.
static measurement measure(const std::function<void()> &step, const std::function<void()> &prepare = {})
{
    static const qlonglong overhead = [] {
        const qlonglong before = questions();
        return questions() - before;
    }();
    qlonglong statements = 0;
    qint64 nanoseconds = 0;
    for (int i = 0; i < repetitions; ++i) {
        if (prepare)
            prepare();
        QElapsedTimer timer;
        const qlonglong before = questions();
        timer.start();
        step();
        nanoseconds += timer.nsecsElapsed();
        const qlonglong used = questions() - before - overhead;
        if (i > 0 && used != statements)
            std::printf("  (repetition %d sent %lld statements, first sent %lld)\n", i + 1, used, statements);
        statements = used;
    }
    return {statements, nanoseconds / 1e6 / repetitions};
}

static void report(const char *what, const measurement &m)
{
    // Figures first: Chinese names would skew a padded first column.
    std::printf("%6lld %8.2f  %s\n", m.statements, m.milliseconds, what);
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("registerStatements"));
    if (!server.isUp())
        return 1;
    testSupport::resetDatabase();
    widenPartyTables();

    const QString year = QString::number(QDate::currentDate().year());
    const QString number = QStringLiteral("000000") + year + QStringLiteral("00001");
    testSupport::insertLease({number, year + QStringLiteral("-03-02"), 120, QStringLiteral("张伟"),
                              QStringLiteral("13812345678"), QStringLiteral("李娜"), QStringLiteral("0571-87654321"),
                              QStringLiteral("城关镇人民路12号")});

    std::unique_ptr<mainWindow> window(testSupport::login());
    if (window->operatorName().isEmpty()) {
        std::fprintf(stderr, "login failed\n");
        return 1;
    }
    modalWatcher watcher;
    frmRegisterLease *form = recordForm::open(window.get());

    std::printf("party fields on the form: %d, repetitions: %d\n\n", fieldCount(), repetitions);
    std::printf("%6s %8s  %s\n", "stmts", "ms/op", "operation");

    form->setLoadStrategy(frmRegisterLease::loadStrategy::PerField);
    report("load, one statement per field", measure([&] { form->loadRecord(number); }));
    form->setLoadStrategy(frmRegisterLease::loadStrategy::PerTable);
    report("load, one statement per party table", measure([&] { form->loadRecord(number); }));

    report("增加 (propose the next number)", measure([&] {
               recordForm::click(form, QStringLiteral("增加(&A)"));
           }, [&] { recordForm::click(form, QStringLiteral("放弃(&N)")); }));
    report("确定 in mode 增加 (save a new registration)", measure([&] {
               recordForm::click(form, QStringLiteral("确定(&Y)"));
           }, [&] {
               recordForm::click(form, QStringLiteral("增加(&A)"));
               recordForm::fillRequired(form);
           }));
    report("确定 in mode 修改 (save a change)", measure([&] {
               recordForm::click(form, QStringLiteral("确定(&Y)"));
           }, [&] {
               recordForm::show(form, number);
               recordForm::click(form, QStringLiteral("修改(&M)"));
           }));

    std::printf("\nregistrations saved: %d, message boxes: %d\n", testSupport::count(QStringLiteral("lease")),
                int(watcher.boxes.size()));
    return watcher.boxes.isEmpty() ? 0 : 1;
}
