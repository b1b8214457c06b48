// The main window on the real server: key handling, the log, forms inside
// the work area, the tool bar, the help text. Operators have tst_operators.
#include "desktopFit.h"
#include "frmLogin.h"
#include "mainWindow.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

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
