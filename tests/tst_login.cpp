// Login outcomes through the real login form against real servers: success,
// refusals, no server, and starting a local server on demand.
#include "appSettings.h"
#include "frmLogin.h"
#include "frmManageServer.h"
#include "mainWindow.h"
#include "testSupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QProcess>
#include <QPushButton>
#include <QSqlQuery>
#include <QStatusBar>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

class tst_login : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        // No box may ever wait for a click here; any that appears is recorded.
        m_boxes.reset(new modalWatcher);
        testSupport::removeSettingsFile();
        if (!testSupport::isChild())
            testSupport::resetDatabase();
    }

    void refusals_data();
    void refusals();
    void successOpensMainWindow();
    void autoStartStartsAndStopsServer();
    void rememberAndForget();
    void serverDialog_data();
    void serverDialog();
    void loginOverTcpOnly();

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

static QString statusOf(mainWindow *w) { return w->statusBar()->currentMessage(); }

// Runs the current test function again in a child process pointed at the
// given socket (and the my.cnf beside it); true in the parent once the child
// passed, false in the child, which then goes on with the test body.
static bool ranInChild(const QString &socket)
{
    if (testSupport::isChild())
        return false;
    QString function = QString::fromLatin1(QTest::currentTestFunction());
    if (QTest::currentDataTag())
        function += ':' + QString::fromUtf8(QTest::currentDataTag());
    QString output;
    if (testSupport::runInChild({function}, socket, 1, QFileInfo(socket).path(), &output) != 0)
        QTest::qFail(qPrintable("child process failed:\n" + output), __FILE__, __LINE__);
    return true;
}

static const char *const deadSocket = "/tmp/zelnor-no-server.sock";

void tst_login::refusals_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("serverUp");
    QTest::addColumn<QString>("serverCommand"); // empty: no auto-start
    QTest::addColumn<QString>("status");

    const QString wrong = "登录失败，姓名或密码错误";
    const QString down = "登录失败，原因是Mysql数据库没有启动";
    QTest::newRow("wrong password") << "root" << "nope" << "localhost" << true << "" << wrong;
    QTest::newRow("unknown operator") << "张三" << "x" << "localhost" << true << "" << wrong;
    // Left empty, the client library would log in as the system user.
    QTest::newRow("empty name") << "" << "" << "localhost" << true << "" << wrong;
    QTest::newRow("no server, no auto-start") << "root" << "" << "localhost" << false << "" << down;
    // Only the word localhost starts a server, never the loopback address.
    QTest::newRow("loopback address never auto-starts") << "root" << "" << "127.0.0.1" << false << "/bin/false" << down;
    QTest::newRow("auto-start command fails") << "root" << "" << "LocalHost" << false << "/no/such/mysqld --console"
                                              << "偿试自启动数据库失败,请确认/no/such/mysqld --console";
}

void tst_login::refusals()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    QFETCH(QString, host);
    QFETCH(bool, serverUp);
    QFETCH(QString, serverCommand);
    QFETCH(QString, status);

    if (!serverUp && ranInChild(deadSocket))
        return;
    if (!serverCommand.isEmpty()) {
        auto settings = appSettings::open();
        settings->setValue("Server/AutoStart", true);
        settings->setValue("Server/BinDir", serverCommand);
    }
    std::unique_ptr<mainWindow> window(new mainWindow);
    window->show();
    auto *form = window->findChild<frmLogin *>();
    form->serverEdit()->setText(host);
    form->nameBox()->setEditText(name);
    form->passwordEdit()->setText(password);
    form->loginButton()->click();

    QCOMPARE(statusOf(window.get()), status);
    QCOMPARE(window->level(), 10);
    QVERIFY(window->findChild<frmLogin *>()); // still there for another try
    QVERIFY(!window->serverProcess());
    QVERIFY(m_boxes->boxes.isEmpty());
}

void tst_login::successOpensMainWindow()
{
    // Auto-start and auto-stop on, but the server was already running: it
    // is neither started nor stopped.
    {
        auto settings = appSettings::open();
        settings->setValue("Server/AutoStart", true);
        settings->setValue("Server/AutoStop", true);
        settings->setValue("Server/BinDir", "/bin/sleep 60");
    }
    std::unique_ptr<mainWindow> window(testSupport::login("root", ""));
    QCOMPARE(window->level(), 0);
    QVERIFY(!window->serverProcess());
    QCOMPARE(window->statusBar()->findChildren<QLabel *>().last()->text(), QString("权限：超级用户"));
    QVERIFY(!window->findChild<frmLogin *>() || !window->findChild<frmLogin *>()->isVisible());
    QCOMPARE(window->connection().databaseName(), QString("zelnor"));
    QVERIFY(window->connection().isOpen());
    QCOMPARE(window->workDate(), testSupport::scalar("SELECT CURDATE()").toDate());
    QVERIFY(window->isMaximized());
    window->close();
    QVERIFY(testSupport::connectAsRoot());
}

