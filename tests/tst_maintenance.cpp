// Data maintenance through the main window: a damaged backup refused, old
// registrations cleared, and the background dialog. The backup engine's own
// work is tst_backupEngine's; a good backup, clearing and restore go through
// the window in the office day.
#include "adminDriver.h"
#include "backupEngine.h"
#include "installPaths.h"
#include "frmClearData.h"
#include "frmSetBackground.h"
#include "mainWindow.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

using testSupport::insertLease;

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

    // A damaged file is refused before a table is touched, with the file
    // named; nothing is logged.
    void brokenFileChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("sda cut in half") << "x.sda" << qCompress(QByteArray("DELETE FROM lease;\n").repeated(50)).left(20);
        QTest::newRow("sql without its closing line") << "x.sql" << QByteArray("DROP TABLE IF EXISTS leasein;\n");
    }
    void brokenFileChangesNothing()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        const QString path = m_dir.filePath(name);
        QVERIFY(testSupport::writeFile(path, content));
        insertNumbered("3701022025", 1, "2025-03-01");
        std::unique_ptr<mainWindow> window(testSupport::login());
        const QString before = testSupport::databaseState(); // the log included
        modalWatcher watcher;
        watcher.handler = adminDriver::fileDialogAnswer(path);
        window->slotRestoreData();
        QVERIFY(QTest::qWaitFor([&] { return !window->maintenanceRunning(); }, 60000));
        QCOMPARE(testSupport::databaseState(), before);
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
        const QString before = testSupport::databaseState();
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
        // The automatic backup is complete: restored, the clearing is undone.
        backupEngine engine{myDatabase()};
        engine.setTemplatePath(QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql"));
        engine.setAutomaticBackupFolder(m_dir.filePath("undo"));
        QSignalSpy finished(&engine, &backupEngine::finished);
        QVERIFY(engine.startRestore(QDir(installPaths::backupFolder()).filePath(automatic.last())) && finished.wait(60000));
        QVERIFY2(engine.succeeded(), qPrintable(engine.message()));
        QCOMPARE(testSupport::databaseState(), before);
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
