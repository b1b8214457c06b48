// Time from the login click to a usable main window (logged in, actions
// enabled, maximised), over several runs: once with the server already
// running, once with the program starting it itself (Server/AutoStart).
// The floor for the auto-start case is the same server command started by a
// minimal loop that tries to connect every 10 ms.
//
//   QT_QPA_PLATFORM=offscreen build/bench/bench_login [runs]
// It stops and starts a server of its own in /tmp/zelnor-bench-login.
#include "appSettings.h"
#include "mainWindow.h"
#include "benchServer.h"
#include "testSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <algorithm>
#include <cstdio>

static const QString script = QStringLiteral(ZELNOR_SOURCE_DIR "/scripts/local-server");

static double median(QVector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

static void report(const char *what, const QVector<double> &ms)
{
    printf("%-34s median %7.0f ms   min %7.0f   max %7.0f   (%d runs)\n", what, median(ms),
           *std::min_element(ms.begin(), ms.end()), *std::max_element(ms.begin(), ms.end()), ms.size());
}

static void stopServer() { QProcess::execute(script, {QStringLiteral("stop"), testSupport::serverDir()}); }

// One login through the real form; the window is closed again, which stops a
// server the program started (AutoStop).
static double timeLogin()
{
    QElapsedTimer clock;
    clock.start();
    std::unique_ptr<mainWindow> window(testSupport::login());
    const double ms = clock.elapsed();
    if (window->level() != 0 || !window->isMaximized()) {
        fprintf(stderr, "login did not reach the main window\n");
        exit(1);
    }
    window->close();
    QSqlDatabase::database().close();
    return ms;
}

static double timeBareStart()
{
    QElapsedTimer clock;
    clock.start();
    QProcess server;
    server.start(script, {QStringLiteral("run"), testSupport::serverDir()});
    double ms = -1;
    while (clock.elapsed() < 9000) {
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QMYSQL"), QStringLiteral("bare"));
            db.setHostName(QStringLiteral("localhost"));
            db.setUserName(QStringLiteral("root"));
            if (db.open()) {
                ms = clock.elapsed();
                db.close();
            }
        }
        QSqlDatabase::removeDatabase(QStringLiteral("bare"));
        if (ms >= 0)
            break;
        server.waitForFinished(10);
    }
    server.terminate();
    server.waitForFinished(5000);
    return ms;
}

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    testSupport::benchServer server(QStringLiteral("login"));
    if (!server.isUp())
        return 1;
    const int runs = argc > 1 ? atoi(argv[1]) : 5;
    testSupport::resetDatabase();
    QSqlDatabase::database().close();
    testSupport::removeSettingsFile();

    QVector<double> running, autoStart, bare;
    for (int i = 0; i < runs; ++i)
        running << timeLogin();

    {
        auto settings = appSettings::open();
        settings->setValue(QStringLiteral("Server/Address"), QStringLiteral("localhost"));
        settings->setValue(QStringLiteral("Server/AutoStart"), true);
        settings->setValue(QStringLiteral("Server/AutoStop"), true);
        settings->setValue(QStringLiteral("Server/BinDir"),
                           QStringLiteral("\"%1\" run \"%2\"").arg(script, testSupport::serverDir()));
    }
    for (int i = 0; i < runs; ++i) {
        stopServer();
        autoStart << timeLogin();
    }
    for (int i = 0; i < runs; ++i) {
        stopServer();
        bare << timeBareStart();
    }
    testSupport::removeSettingsFile();

    report("login, server running", running);
    report("login with auto-start", autoStart);
    report("floor: start server, first connect", bare);
    return 0;
}