// Starts a second, private server through the program's own auto-start,
// logs in on it (creating the database there) and checks that closing the
// window stops exactly that server.
void tst_login::autoStartStartsAndStopsServer()
{
    const QString script = QStringLiteral(ZELNOR_SOURCE_DIR "/scripts/local-server");
    if (!testSupport::isChild()) {
        QTemporaryDir dir("/tmp/zelnor-autostart-XXXXXX");
        const QString server = dir.path() + "/srv";
        QCOMPARE(QProcess::execute(script, {"init", server}), 0);
        ranInChild(server + "/mysqld.sock");
        QProcess::execute(script, {"stop", server}); // only if the program failed to
        return;
    }
    const QString server = QFileInfo(qEnvironmentVariable("MYSQL_UNIX_PORT")).path();
    {
        auto settings = appSettings::open();
        settings->setValue("Server/Address", "localhost");
        settings->setValue("Server/AutoStart", true);
        settings->setValue("Server/AutoStop", true);
        settings->setValue("Server/BinDir", QString("\"%1\" run \"%2\"").arg(script, server));
    }
    // A second click while the server comes up must neither start a second
    // server nor log in twice.
    QTimer::singleShot(50, [] {
        for (QWidget *top : QApplication::topLevelWidgets())
            for (frmLogin *form : top->findChildren<frmLogin *>())
                if (form->isVisible())
                    form->loginButton()->click();
    });
    QElapsedTimer clock;
    clock.start();
    std::unique_ptr<mainWindow> window(testSupport::login("root", ""));
    // The wait ends when the server answers, long before the nine-second ceiling.
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(window->level(), 0);
    QCOMPARE(testSupport::count("zelnor.log WHERE 描述='登录系统'"), 1);
    QProcess *started = window->serverProcess();
    QVERIFY(started);
    QCOMPARE(started->state(), QProcess::Running);
    QVERIFY(testSupport::count("information_schema.tables WHERE table_schema='zelnor'") >= 5);

    QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
    window->close();
    QCOMPARE(started->state(), QProcess::NotRunning);
    QVERIFY(!QFile::exists(server + "/mysqld.pid"));
}

void tst_login::rememberAndForget()
{
    std::unique_ptr<mainWindow> window(new mainWindow);
    auto *form = window->findChild<frmLogin *>();
    for (const QString &name : {"李四", "admin", ""}) { // an empty name is not remembered
        form->nameBox()->setEditText(name);
        form->rememberUser();
    }
    form->serverEdit()->setText("db.example");
    form->rememberServer();
    form->nameBox()->setEditText("从未记忆");
    form->forgetUser();
    form->nameBox()->setEditText("admin");
    form->forgetUser();

    // A new form offers what was remembered and hides the remembered server.
    window.reset(new mainWindow);
    window->show();
    form = window->findChild<frmLogin *>();
    QCOMPARE(form->nameBox()->count(), 1);
    QCOMPARE(form->nameBox()->itemText(0), QString("李四"));
    QCOMPARE(form->serverEdit()->text(), QString("db.example"));
    QVERIFY(!form->serverEdit()->isVisible());

    // 退出 closes the form with its frame: no empty sub-window is left.
    for (QPushButton *b : form->findChildren<QPushButton *>())
        if (b->text() == "退出(&E)")
            b->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(window->mdiArea()->subWindowList().isEmpty());
}

// Opens the server dialog through its menu action, as a 主管 would.
static frmManageServer *openServerDialog(mainWindow *window)
{
    window->setLevel(1);
    testSupport::menuAction(window, "配置服务器")->trigger();
    return window->findChild<frmManageServer *>();
}

