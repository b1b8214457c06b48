// Data maintenance and small settings: backup and restore with the real
// mysqldump and mysql, clearing old registrations and the background dialog.
#include "adminDriver.h"
#include "installPaths.h"
#include "frmClearData.h"
#include "frmSetBackground.h"
#include "mainWindow.h"
#include "myDatabase.h"
#include "testSupport.h"

#include <QSqlQuery>
#include <QtTest>
#include <QtWidgets>

using testSupport::exec;
using testSupport::insertLease;
using testSupport::menuAction;

// What a restore must bring back: the rows of the four tables, the columns a
// supervisor added, and the triggers that keep party rows in step.
static QString state()
{
    QStringList parts;
    QSqlQuery q("CHECKSUM TABLE lease, leaseout, leasein, leasehouse");
    while (q.next())
        parts << q.value(1).toString();
    parts << testSupport::scalar("SELECT GROUP_CONCAT(TABLE_NAME,COLUMN_NAME) FROM information_schema.COLUMNS "
                                 "WHERE TABLE_SCHEMA='zelnor'").toString();
    parts << testSupport::scalar("SELECT GROUP_CONCAT(TRIGGER_NAME ORDER BY TRIGGER_NAME) FROM "
                                 "information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='zelnor'").toString();
    return parts.join(" ");
}

static bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

static void insertNumbered(const QString &prefix, int serial, const QString &date)
{
    insertLease({prefix + QString("%1").arg(serial, 5, 10, QChar('0')), date, 120, "张伟", "", "李娜", "", "人民路1号"});
}

