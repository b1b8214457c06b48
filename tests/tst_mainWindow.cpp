// The main window and its operators on the real server: account names, levels
// from real grants, the operator dialogs, what each level may use, the log.
#include "desktopFit.h"
#include "frmLogin.h"
#include "frmManageUser.h"
#include "frmUserChangePWD.h"
#include "mainWindow.h"
#include "myTableView.h"
#include "myTools.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

using testSupport::openThrough;

static QStringList listLines(frmManageUser *form)
{
    QStringList lines;
    for (int i = 0; i < form->userList()->count(); ++i)
        lines << form->userList()->item(i)->text();
    return lines;
}

// One window at a time: each login replaces the default connection.
static int loginLevel(const QString &name, const QString &password)
{
    return std::unique_ptr<mainWindow>(testSupport::login(name, password))->level();
}

class tst_mainWindow : public QObject
{
    Q_OBJECT
    std::unique_ptr<modalWatcher> m_boxes;

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(desktopFit::installQtTranslations(qApp));
    }
    void init()
    {
        m_boxes.reset(new modalWatcher);
        testSupport::removeSettingsFile();
        testSupport::resetDatabase();
    }

    void accountName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("account");
        QTest::addColumn<QString>("decoded"); // what the account name reads back as
        QTest::newRow("root stays root") << "root" << "root" << "root";
        QTest::newRow("Root is another account") << "Root" << "526f6f74" << "Root";
        QTest::newRow("chinese, GB18030 bytes") << "张三" << "d5c5c8fd" << "张三";
        QTest::newRow("four-byte GB18030") << "𠀀甲" << "95328236bcd7" << "𠀀甲";
        QTest::newRow("quote") << "O'Neil" << "4f274e65696c" << "O'Neil";
        // Bytes below 16 give one digit, so such names do not read back.
        QTest::newRow("control byte unpadded") << "a\tb" << "61962" << "a";
        QTest::newRow("empty") << "" << "" << "";
    }
    void accountName()
    {
        QFETCH(QString, name);
        QFETCH(QString, account);
        QCOMPARE(myTools::accountName(name), account);
        QTEST(myTools::displayName(account), "decoded");
        // A pair that is not hex ends the name, as a zero byte would.
        if (account != "root")
            QTEST(myTools::displayName(account + "zz41"), "decoded");
    }

    void levelFromGrants_data()
    {
        QTest::addColumn<QString>("grant"); // %1 = 'account'@'%'
        QTest::addColumn<int>("level");
        QTest::newRow("grant option only") << "GRANT SELECT ON zelnor.* TO %1 WITH GRANT OPTION" << 1;
        QTest::newRow("all") << "GRANT ALL ON zelnor.* TO %1" << 2;
        QTest::newRow("drop and execute") << "GRANT DROP, EXECUTE ON zelnor.* TO %1" << 2;
        QTest::newRow("drop without execute") << "GRANT SELECT, DROP ON zelnor.* TO %1" << 3;
        QTest::newRow("no row for the database") << "GRANT SELECT ON mysql.* TO %1" << 3;
        // Only database-level grants count: a global grant reads as 浏览.
        QTest::newRow("global rights") << "GRANT ALL ON *.* TO %1 WITH GRANT OPTION" << 3;
    }
    void levelFromGrants()
    {
        QFETCH(QString, grant);
        const QString account = myTools::accountName("王五");
        QVERIFY(testSupport::exec(QString("CREATE USER '%1'@'%' IDENTIFIED BY 'x'").arg(account)));
        QVERIFY(testSupport::exec(grant.arg(QString("'%1'@'%'").arg(account))));
        QTEST(myTools::operatorLevel(myDatabase(), account, "zelnor"), "level");
    }

    void operatorLifeCycle_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("grantedAs"); // chosen in the dialog
        QTest::addColumn<int>("level");         // read back at login
        QTest::addColumn<QString>("listedAs");  // the label a fresh list shows
        QTest::addColumn<QStringList>("enabled"); // the actions it finds enabled (the office day has the others)
        const QStringList browse{"退    出", "设置背景图片", "关于", "帮助说明", "浏览查询", "搜索查询", "操作员修改密码"};
        const QStringList operate = browse + QStringList{"登记备案", "备份业务数据", "恢复业务数据", "浏览日志",
                                                         "选择项目维护", "打印控制"};
        const QStringList all = operate + QStringList{"清理业务数据", "清理所有日志", "操作员管理", "数据字段维护",
                                                      "默认收费金额", "配置服务器"};
        QTest::newRow("主管") << "赵主管" << "主管" << 1 << "浏览" << all;
        QTest::newRow("操作") << "钱操作" << "操作" << 2 << "操作" << operate;
        QTest::newRow("浏览") << "孙浏览" << "浏览" << 3 << "主管" << browse;
        // Its account name (61646d696e) starts with a digit and stands unquoted
        // in the password statement.
        QTest::newRow("ascii name") << "admin" << "操作" << 2 << "操作" << operate;
    }
    // Create through the dialog, log in with the initial password, change it
    // through the password dialog, log in with the new one, delete the operator.
    void operatorLifeCycle()
    {
        QFETCH(QString, name);
        QFETCH(QString, grantedAs);
        QFETCH(int, level);
        QFETCH(QString, listedAs);
        {
            std::unique_ptr<mainWindow> root(testSupport::login());
            auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
            form->addButton()->click();
            QVERIFY(form->nameEdit()->isEnabled() && !form->deleteButton()->isEnabled());
            form->saveButton()->click(); // an empty name does nothing
            QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)"));
            form->nameEdit()->setText(name);
            form->levelBox()->setCurrentText(grantedAs);
            form->saveButton()->click();
            QCOMPARE(form->saveButton()->text(), QString("确定(&S)"));
            QCOMPARE(listLines(form), QStringList{name + "--" + grantedAs});
            QCOMPARE(listLines(openThrough<frmManageUser>(root.get(), "操作员管理")), QStringList{name + "--" + listedAs});
        }
        {
            std::unique_ptr<mainWindow> window(testSupport::login(name, "580213"));
            QCOMPARE(window->level(), level);
            QFETCH(QStringList, enabled);
            enabled.sort();
            QCOMPARE(testSupport::enabledActions(window.get()), enabled);
            QCOMPARE(window->statusBar()->findChildren<QLabel *>().last()->text(), "权限：" + grantedAs);
            // The log viewer shows its times as yyyy-MM-dd hh:mm:ss.
            window->slotViewLog();
            auto *view = qobject_cast<myTableView *>(window->mdiArea()->subWindowList().last()->widget());
            const QVariant when = view->model()->index(0, 0).data();
            QCOMPARE(qobject_cast<QStyledItemDelegate *>(view->itemDelegate())->displayText(when, QLocale()),
                     when.toDateTime().toString("yyyy-MM-dd hh:mm:ss"));
            auto *pwd = openThrough<frmUserChangePWD>(window.get(), "操作员修改密码");
            pwd->oldPasswordEdit()->setText("wrong");
            emit pwd->oldPasswordEdit()->editingFinished();
            QVERIFY(!pwd->newPasswordEdit()->isEnabled() && !pwd->yesButton()->isEnabled());
            pwd->oldPasswordEdit()->setText("580213");
            emit pwd->oldPasswordEdit()->editingFinished();
            QVERIFY(pwd->newPasswordEdit()->isEnabled() && pwd->confirmEdit()->isEnabled());
            pwd->newPasswordEdit()->setText("n3w-pw");
            emit pwd->newPasswordEdit()->editingFinished();
            pwd->yesButton()->click(); // confirmation still empty
            QCOMPARE(m_boxes->lastTitle() + m_boxes->lastText(), QString("警告两次密码不一致，请重新输入！"));
            pwd->confirmEdit()->setText("n3w-pw");
            pwd->yesButton()->click();
            QCOMPARE(m_boxes->boxes.size(), 1);
            QCOMPARE(window->database().password(), QString("n3w-pw"));
            if (level > 1) { // no grant option: the server refuses, nothing is added
                auto *form = new frmManageUser(window.get());
                window->openForm(form);
                form->addButton()->click();
                form->nameEdit()->setText("新人");
                form->saveButton()->click();
                QCOMPARE(m_boxes->lastTitle(), QString("错误"));
                // Both grants are refused; the box shows the last refusal, the one on the business database.
                QVERIFY2(m_boxes->lastText().startsWith("Access denied for user '" + myTools::accountName(name)
                                                        + "'@'%' to database 'zelnor'"), qPrintable(m_boxes->lastText()));
                QCOMPARE(listLines(form), QStringList{name + "--" + listedAs});
                QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)")); // still editing
            }
        }
        QCOMPARE(loginLevel(name, "n3w-pw"), level);
        {
            std::unique_ptr<mainWindow> root(testSupport::login());
            auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
            form->userList()->setCurrentRow(0);
            QCOMPARE(form->nameEdit()->text() + form->levelBox()->currentText(), name + listedAs);
            form->deleteButton()->click();
            QCOMPARE(form->saveButton()->text(), QString("确定删除(&S)"));
            form->saveButton()->click();
            QVERIFY(listLines(form).isEmpty());
            QCOMPARE(testSupport::count("log WHERE 描述='删除用户：" + name + "'"), 1);
        }
        QCOMPARE(loginLevel(name, "n3w-pw"), 10);
    }

    void enterMovesLikeTab()
    {
        mainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto *form = window.findChild<frmLogin *>();
        QCOMPARE(form->size().expandedTo(form->minimumSizeHint()), form->size()); // opened before the window had a size
        form->serverEdit()->setFocus();
        QTest::keyClick(form->serverEdit(), Qt::Key_Return);
        QVERIFY(QTest::qWaitFor([&] { return form->nameBox()->hasFocus() || form->nameBox()->lineEdit()->hasFocus(); }));
        form->passwordEdit()->setFocus();
        QTest::keyClick(form->passwordEdit(), Qt::Key_Enter);
        QVERIFY(QTest::qWaitFor([&] { return form->loginButton()->hasFocus(); }));
        QCOMPARE(window.level(), 10); // Enter moved on; it did not log in
    }

    // An operator's name is logged as it is written, apostrophe and all.
    void quoteInNameIsLogged()
    {
        testSupport::createOperator("O'Neil", "pw", 3);
        std::unique_ptr<mainWindow> window(testSupport::login("O'Neil", "pw"));
        QCOMPARE(window->level(), 3);
        window->close();
        testSupport::connectAsRoot("zelnor");
        QCOMPARE(testSupport::logRows(), (QStringList{"O'Neil|登录系统", "O'Neil|退出系统"}));
        QVERIFY(m_boxes->boxes.isEmpty());
    }

    void clearLog_data()
    {
        QTest::addColumn<int>("rowsBefore");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("insertFails");
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QString>("told"); // status bar, or the error box's title and text
        const QString done = " OK，清空日志完成！";
        QTest::newRow("several rows") << 5 << int(QMessageBox::Yes) << false << QStringList{"root|清空日志"} << done;
        QTest::newRow("already empty") << 0 << int(QMessageBox::Yes) << false << QStringList{"root|清空日志"} << done;
        QTest::newRow("answered no") << 2 << int(QMessageBox::No) << false << QStringList{"x|a0", "x|a1"} << "";
        // The delete succeeds, the insert of the record row then fails: the
        // transaction must bring the deleted rows back. (Qt's Chinese catalogue
        // translates the driver's part of the text too.)
        QTest::newRow("record row fails") << 2 << int(QMessageBox::Yes) << true << QStringList{"x|a0", "x|a1"}
                                          << "错误|Field '必填' doesn't have a default value QMYSQL: 无法执行查询";
    }
    void clearLog()
    {
        QFETCH(int, rowsBefore);
        QFETCH(bool, insertFails);
        std::unique_ptr<mainWindow> window(testSupport::login());
        testSupport::exec("DELETE FROM log");
        if (insertFails)
            QVERIFY(testSupport::exec("ALTER TABLE log ADD 必填 int NOT NULL"));
        for (int i = 0; i < rowsBefore; ++i)
            testSupport::exec(QString("INSERT INTO log SET 日期=NOW(),用户='x',描述='a%1'%2").arg(i).arg(insertFails ? ",必填=0" : ""));
        QFETCH(int, answer);
        m_boxes->answer = QMessageBox::StandardButton(answer);
        window->statusBar()->clearMessage();
        window->slotClearLog();
        const modalWatcher::seen asked = m_boxes->boxes.first();
        QCOMPARE(asked.title + "|" + asked.text, QString("确认|将清空业务日志，请注意数据备份。是否继续进行？"));
        QCOMPARE(asked.buttons, (QStringList{"是(&Y)", "否(&N)"}));
        QTEST(testSupport::logRows(), "after");
        QTEST(m_boxes->boxes.size() > 1 ? m_boxes->lastTitle() + "|" + m_boxes->lastText()
                                        : window->statusBar()->currentMessage(), "told");
    }

    // Each further window is placed lower and further right by the area.
    void formsOpenInside_data()
    {
        QTest::addColumn<QString>("action");
        for (const char *action : {"登记备案", "浏览查询", "搜索查询", "打印控制", "浏览日志", "帮助说明"})
            QTest::newRow(action) << QString(action);
    }
    void formsOpenInside()
    {
        QFETCH(QString, action);
        std::unique_ptr<mainWindow> window(testSupport::login());
        for (int i = 0; i < 3; ++i)
            testSupport::menuAction(window.get(), action)->trigger();
        QCOMPARE(window->mdiArea()->subWindowList().size(), 3);
        for (QMdiSubWindow *sub : window->mdiArea()->subWindowList())
            QVERIFY(window->mdiArea()->viewport()->rect().contains(sub->geometry()));
    }

    void toolBarSetting()
    {
        for (bool shown : {true, false}) { // hidden once, it stays hidden
            mainWindow window;
            window.show();
            QCOMPARE(window.findChild<QToolBar *>()->isVisible(), shown);
            window.findChild<QToolBar *>()->hide();
        }
        // A settings path that cannot be read as a file: every value falls back
        // to its default, the program still logs in, the write fails quietly.
        testSupport::removeSettingsFile();
        QVERIFY(QDir().mkpath(testSupport::settingsPath()));
        {
            std::unique_ptr<mainWindow> window(testSupport::login());
            QCOMPARE(window->region(), QString("000000"));
            QCOMPARE(window->level(), 0);
            QVERIFY(window->findChild<QToolBar *>()->isVisible());
            window->findChild<QToolBar *>()->hide();
        }
        QVERIFY(QDir().rmdir(testSupport::settingsPath()));
    }

    // The guide (GB18030) must also tell where the region code and the office
    // name are set, since the program has no dialog for them.
    void helpWindow()
    {
        mainWindow window; // usable before login
        testSupport::menuAction(&window, "帮助说明")->trigger();
        auto *help = qobject_cast<QTextEdit *>(window.mdiArea()->subWindowList().last()->widget());
        QVERIFY(help && help->isReadOnly());
        QCOMPARE(help->windowTitle(), QString("帮助说明"));
        for (const char *needed : {"登记备案", "ZELNOR.ini", "[Register]", "Region=", "地区代码", "Company=", "单位名称"})
            QVERIFY2(help->toPlainText().contains(QString::fromUtf8(needed)), needed);

        QTemporaryDir elsewhere;
        const QString here = QDir::currentPath();
        QDir::setCurrent(elsewhere.path());
        const int windows = window.mdiArea()->subWindowList().size();
        window.slotHelp();
        QDir::setCurrent(here);
        QCOMPARE(window.mdiArea()->subWindowList().size(), windows);
        QCOMPARE(window.statusBar()->currentMessage(), QString("打开文件“readme.txt”失败。"));
    }
};

QTEST_MAIN(tst_mainWindow)
#include "tst_mainWindow.moc"
