#include "benchServer.h"

#include "appSettings.h"
#include "testSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QThread>
#include <cstdio>

namespace testSupport {

namespace {

// A single number the server reports (the last column: SHOW STATUS has the
// name first), or -1.
double number(const QString &sql)
{
    QSqlQuery query;
    return query.exec(sql) && query.next() ? query.value(query.record().count() - 1).toDouble() : -1;
}

} // namespace

benchServer::benchServer(const QString &name, bool removeData)
    : m_dir(QStringLiteral("/tmp/zelnor-bench-") + name)
    , m_removeData(removeData)
{
    qputenv("ZELNOR_TEST_SERVER_DIR", m_dir.toLocal8Bit());
    m_up = QProcess::execute(serverScript(), {QStringLiteral("start"), m_dir}) == 0;
    if (!m_up)
        qWarning("could not start a server in %s", qPrintable(m_dir));
    initApplication();
    appSettings::setFolder(m_settings.path());
}

benchServer::~benchServer()
{
    {
        QSqlDatabase db = QSqlDatabase::database(QLatin1String(QSqlDatabase::defaultConnection), false);
        if (db.isValid())
            db.close();
    }
    QProcess::execute(serverScript(), {QStringLiteral("stop"), m_dir});
    if (m_removeData)
        QDir(m_dir).removeRecursively();
    appSettings::setFolder(QString());
}

} // namespace testSupport

namespace testSupport {

qint64 benchServer::settle()
{
    QElapsedTimer timer;
    timer.start();
    exec(QStringLiteral("ANALYZE TABLE lease,leaseout,leasein,leasehouse"));
    const double dirtyPct = number(QStringLiteral("SELECT @@GLOBAL.innodb_max_dirty_pages_pct"));
    const double lowWater = number(QStringLiteral("SELECT @@GLOBAL.innodb_max_dirty_pages_pct_lwm"));
    const double ioCapacity = number(QStringLiteral("SELECT @@GLOBAL.innodb_io_capacity"));
    const double ioCapacityMax = number(QStringLiteral("SELECT @@GLOBAL.innodb_io_capacity_max"));
    // At the default 200 pages a second the ten years' dirty pages took 72 s
    // to flush; nothing else is running, so the cleaner may go flat out.
    exec(QStringLiteral("SET GLOBAL innodb_io_capacity_max=100000"));
    exec(QStringLiteral("SET GLOBAL innodb_io_capacity=100000"));
    exec(QStringLiteral("SET GLOBAL innodb_max_dirty_pages_pct_lwm=0"));
    exec(QStringLiteral("SET GLOBAL innodb_max_dirty_pages_pct=0"));
    bool quiet = false;
    double dirty = -1, history = -1;
    // Quiet twice in a row, half a second apart: one idle sample can fall
    // between two flush batches.
    for (int calm = 0; !quiet && timer.elapsed() < 300000;) {
        dirty = number(QStringLiteral("SHOW GLOBAL STATUS LIKE 'Innodb_buffer_pool_pages_dirty'"));
        history = number(QStringLiteral("SHOW GLOBAL STATUS LIKE 'Innodb_history_list_length'"));
        calm = dirty == 0 && history <= 0 ? calm + 1 : 0;
        quiet = calm >= 2;
        if (!quiet)
            QThread::msleep(500);
    }
    exec(QStringLiteral("SET GLOBAL innodb_max_dirty_pages_pct=%1").arg(dirtyPct));
    exec(QStringLiteral("SET GLOBAL innodb_max_dirty_pages_pct_lwm=%1").arg(lowWater));
    exec(QStringLiteral("SET GLOBAL innodb_io_capacity=%1").arg(ioCapacity));
    exec(QStringLiteral("SET GLOBAL innodb_io_capacity_max=%1").arg(ioCapacityMax));
    if (!quiet)
        std::fprintf(stderr, "server not quiet after %lld ms: %.0f dirty pages, history %.0f\n", timer.elapsed(), dirty,
                     history);
    return quiet ? timer.elapsed() : -1;
}

} // namespace testSupport
