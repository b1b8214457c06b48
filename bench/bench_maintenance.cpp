// Backup and restore of a decade of a city office (1 000 000 registrations)
// through the backup engine, each beside its floor, the same work done by
// the tool alone:
//   .sda and .sql backup   against  mysqldump > file
//   restore of the .sda    against  mysql < dump   (the restore counted from
//                                   the end of its automatic backup)
// For each engine job: the peak memory of this process (VmHWM, reset before
// the job) and the longest gap between two ticks of a 10 ms timer on the main
// thread, the thread that is the GUI thread in the program.
//
//   build/bench/bench_maintenance [--runs N] [--keep] [--reuse] [--only sda|sql|restore]
//
// It runs on a server of its own in /tmp/zelnor-bench-maintenance, filled
// with leaseGenerator's year and nine copies of it for the years before, and
// removed at the end unless --keep (the next run may then --reuse it). The
// backup files go to a temporary folder that is removed at the end. Every
// figure is the median of the runs; floor and program take turns going first.
#include "backupEngine.h"
#include "myDatabase.h"
#include "benchServer.h"
#include "leaseGenerator.h"
#include "sdaStream.h"
#include "testSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>
#include <map>
#include <vector>

namespace {

const int years = 10;
const QString db = QStringLiteral("zelnor");

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n == 0 ? 0 : (n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

bool run(const QString &sql)
{
    QSqlQuery query;
    if (query.exec(sql))
        return true;
    std::fprintf(stderr, "statement failed: %s\n", qPrintable(sql.left(300)));
    return false;
}

QString columnsBut(const QString &table, const QString &except)
{
    return testSupport::scalar(QStringLiteral("SELECT GROUP_CONCAT(COLUMN_NAME ORDER BY ORDINAL_POSITION) FROM "
                                              "information_schema.COLUMNS WHERE TABLE_SCHEMA='zelnor' AND TABLE_NAME='%1' "
                                              "AND COLUMN_NAME<>'%2'")
                                   .arg(table, except))
        .toString();
}

// leaseGenerator's year, then the nine years before it as copies with their
// own numbers and dates, and a log of the decade.
bool fill()
{
    testSupport::resetDatabase();
    if (!leaseGenerator::load())
        return false;
    const int last = leaseGenerator::year;
    const QString copies = QStringLiteral(" JOIN seq_1_to_%1 y").arg(years - 1);
    const QString number = QStringLiteral("CONCAT(LEFT(登记编号,6), (%1 - y.seq) * 100000 + RIGHT(登记编号,5))").arg(last);
    bool ok = run(QStringLiteral("SET unique_checks=0")) && run(QStringLiteral("BEGIN"))
        && run(QStringLiteral("INSERT INTO lease (地区,年度,编号,登记日期,有效日起,有效日止,收费金额) SELECT 地区, 年度 - y.seq, "
                              "编号, 登记日期 - INTERVAL y.seq YEAR, 有效日起 - INTERVAL y.seq YEAR, "
                              "有效日止 - INTERVAL y.seq YEAR, 收费金额 FROM lease")
               + copies + QStringLiteral(" WHERE 年度=%1").arg(last));
    for (const QString table : {QStringLiteral("leaseout"), QStringLiteral("leasein"), QStringLiteral("leasehouse")}) {
        const QString columns = columnsBut(table, QStringLiteral("登记编号"));
        ok = ok
            && run(QStringLiteral("INSERT INTO %1 (登记编号,%2) SELECT %3,%2 FROM %1").arg(table, columns, number) + copies
                   + QStringLiteral(" WHERE 登记编号 LIKE '______%1%'").arg(last));
    }
    ok = ok
        && run(QStringLiteral("INSERT INTO log (日期,用户,描述) SELECT NOW() - INTERVAL seq HOUR, 'root', "
                              "CONCAT('登记备案', seq) FROM seq_1_to_20000"))
        && run(QStringLiteral("COMMIT")) && run(QStringLiteral("SET unique_checks=1"));
    return ok;
}

QString checksums()
{
    QStringList parts;
    QSqlQuery q(QStringLiteral("CHECKSUM TABLE lease, leaseout, leasein, leasehouse, log"));
    while (q.next())
        parts << q.value(1).toString();
    return parts.join(QLatin1Char(' '));
}

double peakMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024;
    return -1;
}

// CPU seconds this process has used, all its threads.
double cpuSeconds()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The peak from here on: freed memory given back first, then the kernel's
// high-water mark set to what the process holds now.
void resetPeak()
{
    malloc_trim(0);
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

// The tool alone, with the options the engine gives it.
double toolSeconds(const QString &program, const QStringList &args, const QString &in, const QString &out)
{
    QProcess tool;
    if (!in.isEmpty())
        tool.setStandardInputFile(in);
    if (!out.isEmpty())
        tool.setStandardOutputFile(out);
    QElapsedTimer timer;
    timer.start();
    tool.start(program, args);
    tool.waitForFinished(-1);
    if (tool.exitCode() != 0)
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program), tool.readAllStandardError().constData());
    return timer.nsecsElapsed() / 1e9;
}

