// Backup and restore of 100 000 registrations in both formats, through the
// same functions the main window's commands call. Checks that each restore
// gives back the tables as they were.
//
//   build/bench/bench_backup [--reuse]
//
// It runs on a server of its own in /tmp/zelnor-bench-backup, which is
// loaded anew unless --reuse finds it already holding the generated
// registrations. The backup files go to a temporary folder that is removed
// at the end.
#include "dataBackup.h"
#include "myDatabase.h"
#include "leaseGenerator.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <cstdio>

namespace {

QString checksums()
{
    QStringList parts;
    QSqlQuery q;
    q.exec(QStringLiteral("CHECKSUM TABLE lease, leaseout, leasein, leasehouse"));
    while (q.next())
        parts << q.value(1).toString();
    return parts.join(QLatin1Char(' '));
}

double seconds(const QElapsedTimer &timer)
{
    return timer.nsecsElapsed() / 1e9;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("backup"));
    if (!server.isUp())
        return 1;

    const int total = leaseGenerator::perRegion * int(leaseGenerator::regions.size());
    const bool reuse = app.arguments().contains(QStringLiteral("--reuse"))
        && testSupport::connectAsRoot(QStringLiteral("zelnor")) && testSupport::count(QStringLiteral("lease")) == total;
    QElapsedTimer timer;
    timer.start();
    if (!reuse) {
        testSupport::resetDatabase();
        if (!leaseGenerator::load())
            return 1;
    }
    std::printf("%s %d registrations in %.2f s\n", reuse ? "kept" : "loaded", total, seconds(timer));

    const myDatabase::account db = myDatabase().credentials();
    const QString before = checksums();
    QTemporaryDir dir;
    bool allGood = true;
    for (const QString &name : {QStringLiteral("bench.sda"), QStringLiteral("bench.sql")}) {
        const QString path = dir.filePath(name);
        QString problem;
        timer.restart();
        const bool saved = dataBackup::backup(db, path, &problem);
        const double backupSeconds = seconds(timer);
        std::printf("backup  %s  %6.2f s  %10lld bytes%s%s\n", qPrintable(name), backupSeconds,
                    QFileInfo(path).size(), saved ? "" : "  FAILED: ", qPrintable(problem));

        // Something for the restore to undo.
        myDatabase().exec(QStringLiteral("DELETE FROM lease WHERE 编号 % 2 = 0"));
        timer.restart();
        const bool restored = dataBackup::restore(db, path, &problem);
        const double restoreSeconds = seconds(timer);
        const bool same = checksums() == before;
        std::printf("restore %s  %6.2f s  working file %lld bytes%s%s%s\n", qPrintable(name), restoreSeconds,
                    QFileInfo(dataBackup::workingFile()).size(), restored ? "" : "  FAILED: ",
                    qPrintable(problem), same ? ", tables identical" : ", TABLES DIFFER");
        allGood = allGood && saved && restored && same;
    }

    // The compression's share of the .sda figures.
    QFile plain(dir.filePath(QStringLiteral("bench.sql")));
    if (plain.open(QIODevice::ReadOnly)) {
        const QByteArray sql = plain.readAll();
        timer.restart();
        const QByteArray packed = qCompress(sql, 9);
        const double packSeconds = seconds(timer);
        timer.restart();
        const QByteArray unpacked = qUncompress(packed);
        std::printf("qCompress level 9 %.2f s, qUncompress %.2f s (%lld -> %lld bytes)\n", packSeconds,
                    seconds(timer), qint64(sql.size()), qint64(packed.size()));
    }
    return allGood ? 0 : 1;
}
