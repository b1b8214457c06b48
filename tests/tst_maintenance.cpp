// Data maintenance and small settings: backup and restore with the real
// mysqldump and mysql, clearing old registrations and the background dialog.
#include "adminDriver.h"
#include "dataBackup.h"
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
        // The working file has a fixed name in the temp folder, which other
        // programs on this machine (and their tests) share.
        qputenv("TMPDIR", QFile::encodeName(m_dir.path()));
    }
    void init()
    {
        testSupport::removeSettingsFile();
        testSupport::resetDatabase();
    }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("typed");   // the name given in the save dialog
        QTest::addColumn<QString>("written"); // the file that must appear
        QTest::addColumn<QString>("account"); // empty: root, with no password
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("inTheWay"); // the working file cannot be written
        QTest::newRow("root, no dot gets .sda") << "备份" << "备份.sda" << "" << "" << false;
        // The triggers were made by root; an operator restores them as his own.
        QTest::newRow("operator, other extension is compressed") << "a.b" << "a.b" << "周操作" << "a b'c" << false;
        QTest::newRow("operator, sql, blank and quote in password") << "b.sql" << "b.sql" << "周操作" << "a b'c" << false;
        // The temporary folder is shared by every account and running program:
        // a ~mydata.sql there that this run cannot write (here a folder of that
        // name) must not stop its backup and restore. Last: the folder stays.
        QTest::newRow("another's working file in the way") << "c.sda" << "c.sda" << "" << "" << true;
    }
    void roundTrip()
    {
        QFETCH(QString, typed);
        QFETCH(QString, written);
        QFETCH(QString, account);
        QFETCH(QString, password);
        QFETCH(bool, inTheWay);
        // A quote and Chinese in values, and a column added by a supervisor.
        insertLease({"370102202500001", "2025-03-01", 120, "张伟", "13800000001", "李娜", "13900000002", "人民路1号"});
        insertLease({"370102202500002", "2025-04-01", 150, "O''Neil 商贸", "0531-1", "王强", "", "经十路2号"});
        QVERIFY(exec("ALTER TABLE leasehouse ADD 朝向 enum('南','北') DEFAULT '南'"));
        QVERIFY(exec("UPDATE leasehouse SET 朝向='北',备注='临街，二楼' WHERE 登记编号='370102202500002'"));
        if (!account.isEmpty())
            testSupport::createOperator(account, QString(password).replace("'", "''"), 2);
        std::unique_ptr<mainWindow> window(testSupport::login(account.isEmpty() ? "root" : account, password));
        const QString before = state();

        // Written over a longer file, the working file must not keep its
        // tail: the client would replay it after the backup itself.
        const QByteArray tail = QByteArray("DELETE FROM lease;\n").repeated(20000);
        QVERIFY(!inTheWay || QDir(m_dir.path()).mkdir("~mydata.sql"));
        QVERIFY(writeFile(dataBackup::workingFile(), tail));
        modalWatcher watcher(QMessageBox::Yes);
        watcher.handler = adminDriver::fileDialogAnswer(m_dir.filePath(typed));
        menuAction(window.get(), "备份业务数据")->trigger();
        QFile file(m_dir.filePath(written));
        QVERIFY(file.open(QIODevice::ReadOnly));
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
        QVERIFY(state() != before);

        QVERIFY(writeFile(dataBackup::workingFile(), tail));
        watcher.handler = adminDriver::fileDialogAnswer(m_dir.filePath(written));
        menuAction(window.get(), "恢复业务数据")->trigger();
        for (const auto &box : watcher.boxes)
            QVERIFY2(box.title != "错误", qPrintable(box.title + "|" + box.text));
        QCOMPARE(state(), before);
    }

    // Whatever a damaged .sda would still uncompress to, nothing is replayed.
    void brokenSdaChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("cut in half") << qCompress(QByteArray("DELETE FROM lease;\n").repeated(50)).left(20);
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("plain SQL named .sda") << QByteArray("DELETE FROM lease;\n");
    }
    void brokenSdaChangesNothing()
    {
        QFETCH(QByteArray, content);
        const QString path = m_dir.filePath("x.sda");
        QVERIFY(writeFile(path, content));
        insertNumbered("3701022025", 1, "2025-03-01");
        std::unique_ptr<mainWindow> window(testSupport::login());
        const QString before = state();
        const QStringList logBefore = testSupport::logRows();
        modalWatcher watcher;
        watcher.handler = adminDriver::fileDialogAnswer(path);
        window->slotRestoreData();
        QCOMPARE(state(), before);
        QCOMPARE(testSupport::logRows(), logBefore);
        QCOMPARE(watcher.lastTitle() + watcher.lastText(), "错误备份文件“" + path + "”已损坏或不完整，数据没有恢复。");
    }

    // A tool that ends with an error fails the backup or restore, and the
    // operator reads the tool's own words after the program's.
    void failingToolIsReported_data()
    {
        QTest::addColumn<QString>("password");
        QTest::addColumn<QByteArray>("script"); // empty: back up instead of restoring
        QTest::addColumn<QString>("expected");
        QTest::newRow("dump refused") << "wrong" << QByteArray() << "mysqldump程序报告错误：*Access denied*";
        QTest::newRow("script refused") << QString() << QByteArray("NOT SQL AT ALL;\n")
                                        << "mysql客户端程序报告错误：*ERROR 1064*";
    }
    void failingToolIsReported()
    {
        QFETCH(QString, password);
        QFETCH(QByteArray, script);
        QFETCH(QString, expected);
        myDatabase::account db = myDatabase().credentials();
        if (!password.isNull())
            db.password = password;
        const QString path = m_dir.filePath("tool.sql");
        QVERIFY(writeFile(path, script));
        QString problem;
        QVERIFY(!(script.isEmpty() ? dataBackup::backup(db, path, &problem) : dataBackup::restore(db, path, &problem)));
        QVERIFY2(QRegExp(expected, Qt::CaseSensitive, QRegExp::Wildcard).exactMatch(problem), qPrintable(problem));
    }

    void clearData_data()
    {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("kept"); // registrations left, the latest ones
        QTest::addColumn<bool>("refused");
        QTest::newRow("the chosen day itself is kept") << "周主管" << QDate(2022, 12, 31) << 2 << false;
        QTest::newRow("all") << "周主管" << QDate(2023, 1, 2) << 0 << false;
        QTest::newRow("apostrophe in the name is logged") << "O'Neil" << QDate(2023, 1, 2) << 0 << false;
        // The log row is refused (by a trigger standing for a full disk or a
        // broken table), so the delete is rolled back with it.
        QTest::newRow("log row fails") << "周主管" << QDate(2023, 1, 2) << 3 << true;
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
        form->yesButton()->click();
        QTEST(testSupport::count("lease"), "kept");
        // Party rows go with their registration.
        QCOMPARE(testSupport::count("leaseout") + testSupport::count("leasein") + testSupport::count("leasehouse"),
                 3 * testSupport::count("lease"));
        QCOMPARE(watcher.lastTitle(), QString(refused ? "错误" : ""));
        QVERIFY2(!refused || watcher.lastText().contains("日志表不可写"), qPrintable(watcher.lastText()));
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
