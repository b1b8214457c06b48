// The main window: actions enabled by operator level, Enter as Tab, the
// operation log and its viewer, clearing the log, the tool bar setting.
#include "appSettings.h"
#include "desktopFit.h"
#include "frmLogin.h"
#include "mainWindow.h"
#include "myTableView.h"
#include "testSupport.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QTextEdit>
#include <QToolBar>
#include <QtTest>

class tst_mainWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        QVERIFY(desktopFit::installQtTranslations(qApp));
    }
    void init()
    {
        m_boxes.reset(new modalWatcher(QMessageBox::Yes));
        testSupport::removeSettingsFile();
        testSupport::resetDatabase();
    }

    void levelEnabling_data();
    void levelEnabling();
    void enterMovesLikeTab();
    void loginAndExitAreLogged_data();
    void loginAndExitAreLogged();
    void clearLog_data();
    void clearLog();
    void formsOpenInside_data();
    void formsOpenInside();
    void toolBarHiddenStaysHidden();
    void helpWindow();
    void unreadableSettingsFile();

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

void tst_mainWindow::levelEnabling_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QStringList>("enabled");
    const QStringList always{"退    出", "设置背景图片", "关于", "帮助说明"};
    const QStringList browse = always + QStringList{"浏览查询", "搜索查询", "操作员修改密码"};
    const QStringList operate = browse + QStringList{"登记备案", "备份业务数据", "恢复业务数据", "浏览日志",
                                                     "选择项目维护", "打印控制"};
    const QStringList all = operate + QStringList{"清理业务数据", "清理所有日志", "操作员管理", "数据字段维护",
                                                  "默认收费金额", "配置服务器"};
    QTest::newRow("not logged in") << 10 << always;
    QTest::newRow("浏览") << 3 << browse;
    QTest::newRow("操作") << 2 << operate;
    QTest::newRow("主管") << 1 << all;
    QTest::newRow("超级用户") << 0 << all;
}

void tst_mainWindow::levelEnabling()
{
    QFETCH(int, level);
    QFETCH(QStringList, enabled);
    mainWindow window;
    window.setLevel(level);
    enabled.sort();
    QCOMPARE(testSupport::enabledActions(&window), enabled);
    // The tool bar holds the same action objects.
    for (QAction *a : window.findChild<QToolBar *>()->actions())
        if (!a->isSeparator())
            QCOMPARE(a->isEnabled(), enabled.contains(a->text()));
}

void tst_mainWindow::enterMovesLikeTab()
{
    mainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    auto *form = window.findChild<frmLogin *>();
    QCOMPARE(form->size().expandedTo(form->minimumSizeHint()), form->size()); // opened before the window had a size
    form->serverEdit()->setFocus();
    QTest::keyClick(form->serverEdit(), Qt::Key_Return);
    QVERIFY(testSupport::waitFor([&] { return form->nameBox()->hasFocus() || form->nameBox()->lineEdit()->hasFocus(); }));
    form->passwordEdit()->setFocus();
    QTest::keyClick(form->passwordEdit(), Qt::Key_Enter);
    QVERIFY(testSupport::waitFor([&] { return form->loginButton()->hasFocus(); }));
    QCOMPARE(window.level(), 10); // Enter moved on; it did not log in
}

void tst_mainWindow::loginAndExitAreLogged_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("logged");
    QTest::addColumn<QString>("levelLabel");
    QTest::newRow("主管") << "赵主管" << 1 << true << "权限：主管";
    QTest::newRow("操作") << "周操作" << 2 << true << "权限：操作";
    // The quote breaks the log statement; the login itself must still work.
    QTest::newRow("浏览, quote in name") << "O'Neil" << 3 << false << "权限：浏览";
}

void tst_mainWindow::loginAndExitAreLogged()
{
    QFETCH(QString, name);
    QFETCH(int, level);
    QFETCH(bool, logged);
    QFETCH(QString, levelLabel);
    testSupport::createOperator(name, "pw", level);
    std::unique_ptr<mainWindow> window(testSupport::login(name, "pw"));
    QCOMPARE(window->level(), level);
    QStringList labels;
    for (QLabel *l : window->statusBar()->findChildren<QLabel *>())
        labels << l->text();
    QCOMPARE(labels.mid(labels.size() - 2), (QStringList{"操作员：" + name, levelLabel}));
    QCOMPARE(testSupport::logRows(), logged ? QStringList{name + "|登录系统"} : QStringList());
    QVERIFY(m_boxes->boxes.isEmpty());
    if (logged) {
        // The viewer shows the row, its server time as yyyy-MM-dd hh:mm:ss.
        window->slotViewLog();
        auto *view = qobject_cast<myTableView *>(window->mdiArea()->subWindowList().last()->widget());
        QCOMPARE(view->model()->index(0, 2).data().toString(), QString("登录系统"));
        const QVariant when = view->model()->index(0, 0).data();
        QVERIFY(qAbs(when.toDateTime().secsTo(testSupport::scalar("SELECT NOW()").toDateTime())) < 60);
        QCOMPARE(qobject_cast<QStyledItemDelegate *>(view->itemDelegate())->displayText(when, QLocale()),
                 when.toDateTime().toString("yyyy-MM-dd hh:mm:ss"));
    }
    window->close();
    testSupport::connectAsRoot("zelnor");
    QCOMPARE(testSupport::logRows(), logged ? (QStringList{name + "|登录系统", name + "|退出系统"}) : QStringList());
}