struct jobFigures {
    double seconds = 0;   // the whole job
    double automatic = 0; // of which its automatic backup
    double peak = 0;      // MB
    double maxGap = 0;    // ms between two ticks of the main thread's timer
    double cpu = 0;       // CPU seconds of this process
    qint64 estimate = 0;  // the first total a backup reported
    bool ok = false;
    QString message;
};

// One engine job, the main thread running its event loop meanwhile as the
// program's GUI thread does.
jobFigures runJob(backupEngine &engine, const std::function<bool()> &start)
{
    jobFigures f;
    QElapsedTimer timer, sinceTick;
    std::map<backupEngine::stage, qint64> entered;
    const auto stages = QObject::connect(&engine, &backupEngine::stageChanged, &engine,
                                         [&](backupEngine::stage s) { entered[s] = timer.nsecsElapsed(); },
                                         Qt::DirectConnection);
    const auto totals = QObject::connect(&engine, &backupEngine::progress, &engine, [&](qint64, qint64 total) {
        if (f.estimate == 0)
            f.estimate = total;
    });
    QTimer ticker;
    ticker.setInterval(10);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        f.maxGap = std::max(f.maxGap, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
    });
    QEventLoop loop;
    QObject::connect(&engine, &backupEngine::finished, &loop, &QEventLoop::quit);
    resetPeak();
    const double cpuBefore = cpuSeconds();
    timer.start();
    sinceTick.start();
    ticker.start();
    if (start())
        loop.exec();
    ticker.stop();
    f.seconds = timer.nsecsElapsed() / 1e9;
    f.cpu = cpuSeconds() - cpuBefore;
    f.peak = peakMegabytes();
    if (entered.count(backupEngine::stage::AutomaticBackup) && entered.count(backupEngine::stage::Loading))
        f.automatic = (entered[backupEngine::stage::Loading] - entered[backupEngine::stage::AutomaticBackup]) / 1e9;
    f.ok = engine.succeeded();
    f.message = engine.message();
    QObject::disconnect(stages);
    QObject::disconnect(totals);
    return f;
}

void interleaved(int runIndex, const std::function<void()> &floor, const std::function<void()> &program)
{
    if (runIndex % 2 == 0) {
        floor();
        program();
    } else {
        program();
        floor();
    }
}

