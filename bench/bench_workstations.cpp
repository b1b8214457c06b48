// Several clerks registering leases at once on one server, each in a process
// of its own that drives the real main window and record form: 增加, the
// fields filled, 1.5 s of typing with the event loop running, 确定. One
// careless clerk leaves 承方名称 empty in every third registration, fills it
// in when the form refuses it and presses 确定 again. A number taken by
// another workstation is replaced by the next free one with all that was
// typed kept, so he presses again as often as that happens. After any other
// refusal a clerk presses 确定 once more without retyping; when that does
// not save either, or the form lost what he typed, he would have had to
// start over (放弃, 增加, type it all again): that is counted as retyping.
//
// The floor is the same statements (composed with registrationSql, as the
// form composes them; checked once to store the same rows) sent by a plain
// client, QSqlQuery in a transaction on a connection of its own, from as many
// processes at the same pacing, measured in the same run. Save time is the
// 确定 click to its return (the transaction's start to its commit for the
// floor), for the presses that saved.
//
// Then the kill round: with the clerks saving, the server is killed -9 right
// after a burst of confirmations and started again with scripts/local-server
// start; every number a clerk saw confirmed must be there, with what he typed.
// Last, the cost of durability: the same rounds on the same server started
// with innodb_flush_log_at_trx_commit=0, and one kill there to show what the
// flush buys (and that the count above can find a loss).
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_workstations [--seconds 60] [--clerks 2,4,8]
//       [--kills 3] [--kill-clerks 4] [--durability-seconds N] [--no-durability]
// (on a server of its own in /tmp/zelnor-bench-workstations, removed at the end)
#include "../tests/recordFormDriver.h"
#include "appSettings.h"
#include "benchServer.h"
#include "leaseGenerator.h"
#include "myDatabase.h"
#include "myTools.h"
#include "operationLog.h"
#include "registrationSql.h"
#include "testSupport.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QMap>
#include <QSet>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtTest>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <ctime>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

const QString region = QStringLiteral("000000");
const QString clerkPassword = QStringLiteral("bench");
const int typingMs = 1500;

// --- what the children report -----------------------------------------------
// One line per event on standard output, flushed at once, so the parent sees
// a confirmation the moment the clerk does (the kill round depends on it):
//   READY | SAVED <number> <tag> <wall µs> <cpu µs> <preemptions> |
//   REFUSED <kind> <wall µs> <cpu µs> <preemptions> <text> |
//   RETYPE <first kind> <second kind> | ADDFAIL <text> | UNSURE <number> <tag> saved (a later 确定
//   saved after a commit that lost its connection) |
//   DONE <started> <process cpu ms>

enum refusalKind { Taken, Conflict, Required, Other, Gone, Uncertain, kindCount };
const char *const kindNames[kindCount] = {"taken", "conflict", "required", "other", "gone", "uncertain"};

// The refusal a clerk read, by the box's text.
refusalKind classify(const QString &text)
{
    if (text.startsWith(QStringLiteral("已有此登记编号")))
        return Taken;
    if (text.startsWith(QStringLiteral("另一台工作站同时在保存")))
        return Conflict;
    if (text == QStringLiteral("“承方名称”不允许空，请修正后保存。"))
        return Required;
    if (text.startsWith(QStringLiteral("提交时与数据库服务器的连接中断")))
        return Uncertain;
    if (text.startsWith(QStringLiteral("无法连接数据库服务器")))
        return Gone;
    return Other;
}

// The same refusals as the plain client meets them, by the server's code.
refusalKind classify(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    if (code == QLatin1String("1062"))
        return Taken;
    if (code == QLatin1String("1213") || code == QLatin1String("1205"))
        return Conflict;
    if (code == QLatin1String("1048"))
        return Required;
    if (myDatabase::connectionLost(error))
        return error.type() == QSqlError::TransactionError ? Uncertain : Gone;
    return Other;
}

// Where a save's time went on the clerk's side: the wall clock, this
// thread's CPU time, and how often the kernel gave the CPU to someone else
// meanwhile (the two cores are shared by the server, the other clerks and
// other users of the machine). What is neither is waiting for the server.
class stopwatch
{
public:
    void start()
    {
        m_wall.start();
        m_cpu = threadCpuNs();
        m_preemptions = preemptions();
    }
    void stop()
    {
        m_result = QStringLiteral("%1 %2 %3")
                       .arg(m_wall.nsecsElapsed() / 1000)
                       .arg((threadCpuNs() - m_cpu) / 1000)
                       .arg(preemptions() - m_preemptions);
    }
    QString result() const { return m_result; }

private:
    static qint64 threadCpuNs()
    {
        timespec t;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return t.tv_sec * 1000000000LL + t.tv_nsec;
    }
    static long preemptions()
    {
        rusage u;
        getrusage(RUSAGE_THREAD, &u);
        return u.ru_nivcsw;
    }
    QElapsedTimer m_wall;
    qint64 m_cpu = 0;
    long m_preemptions = 0;
    QString m_result;
};

qint64 processCpuMs()
{
    rusage u;
    getrusage(RUSAGE_SELF, &u);
    return (u.ru_utime.tv_sec + u.ru_stime.tv_sec) * 1000LL + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1000;
}

