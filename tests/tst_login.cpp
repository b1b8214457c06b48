// Logins through the real login form against real servers, the server dialog,
// and creating the business database at a first login when things go wrong.
#include "appSettings.h"
#include "frmLogin.h"
#include "frmManageServer.h"
#include "mainWindow.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

// Runs the current row again in a child process pointed at a socket no server
// listens on; true in the parent once the child passed, false in the child,
// which then goes on with the row.
static bool ranWithoutServer()
{
    if (testSupport::isChild())
        return false;
    const QString row = QString::fromLatin1(QTest::currentTestFunction()) + ':' + QString::fromUtf8(QTest::currentDataTag());
    QString output;
    if (testSupport::runInChild({row}, "/tmp/zelnor-no-server.sock", 1, "/tmp", &output) != 0)
        QTest::qFail(qPrintable("child process failed:\n" + output), __FILE__, __LINE__);
    return true;
}

static const QString tableNames = "SELECT GROUP_CONCAT(table_name ORDER BY 1) FROM information_schema.tables "
                                  "WHERE table_schema='zelnor'";

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

    void outcomes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("serverUp");
        QTest::addColumn<QString>("serverCommand"); // empty: no auto-start
        QTest::addColumn<QString>("status");        // empty: logged in
        const QString wrong = "登录失败，姓名或密码错误";
        const QString down = "登录失败，原因是Mysql数据库没有启动";
        // Auto-start on, but the server is already running: none is started.
        QTest::newRow("success, server already up") << "root" << "" << "localhost" << true << "/bin/sleep 60" << "";
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

    void outcomes()
    {
        QFETCH(QString, host);
        QFETCH(bool, serverUp);
        QFETCH(QString, serverCommand);
        QFETCH(QString, status);
        if (!serverUp && ranWithoutServer())
            return;
        if (!serverCommand.isEmpty()) {
            auto settings = appSettings::open();
            settings->setValue("Server/AutoStart", true);
            settings->setValue("Server/AutoStop", true);
            settings->setValue("Server/BinDir", serverCommand);
        }
        std::unique_ptr<mainWindow> window(new mainWindow);
        window->show();
        QFETCH(QString, name);
        QFETCH(QString, password);
        testSupport::submitLogin(window.get(), name, password, host);
        QCOMPARE(window->level(), status.isEmpty() ? 0 : 10);
        QVERIFY(!window->serverProcess());
        QVERIFY(m_boxes->boxes.isEmpty());
        if (status.isEmpty())
            return;
        QCOMPARE(window->statusBar()->currentMessage(), status);
        QVERIFY(window->findChild<frmLogin *>()); // still there for another try
    }

    // Starts a second, private server through the program's own auto-start and
    // logs in on it (creating the database there); then a branch office's setup
    // points at it over TCP only (127.0.0.1, the server's own port, no socket).
    void autoStartThenTcpOnly()
    {
        if (!testSupport::isChild()) {
            QString output;
            QVERIFY2(testSupport::runOnPrivateServer({"autoStartThenTcpOnly"}, "init", &output) == 0, qPrintable(output));
            return;
        }
        const QString server = QFileInfo(qEnvironmentVariable("MYSQL_UNIX_PORT")).path();
        {
            auto settings = appSettings::open();
            settings->setValue("Server/Address", "localhost");
            settings->setValue("Server/AutoStart", true);
            settings->setValue("Server/AutoStop", true);
            settings->setValue("Server/BinDir", QString("\"%1\" run \"%2\"").arg(testSupport::serverScript(), server));
        }
        // While the server comes up the button is off, and a second login (the
        // window is repainted meanwhile) must neither start a second server nor
        // log in twice.
        QString during;
        QTimer::singleShot(50, [&during] {
            for (QWidget *top : QApplication::topLevelWidgets())
                for (frmLogin *form : top->findChildren<frmLogin *>()) {
                    during += form->loginButton()->isEnabled() ? "enabled" : "disabled";
                    form->btLoginClicked();
                }
        });
        std::unique_ptr<mainWindow> window(testSupport::login("root", ""));
        QCOMPARE(window->level(), 0);
        QCOMPARE(during, QString("disabled"));
        QCOMPARE(testSupport::count("zelnor.log WHERE 描述='登录系统'"), 1);

        // The dialog saves the remote address; a new login form reads it, hides it
        // and reaches the server over TCP (the socket is not offered for 127.0.0.1).
        auto *dialog = testSupport::openThrough<frmManageServer>(window.get(), "配置服务器");
        dialog->remoteButton()->click();
        dialog->addressEdit()->setText("127.0.0.1");
        dialog->saveButton()->click();
        {
            mainWindow branch;
            branch.show();
            QVERIFY(!branch.findChild<frmLogin *>()->serverEdit()->isVisible());
            testSupport::submitLogin(&branch, "root", "", QString());
            QCOMPARE(branch.level(), 0);
            QCOMPARE(branch.database().hostName(), QString("127.0.0.1"));
            QVERIFY(!branch.serverProcess());
        }
        QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
        window->close(); // which stops the server it started
    }

    void rememberAndForget()
    {
        std::unique_ptr<mainWindow> window(new mainWindow);
        auto *form = window->findChild<frmLogin *>();
        for (const QString &name : {"李四", "admin", ""}) { // an empty name is not remembered
            form->nameBox()->setEditText(name);
            form->rememberUser();
        }
        form->serverEdit()->setText("db.example");
        form->rememberServer();
        for (const QString &name : {"从未记忆", "admin"}) {
            form->nameBox()->setEditText(name);
            form->forgetUser();
        }
        // A new form offers what was remembered and hides the remembered server.
        window.reset(new mainWindow);
        window->show();
        form = window->findChild<frmLogin *>();
        QCOMPARE(form->nameBox()->count(), 1);
        QCOMPARE(form->nameBox()->itemText(0), QString("李四"));
        QCOMPARE(form->serverEdit()->text(), QString("db.example"));
        QVERIFY(!form->serverEdit()->isVisible());

        // 退出 closes the form with its frame: no empty sub-window is left.
        recordForm::click(form, "退出(&E)");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window->mdiArea()->subWindowList().isEmpty());
    }

    // What the operator's keys do in the name box: nothing typed there is
    // ever added to the list, completion never changes the case or the end
    // of what was typed, Enter moves on as everywhere, and the form opens
    // with the focus where typing is expected.
    void nameBox_data()
    {
        QTest::addColumn<QStringList>("remembered");
        // Typed where the focus is: <Enter>, <Keypad Enter>, <Tab>, <Alt+N> (the
        // name's shortcut), <Server> (a click into the server field).
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("openedIn"); // the field that had the focus when the form opened
        QTest::addColumn<QString>("name");     // the name box's text afterwards
        QTest::addColumn<QString>("endedIn");
        QTest::newRow("nothing remembered: the name first") << QStringList{} << QStringList{"root", "<Enter>"} << "name"
                                                            << "root" << "password";
        QTest::newRow("a name remembered: the password first") << QStringList{"root"} << QStringList{} << "password"
                                                               << "root" << "password";
        QTest::newRow("a password typed into the name box by mistake")
            << QStringList{"李四"} << QStringList{"<Alt+N>", "Root2026", "<Enter>", "<Alt+N>", "root", "<Tab>"}
            << "password" << "root" << "password";
        QTest::newRow("a remembered name in another case") << QStringList{"Root2026"}
                                                           << QStringList{"<Alt+N>", "root", "<Tab>"} << "password"
                                                           << "root" << "password";
        QTest::newRow("a remembered name that starts the same") << QStringList{"rooted"}
                                                                << QStringList{"<Alt+N>", "root", "<Enter>"}
                                                                << "password" << "root" << "password";
        // Enter moves on from every field, the password's to the button.
        QTest::newRow("Enter in the server field, then the password") << QStringList{}
            << QStringList{"<Server>", "<Enter>", "root", "<Enter>", "<Keypad Enter>"} << "name" << "root" << "button";
    }
    void nameBox()
    {
        QFETCH(QStringList, remembered);
        QFETCH(QStringList, keys);
        {
            auto settings = appSettings::open();
            for (const QString &name : remembered)
                settings->setValue("LoginUser/" + name, 1);
        }
        mainWindow window;
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto *form = window.findChild<frmLogin *>();
        QCOMPARE(form->size().expandedTo(form->minimumSizeHint()), form->size()); // opened before the window had a size
        auto focusedField = [form] {
            QWidget *focus = QApplication::focusWidget();
            if (focus && (focus == form->nameBox() || form->nameBox()->isAncestorOf(focus)))
                return QString("name");
            return QString(focus == form->passwordEdit() ? "password" : focus == form->loginButton() ? "button" : "elsewhere");
        };
        QTEST(focusedField(), "openedIn");
        for (const QString &key : keys) {
            QWidget *focus = QApplication::focusWidget();
            QVERIFY(focus);
            if (key == "<Enter>")
                QTest::keyClick(focus, Qt::Key_Return);
            else if (key == "<Keypad Enter>")
                QTest::keyClick(focus, Qt::Key_Enter);
            else if (key == "<Server>")
                form->serverEdit()->setFocus();
            else if (key == "<Tab>")
                QTest::keyClick(focus, Qt::Key_Tab);
            else if (key == "<Alt+N>")
                QTest::keyClick(focus, Qt::Key_N, Qt::AltModifier);
            else
                QTest::keyClicks(focus, key);
            QCoreApplication::processEvents(); // the main window posts Enter on as Tab
        }
        QStringList listed;
        for (int i = 0; i < form->nameBox()->count(); ++i)
            listed << form->nameBox()->itemText(i);
        QCOMPARE(listed, remembered);
        QTEST(form->nameBox()->currentText(), "name");
        QTEST(focusedField(), "endedIn");
        QCOMPARE(window.level(), 10); // no key logged in
        // What the box holds is the account the server is asked for.
        form->loginButton()->click();
        QCOMPARE(window.level(), 0);
    }

    void serverDialog_data()
    {
        QTest::addColumn<QByteArray>("stored"); // [Server] lines before opening
        QTest::addColumn<QString>("action");    // or the server command, stored through the settings
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
        // However long the folder names, the command reads whole in its field.
        QTest::newRow("a script with its data folder") << QByteArray()
                                                       << "/opt/zelnor/scripts/local-server run /opt/zelnor/local/mariadb"
                                                       << "本机 111 0" << QStringList();
        QTest::newRow("Chinese folder names") << QByteArray()
                                              << "\"/home/房管所/zelnor/scripts/local-server\" run \"/home/房管所/数据\""
                                              << "本机 111 0" << QStringList();
    }

    void serverDialog()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, action);
        QFile file(testSupport::settingsPath());
        if (!stored.isEmpty())
            QVERIFY(testSupport::writeFile(file.fileName(), "[Server]\n" + stored + "\n"));
        const bool storedCommand = action.startsWith('/') || action.startsWith('"');
        if (storedCommand)
            appSettings::setValue(appSettings::key::serverProgram, action);
        mainWindow window;
        window.showMaximized();
        window.setLevel(1); // a 主管 opens it through its menu action
        auto *form = testSupport::openThrough<frmManageServer>(&window, "配置服务器");
        QVERIFY(!form->saveButton()->isEnabled());
        // The field and its tooltip hold the whole command. With the cursor at
        // the end (the field scrolled as it needs to show it), the first
        // character is still in view: nothing scrolled away.
        QLineEdit *command = form->fileEdit();
        QVERIFY(QTest::qWaitForWindowExposed(command));
        QCOMPARE(command->toolTip(), command->text());
        QVERIFY(!storedCommand || command->text() == action);
        auto cursorX = [command] { return command->inputMethodQuery(Qt::ImCursorRectangle).toRect().center().x(); };
        command->setCursorPosition(command->text().size());
        command->repaint(); // the field scrolls when it paints
        const int end = cursorX();
        command->setCursorPosition(0);
        QVERIFY2(cursorX() >= 0 && end < command->width(), qPrintable(command->text()));
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
        QTEST(QString("%1 %2%3%4 %5").arg(local ? "本机" : "远程").arg(form->fileEdit()->isEnabled())
                  .arg(form->autoStartBox()->isEnabled()).arg(form->autoStopBox()->isEnabled())
                  .arg(form->saveButton()->isEnabled()), "shown");

        form->btSaveClicked();
        QVERIFY(!form->saveButton()->isEnabled());
        QCOMPARE(window.autoStop(), form->autoStopBox()->isChecked());
        // What another program would read: the bytes on disk, not this process's cache.
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().split('\n');
        QFETCH(QStringList, written);
        for (const QString &line : written)
            QVERIFY2(lines.contains(line.toUtf8()), qPrintable(line));
        QVERIFY(m_boxes->boxes.isEmpty());
        command->setText("/srv/other");
        QCOMPARE(command->toolTip(), QString("/srv/other"));
    }

    void missingTemplateOrClient_data()
    {
        QTest::addColumn<bool>("templateThere");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("no datamodel.sql") << false << "datamodel.sql";
        QTest::newRow("no mysql client") << true << "mysql";
    }

    void missingTemplateOrClient()
    {
        QFETCH(bool, templateThere);
        QFETCH(QString, mentions);
        testSupport::resetDatabase(false);
        QTemporaryDir work;
        if (templateThere)
            QVERIFY(QFile::copy(QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql"), work.path() + "/datamodel.sql"));
        const QString here = QDir::currentPath();
        const QByteArray path = qgetenv("PATH");
        QDir::setCurrent(work.path());
        if (templateThere) // no client then
            qputenv("PATH", work.path().toLocal8Bit());
        std::unique_ptr<mainWindow> window(testSupport::login());
        QDir::setCurrent(here);
        qputenv("PATH", path);

        // A clear message instead of an empty database that the next login
        // would take as ready.
        QCOMPARE(m_boxes->boxes.size(), 1);
        QVERIFY2((m_boxes->lastTitle() + m_boxes->lastText()).startsWith("错误无法从模板创建数据库："),
                 qPrintable(m_boxes->lastText()));
        QVERIFY2(m_boxes->lastText().contains(mentions), qPrintable(m_boxes->lastText()));
        QCOMPARE(window->level(), 10);
        testSupport::connectAsRoot();
        QCOMPARE(testSupport::count("information_schema.schemata WHERE schema_name='zelnor'"), 0);

        // Once the cause is gone, the next login creates the database, in the
        // character set and engine the data was always kept in.
        window.reset(testSupport::login());
        QCOMPARE(window->level(), 0);
        QCOMPARE(m_boxes->boxes.size(), 1);
        QCOMPARE(testSupport::scalar(tableNames).toString(), QString("lease,leasehouse,leasein,leaseout,log"));
        QCOMPARE(testSupport::scalar("SELECT DEFAULT_CHARACTER_SET_NAME FROM information_schema.schemata "
                                     "WHERE schema_name='zelnor'").toString(), QString("utf8mb3"));
        QCOMPARE(testSupport::count("information_schema.tables WHERE table_schema='zelnor' AND engine<>'InnoDB'"), 0);
    }

    // Two workstations log in to a fresh server at the same moment: both find no
    // database, both try to create it. The loser must neither fill it a second
    // time nor drop the winner's work.
    void racingLogins()
    {
        if (!testSupport::isChild()) {
            testSupport::resetDatabase(false);
            // Holding the global read lock makes both CREATE DATABASE statements
            // wait after both checks found nothing; releasing it lets them race.
            QVERIFY(testSupport::exec("FLUSH TABLES WITH READ LOCK"));
            std::unique_ptr<QProcess> one(testSupport::startChild({"racingLogins"}, testSupport::socketPath(),
                                                                  testSupport::serverPort(), testSupport::serverDir()));
            std::unique_ptr<QProcess> two(testSupport::startChild({"racingLogins"}, testSupport::socketPath(),
                                                                  testSupport::serverPort(), testSupport::serverDir()));
            const bool bothWaiting = QTest::qWaitFor(
                [] { return testSupport::count("information_schema.processlist WHERE info LIKE 'CREATE DATABASE%'") == 2; },
                30000);
            testSupport::exec("UNLOCK TABLES");
            QVERIFY(bothWaiting);
            QVERIFY(one->waitForFinished(60000) && two->waitForFinished(60000));
            const QString output = QString::fromLocal8Bit(one->readAll() + two->readAll());
            QVERIFY2(one->exitCode() == 0 && two->exitCode() == 0, qPrintable(output));
            QCOMPARE(output.count("won the race"), 1);
            QCOMPARE(output.count("lost the race"), 1);
            QCOMPARE(testSupport::scalar(tableNames).toString(), QString("lease,leasehouse,leasein,leaseout,log"));
            return;
        }
        std::unique_ptr<mainWindow> window(testSupport::login());
        if (window->level() == 0) {
            QCOMPARE(window->messageLabel()->text(),
                     QString("第一次运行，创建数据库OK。请设置打印控制、初始化用途等选择项目。"));
            qInfo("won the race");
        } else {
            QCOMPARE(m_boxes->take(), QStringList{"错误|另一台工作站正在创建数据库zelnor，请稍候重新登录。"});
            qInfo("lost the race");
        }
    }

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

QTEST_MAIN(tst_login)
#include "tst_login.moc"