qint64 sizeOf(const QString &path)
{
    return QFileInfo(path).size();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runIndex = args.indexOf(QStringLiteral("--runs"));
    const int runs = runIndex > 0 && runIndex + 1 < args.size() ? std::max(1, args.at(runIndex + 1).toInt()) : 3;
    // One job and its floor alone, for a quick look at one change.
    const int onlyIndex = args.indexOf(QStringLiteral("--only"));
    const QString only = onlyIndex > 0 ? args.value(onlyIndex + 1) : QString();
    // The restore needs the .sda backup.
    auto measured = [&](const char *job) {
        return only.isEmpty() || only == QLatin1String(job) || (only == QLatin1String("restore") && qstrcmp(job, "sda") == 0);
    };
    testSupport::benchServer server(QStringLiteral("maintenance"), !args.contains(QStringLiteral("--keep")));
    if (!server.isUp())
        return 1;

    const int total = years * leaseGenerator::perRegion * int(leaseGenerator::regions.size());
    const bool reuse = args.contains(QStringLiteral("--reuse")) && testSupport::connectAsRoot(db)
        && testSupport::count(QStringLiteral("lease")) == total;
    QElapsedTimer timer;
    timer.start();
    if (!reuse && !fill())
        return 1;
    std::printf("%s %d registrations in %.1f s\n", reuse ? "kept" : "filled", testSupport::count(QStringLiteral("lease")),
                timer.elapsed() / 1000.0);
    std::printf("server quiet after %.1f s\n", server.settle() / 1000.0);
    std::fflush(stdout);
    const QString original = checksums();

    QTemporaryDir dir;
    const QString floorSql = dir.filePath(QStringLiteral("floor.sql"));
    const QString sda = dir.filePath(QStringLiteral("engine.sda"));
    const QString sql = dir.filePath(QStringLiteral("engine.sql"));
    backupEngine engine{myDatabase()}; // root's connection on the database just filled
    engine.setAutomaticBackupFolder(dir.filePath(QStringLiteral("auto")));
    engine.setTemplatePath(QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql"));
    const QStringList login = {QStringLiteral("-u"), QStringLiteral("root"), QStringLiteral("-h"), QStringLiteral("localhost")};
    const QStringList dumpArgs = login
        + QStringList{QStringLiteral("--single-transaction"), QStringLiteral("--no-create-db"), QStringLiteral("--triggers"),
                      QStringLiteral("--comments"), QStringLiteral("--databases"), db};

    std::vector<double> dumpFloor, dumpSync, sdaTime, sqlTime, loadFloor, restoreTime, restoreCheck;
    std::vector<double> sdaPeak, sqlPeak, restorePeak, sdaGap, sqlGap, restoreGap;
    bool identical = true, allOk = true;
    qint64 estimate = 0;
    for (int r = 0; r < runs; ++r) {
        std::printf("run %d\n", r + 1);
        interleaved(r, [&] {
            dumpFloor.push_back(toolSeconds(QStringLiteral("mysqldump"), dumpArgs, QString(), floorSql));
            // A backup is on the disk when the engine reports it (QSaveFile
            // syncs before it renames); the tool alone leaves it to the cache.
            QFile written(floorSql);
            written.open(QIODevice::ReadWrite);
            QElapsedTimer sync;
            sync.start();
            ::fsync(written.handle());
            dumpSync.push_back(sync.nsecsElapsed() / 1e9);
            std::printf("  mysqldump > file       %7.2f s  %lld bytes  (then fsync %.2f s)\n", dumpFloor.back(),
                        sizeOf(floorSql), dumpSync.back());
        }, [&] {
            if (!measured("sda"))
                return;
            const jobFigures f = runJob(engine, [&] { return engine.startBackup(sda); });
            sdaTime.push_back(f.seconds);
            sdaPeak.push_back(f.peak);
            sdaGap.push_back(f.maxGap);
            allOk = allOk && f.ok;
            estimate = f.estimate;
            std::printf("  engine .sda backup     %7.2f s  %lld bytes  cpu %.1f s  peak %.0f MB  gap %.0f ms%s\n", f.seconds,
                        sizeOf(sda), f.cpu, f.peak, f.maxGap, f.ok ? "" : qPrintable(QStringLiteral("  FAILED: ") + f.message));
        });
        if (measured("sql")) {
            const jobFigures f = runJob(engine, [&] { return engine.startBackup(sql); });
            sqlTime.push_back(f.seconds);
            sqlPeak.push_back(f.peak);
            sqlGap.push_back(f.maxGap);
            allOk = allOk && f.ok;
            estimate = f.estimate;
            std::printf("  engine .sql backup     %7.2f s  %lld bytes  cpu %.1f s  peak %.0f MB  gap %.0f ms%s\n", f.seconds,
                        sizeOf(sql), f.cpu, f.peak, f.maxGap, f.ok ? "" : qPrintable(QStringLiteral("  FAILED: ") + f.message));
        }
        std::fflush(stdout);

        if (!measured("restore"))
            continue;
        // Something for each restore to undo, then a quiet server for it.
        auto spoil = [&] {
            run(QStringLiteral("DELETE FROM lease WHERE 编号 % 10 = 0"));
            server.settle();
        };
        interleaved(r, [&] {
            spoil();
            loadFloor.push_back(toolSeconds(QStringLiteral("mysql"), login + QStringList{QStringLiteral("--database"), db},
                                            floorSql, QString()));
            const bool same = checksums() == original;
            identical = identical && same;
            std::printf("  mysql < dump           %7.2f s  %s\n", loadFloor.back(), same ? "identical" : "TABLES DIFFER");
            server.settle();
        }, [&] {
            spoil();
            const jobFigures f = runJob(engine, [&] { return engine.startRestore(sda); });
            restoreTime.push_back(f.seconds - f.automatic);
            restoreCheck.push_back(f.automatic);
            restorePeak.push_back(f.peak);
            restoreGap.push_back(f.maxGap);
            const bool same = checksums() == original;
            identical = identical && same;
            allOk = allOk && f.ok;
            std::printf("  engine restore .sda    %7.2f s  (+ %.2f s automatic backup)  cpu %.1f s  peak %.0f MB  gap %.0f ms  %s%s\n",
                        f.seconds - f.automatic, f.automatic, f.cpu, f.peak, f.maxGap, same ? "identical" : "TABLES DIFFER",
                        f.ok ? "" : qPrintable(QStringLiteral("  FAILED: ") + f.message));
            server.settle();
        });
        std::fflush(stdout);
    }

    // The size against zlib's own level 9 over the same dump, and its time.
    QSaveFile reference(dir.filePath(QStringLiteral("level9.sda")));
    double level9Seconds = 0;
    if (measured("sda")) {
        QFile plain(floorSql);
        reference.open(QIODevice::WriteOnly);
        plain.open(QIODevice::ReadOnly);
        sdaStream::writer writer(&reference);
        writer.setFastSearch(false);
        timer.restart();
        writer.begin();
        while (!plain.atEnd())
            writer.write(plain.read(1 << 20));
        writer.finish();
        level9Seconds = timer.elapsed() / 1000.0;
    }
    const qint64 level9 = measured("sda") ? reference.size() : 0;
    reference.cancelWriting();

    const double d = median(dumpFloor), l = median(loadFloor);
    std::printf("\nmedians of %d runs, %d registrations, dump %.0f MB (estimated %.0f MB)\n", runs, total,
                sizeOf(floorSql) / 1e6, estimate / 1e6);
    std::printf("%-22s %9s %9s %8s %7s %9s %9s\n", "action", "engine s", "floor s", "ratio", "goal", "peak MB",
                "gap ms");
    auto row = [](const char *action, const std::vector<double> &times, double floor, const char *goal,
                  const std::vector<double> &peaks, const std::vector<double> &gaps) {
        if (!times.empty())
            std::printf("%-22s %9.2f %9.2f %7.2fx %7s %9.0f %9.0f\n", action, median(times), floor,
                        median(times) / floor, goal, median(peaks), median(gaps));
    };
    row(".sda backup", sdaTime, d, "2.00x", sdaPeak, sdaGap);
    row(".sql backup", sqlTime, d, "1.10x", sqlPeak, sqlGap);
    row("restore .sda", restoreTime, l, "1.15x", restorePeak, restoreGap);
    if (!sqlTime.empty())
        std::printf(".sql backup against mysqldump > file and its fsync (%.2f s): %.2fx\n", median(dumpSync),
                    median(sqlTime) / (d + median(dumpSync)));
    if (!restoreCheck.empty())
        std::printf("automatic backup before the restore: %.2f s\n", median(restoreCheck));
    if (level9 > 0)
        std::printf(".sda size %lld bytes, zlib level 9 %lld bytes (%+.2f %%, goal within 2 %%); level 9 took %.1f s\n",
                    sizeOf(sda), level9, 100.0 * (sizeOf(sda) - level9) / level9, level9Seconds);
    std::printf("restored tables identical: %s\n", identical ? "yes" : "NO");
    return identical && allOk ? 0 : 1;
}