void say(const QString &line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

// Reads what the parent wrote on standard input without blocking: true once
// it asked to stop (or went away).
bool stopAsked()
{
    pollfd p{0, POLLIN, 0};
    while (::poll(&p, 1, 0) > 0) {
        char buffer[64];
        const ssize_t n = ::read(0, buffer, sizeof buffer);
        if (n <= 0 || QByteArray(buffer, int(n)).contains("STOP"))
            return true;
    }
    return false;
}

bool waitForGo()
{
    QByteArray seen;
    char c;
    while (::read(0, &c, 1) == 1) {
        if (c == '\n')
            return seen == "GO";
        seen += c;
    }
    return false;
}

// --- what a clerk types -------------------------------------------------------

// The typed fields of one registration, by column; the rest of the form keeps
// its defaults. The lessor's identity number is unique in the run, so the
// kill round can tell a registration from another one saved under its number.
QMap<QString, QString> typing(leaseGenerator::generator &g, const QString &tag)
{
    QMap<QString, QString> typed;
    typed[QStringLiteral("出方名称")] = leaseGenerator::personName(g);
    typed[QStringLiteral("出方证件号码")] = tag;
    typed[QStringLiteral("出方电话")] = leaseGenerator::mobile(g);
    typed[QStringLiteral("承方名称")] = leaseGenerator::personName(g);
    typed[QStringLiteral("承方电话")] = leaseGenerator::mobile(g);
    typed[QStringLiteral("房屋坐落")] = leaseGenerator::address(g, g.pick(leaseGenerator::roads));
    return typed;
}

QString tagOf(int round, int clerk, int registration)
{
    return QStringLiteral("3701%1%2%3")
        .arg(round, 2, 10, QLatin1Char('0'))
        .arg(clerk, 2, 10, QLatin1Char('0'))
        .arg(registration, 10, 10, QLatin1Char('0'));
}

QString clerkName(int index) { return QStringLiteral("窗口%1").arg(index + 1); }

struct childOptions {
    QString mode; // "gui" or "plain"
    int index = 0;
    int clerks = 1;
    int seconds = 0; // 0: until the parent says STOP
    int round = 0;
    bool careless = false;
};

// The registration this clerk makes now is one the careless clerk leaves
// the lessee's name out of.
bool leavesOut(const childOptions &o, int registration) { return o.careless && registration % 3 == 0; }

// The next registration a clerk types: its tag, the fields as he types them,
// and the lessee's name he fills in when the form refuses the empty field.
struct registration {
    QString tag;
    QMap<QString, QString> typed;
    QString lessee;
};

registration nextRegistration(const childOptions &o, leaseGenerator::generator &g, int count)
{
    registration r;
    r.tag = tagOf(o.round, o.index, count);
    r.typed = typing(g, r.tag);
    r.lessee = r.typed.value(QStringLiteral("承方名称"));
    if (leavesOut(o, count))
        r.typed.remove(QStringLiteral("承方名称"));
    return r;
}

// --- a clerk at the real form ---------------------------------------------------

class clerkAtForm
{
public:
    clerkAtForm(mainWindow *window, frmRegisterLease *form, modalWatcher *watcher, const childOptions &o)
        : m_window(window), m_form(form), m_watcher(watcher), m_o(o), m_g{quint32(20260101 + o.round * 100 + o.index)}
    {
    }

    int started() const { return m_count; }

    void registerOne()
    {
        m_watcher->take();
        recordForm::click(m_form, QStringLiteral("增加"));
        if (m_form->mode() != QStringLiteral("增加")) {
            say(QStringLiteral("ADDFAIL ") + m_watcher->take().join(QLatin1Char(' ')));
            QTest::qWait(500); // the server is away; try again shortly
            return;
        }
        const registration r = nextRegistration(m_o, m_g, ++m_count);
        const QString &tag = r.tag;
        for (auto it = r.typed.cbegin(); it != r.typed.cend(); ++it)
            recordForm::setLine(m_form, it.key(), it.value());
        QTest::qWait(typingMs);

        refusalKind pending = kindCount; // the refusal the press after it has to save
        QElapsedTimer goneSince;
        bool filledIn = false, unsure = false;
        int takenPresses = 0;
        for (;;) {
            QString box;
            stopwatch watch;
            if (pressYes(&watch, &box)) {
                const QString number = m_form->numberEdit()->text();
                say(QStringLiteral("SAVED %1 %2 %3").arg(number, tag, watch.result()));
                if (unsure)
                    say(QStringLiteral("UNSURE %1 %2 saved").arg(number, tag));
                return;
            }
            const refusalKind k = classify(box);
            say(QStringLiteral("REFUSED %1 %2 %3").arg(QLatin1String(kindNames[k]), watch.result(), box));
            if (k == Gone || k == Uncertain) {
                // "服务器恢复后请再按“确定”": he waits for the server and
                // presses again (after a commit that lost its connection the
                // form first asks whether it was kept); only a server that
                // stays away makes him give up.
                unsure = unsure || k == Uncertain;
                if (!goneSince.isValid())
                    goneSince.start();
                if (goneSince.elapsed() < 60000) {
                    QTest::qWait(500);
                    continue;
                }
            } else if (k == Required && !filledIn) {
                // He fills in what he left out. That is not retyping what the
                // program lost: a refusal before it still waits for its press.
                // (A number taken is reported over the empty field: the form
                // runs every statement and shows the last failure.)
                recordForm::setLine(m_form, QStringLiteral("承方名称"), r.lessee);
                filledIn = true;
                continue;
            } else if (k == Taken && ++takenPresses < 10 && m_form->mode() == QStringLiteral("增加")
                       && recordForm::shown(m_form, QStringLiteral("line出方证件号码：")) == tag) {
                // The form kept what he typed and put the next free number
                // in; when a workstation beat him to that one too, he presses
                // again: nothing has to be typed twice.
                continue;
            } else if (pending == kindCount) {
                pending = k;
                continue;
            }
            // The press without retyping did not save: start over.
            say(QStringLiteral("RETYPE %1 %2").arg(QLatin1String(kindNames[pending == kindCount ? k : pending]),
                                                    QLatin1String(kindNames[k])));
            recordForm::click(m_form, QStringLiteral("放弃"));
            m_watcher->take();
            return;
        }
    }

private:
    // 确定, timed from the click to its return; true when the status bar
    // confirmed the save, otherwise *box is the text of the box he answered.
    bool pressYes(stopwatch *watch, QString *box)
    {
        m_window->statusBar()->clearMessage();
        m_watcher->take();
        QPushButton *yes = recordForm::button(m_form, QStringLiteral("确定"));
        watch->start();
        yes->click();
        watch->stop();
        const QStringList boxes = m_watcher->take();
        *box = boxes.join(QLatin1Char(' ')).section(QLatin1Char('|'), 1);
        return boxes.isEmpty() && m_form->mode() == QStringLiteral("正常")
            && m_window->statusBar()->currentMessage() == QStringLiteral("数据保存OK.");
    }

    mainWindow *m_window;
    frmRegisterLease *m_form;
    modalWatcher *m_watcher;
    childOptions m_o;
    leaseGenerator::generator m_g;
    int m_count = 0;
};

// --- the floor: the same statements from a plain client ---------------------------

struct partyColumn {
    QString name;
    columnKind kind;
    QString choice;     // what a new form's choice box shows: the first value
    int number = 1;     // what a new form's spin box shows: the default, at least 1
};
struct partyTable {
    QString name;
    QList<partyColumn> columns;
};

// The party tables as the form builds its fields from them.
QList<partyTable> partyTables(const myDatabase &db)
{
    QList<partyTable> tables;
    for (const char *name : {"leaseout", "leasein", "leasehouse"}) {
        partyTable t{QString::fromLatin1(name), {}};
        for (const columnInfo &c : myTools::showColumns(db, t.name)) {
            const columnKind k = myTools::kindOf(c.type);
            if (c.field == QStringLiteral("登记编号") || k == columnKind::None)
                continue;
            t.columns.append({c.field, k, myTools::enumValues(c.type).value(0),
                              qBound(1, c.defaultValue.toInt(), 999999999)});
        }
        tables.append(t);
    }
    return tables;
}

// What the form sends for a new registration with these typed fields.
QStringList floorStatements(const QList<partyTable> &tables, const QMap<QString, QString> &typed,
                            const QString &number, const QString &operatorName, const QDate &workDate)
{
    const QDate firstDay(workDate.year(), 1, 1);
    QStringList statements{registrationSql::insertLease(
        registrationSql::split(number),
        {workDate, firstDay, firstDay.addYears(1).addDays(-1), appSettings::defaultFee()})};
    for (const partyTable &t : tables) {
        QStringList pairs;
        for (const partyColumn &c : t.columns) {
            QString value;
            if (c.kind == columnKind::Text)
                value = registrationSql::textValue(typed.value(c.name));
            else if (c.kind == columnKind::Choice)
                value = registrationSql::textValue(c.choice);
            else
                value = QStringLiteral("'%1'").arg(c.number);
            pairs << c.name + QLatin1Char('=') + value;
        }
        statements << registrationSql::insertParty(t.name, number, pairs);
    }
    statements << operationLog::insertSql(operatorName, QStringLiteral("增加") + number);
    return statements;
}

// One transaction as a minimal client runs it: stop at the first failure.
bool runPlain(QSqlDatabase &db, const QStringList &statements, QSqlError *error)
{
    if (!db.transaction()) {
        *error = db.lastError();
        return false;
    }
    for (const QString &sql : statements) {
        QSqlQuery q(db);
        if (!q.exec(sql)) {
            *error = q.lastError();
            db.rollback();
            return false;
        }
    }
    if (db.commit())
        return true;
    *error = db.lastError();
    db.rollback();
    return false;
}

class plainClient
{
public:
    plainClient(const myDatabase &db, const QString &operatorName, const childOptions &o)
        : m_db(db), m_operator(operatorName), m_o(o), m_g{quint32(20260101 + o.round * 100 + o.index)}
    {
        m_tables = partyTables(db);
        m_workDate = db.serverDate();
    }

    int started() const { return m_count; }

    void registerOne()
    {
        // 增加's lookup, then the typing, then the save.
        QString number = myTools::nextRegisterNumber(m_db, region, m_workDate);
        if (number.isEmpty()) {
            say(QStringLiteral("ADDFAIL no number"));
            QThread::msleep(500);
            return;
        }
        registration r = nextRegistration(m_o, m_g, ++m_count);
        QThread::msleep(typingMs);

        QSqlDatabase handle = m_db.handle();
        refusalKind k = Other;
        for (int attempt = 0; attempt < 5; ++attempt) {
            QSqlError error;
            const QStringList statements = floorStatements(m_tables, r.typed, number, m_operator, m_workDate);
            stopwatch watch;
            watch.start();
            const bool saved = runPlain(handle, statements, &error);
            watch.stop();
            if (saved) {
                say(QStringLiteral("SAVED %1 %2 %3").arg(number, r.tag, watch.result()));
                return;
            }
            k = classify(error);
            say(QStringLiteral("REFUSED %1 %2 %3").arg(QLatin1String(kindNames[k]), watch.result(), error.text()));
            if (k == Required)
                r.typed[QStringLiteral("承方名称")] = r.lessee;
            else if (k == Taken)
                number = myTools::nextRegisterNumber(m_db, region, m_workDate);
            else if (k != Conflict)
                break;
        }
        // A minimal client retries what it can; what is left would be typed again.
        say(QStringLiteral("RETYPE %1 %1").arg(QLatin1String(kindNames[k])));
    }

private:
    myDatabase m_db;
    QString m_operator;
    childOptions m_o;
    leaseGenerator::generator m_g;
    QList<partyTable> m_tables;
    QDate m_workDate;
    int m_count = 0;
};

template <typename Clerk>
void work(Clerk &clerk, const childOptions &o)
{
    say(QStringLiteral("READY"));
    if (!waitForGo())
        return;
    // Clerks do not start in step: spread over one typing period.
    const int stagger = o.index * typingMs / qMax(1, o.clerks);
    if (o.mode == QLatin1String("gui"))
        QTest::qWait(stagger);
    else
        QThread::msleep(stagger);
    QElapsedTimer clock;
    clock.start();
    while ((o.seconds == 0 || clock.elapsed() < o.seconds * 1000LL) && !stopAsked())
        clerk.registerOne();
    say(QStringLiteral("DONE %1 %2").arg(clerk.started()).arg(processCpuMs()));
}

int runChild(const childOptions &o)
{
    QTemporaryDir settings;
    appSettings::setFolder(settings.path());
    testSupport::initApplication();
    const QString name = clerkName(o.index);
    if (o.mode == QLatin1String("plain")) {
        myDatabase db(QStringLiteral("plain"));
        db.setAccount({QStringLiteral("localhost"), myTools::accountName(name), clerkPassword, QStringLiteral("zelnor")});
        QSqlError error;
        if (!db.open(&error)) {
            say(QStringLiteral("FAIL ") + error.text());
            return 1;
        }
        plainClient clerk(db, name, o);
        work(clerk, o);
        return 0;
    }
    modalWatcher watcher;
    std::unique_ptr<mainWindow> window(testSupport::login(name, clerkPassword));
    if (window->operatorName() != name) {
        say(QStringLiteral("FAIL login: ") + watcher.take().join(QLatin1Char(' ')));
        return 1;
    }
    frmRegisterLease *form = recordForm::open(window.get());
    clerkAtForm clerk(window.get(), form, &watcher, o);
    work(clerk, o);
    return 0;
}

// --- the parent: rooms of clerks, and what they said -------------------------------

struct confirmation {
    QString number, tag;
    qint64 at; // parent's clock, ms
};

struct tally {
    QVector<double> saveMs;
    QVector<double> cpuMs;  // the clerk's own CPU time in each save
    int preempted = 0;      // saves during which the clerk's process lost the CPU
    qint64 clerksCpuMs = 0; // the clerks' processes, all they did in the round
    QList<confirmation> confirmed;
    int refusals[kindCount] = {};
    int retyped = 0;
    QMap<QString, int> retypeReasons;
    QMap<QString, int> otherTexts;
    int addFailures = 0, unsureSaved = 0, unsureLost = 0, started = 0;
    QStringList failures;
};

QElapsedTimer s_clock;
// Every line the children say, with the time and the clerk, for a closer
// look at a round (--trace).
std::unique_ptr<QFile> s_trace;

// A set of clerk processes of one kind, started together.
class clerkRoom
{
public:
    std::function<void(const confirmation &)> onSaved;
    tally t;

    clerkRoom(const QString &mode, int clerks, int seconds, int round)
    {
        for (int i = 0; i < clerks; ++i) {
            QStringList args{QStringLiteral("--child"), mode, QStringLiteral("--index"), QString::number(i),
                             QStringLiteral("--clerks"), QString::number(clerks), QStringLiteral("--seconds"),
                             QString::number(seconds), QStringLiteral("--round"), QString::number(round)};
            if (i == 0)
                args << QStringLiteral("--careless");
            QProcess *p = testSupport::startChild(args, testSupport::socketPath(), testSupport::serverPort(),
                                                  testSupport::serverDir());
            m_children.emplace_back(p);
            m_buffers.append(QByteArray());
            QObject::connect(p, &QProcess::readyRead, [this, i] { read(i); });
        }
    }
    ~clerkRoom()
    {
        for (auto &p : m_children)
            if (p->state() != QProcess::NotRunning) {
                p->kill();
                p->waitForFinished(5000);
            }
    }

    bool waitReady(int ms) { return waitFor([this] { return m_ready == int(m_children.size()); }, ms); }
    void go()
    {
        for (auto &p : m_children)
            p->write("GO\n");
    }
    void stop()
    {
        for (auto &p : m_children)
            p->write("STOP\n");
    }
    bool waitDone(int ms)
    {
        return waitFor([this] {
            for (auto &p : m_children)
                if (p->state() != QProcess::NotRunning)
                    return false;
            return true;
        }, ms);
    }
    int doneCount() const { return m_done; }

    // Runs the event loop until the predicate holds or the time is up;
    // children's lines are handled as they come.
    static bool waitFor(const std::function<bool()> &predicate, int ms)
    {
        QElapsedTimer timer;
        timer.start();
        while (!predicate()) {
            if (timer.elapsed() > ms)
                return false;
            QEventLoop loop;
            QTimer::singleShot(20, &loop, &QEventLoop::quit);
            loop.exec();
        }
        return true;
    }

private:
    void read(int i)
    {
        m_buffers[i] += m_children[size_t(i)]->readAll();
        int end;
        while ((end = m_buffers[i].indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(m_buffers[i].left(end));
            m_buffers[i].remove(0, end + 1);
            if (s_trace)
                s_trace->write(QStringLiteral("%1 %2 %3\n").arg(s_clock.elapsed()).arg(i + 1).arg(line).toUtf8());
            handle(line);
        }
    }

    void handle(const QString &line)
    {
        const QStringList w = line.split(QLatin1Char(' '));
        const QString what = w.value(0);
        if (what == QLatin1String("READY")) {
            ++m_ready;
        } else if (what == QLatin1String("SAVED")) {
            const confirmation c{w.value(1), w.value(2), s_clock.elapsed()};
            t.confirmed.append(c);
            t.saveMs.append(w.value(3).toDouble() / 1000.0);
            t.cpuMs.append(w.value(4).toDouble() / 1000.0);
            t.preempted += w.value(5).toInt() > 0;
            if (onSaved)
                onSaved(c);
        } else if (what == QLatin1String("REFUSED")) {
            for (int k = 0; k < kindCount; ++k)
                if (w.value(1) == QLatin1String(kindNames[k])) {
                    ++t.refusals[k];
                    if (k == Other)
                        ++t.otherTexts[line.section(QLatin1Char(' '), 5)];
                }
        } else if (what == QLatin1String("RETYPE")) {
            ++t.retyped;
            ++t.retypeReasons[w.value(1) + QStringLiteral("→") + w.value(2)];
        } else if (what == QLatin1String("ADDFAIL")) {
            ++t.addFailures;
        } else if (what == QLatin1String("UNSURE")) {
            ++(w.value(3) == QLatin1String("saved") ? t.unsureSaved : t.unsureLost);
        } else if (what == QLatin1String("DONE")) {
            ++m_done;
            t.started += w.value(1).toInt();
            t.clerksCpuMs += w.value(2).toLongLong();
        } else if (what == QLatin1String("FAIL")) {
            t.failures << line;
        }
    }

    std::vector<std::unique_ptr<QProcess>> m_children;
    QList<QByteArray> m_buffers;
    int m_ready = 0;
    int m_done = 0;
};

// --- checks on what the server holds ------------------------------------------------

struct stored {
    int partyOrphans = -1;     // party rows whose number has no lease row
    int leaseWithoutLessor = -1;
    int addLogRows = -1;       // log rows "增加…"
    int missing = 0;           // confirmed numbers not stored with what was typed
    int confirmedWithoutLog = 0;
    int storedTwice = 0;       // registrations (by what was typed) stored under two numbers
};

stored check(const QList<confirmation> &confirmed)
{
    stored s;
    s.partyOrphans = 0;
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        s.partyOrphans += testSupport::count(
            QStringLiteral("%1 p WHERE NOT EXISTS (SELECT 1 FROM lease WHERE CONCAT(地区,年度*100000+编号)=p.登记编号)")
                .arg(QLatin1String(table)));
    s.leaseWithoutLessor = testSupport::count(QStringLiteral(
        "lease WHERE NOT EXISTS (SELECT 1 FROM leaseout WHERE leaseout.登记编号=CONCAT(地区,年度*100000+编号))"));
    s.addLogRows = testSupport::count(QStringLiteral("log WHERE 描述 LIKE '增加%'"));

    QHash<QString, QString> tags;
    QSqlQuery q;
    q.exec(QStringLiteral("SELECT o.登记编号,o.出方证件号码 FROM leaseout o JOIN lease l "
                          "ON CONCAT(l.地区,l.年度*100000+l.编号)=o.登记编号"));
    QHash<QString, int> numbersOfTag;
    while (q.next()) {
        tags.insert(q.value(0).toString(), q.value(1).toString());
        ++numbersOfTag[q.value(1).toString()];
    }
    for (int n : qAsConst(numbersOfTag))
        s.storedTwice += n > 1;
    QSet<QString> logged;
    q.exec(QStringLiteral("SELECT SUBSTRING(描述,3) FROM log WHERE 描述 LIKE '增加%'"));
    while (q.next())
        logged.insert(q.value(0).toString());
    for (const confirmation &c : confirmed) {
        s.missing += tags.value(c.number) != c.tag;
        s.confirmedWithoutLog += !logged.contains(c.number);
    }
    return s;
}

// --- the server -----------------------------------------------------------------

QString flushSetting() { return testSupport::scalar(QStringLiteral("SELECT @@innodb_flush_log_at_trx_commit")).toString(); }

// Stops the bench server and starts it again, durable (flush empty: the
// script's default) or not.
bool restartServer(const QString &flush)
{
    {
        QSqlDatabase db = QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
        if (db.isValid())
            db.close();
    }
    const QString dir = testSupport::serverDir();
    QProcess::execute(testSupport::serverScript(), {QStringLiteral("stop"), dir});
    QProcess start;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (flush.isEmpty())
        env.remove(QStringLiteral("ZELNOR_SERVER_FLUSH_AT_COMMIT"));
    else
        env.insert(QStringLiteral("ZELNOR_SERVER_FLUSH_AT_COMMIT"), flush);
    start.setProcessEnvironment(env);
    start.start(testSupport::serverScript(), {QStringLiteral("start"), dir});
    start.waitForFinished(120000);
    return start.exitCode() == 0 && testSupport::connectAsRoot(QStringLiteral("zelnor"));
}

// The server's process, from its pid file.
pid_t serverPid()
{
    QFile pidFile(testSupport::serverDir() + QStringLiteral("/mysqld.pid"));
    return pidFile.open(QIODevice::ReadOnly) ? pid_t(pidFile.readAll().trimmed().toLongLong()) : 0;
}

// After a kill -9, starts the server as an office would. Returns the
// milliseconds until it answered again.
qint64 restartAfterKill(pid_t killed)
{
    QElapsedTimer timer;
    timer.start();
    const QString dir = testSupport::serverDir();
    // The killed server's pid file stays behind; the start command would
    // take the server as still running.
    QFile::remove(dir + QStringLiteral("/mysqld.pid"));
    const QString status = QStringLiteral("/proc/%1/status").arg(killed);
    for (int i = 0; i < 250; ++i) {
        QFile f(status);
        if (!f.open(QIODevice::ReadOnly) || f.readAll().contains("State:\tZ"))
            break; // gone, or gone but for its parent's wait: its files are closed
        QThread::msleep(20);
    }
    QProcess::execute(testSupport::serverScript(), {QStringLiteral("start"), dir});
    const qint64 ms = timer.elapsed();
    testSupport::connectAsRoot(QStringLiteral("zelnor"));
    return ms;
}

void prepareClerks(int clerks)
{
    testSupport::resetDatabase();
    for (int i = 0; i < clerks; ++i)
        testSupport::createOperator(clerkName(i), clerkPassword, 2);
}

// CPU time of the whole machine (busy, total) and of the server, in ms, so a
// round can say how much of the two shared cores was in use and by whom.
struct cpuSample {
    double machineBusy = 0, machineTotal = 0, server = 0;
};

cpuSample sampleCpu()
{
    const double tick = 1000.0 / sysconf(_SC_CLK_TCK);
    cpuSample c;
    QFile stat(QStringLiteral("/proc/stat"));
    if (stat.open(QIODevice::ReadOnly)) {
        // cpu user nice system idle iowait irq softirq steal
        const QList<QByteArray> f = stat.readLine().simplified().split(' ');
        for (int i = 1; i < f.size() && i <= 8; ++i) {
            c.machineTotal += f.at(i).toDouble() * tick;
            if (i != 4 && i != 5)
                c.machineBusy += f.at(i).toDouble() * tick;
        }
    }
    QFile server(QStringLiteral("/proc/%1/stat").arg(serverPid()));
    if (server.open(QIODevice::ReadOnly)) {
        const QByteArray line = server.readAll();
        const QList<QByteArray> f = line.mid(line.lastIndexOf(')') + 2).split(' ');
        c.server = (f.value(11).toDouble() + f.value(12).toDouble()) * tick; // utime, stime
    }
    return c;
}

double percentile(QVector<double> v, double p)
{
    if (v.isEmpty())
        return 0;
    std::sort(v.begin(), v.end());
    const int rank = int(std::ceil(p * v.size()));
    return v.at(qBound(0, rank - 1, v.size() - 1));
}

struct roundResult {
    QString mode;
    int clerks = 0;
    QString flush;
    tally t;
    stored s;
    double busyPct = 0;       // of both cores, the whole machine, during the round
    double serverCpuMs = 0;   // the server's CPU time in the round
    double seconds = 0;
};

int s_round = 0;

roundResult runRound(const QString &mode, int clerks, int seconds)
{
    prepareClerks(clerks);
    roundResult r;
    r.mode = mode;
    r.clerks = clerks;
    r.flush = flushSetting();
    std::fprintf(stderr, "%s, %d clerks, flush %s: starting\n", qPrintable(mode), clerks, qPrintable(r.flush));
    clerkRoom room(mode, clerks, seconds, ++s_round);
    if (!room.waitReady(300000)) {
        r.t = room.t;
        r.t.failures << QStringLiteral("clerks not ready");
        return r;
    }
    const cpuSample before = sampleCpu();
    QElapsedTimer clock;
    clock.start();
    room.go();
    room.waitDone((seconds + 180) * 1000);
    const cpuSample after = sampleCpu();
    r.t = room.t;
    r.seconds = clock.elapsed() / 1000.0;
    r.busyPct = 100 * (after.machineBusy - before.machineBusy) / qMax(1.0, after.machineTotal - before.machineTotal);
    r.serverCpuMs = after.server - before.server;
    r.s = check(r.t.confirmed);
    return r;
}

// --- the kill round -----------------------------------------------------------------

struct killResult {
    QString flush;
    int clerks = 0;
    struct kill {
        int confirmedBefore = 0;
        int inLastSecond = 0; // confirmations the clerks saw in the second before
        int missingAfter = 0;  // of those confirmed since the kill before
        int missingInAll = 0;  // of all confirmed so far
        qint64 restartMs = 0;
    };
    QList<kill> kills;
    tally t;
    stored s;
};

killResult runKillRound(int clerks, int kills)
{
    prepareClerks(clerks);
    killResult r;
    r.flush = flushSetting();
    r.clerks = clerks;
    std::fprintf(stderr, "kill round, %d clerks, flush %s: starting\n", clerks, qPrintable(r.flush));
    clerkRoom room(QStringLiteral("gui"), clerks, 0, ++s_round);
    if (!room.waitReady(300000)) {
        r.t.failures << QStringLiteral("clerks not ready");
        return r;
    }
    // A burst: two confirmations within 300 ms, once the clerks have been
    // saving for 5 s since the last start. The server is killed in the
    // handler of the confirmation itself, milliseconds after the clerk read it.
    qint64 upSince = s_clock.elapsed();
    qint64 killedAt = -1;
    pid_t killed = 0;
    QList<qint64> recent;
    room.onSaved = [&](const confirmation &c) {
        recent.append(c.at);
        while (!recent.isEmpty() && recent.first() < c.at - 300)
            recent.removeFirst();
        if (killedAt >= 0 || c.at - upSince < 5000 || recent.size() < 2)
            return;
        const pid_t pid = serverPid();
        if (pid > 0 && ::kill(pid, SIGKILL) == 0) {
            killedAt = c.at;
            killed = pid;
        }
    };
    room.go();
    while (r.kills.size() < kills) {
        if (!clerkRoom::waitFor([&] { return killedAt >= 0; }, 120000)) {
            r.t.failures << QStringLiteral("no burst of confirmations within 120 s");
            break;
        }
        killResult::kill k;
        const QList<confirmation> before = room.t.confirmed;
        k.confirmedBefore = before.size();
        for (const confirmation &c : before)
            k.inLastSecond += c.at >= killedAt - 1000;
        k.restartMs = restartAfterKill(killed);
        const stored now = check(before);
        k.missingInAll = now.missing;
        k.missingAfter = now.missing - (r.kills.isEmpty() ? 0 : r.kills.last().missingInAll);
        r.kills.append(k);
        std::fprintf(stderr, "  kill %d: %d confirmed (%d in the last second), %d newly missing after the restart\n",
                     int(r.kills.size()), k.confirmedBefore, k.inLastSecond, k.missingAfter);
        upSince = s_clock.elapsed();
        killedAt = -1;
    }
    room.onSaved = nullptr;
    clerkRoom::waitFor([] { return false; }, 5000); // they go on saving
    room.stop();
    room.waitDone(180000);
    r.t = room.t;
    r.s = check(r.t.confirmed);
    return r;
}

// --- the report ---------------------------------------------------------------------

const char *who(const roundResult &r) { return r.mode == QLatin1String("gui") ? "clerks" : "floor"; }

void printRounds(const QList<roundResult> &rounds)
{
    std::printf("\n%-6s %6s %5s %6s %6s %8s %8s %6s %8s %7s %8s %7s %7s %7s\n", "who", "clerks", "flush", "saves",
                "taken", "conflict", "required", "other", "retyped", "orphans", "log/save", "median", "p90", "floor×");
    for (const roundResult &r : rounds) {
        const double median = percentile(r.t.saveMs, 0.5);
        QString ratio = QStringLiteral("-");
        if (r.mode == QLatin1String("gui"))
            for (const roundResult &f : rounds)
                if (f.mode == QLatin1String("plain") && f.clerks == r.clerks && f.flush == r.flush)
                    ratio = QString::number(median / percentile(f.t.saveMs, 0.5), 'f', 2);
        const int saves = r.t.confirmed.size();
        std::printf("%-6s %6d %5s %6d %6d %8d %8d %6d %8d %7d %8.2f %7.2f %7.2f %7s\n", who(r), r.clerks,
                    qPrintable(r.flush), saves, r.t.refusals[Taken], r.t.refusals[Conflict], r.t.refusals[Required],
                    r.t.refusals[Other], r.t.retyped, r.s.partyOrphans + r.s.leaseWithoutLessor,
                    saves ? double(r.s.addLogRows) / saves : 0.0, median, percentile(r.t.saveMs, 0.9),
                    qPrintable(ratio));
    }
    std::printf("(save times in ms, of the presses that saved; orphans = party rows without their lease + leases\n"
                " without their lessor row; log/save = log rows \"增加…\" per confirmed save; floor× = the clerks'\n"
                " median over the plain client's at the same count and flush)\n");
    std::printf("\nWhere the time went: %-6s %6s %5s %9s %9s %10s %11s %11s %8s\n", "who", "clerks", "flush",
                "median", "own cpu", "preempted", "clerks cpu", "server cpu", "busy");
    for (const roundResult &r : rounds) {
        const int saves = qMax(1, int(r.t.confirmed.size()));
        std::printf("                     %-6s %6d %5s %9.2f %9.2f %9.0f%% %9.0f%% %8.2fms %7.0f%%\n", who(r), r.clerks,
                    qPrintable(r.flush), percentile(r.t.saveMs, 0.5), percentile(r.t.cpuMs, 0.5),
                    100.0 * r.t.preempted / saves, 100.0 * r.t.clerksCpuMs / 1000 / qMax(1.0, r.seconds) / 2,
                    r.serverCpuMs / saves, r.busyPct);
    }
    std::printf("(own cpu: median CPU time of the clerk's process inside a save, ms; preempted: saves during which\n"
                " it lost the CPU to another process; clerks cpu: their processes' CPU over the round, in %% of the\n"
                " two cores; server cpu: per confirmed save, all the server did; busy: both cores, whole machine,\n"
                " other users included)\n");
    for (const roundResult &r : rounds) {
        const QString who = QStringLiteral("%1 %2 clerks, flush %3").arg(r.mode).arg(r.clerks).arg(r.flush);
        if (r.s.missing || r.s.confirmedWithoutLog)
            std::printf("%s: %d confirmed saves not stored as typed, %d without a log row\n", qPrintable(who),
                        r.s.missing, r.s.confirmedWithoutLog);
        for (auto it = r.t.retypeReasons.cbegin(); it != r.t.retypeReasons.cend(); ++it)
            std::printf("%s: retyping after %s: %d\n", qPrintable(who), qPrintable(it.key()), it.value());
        for (auto it = r.t.otherTexts.cbegin(); it != r.t.otherTexts.cend(); ++it)
            std::printf("%s: other refusal ×%d: %s\n", qPrintable(who), it.value(), qPrintable(it.key()));
        for (const QString &f : r.t.failures)
            std::printf("%s: %s\n", qPrintable(who), qPrintable(f));
    }
}

void printKills(const killResult &r)
{
    std::printf("\nkill round, %d clerks, flush %s: %d saves confirmed, %d kills\n", r.clerks, qPrintable(r.flush),
                int(r.t.confirmed.size()), int(r.kills.size()));
    for (int i = 0; i < r.kills.size(); ++i)
        std::printf("  kill %d: %4d confirmed before it (%d in its last second), %d newly missing after the "
                    "restart, %d in all (up again in %lld ms)\n",
                    i + 1, r.kills[i].confirmedBefore, r.kills[i].inLastSecond, r.kills[i].missingAfter,
                    r.kills[i].missingInAll, r.kills[i].restartMs);
    std::printf("  at the end: %d confirmed saves missing or not as typed, %d orphans, %d confirmed without a log "
                "row, %d stored under two numbers; refusals while the server was away: %d, unsure commits %d (saved with a "
                "later 确定: %d), 增加 refused %d, "
                "retyped %d\n",
                r.s.missing, r.s.partyOrphans + r.s.leaseWithoutLessor, r.s.confirmedWithoutLog, r.s.storedTwice,
                r.t.refusals[Gone],
                r.t.refusals[Uncertain], r.t.unsureSaved, r.t.addFailures, r.t.retyped);
    for (auto it = r.t.retypeReasons.cbegin(); it != r.t.retypeReasons.cend(); ++it)
        std::printf("  retyping after %s: %d\n", qPrintable(it.key()), it.value());
    for (auto it = r.t.otherTexts.cbegin(); it != r.t.otherTexts.cend(); ++it)
        std::printf("  other refusal ×%d: %s\n", it.value(), qPrintable(it.key()));
    for (const QString &f : r.t.failures)
        std::printf("  %s\n", qPrintable(f));
}

// The plain client's statements store the very rows the form stores: one
// registration typed into the real form and the same one sent as a floor
// statement list, compared column by column.
bool floorMatchesForm()
{
    prepareClerks(1);
    modalWatcher watcher;
    std::unique_ptr<mainWindow> window(testSupport::login(clerkName(0), clerkPassword));
    frmRegisterLease *form = recordForm::open(window.get());
    leaseGenerator::generator g;
    const QMap<QString, QString> typed = typing(g, tagOf(0, 0, 1));
    recordForm::click(form, QStringLiteral("增加"));
    const QString formNumber = form->numberEdit()->text();
    for (auto it = typed.cbegin(); it != typed.cend(); ++it)
        recordForm::setLine(form, it.key(), it.value());
    recordForm::click(form, QStringLiteral("确定"));

    myDatabase db;
    const QString floorNumber = myTools::nextRegisterNumber(db, region, db.serverDate());
    QSqlDatabase handle = db.handle();
    QSqlError error;
    const bool saved = runPlain(handle, floorStatements(partyTables(db), typed, floorNumber, clerkName(0), db.serverDate()),
                                &error);
    auto row = [](const QString &number) {
        QStringList values;
        QSqlQuery q;
        q.exec(QStringLiteral("SELECT * FROM lease l,leaseout LEFT JOIN leasein USING (登记编号) LEFT JOIN leasehouse "
                              "USING (登记编号) WHERE CONCAT(l.地区,l.年度*100000+l.编号)=leaseout.登记编号 AND "
                              "leaseout.登记编号='%1'")
                   .arg(number));
        if (!q.next())
            return QStringLiteral("(none)");
        for (int i = 0; i < q.record().count(); ++i)
            if (!QStringList{QStringLiteral("编号"), QStringLiteral("登记编号")}.contains(q.record().fieldName(i)))
                values << q.record().fieldName(i) + QLatin1Char('=')
                        + (q.value(i).isNull() ? QStringLiteral("NULL") : q.value(i).toString());
        values << testSupport::scalar(QStringLiteral("SELECT CONCAT(用户,'|',REPLACE(描述,'%1','N')) FROM log "
                                                     "WHERE 描述 LIKE '增加%1'").arg(number)).toString();
        return values.join(QLatin1Char(' '));
    };
    const QString fromForm = row(formNumber), fromFloor = row(floorNumber);
    window.reset();
    if (saved && !watcher.boxes.size() && fromForm == fromFloor && fromForm != QStringLiteral("(none)"))
        return true;
    std::fprintf(stderr, "the floor does not store what the form stores:\n  form:  %s\n  floor: %s\n  %s %s\n",
                 qPrintable(fromForm), qPrintable(fromFloor), qPrintable(error.text()),
                 qPrintable(watcher.take().join(QLatin1Char(' '))));
    return false;
}

// One clerk alone, no typing pause, form and plain client taking turns on
// the same connection: what the form itself adds to a save, without another
// workstation in the way. Returns the two medians in ms.
struct alone {
    double formMs, formCpuMs, plainMs, plainCpuMs;
};

alone aloneAtTheForm(int saves)
{
    prepareClerks(1);
    modalWatcher watcher;
    std::unique_ptr<mainWindow> window(testSupport::login(clerkName(0), clerkPassword));
    frmRegisterLease *form = recordForm::open(window.get());
    myDatabase db;
    const QList<partyTable> tables = partyTables(db);
    const QDate workDate = db.serverDate();
    leaseGenerator::generator g;
    QVector<double> formMs, formCpu, plainMs, plainCpu;
    auto keep = [](const stopwatch &w, QVector<double> &wall, QVector<double> &cpu) {
        wall << w.result().section(QLatin1Char(' '), 0, 0).toDouble() / 1000;
        cpu << w.result().section(QLatin1Char(' '), 1, 1).toDouble() / 1000;
    };
    for (int i = 0; i < saves; ++i) {
        QMap<QString, QString> typed = typing(g, tagOf(0, 0, i));
        recordForm::click(form, QStringLiteral("增加"));
        for (auto it = typed.cbegin(); it != typed.cend(); ++it)
            recordForm::setLine(form, it.key(), it.value());
        stopwatch watch;
        QPushButton *yes = recordForm::button(form, QStringLiteral("确定"));
        watch.start();
        yes->click();
        watch.stop();
        keep(watch, formMs, formCpu);
        QTest::qWait(10);

        typed = typing(g, tagOf(0, 1, i));
        const QString number = myTools::nextRegisterNumber(db, region, workDate);
        const QStringList statements = floorStatements(tables, typed, number, clerkName(0), workDate);
        QSqlDatabase handle = db.handle();
        QSqlError error;
        watch.start();
        runPlain(handle, statements, &error);
        watch.stop();
        keep(watch, plainMs, plainCpu);
        QTest::qWait(10);
    }
    window.reset();
    return {percentile(formMs, 0.5), percentile(formCpu, 0.5), percentile(plainMs, 0.5), percentile(plainCpu, 0.5)};
}

QList<int> parseCounts(const QString &text)
{
    QList<int> counts;
    for (const QString &part : text.split(QLatin1Char(','), Qt::SkipEmptyParts))
        if (part.toInt() > 0)
            counts << part.toInt();
    return counts;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption seconds(QStringLiteral("seconds"), QStringLiteral("Length of each round."),
                                     QStringLiteral("s"), QStringLiteral("60"));
    const QCommandLineOption clerks(QStringLiteral("clerks"), QStringLiteral("Clerk counts, comma-separated."),
                                    QStringLiteral("list"), QStringLiteral("2,4,8"));
    const QCommandLineOption kills(QStringLiteral("kills"), QStringLiteral("Server kills in the kill round (0: none)."),
                                   QStringLiteral("n"), QStringLiteral("5"));
    const QCommandLineOption killClerks(QStringLiteral("kill-clerks"), QStringLiteral("Clerks in the kill round."),
                                        QStringLiteral("n"), QStringLiteral("4"));
    const QCommandLineOption durabilitySeconds(QStringLiteral("durability-seconds"),
                                               QStringLiteral("Length of each round without the flush at commit."),
                                               QStringLiteral("s"));
    const QCommandLineOption trace(QStringLiteral("trace"),
                                   QStringLiteral("Write every clerk's events, timed, to this file."),
                                   QStringLiteral("file"));
    const QCommandLineOption noDurability(QStringLiteral("no-durability"),
                                          QStringLiteral("Leave out the rounds without the flush at commit."));
    // What the parent gives its children.
    QCommandLineOption child(QStringLiteral("child"), QString(), QStringLiteral("mode"));
    QCommandLineOption index(QStringLiteral("index"), QString(), QStringLiteral("i"));
    QCommandLineOption round(QStringLiteral("round"), QString(), QStringLiteral("r"));
    QCommandLineOption careless(QStringLiteral("careless"));
    for (QCommandLineOption *o : {&child, &index, &round, &careless})
        o->setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({seconds, clerks, kills, killClerks, durabilitySeconds, noDurability, trace, child, index, round, careless});
    parser.addHelpOption();
    parser.process(app);

    if (parser.isSet(child)) {
        childOptions o;
        o.mode = parser.value(child);
        o.index = parser.value(index).toInt();
        o.clerks = parser.value(clerks).toInt();
        o.seconds = parser.value(seconds).toInt();
        o.round = parser.value(round).toInt();
        o.careless = parser.isSet(careless);
        return runChild(o);
    }

    const QList<int> counts = parseCounts(parser.value(clerks));
    const int roundSeconds = parser.value(seconds).toInt();
    const int flushOffSeconds = parser.isSet(durabilitySeconds) ? parser.value(durabilitySeconds).toInt() : roundSeconds;
    if (counts.isEmpty() || roundSeconds <= 0) {
        std::fprintf(stderr, "nothing to run\n");
        return 1;
    }
    s_clock.start();
    if (parser.isSet(trace)) {
        s_trace.reset(new QFile(parser.value(trace)));
        if (!s_trace->open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return 1;
    }
    // The bench server commits as an office's does; only the comparison
    // rounds below start it without the flush.
    qunsetenv("ZELNOR_SERVER_FLUSH_AT_COMMIT");
    testSupport::benchServer server(QStringLiteral("workstations"), true);
    if (!server.isUp())
        return 1;
    testSupport::connectAsRoot();
    if (flushSetting() != QLatin1String("1") && !restartServer(QString()))
        return 1;
    if (!floorMatchesForm())
        return 1;
    const alone quiet = aloneAtTheForm(200);

    QList<roundResult> rounds;
    for (int n : counts) {
        rounds << runRound(QStringLiteral("gui"), n, roundSeconds);
        rounds << runRound(QStringLiteral("plain"), n, roundSeconds);
    }
    const int killCount = parser.value(kills).toInt();
    killResult durableKill;
    if (killCount > 0)
        durableKill = runKillRound(parser.value(killClerks).toInt(), killCount);

    QList<roundResult> flushOff;
    killResult flushOffKill;
    if (!parser.isSet(noDurability)) {
        if (!restartServer(QStringLiteral("0")) || flushSetting() != QLatin1String("0"))
            return 1;
        for (int n : counts) {
            flushOff << runRound(QStringLiteral("gui"), n, flushOffSeconds);
            flushOff << runRound(QStringLiteral("plain"), n, flushOffSeconds);
        }
        if (killCount > 0)
            flushOffKill = runKillRound(parser.value(killClerks).toInt(), killCount);
        restartServer(QString());
    }

    std::printf("Clerks at the real form against a plain client sending the same statements, %d s a round, "
                "%d ms of typing a registration, clerk 1 careless\n", roundSeconds, typingMs);
    std::printf("\nOne clerk alone, no pause, form and plain client taking turns (200 saves each), median:\n"
                "  at the form %.2f ms (%.2f ms of it the program's own CPU), plain client %.2f ms (%.2f ms CPU)\n",
                quiet.formMs, quiet.formCpuMs, quiet.plainMs, quiet.plainCpuMs);
    printRounds(rounds);
    if (killCount > 0)
        printKills(durableKill);
    if (!flushOff.isEmpty()) {
        std::printf("\nThe cost of durability: median save time in ms, innodb_flush_log_at_trx_commit=1 against 0\n");
        std::printf("%-6s %6s %8s %8s %8s\n", "who", "clerks", "flush=1", "flush=0", "cost");
        for (const roundResult &off : flushOff)
            for (const roundResult &on : rounds)
                if (on.mode == off.mode && on.clerks == off.clerks) {
                    const double a = percentile(on.t.saveMs, 0.5), b = percentile(off.t.saveMs, 0.5);
                    std::printf("%-6s %6d %8.2f %8.2f %+8.2f\n", on.mode == QLatin1String("gui") ? "clerks" : "floor",
                                on.clerks, a, b, a - b);
                }
        std::printf("\nThe flush=0 rounds themselves:");
        printRounds(flushOff);
        if (killCount > 0)
            printKills(flushOffKill);
    }

    // Correctness goals decide the exit code; the timings are for reading.
    bool intact = durableKill.s.missing == 0 && durableKill.s.storedTwice == 0;
    for (const roundResult &r : rounds + flushOff)
        intact = intact && r.s.partyOrphans + r.s.leaseWithoutLessor == 0 && r.s.missing == 0 && r.s.storedTwice == 0
            && r.s.addLogRows == r.t.confirmed.size() && r.t.failures.isEmpty();
    return intact ? 0 : 2;
}