class tst_maintenance : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        // The tools' private folders go to the temporary folder; this test's own.
        qputenv("TMPDIR", QFile::encodeName(m_dir.path()));
    }
    void init()
    {
        testSupport::removeSettingsFile();
        QDir(installPaths::backupFolder()).removeRecursively();
        testSupport::resetDatabase();
    }

    // Backup and restore through the main window as an operator does: the
    // file dialogs answered, the job running on its own thread behind the
    // progress dialog, the data back as it was after changes.
    void roundTrip_data()
    {
        QTest::addColumn<QString>("typed");   // the name given in the save dialog
        QTest::addColumn<QString>("written"); // the file that must appear
        QTest::addColumn<QString>("account"); // empty: root, with no password
        QTest::addColumn<QString>("password");
        QTest::newRow("root, no dot gets .sda") << "备份" << "备份.sda" << "" << "";
        // The triggers were made by root; an operator restores them as his own.
        QTest::newRow("operator, other extension is compressed") << "a.b" << "a.b" << "周操作" << "a b'c";
        QTest::newRow("operator, sql, blank and quote in password") << "b.sql" << "b.sql" << "周操作" << "a b'c";
    }
    void roundTrip()
    {
        QFETCH(QString, typed);
        QFETCH(QString, written);
        QFETCH(QString, account);
        QFETCH(QString, password);
        // A quote and Chinese in values, and a column added by a supervisor.
        insertLease({"370102202500001", "2025-03-01", 120, "张伟", "13800000001", "李娜", "13900000002", "人民路1号"});
        insertLease({"370102202500002", "2025-04-01", 150, "O''Neil 商贸", "0531-1", "王强", "", "经十路2号"});
        QVERIFY(exec("ALTER TABLE leasehouse ADD 朝向 enum('南','北') DEFAULT '南'"));
        QVERIFY(exec("UPDATE leasehouse SET 朝向='北',备注='临街，二楼' WHERE 登记编号='370102202500002'"));
        if (!account.isEmpty())
            testSupport::createOperator(account, password, 2);
        std::unique_ptr<mainWindow> window(testSupport::login(account.isEmpty() ? "root" : account, password));
        const QString before = state();

        modalWatcher watcher(QMessageBox::Yes);
        watcher.handler = adminDriver::fileDialogAnswer(m_dir.filePath(typed));
        menuAction(window.get(), "备份业务数据")->trigger();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QCOMPARE(window->statusBar()->currentMessage(), QString(" 信息：数据备份完成！"));
        QFile file(m_dir.filePath(written));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(int(file.permissions() & (QFile::ReadGroup | QFile::ReadOther)), 0);
        QByteArray content = file.readAll();
        if (!written.endsWith(".sql")) {
            // qCompress framing: the plain length, big-endian, then zlib.
            const QByteArray plain = qUncompress(content);
            QCOMPARE(qFromBigEndian<quint32>(content.constData()), quint32(plain.size()));
            content = plain;
        }
        QVERIFY(content.contains("TRIGGER lease_delete_leaseout") && !content.contains("CREATE DATABASE"));

        // Changes after the backup: a new registration, one deleted, one edited, a column added.
        insertNumbered("3701022025", 3, "2025-05-01");
        QVERIFY(exec("DELETE FROM lease WHERE 编号=1"));
        QVERIFY(exec("UPDATE leaseout SET 出方电话='999' WHERE 登记编号='370102202500002'"));
        QVERIFY(exec("ALTER TABLE leasein ADD 工作单位 char(30)"));
        const QString changed = state();
        QVERIFY(changed != before);

        watcher.take();
        watcher.handler = adminDriver::fileDialogAnswer(m_dir.filePath(written));
        menuAction(window.get(), "恢复业务数据")->trigger();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QCOMPARE(state(), before);
        QCOMPARE(testSupport::logRows().last(), (account.isEmpty() ? "root" : account) + "|恢复数据");
        // The completion names the automatic backup of what was replaced, and
        // restoring that one brings the changes back.
        const QStringList boxes = watcher.take();
        QCOMPARE(boxes.size(), 2); // the open dialog, then the completion
        QVERIFY2(boxes.last().startsWith("信息|数据恢复完成，请重新登录！"), qPrintable(boxes.last()));
        const QStringList automatic = QDir(installPaths::backupFolder()).entryList({"*恢复前.sda"}, QDir::Files);
        QCOMPARE(automatic.size(), 1);
        const QString undo = installPaths::backupFolder() + "/" + automatic.first();
        QVERIFY2(boxes.last().contains(undo), qPrintable(boxes.last()));
        QCOMPARE(QFile(undo).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFileDevice::Permissions());
        watcher.handler = adminDriver::fileDialogAnswer(undo);
        menuAction(window.get(), "恢复业务数据")->trigger();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QCOMPARE(state(), changed);
    }

    // A damaged file is refused before a table is touched, with the file
    // named; nothing is logged.
    void brokenFileChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("sda cut in half") << "x.sda" << qCompress(QByteArray("DELETE FROM lease;\n").repeated(50)).left(20);
        QTest::newRow("empty sda") << "x.sda" << QByteArray();
        QTest::newRow("plain SQL named .sda") << "x.sda" << QByteArray("DELETE FROM lease;\n");
        QTest::newRow("sql without its closing line") << "x.sql" << QByteArray("DROP TABLE IF EXISTS leasein;\n");
    }
    void brokenFileChangesNothing()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        const QString path = m_dir.filePath(name);
        QVERIFY(writeFile(path, content));
        insertNumbered("3701022025", 1, "2025-03-01");
        std::unique_ptr<mainWindow> window(testSupport::login());
        const QString before = state();
        const QStringList logBefore = testSupport::logRows();
        modalWatcher watcher;
        watcher.handler = adminDriver::fileDialogAnswer(path);
        window->slotRestoreData();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QCOMPARE(state(), before);
        QCOMPARE(testSupport::logRows(), logBefore);
        QCOMPARE(watcher.lastTitle(), QString("错误"));
        QVERIFY2(watcher.lastText().contains(path), qPrintable(watcher.lastText()));
    }

    void clearData_data()
    {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("kept"); // registrations left, the latest ones
        QTest::addColumn<bool>("refused");
        QTest::addColumn<int>("shown"); // the count the form announces before the click
        QTest::newRow("the chosen day itself is kept") << "周主管" << QDate(2022, 12, 31) << 2 << false << 1;
        QTest::newRow("all") << "周主管" << QDate(2023, 1, 2) << 0 << false << 3;
        QTest::newRow("apostrophe in the name is logged") << "O'Neil" << QDate(2023, 1, 2) << 0 << false << 3;
        // The log row is refused (by a trigger standing for a full disk or a
        // broken table), so the delete is rolled back with it.
        QTest::newRow("log row fails") << "周主管" << QDate(2023, 1, 2) << 3 << true << 3;
    }
    void clearData()
    {
        QFETCH(QString, account);
        QFETCH(QDate, date);
        QFETCH(bool, refused);
        const QStringList dates{"2022-12-30", "2022-12-31", "2023-01-01"};
        for (int i = 0; i < dates.size(); ++i) // all numbered in 2022, whatever their date
            insertNumbered("3701022022", i + 1, dates.at(i));
        testSupport::createOperator(account, "pw", 1);
        std::unique_ptr<mainWindow> window(testSupport::login(account, "pw"));
        if (refused)
            QVERIFY(testSupport::exec("CREATE TRIGGER refuse BEFORE INSERT ON log FOR EACH ROW "
                                      "SIGNAL SQLSTATE '45000' SET MESSAGE_TEXT='日志表不可写'"));
        modalWatcher watcher;
        auto *form = testSupport::openThrough<frmClearData>(window.get(), "清理业务数据");
        QCOMPARE(form->dateEdit()->date(), QDate(window->workDate().year() - 3, 12, 31));

        form->dateEdit()->setDate(date);
        // How many the click will remove, shown before it is made.
        QFETCH(int, shown);
        QVERIFY(QTest::qWaitFor([&] { return form->countLabel()->text().startsWith(QString("将删除 %1 条登记").arg(shown)); }));
        form->yesButton()->click();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QTEST(testSupport::count("lease"), "kept");
        // Party rows go with their registration.
        QCOMPARE(testSupport::count("leaseout") + testSupport::count("leasein") + testSupport::count("leasehouse"),
                 3 * testSupport::count("lease"));
        QCOMPARE(watcher.lastTitle(), QString(refused ? "错误" : "信息"));
        QVERIFY2(!refused || watcher.lastText().contains("日志表不可写"), qPrintable(watcher.lastText()));
        // Done or not, the data as it was before is kept, and named when done.
        const QStringList automatic = QDir(installPaths::backupFolder()).entryList({"*清理前.sda"}, QDir::Files);
        QVERIFY(!automatic.isEmpty());
        QVERIFY2(refused || watcher.lastText().contains(automatic.last()), qPrintable(watcher.lastText()));
        if (!refused)
            QCOMPARE(testSupport::logRows().last(), account + "|清理" + date.toString("yyyy-MM-dd") + "之前业务数据");
        // A refused clearing can be tried again at once; a done one only for another date.
        QCOMPARE(form->yesButton()->isEnabled(), refused);
        form->dateEdit()->setDate(date.addDays(1));
        QVERIFY(form->yesButton()->isEnabled());
    }

    void background_data()
    {
        QTest::addColumn<bool>("display");
        QTest::addColumn<bool>("pickFile");
        QTest::addColumn<bool>("stretch");
        QTest::addColumn<QString>("sheet"); // while the program runs and at the next start (%1: the file)
        const QString grey = "QMdiArea { background-color: lightGray; } ";
        const QString stretched = "QMdiArea { border-image: url(%1);}";
        const QString tiled = "QMdiArea {background-image: url(%1);}";
        QTest::newRow("stretched") << true << true << true << stretched;
        QTest::newRow("tiled") << true << true << false << tiled;
        QTest::newRow("shown but no picture") << true << false << true << grey;
        QTest::newRow("picture but not shown") << false << true << true << grey;
    }
    void background()
    {
        QFETCH(bool, display);
        QFETCH(bool, pickFile);
        QFETCH(bool, stretch);
        QFETCH(QString, sheet);
        const QString picture = m_dir.filePath("背景 图.png");
        QVERIFY(QImage(40, 30, QImage::Format_RGB32).save(picture));
        {
            mainWindow window; // usable before login
            auto *form = testSupport::openThrough<frmSetBackground>(&window, "设置背景图片");
            QVERIFY(!form->saveButton()->isEnabled() && !form->openButton()->isEnabled());
            form->displayBox()->setChecked(true);
            QVERIFY(form->openButton()->isEnabled() && form->tileButton()->isEnabled() && form->saveButton()->isEnabled());
            if (pickFile) {
                modalWatcher watcher;
                watcher.handler = adminDriver::fileDialogAnswer(picture);
                form->openButton()->click();
            }
            (stretch ? form->stretchButton() : form->tileButton())->setChecked(true);
            form->displayBox()->setChecked(display);
            QCOMPARE(form->stretchButton()->isEnabled(), display);
            QCOMPARE(window.styleSheet(), sheet.arg(picture));
            form->saveButton()->click();
            QCOMPARE(window.statusBar()->currentMessage(), QString("设置已保存"));
            QVERIFY(!form->saveButton()->isEnabled());
        }
        QCOMPARE(mainWindow().styleSheet(), sheet.arg(picture));
    }
};

QTEST_MAIN(tst_maintenance)
#include "tst_maintenance.moc"