void tst_mainWindow::clearLog_data()
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

void tst_mainWindow::clearLog()
{
    QFETCH(int, rowsBefore);
    QFETCH(int, answer);
    QFETCH(bool, insertFails);
    QFETCH(QStringList, after);
    QFETCH(QString, told);
    std::unique_ptr<mainWindow> window(testSupport::login());
    testSupport::exec("DELETE FROM log");
    if (insertFails)
        QVERIFY(testSupport::exec("ALTER TABLE log ADD 必填 int NOT NULL"));
    for (int i = 0; i < rowsBefore; ++i)
        testSupport::exec(QString("INSERT INTO log SET 日期=NOW(),用户='x',描述='a%1'%2").arg(i).arg(insertFails ? ",必填=0" : ""));
    m_boxes->answer = QMessageBox::StandardButton(answer);
    window->statusBar()->clearMessage();
    window->slotClearLog();
    QCOMPARE(m_boxes->boxes.first().title, QString("确认"));
    QCOMPARE(m_boxes->boxes.first().text, QString("将清空业务日志，请注意数据备份。是否继续进行？"));
    QCOMPARE(m_boxes->boxes.first().buttons, (QStringList{"是(&Y)", "否(&N)"}));
    QCOMPARE(testSupport::logRows(), after);
    QCOMPARE(m_boxes->boxes.size() > 1 ? m_boxes->lastTitle() + "|" + m_boxes->lastText()
                                       : window->statusBar()->currentMessage(), told);
}

void tst_mainWindow::formsOpenInside_data()
{
    QTest::addColumn<QString>("action");
    for (const char *action : {"登记备案", "浏览查询", "搜索查询", "打印控制", "浏览日志", "帮助说明"})
        QTest::newRow(action) << QString(action);
}

void tst_mainWindow::formsOpenInside()
{
    QFETCH(QString, action);
    std::unique_ptr<mainWindow> window(testSupport::login());
    // Each further window is placed lower and further right by the area.
    for (int i = 0; i < 3; ++i)
        for (QAction *a : window->findChildren<QAction *>())
            if (a->text() == action)
                a->trigger();
    const QRect visible = window->mdiArea()->viewport()->rect();
    QCOMPARE(window->mdiArea()->subWindowList().size(), 3);
    for (QMdiSubWindow *sub : window->mdiArea()->subWindowList())
        QVERIFY2(visible.contains(sub->geometry()),
                 qPrintable(QString("%1,%2 %3x%4").arg(sub->x()).arg(sub->y()).arg(sub->width()).arg(sub->height())));
    if (auto *view = qobject_cast<myTableView *>(window->mdiArea()->subWindowList().last()->widget())) {
        // The date and time fit in the font in use; the other widths stay.
        QVERIFY(view->columnWidth(0) >= static_cast<QAbstractItemView *>(view)->sizeHintForColumn(0));
        QCOMPARE(view->columnWidth(2), 370);
    }
}

void tst_mainWindow::toolBarHiddenStaysHidden()
{
    {
        mainWindow window;
        window.show();
        QVERIFY(window.findChild<QToolBar *>()->isVisible());
        window.findChild<QToolBar *>()->hide();
    }
    QCOMPARE(appSettings::open()->value("ToolBar/Display").toBool(), false);
    mainWindow again;
    again.show();
    QVERIFY(!again.findChild<QToolBar *>()->isVisible());
}

void tst_mainWindow::helpWindow()
{
    mainWindow window; // usable before login
    window.slotHelp();
    auto *help = qobject_cast<QTextEdit *>(window.mdiArea()->subWindowList().last()->widget());
    QVERIFY(help);
    QCOMPARE(help->windowTitle(), QString("帮助说明"));
    QVERIFY(help->isReadOnly());
    QVERIFY(help->toPlainText().contains("登记备案"));

    QTemporaryDir elsewhere;
    const QString here = QDir::currentPath();
    QDir::setCurrent(elsewhere.path());
    const int windows = window.mdiArea()->subWindowList().size();
    window.slotHelp();
    QDir::setCurrent(here);
    QCOMPARE(window.mdiArea()->subWindowList().size(), windows);
    QCOMPARE(window.statusBar()->currentMessage(), QString("打开文件“readme.txt”失败。"));
}

void tst_mainWindow::unreadableSettingsFile()
{
    // A settings path that cannot be read as a file: every value falls back
    // to its default and the program still starts and logs in.
    QVERIFY(QDir().mkpath(testSupport::settingsPath()));
    {
        std::unique_ptr<mainWindow> window(testSupport::login());
        QCOMPARE(window->region(), QString("000000"));
        QCOMPARE(window->level(), 0);
        QVERIFY(window->findChild<QToolBar *>()->isVisible());
        window->findChild<QToolBar *>()->hide(); // its write fails quietly
    }
    QVERIFY(QDir().rmdir(testSupport::settingsPath()));
}

QTEST_MAIN(tst_mainWindow)
#include "tst_mainWindow.moc"