void tst_login::serverDialog_data()
{
    QTest::addColumn<QByteArray>("stored"); // [Server] lines before opening
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("shown"); // checked button; file, start, stop enabled; save enabled
    QTest::addColumn<QStringList>("written");
    QTest::newRow("no settings file") << QByteArray() << "" << "本机 111 0"
        << QStringList{"Address=localhost", "BinDir=./mysql/bin/mysqld.exe", "AutoStart=false", "AutoStop=false"};
    QTest::newRow("mixed-case LocalHost") << QByteArray("Address=LocalHost\nAutoStop=true") << "" << "本机 111 0"
                                          << QStringList{"Address=localhost", "AutoStop=true"};
    QTest::newRow("stored remote") << QByteArray("Address=10.1.2.3\nBinDir=/opt/db\nAutoStart=true") << ""
        << "远程 000 0" << QStringList{"Address=10.1.2.3", "BinDir=/opt/db", "AutoStart=true"};
    // The typed address is kept; the disabled local-only values are still written.
    QTest::newRow("choosing 远程") << QByteArray("AutoStart=true") << "remote" << "远程 000 1"
                                 << QStringList{"Address=county-db", "AutoStart=true"};
    QTest::newRow("cancelled chooser empties the file") << QByteArray() << "chooser" << "本机 111 1"
                                                      << QStringList{"BinDir="};
    QTest::newRow("auto-stop") << QByteArray() << "autostop" << "本机 111 1" << QStringList{"AutoStop=true"};
    QTest::newRow("address alone does not enable saving") << QByteArray("Address=db1") << "address"
                                                          << "远程 000 0" << QStringList{"Address=db2"};
}

void tst_login::serverDialog()
{
    QFETCH(QByteArray, stored);
    QFETCH(QString, action);
    QFETCH(QString, shown);
    QFETCH(QStringList, written);
    if (!stored.isEmpty()) {
        QFile file(testSupport::settingsPath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Server]\n" + stored + "\n");
    }
    std::unique_ptr<mainWindow> window(new mainWindow);
    window->show();
    frmManageServer *form = openServerDialog(window.get());
    QVERIFY(!form->saveButton()->isEnabled());
    if (action == "remote") {
        form->remoteButton()->click();
        form->addressEdit()->setText("county-db");
    } else if (action == "chooser") {
        form->selectFileButton()->click();
        QCOMPARE(m_boxes->lastTitle(), QString("选择MYSQL服务器文件："));
        m_boxes->boxes.clear();
    } else if (action == "autostop") {
        form->autoStopBox()->click();
    } else if (action == "address") {
        form->addressEdit()->setText("db2");
    }
    const bool local = form->localButton()->isChecked();
    QCOMPARE(local, !form->remoteButton()->isChecked());
    QCOMPARE(QString("%1 %2%3%4 %5").arg(local ? "本机" : "远程").arg(form->fileEdit()->isEnabled())
                 .arg(form->autoStartBox()->isEnabled()).arg(form->autoStopBox()->isEnabled())
                 .arg(form->saveButton()->isEnabled()), shown);

    form->btSaveClicked();
    QVERIFY(!form->saveButton()->isEnabled());
    QCOMPARE(window->autoStop(), form->autoStopBox()->isChecked());
    // What another program would read: the bytes on disk, not this process's cache.
    QFile file(testSupport::settingsPath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QString &line : written)
        QVERIFY2(lines.contains(line.toUtf8()), qPrintable(line));
    QVERIFY(m_boxes->boxes.isEmpty());
}

// A branch office: the dialog points the program at a server reached over
// TCP only (127.0.0.1 with a port of its own, no socket).
void tst_login::loginOverTcpOnly()
{
    const QString script = QStringLiteral(ZELNOR_SOURCE_DIR "/scripts/local-server");
    if (!testSupport::isChild()) {
        QTemporaryDir dir("/tmp/zelnor-tcp-XXXXXX");
        const QString server = dir.path() + "/srv";
        const auto stop = qScopeGuard([&] { QProcess::execute(script, {"stop", server}); });
        QCOMPARE(QProcess::execute(script, {"start", server}), 0);
        QFile portFile(server + "/port");
        QVERIFY(portFile.open(QIODevice::ReadOnly));
        const int port = portFile.readAll().trimmed().toInt();
        QString output;
        if (testSupport::runInChild({QString::fromLatin1(QTest::currentTestFunction())}, deadSocket, port, server, &output) != 0)
            QFAIL(qPrintable("child process failed:\n" + output));
        return;
    }
    std::unique_ptr<mainWindow> window(new mainWindow);
    frmManageServer *form = openServerDialog(window.get());
    form->remoteButton()->click();
    form->addressEdit()->setText("127.0.0.1");
    form->saveButton()->click();

    window.reset(new mainWindow); // its login form reads the saved server
    window->show();
    auto *login = window->findChild<frmLogin *>();
    QVERIFY(!login->serverEdit()->isVisible());
    login->nameBox()->setEditText("root");
    login->loginButton()->click();
    QCOMPARE(window->level(), 0);
    QCOMPARE(window->connection().hostName(), QString("127.0.0.1"));
    QCOMPARE(testSupport::scalar("SELECT @@port").toInt(), qEnvironmentVariableIntValue("MYSQL_TCP_PORT"));
    QVERIFY(testSupport::count("information_schema.tables WHERE table_schema='zelnor'") >= 5);
    QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
}

QTEST_MAIN(tst_login)
#include "tst_login.moc"
