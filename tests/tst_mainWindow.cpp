// The main window on the real server: the region code, the default fee,
// the settings file, the log, forms inside the work area, the tool bar.
// Operators have tst_operators, the login form tst_login.
#include "appSettings.h"
#include "desktopFit.h"
#include "frmSetRegion.h"
#include "gbText.h"
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

    // A settings file without a valid region code: a supervisor is asked for
    // it at login (and for the office's name) and both are saved; anyone else
    // is told and cannot register until it is set. A database made by an
    // earlier installation gets the log's key at the first login of root or a
    // supervisor, the rows kept in order; a clerk's login, which lacks the
    // rights, changes nothing.
    void regionCode_data()
    {
        QTest::addColumn<QString>("stored"); // Register/Region in the file; null: no such key
        QTest::addColumn<int>("level");      // 0 root, 1 主管, 2 操作
        QTest::addColumn<QString>("typed");  // into the dialog; empty: cancelled
        QTest::addColumn<QString>("told");   // the box or dialog seen, title first
        QTest::addColumn<QString>("region"); // in the file afterwards
        QTest::addColumn<bool>("canRegister");
        const QString asked = "设置地区代码|";
        const QString tellOthers = "警告|本机还没有设置本单位的地区代码（登记编号的前6位），暂时不能办理登记备案。请主管登录本机设置。";
        QTest::newRow("new office, root sets it") << QString() << 0 << "370102" << asked << "370102" << true;
        QTest::newRow("letters, supervisor sets it") << "abc" << 1 << "330103" << asked << "330103" << true;
        QTest::newRow("five digits, supervisor cancels") << "37010" << 1 << "" << asked << "37010" << false;
        QTest::newRow("trailing letter, clerk told") << "37010x" << 2 << "" << tellOthers << "37010x" << false;
        QTest::newRow("new office, clerk told") << QString() << 2 << "" << tellOthers << "" << false;
        QTest::newRow("valid, nobody asked") << "370102" << 2 << "" << "" << "370102" << true;
    }
    void regionCode()
    {
        QFETCH(QString, stored);
        QFETCH(int, level);
        QFETCH(QString, typed);
        QFETCH(QString, told);
        QFETCH(QString, region);
        QFETCH(bool, canRegister);
        if (!stored.isNull())
            appSettings::setValue(appSettings::key::region, stored);
        if (level > 0)
            testSupport::createOperator("周操作", "pw", level);
        QVERIFY(testSupport::exec("ALTER TABLE log DROP 序号"));
        QVERIFY(testSupport::exec("INSERT INTO log VALUES (NOW(),'x','a0'),(NOW(),'x','a1')"));
        // Nothing invalid is offered for confirming: OK waits for six digits.
        bool offeredInvalid = false;
        m_boxes->handler = [&](QWidget *w) {
            auto *dialog = qobject_cast<frmSetRegion *>(w);
            if (!dialog) {
                w->close();
                return;
            }
            offeredInvalid = offeredInvalid || dialog->okButton()->isEnabled();
            if (typed.isEmpty()) {
                dialog->reject();
                return;
            }
            dialog->regionEdit()->setText(typed);
            dialog->companyEdit()->setText("城关区房屋租赁管理所");
            dialog->okButton()->click();
        };
        testSupport::presetRegion(false);
        std::unique_ptr<mainWindow> window(testSupport::login(level > 0 ? "周操作" : "root", level > 0 ? "pw" : ""));
        testSupport::presetRegion(true);
        QVERIFY(!offeredInvalid);
        QCOMPARE(m_boxes->take(), told.isEmpty() ? QStringList() : QStringList{told});
        QCOMPARE(window->region(), region.isEmpty() ? QString("000000") : region);
        QCOMPARE(appSettings::value(appSettings::key::region).toString(), region.isEmpty() ? QString("000000") : region);
        QCOMPARE(testSupport::menuAction(window.get(), "登记备案")->isEnabled(), canRegister);
        if (!typed.isEmpty()) {
            QCOMPARE(window->company(), QString("城关区房屋租赁管理所"));
            // Raw GB18030 bytes, as another program reads the file.
            QFile file(appSettings::path());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(file.readAll().contains("Company=" + gbText::encode("城关区房屋租赁管理所")));
        }
        QCOMPARE(testSupport::count("information_schema.COLUMNS WHERE TABLE_SCHEMA='zelnor' AND TABLE_NAME='log' "
                                    "AND COLUMN_NAME='序号' AND COLUMN_KEY='PRI'"),
                 level < 2 ? 1 : 0);
        if (level < 2)
            QCOMPARE(testSupport::scalar("SELECT GROUP_CONCAT(描述 ORDER BY 序号) FROM log").toString(),
                     QString("a0,a1,登录系统"));
        // The log viewer's statement still sees three columns.
        QCOMPARE(testSupport::count("information_schema.COLUMNS WHERE TABLE_SCHEMA='zelnor' AND TABLE_NAME='log' "
                                    "AND EXTRA NOT LIKE '%INVISIBLE%'"),
                 3);
    }

    // The fee a new registration proposes is a whole number from 1 to 99999.
    void defaultFee_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("proposed");
        QTest::newRow("absent") << QString() << 120;
        QTest::newRow("set") << "150" << 150;
        QTest::newRow("letters") << "abc" << 120;
        QTest::newRow("zero") << "0" << 120;
        QTest::newRow("too large") << "100000" << 120;
        QTest::newRow("largest") << "99999" << 99999;
    }
    void defaultFee()
    {
        QFETCH(QString, stored);
        if (!stored.isNull())
            appSettings::setValue(appSettings::key::price, stored);
        QTEST(appSettings::defaultFee(), "proposed");
    }

    // A settings file that is not an ini file is set aside under a name of
    // its own and the program starts from the defaults; a readable one is
    // never touched.
    void unreadableSettings_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("setAside");
        QByteArray noise;
        for (int i = 0; i < 4096; ++i)
            noise += char((i * 7919 + 13) % 256);
        QTest::newRow("random bytes") << noise << true;
        QTest::newRow("binary start") << QByteArray("\x00\x01PK\x03\x04", 7) << true;
        QTest::newRow("a readable file") << "[ToolBar]\nDisplay=false\n[Register]\nRegion=370102\n" + gbText::encode("Company=东城所\n")
                                        << false;
    }
    void unreadableSettings()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, setAside);
        {
            QFile file(appSettings::path());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
        }
        const QDir folder = QFileInfo(appSettings::path()).dir();
        for (const QString &old : folder.entryList({"ZELNOR.ini.damaged-*"}))
            QFile::remove(folder.filePath(old));
        mainWindow window;
        const QStringList aside = folder.entryList({"ZELNOR.ini.damaged-*"});
        QCOMPARE(aside.size(), setAside ? 1 : 0);
        if (setAside) {
            QFile kept(folder.filePath(aside.first()));
            QVERIFY(kept.open(QIODevice::ReadOnly));
            QCOMPARE(kept.readAll(), content);
            QCOMPARE(m_boxes->take().size(), 1);
        } else {
            QFile same(appSettings::path());
            QVERIFY(same.open(QIODevice::ReadOnly));
            QCOMPARE(same.readAll(), content);
            QCOMPARE(m_boxes->take(), QStringList());
        }
        // The tool bar follows the file: hidden as the readable one says,
        // shown by default otherwise.
        QCOMPARE(window.findChild<QToolBar *>()->isVisibleTo(&window), setAside);
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
};

QTEST_MAIN(tst_mainWindow)
#include "tst_mainWindow.moc"
