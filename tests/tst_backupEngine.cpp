// The backup engine with the real mysqldump and mysql on the throwaway
// server: round trips, files it must refuse, a target whose disk fills up,
// the automatic backup that undoes a restore or a clearing, the password
// kept off every command line, a stream past 4 GiB and a dump written by an
// earlier installation's MySQL 5.5 on Windows.
#include "backupEngine.h"
#include "myDatabase.h"
#include "mysqlTools.h"
#include "myTools.h"
#include "sdaStream.h"
#include "testSupport.h"

#include <QtSql>
#include <QtTest>
#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <zlib.h>

using testSupport::databaseState;
using testSupport::exec;
using testSupport::readFile;
using testSupport::scalar;
using testSupport::writeFile;

namespace {

const QString templatePath = QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql");
const QString oldDump = QStringLiteral(ZELNOR_SOURCE_DIR "/tests/data/mysqldump55-windows.sql");

// Registrations made by the server, with a quote, a backslash and a line
// break among the texts, and hashes that a compressor cannot shrink much, so
// a few thousand rows give a dump of some size.
void fill(int count, int year)
{
    const QString rows = QStringLiteral(" FROM seq_1_to_%1").arg(count);
    const QString number = QStringLiteral("CONCAT('370102', %1 * 100000 + seq)").arg(year);
    QVERIFY(exec(QStringLiteral("INSERT INTO lease (地区,年度,编号,登记日期,有效日起,有效日止,收费金额) SELECT '370102', %1, seq, "
                                "MAKEDATE(%1, 1) + INTERVAL (seq MOD 365) DAY, MAKEDATE(%1, 1), MAKEDATE(%1, 365), 100 + seq MOD 50")
                     .arg(year) + rows));
    QVERIFY(exec(QStringLiteral("INSERT INTO leaseout (登记编号,出方名称,出方电话,出方地址) SELECT ") + number
                 + QStringLiteral(", CONCAT('张''伟\\\\', seq), LEFT(SHA2(seq, 256), 11), SHA2(seq + 1, 256)") + rows));
    QVERIFY(exec(QStringLiteral("INSERT INTO leasein (登记编号,承方名称,承方证件号码,户籍地址) SELECT ") + number
                 + QStringLiteral(", CONCAT('李娜', seq), LEFT(SHA2(seq * 3, 256), 18), SHA2(seq * 5, 256)") + rows));
    QVERIFY(exec(QStringLiteral("INSERT INTO leasehouse (登记编号,房屋坐落,备注) SELECT ") + number
                 + QStringLiteral(", CONCAT('人民路', seq, '号'), CONCAT('临街\\n二楼', SHA2(seq * 7, 512))") + rows));
    QVERIFY(exec(QStringLiteral("INSERT INTO log (日期,用户,描述) SELECT NOW() - INTERVAL seq MINUTE, 'root', "
                                "CONCAT('登记备案', seq) FROM seq_1_to_20")));
}

// The triggers and the lease and log keys of a database, for comparing one
// repaired with one made from the template.
QString schemaOf(const QString &database)
{
    const QString where = QStringLiteral(" WHERE TABLE_SCHEMA='%1' AND TABLE_NAME IN ('lease','log')").arg(database);
    return scalar(QStringLiteral("SELECT GROUP_CONCAT(TRIGGER_NAME,' ',ACTION_TIMING,' ',EVENT_MANIPULATION,' ',"
                                 "EVENT_OBJECT_TABLE,' ',ACTION_STATEMENT ORDER BY TRIGGER_NAME SEPARATOR '\\n') "
                                 "FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA='%1'").arg(database)).toString()
        + QLatin1Char('\n')
        + scalar(QStringLiteral("SELECT GROUP_CONCAT(TABLE_NAME,'.',INDEX_NAME,'.',NON_UNIQUE,'.',COLUMN_NAME ORDER BY "
                                "TABLE_NAME, INDEX_NAME, SEQ_IN_INDEX) FROM information_schema.STATISTICS") + where)
              .toString()
        + QLatin1Char('\n')
        + scalar(QStringLiteral("SELECT GROUP_CONCAT(COLUMN_NAME,' ',COLUMN_TYPE,' ',IS_NULLABLE,' ',EXTRA "
                                "ORDER BY ORDINAL_POSITION) FROM information_schema.COLUMNS") + where + QStringLiteral(" AND TABLE_NAME='log'"))
              .toString();
}

QString modeOf(const QString &path)
{
    struct stat info;
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? QString::number(info.st_mode & 0777, 8) : QString();
}

QByteArray compressed(const QByteArray &plain)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    sdaStream::writer writer(&buffer);
    if (!writer.begin() || !writer.write(plain) || !writer.finish())
        return QByteArray();
    return buffer.data();
}

// Runs one job to its end; false when it did not finish in time.
bool run(backupEngine &engine, const std::function<bool()> &start)
{
    QSignalSpy finished(&engine, &backupEngine::finished);
    return start() && finished.wait(180000);
}

struct session {
    myDatabase db;
};

session rootSession() { return {myDatabase()}; }

// An operator of level 操作 on a connection of his own, as after his login.
session operatorSession(const QString &password)
{
    const QString display = QStringLiteral("周操作");
    testSupport::createOperator(display, password, 2);
    myDatabase db(QStringLiteral("operator"));
    db.setAccount({QStringLiteral("localhost"), myTools::accountName(display), password, QStringLiteral("zelnor")});
    QSqlError error;
    if (!db.open(&error))
        qWarning("operator login failed: %s", qPrintable(error.text()));
    return {db};
}

} // namespace

class tst_backupEngine : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_automatic;

    std::unique_ptr<backupEngine> engineFor(const session &s)
    {
        auto engine = std::make_unique<backupEngine>(s.db);
        engine->setAutomaticBackupFolder(m_automatic);
        engine->setTemplatePath(templatePath);
        return engine;
    }

    // A backup the engine made of the current data, as plain text.
    QByteArray goodDump()
    {
        const QString path = m_dir.filePath(QStringLiteral("good.sql"));
        auto engine = engineFor(rootSession());
        if (!run(*engine, [&] { return engine->startBackup(path); }) || !engine->succeeded())
            qWarning("backup failed: %s", qPrintable(engine->message()));
        return readFile(path);
    }

private slots:
    void initTestCase()
    {
        testSupport::initApplication();
        // The tools' private folders go to the temporary folder; this test's own.
        qputenv("TMPDIR", QFile::encodeName(m_dir.path()));
        m_automatic = m_dir.filePath(QStringLiteral("自动备份"));
    }
    void init()
    {
        testSupport::resetDatabase();
        QDir(m_automatic).removeRecursively();
    }
    void cleanup()
    {
        {
            QSqlDatabase db = QSqlDatabase::database(QStringLiteral("operator"), false);
            if (db.isValid())
                db.close();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("operator"));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("password"); // null: root without a password
        QTest::newRow("sda, root") << "备份.sda" << QString();
        QTest::newRow("sql, root") << "备份.sql" << QString();
        QTest::newRow("sda, operator, quote, hash and backslash in password") << "b.sda" << "a b'c\"d\\e#f";
        QTest::newRow("sql, operator, Chinese in password") << "b.sql" << "Zx9-口令-7Q";
        QTest::newRow("other extension is compressed") << "c.bak" << QString();
    }
    void roundTrip()
    {
        QFETCH(QString, file);
        QFETCH(QString, password);
        fill(3000, 2025);
        QVERIFY(exec("ALTER TABLE leasehouse ADD 朝向 enum('南','北') DEFAULT '南'"));
        const session s = password.isNull() ? rootSession() : operatorSession(password);
        auto engine = engineFor(s);
        const QString before = databaseState();
        const QString path = m_dir.filePath(file);
        QVERIFY(writeFile(path, QByteArray("an older backup, longer than nothing")));

        // The tools get the password from a file only its owner can read, in a
        // folder only its owner can enter, gone after the job; never on a
        // command line, which every user of the machine can read. Read on the
        // job's thread while the tool runs: mysqldump waits for its full pipe
        // to be read, mysql for its input.
        struct seen {
            QString program;
            QByteArray commandLine, options;
            QString optionFile, modes;
        };
        QList<seen> started;
        connect(engine.get(), &backupEngine::toolStarted, engine.get(), [&](qint64 pid, const QString &program) {
            seen tool{program, readFile(QStringLiteral("/proc/%1/cmdline").arg(pid)), {}, {}, {}};
            for (const QByteArray &arg : tool.commandLine.split('\0'))
                if (arg.startsWith("--defaults-extra-file="))
                    tool.optionFile = QString::fromUtf8(arg.mid(int(strlen("--defaults-extra-file="))));
            tool.modes = modeOf(tool.optionFile) + "/" + modeOf(QFileInfo(tool.optionFile).absolutePath());
            tool.options = readFile(tool.optionFile);
            started << tool;
        }, Qt::DirectConnection);
        auto toolsRan = [&](const QStringList &programs) {
            QStringList ran;
            for (const seen &tool : started) {
                ran << tool.program;
                QVERIFY2(tool.commandLine.contains(s.db.userName().toUtf8()), tool.commandLine.constData());
                for (const QByteArray &arg : tool.commandLine.split('\0'))
                    QVERIFY2(!arg.startsWith("-p") && !arg.startsWith("--password"), arg.constData());
                QCOMPARE(tool.modes, QString("600/700"));
                QVERIFY(password.isNull() || (!tool.commandLine.contains(password.toUtf8()) && tool.options.contains("password=")));
                QVERIFY(!QFileInfo::exists(QFileInfo(tool.optionFile).absolutePath()));
                // Other workstations go on saving while a backup runs.
                QVERIFY(tool.program != "mysqldump" || tool.commandLine.contains("--single-transaction"));
            }
            QCOMPARE(ran, programs);
            started.clear();
        };

        QVERIFY(run(*engine, [&] { return engine->startBackup(path); }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        toolsRan({"mysqldump"});
        QCOMPARE(modeOf(path), QString("600"));
        QByteArray content = readFile(path);
        if (!file.endsWith(".sql")) {
            // Exactly what qCompress writes: qUncompress reads it.
            const QByteArray plain = qUncompress(content);
            QCOMPARE(qFromBigEndian<quint32>(content.constData()), quint32(plain.size()));
            content = plain;
        }
        QVERIFY(content.contains("TRIGGER lease_delete_leaseout") && content.contains("-- Dump completed"));

        // A new registration, one deleted, one edited, a column added.
        fill(1, 2026);
        QVERIFY(exec("DELETE FROM lease WHERE 编号 < 100"));
        QVERIFY(exec("UPDATE leaseout SET 出方电话='999' WHERE 登记编号='370102202500200'"));
        QVERIFY(exec("ALTER TABLE leasein ADD 工作单位 char(30)"));
        const QString changed = databaseState();
        QVERIFY(changed != before);

        QVERIFY(run(*engine, [&] { return engine->startRestore(path); }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        toolsRan({"mysqldump", "mysql"}); // the automatic backup, then the restore
        QCOMPARE(databaseState(), before);
        QCOMPARE(engine->repaired(), QStringList());
        QCOMPARE(engine->warning(), QString());

        // The automatic backup made before the restore undoes it.
        const QString automatic = engine->automaticBackup();
        QVERIFY(engine->message().contains(automatic));
        QCOMPARE(QFileInfo(automatic).absolutePath(), m_automatic);
        QCOMPARE(modeOf(automatic), QString("600"));
        QVERIFY(run(*engine, [&] { return engine->startRestore(automatic); }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        QCOMPARE(databaseState(), changed);
    }

    // Nothing is touched, and no automatic backup is needed, when the file is
    // not a complete dump of this database.
    void refusesIncomplete_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("problem");
        const QString noEnd = "不完整：没有mysqldump的结束行，可能备份时中断或文件被截短";
        QTest::newRow("sql cut in half") << "x.sql" << "half" << noEnd;
        QTest::newRow("sql without its closing line") << "x.sql" << "lastLine" << noEnd;
        QTest::newRow("sda of a dump cut in half") << "x.sda" << "half" << noEnd;
        QTest::newRow("sda cut in half") << "x.sda" << "cutFile" << "压缩数据没有结尾，文件不完整";
        QTest::newRow("sda short of its last byte") << "x.sda" << "lastByte" << "压缩数据没有结尾，文件不完整";
        QTest::newRow("sda with one byte changed") << "x.sda" << "flip" << "压缩数据已损坏";
        QTest::newRow("sda with a wrong length") << "x.sda" << "length" << "压缩数据已损坏";
        QTest::newRow("plain text named sda") << "x.sda" << "plain" << "不是压缩格式的备份";
        QTest::newRow("empty sda") << "x.sda" << "empty" << "文件是空的";
        QTest::newRow("dump of another database") << "x.sql" << "otherDatabase" << "是数据库other的备份，不是zelnor的";
    }
    void refusesIncomplete()
    {
        QFETCH(QString, file);
        QFETCH(QString, damage);
        QFETCH(QString, problem);
        fill(200, 2025);
        QByteArray dump = goodDump();
        QVERIFY(dump.endsWith("\n"));
        if (damage == "half")
            dump = dump.left(dump.size() / 2);
        else if (damage == "lastLine")
            dump = dump.left(dump.lastIndexOf("-- Dump completed"));
        else if (damage == "otherDatabase")
            dump.replace("USE `zelnor`;", "USE `other`;");
        QByteArray content = dump;
        if (file.endsWith(".sda") && damage != "plain")
            content = damage == "empty" ? QByteArray() : compressed(dump);
        if (damage == "cutFile")
            content = content.left(content.size() / 2);
        else if (damage == "lastByte")
            content.chop(1);
        else if (damage == "flip")
            content[content.size() / 2] = char(content.at(content.size() / 2) ^ 0x20);
        else if (damage == "length")
            content[3] = char(content.at(3) + 1);
        const QString path = m_dir.filePath(file);
        QVERIFY(writeFile(path, content));

        QVERIFY(exec("DELETE FROM lease WHERE 编号 < 50"));
        const QString before = databaseState();
        auto engine = engineFor(rootSession());
        QVERIFY(run(*engine, [&] { return engine->startRestore(path); }));
        QVERIFY(!engine->succeeded());
        QCOMPARE(engine->message(), "备份文件“" + path + "”" + problem + "，数据没有恢复。");
        QCOMPARE(databaseState(), before);
        QCOMPARE(backupEngine::automaticBackups(m_automatic), QStringList());
    }

    // However a backup fails, the file it would have replaced stays as it
    // was, and nothing half-written is left beside it.
    void failedBackupKeepsOldFile_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("problem");
        QTest::newRow("disk fills up, sda") << "x.sda" << "full" << "磁盘空间不足，无法写完“%1”";
        QTest::newRow("disk fills up, sql") << "x.sql" << "full" << "磁盘空间不足，无法写完“%1”";
        // Ended normally, yet its output stops short: what a tool or a pipe
        // in between that fails quietly would leave.
        QTest::newRow("dump cut short, exit code 0, sda") << "x.sda" << "cutShort" << "mysqldump程序的输出没有结束行，备份不完整";
        QTest::newRow("dump cut short, exit code 0, sql") << "x.sql" << "cutShort" << "mysqldump程序的输出没有结束行，备份不完整";
        QTest::newRow("cancelled") << "x.sda" << "cancel" << "备份已取消";
        QTest::newRow("mysqldump refused") << "x.sql" << "wrongPassword"
                                           << "mysqldump程序报告错误：\nmysqldump: Got error: 1045: \"Access denied for "
                                              "user 'root'@'localhost'…";
    }
    void failedBackupKeepsOldFile()
    {
        QFETCH(QString, file);
        QFETCH(QString, failure);
        QFETCH(QString, problem);
        fill(4000, 2025);
        QTemporaryDir scratch(m_dir.filePath("small-XXXXXX"));
        const QString folder = scratch.path();
        // A file system of 192 KiB: the old backup fits, a new one does not.
        bool mounted = false;
        struct rlimit oldLimit;
        getrlimit(RLIMIT_FSIZE, &oldLimit);
        if (failure == "full") {
            mounted = ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=192k,mode=0700") == 0;
            if (!mounted) {
                // Without the right to mount, a file-size limit fails the
                // writes the same way, with another error.
                std::signal(SIGXFSZ, SIG_IGN);
                problem.clear();
            }
        }
        const QString path = QDir(folder).filePath(file);
        QByteArray old(100 * 1024, Qt::Uninitialized);
        for (int i = 0; i < old.size(); ++i)
            old[i] = char(i * 7919 >> 3);
        QVERIFY(writeFile(path, old));
        if (failure == "full" && !mounted) {
            struct rlimit limit = oldLimit;
            limit.rlim_cur = 192 * 1024;
            setrlimit(RLIMIT_FSIZE, &limit);
        }

        // The program finds the tools on the search path.
        const QByteArray path0 = qgetenv("PATH");
        if (failure == "cutShort") {
            const QString wrapper = scratch.filePath("bin/mysqldump");
            QVERIFY(QDir().mkpath(scratch.filePath("bin")));
            QVERIFY(writeFile(wrapper, "#!/bin/sh\n'" + QStandardPaths::findExecutable("mysqldump").toUtf8()
                                           + "' \"$@\" | head -c 100000\n"));
            QVERIFY(QFile::setPermissions(wrapper, QFile::ReadOwner | QFile::ExeOwner));
            qputenv("PATH", QFile::encodeName(scratch.filePath("bin")) + ':' + path0);
        }
        session s = rootSession();
        if (failure == "wrongPassword") {
            s.db = myDatabase("wrongPassword");
            s.db.setAccount({"localhost", "root", "wrong", "zelnor"});
        }
        auto engine = engineFor(s);
        if (failure == "cancel")
            connect(engine.get(), &backupEngine::toolStarted, engine.get(), [&] { engine->cancel(); }, Qt::DirectConnection);
        const bool finished = run(*engine, [&] { return engine->startBackup(path); });
        setrlimit(RLIMIT_FSIZE, &oldLimit);
        qputenv("PATH", path0);
        const QByteArray after = readFile(path);
        const QStringList files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        if (mounted)
            ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH);
        QVERIFY(finished);
        QVERIFY(!engine->succeeded());
        const QString untouched = "。原来的文件“" + path + "”没有改动。";
        if (problem.isEmpty())
            QVERIFY2(engine->message().startsWith("备份没有完成：") && engine->message().endsWith(untouched),
                     qPrintable(engine->message()));
        else
            QCOMPARE(engine->message(), "备份没有完成：" + (problem.contains("%1") ? problem.arg(path) : problem) + untouched);
        QVERIFY(after == old);
        QCOMPARE(files, QStringList(file));
    }

    // A restore stops when asked only until it begins to change tables; a
    // clearing only until it deletes.
    void cancelling_data()
    {
        QTest::addColumn<QString>("job");
        QTest::addColumn<QString>("cancelAt");
        QTest::addColumn<QString>("stages");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<bool>("changed");
        QTest::newRow("restore while checking") << "restore" << "Checking" << "Checking+" << false << false;
        QTest::newRow("restore while backing up") << "restore" << "AutomaticBackup" << "Checking+ AutomaticBackup+"
                                                  << false << false;
        QTest::newRow("restore while loading") << "restore" << "Loading"
                                               << "Checking+ AutomaticBackup+ Loading- Repairing-" << true << true;
        QTest::newRow("clearing while backing up") << "clear" << "AutomaticBackup" << "AutomaticBackup+" << false
                                                   << false;
        QTest::newRow("clearing while deleting") << "clear" << "Clearing" << "AutomaticBackup+ Clearing-" << true
                                                 << true;
    }
    void cancelling()
    {
        QFETCH(QString, job);
        QFETCH(QString, cancelAt);
        QFETCH(QString, stages);
        QFETCH(bool, ok);
        QFETCH(bool, changed);
        fill(500, 2025);
        const QString path = m_dir.filePath("c.sda");
        auto engine = engineFor(rootSession());
        QVERIFY(run(*engine, [&] { return engine->startBackup(path); }) && engine->succeeded());
        QVERIFY(exec("DELETE FROM lease WHERE 编号 < 100"));
        const QString before = databaseState();

        // Each stage as entered, + where it can still be cancelled, - where not.
        QStringList seen;
        connect(engine.get(), &backupEngine::stageChanged, engine.get(), [&](backupEngine::stage stage) {
            const QString name = QMetaEnum::fromType<backupEngine::stage>().valueToKey(int(stage));
            seen << name + (engine->canCancel() ? "+" : "-");
            if (name == cancelAt)
                engine->cancel();
        }, Qt::DirectConnection);
        QVERIFY(run(*engine, [&] {
            return job == "restore" ? engine->startRestore(path) : engine->startClearing(QDate(2026, 1, 1), "root");
        }));
        QCOMPARE(seen.join(' '), stages);
        QCOMPARE(engine->succeeded(), ok);
        QCOMPARE(databaseState() != before, changed);
        QVERIFY(!engine->isRunning() && !engine->canCancel());
        // A job that stopped before it made its automatic backup left none.
        QCOMPARE(backupEngine::automaticBackups(m_automatic).size(), ok ? 1 : 0);
    }

    // Loading can still fail half-way (here a statement the server refuses
    // near the end): the operator learns why, and the automatic backup puts
    // the data back as it was.
    void failedLoadIsUndone()
    {
        fill(300, 2025);
        QByteArray dump = goodDump();
        dump.insert(dump.lastIndexOf("-- Dump completed"), "INSERT INTO lease VALUES (not sql);\n");
        const QString path = m_dir.filePath("bad.sql");
        QVERIFY(writeFile(path, dump));
        QVERIFY(exec("DELETE FROM lease WHERE 编号 < 100"));
        const QString before = databaseState();
        auto engine = engineFor(rootSession());
        QVERIFY(run(*engine, [&] { return engine->startRestore(path); }));
        QVERIFY(!engine->succeeded());
        const QString automatic = engine->automaticBackup();
        // The client's error in words, the statement it echoed left out.
        QVERIFY2(QRegularExpression("^恢复没有完成：mysql客户端程序报告错误：\n[^\n]*句法错误[^\n]*ERROR 1064[^\n]*\n数据库可能只恢复了一部分。恢复前的数据已"
                                    "自动备份到“" + QRegularExpression::escape(automatic) + "”，可以用它恢复原来的数据。$")
                     .match(engine->message()).hasMatch(),
                 qPrintable(engine->message()));
        QVERIFY(databaseState() != before);
        QVERIFY(run(*engine, [&] { return engine->startRestore(automatic); }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        QCOMPARE(databaseState(), before);
    }

    // The newest ten automatic backups stay, other files are left alone, and
    // the one being restored is never removed under the restore.
    void automaticBackupsKept_data()
    {
        QTest::addColumn<bool>("restoreOldest");
        QTest::addColumn<int>("kept");
        QTest::newRow("a clearing keeps the newest ten") << false << 10;
        QTest::newRow("the backup being restored stays") << true << 11;
    }
    void automaticBackupsKept()
    {
        QFETCH(bool, restoreOldest);
        QFETCH(int, kept);
        fill(50, 2025);
        const QByteArray backup = compressed(goodDump());
        QVERIFY(QDir().mkpath(m_automatic));
        QStringList old;
        for (int i = 0; i < 12; ++i) {
            old << backupEngine::automaticBackupName(QDateTime(QDate(2020, 1, 1), QTime(8, 0, i)), i % 2 ? "恢复前" : "清理前");
            QVERIFY(writeFile(QDir(m_automatic).filePath(old.last()), backup));
        }
        const QStringList others = {"说明.txt", "20200101-080000-其他.sda", "备份.sda"};
        for (const QString &name : others)
            QVERIFY(writeFile(QDir(m_automatic).filePath(name), "x"));

        auto engine = engineFor(rootSession());
        QVERIFY(run(*engine, [&] {
            return restoreOldest ? engine->startRestore(QDir(m_automatic).filePath(old.first()))
                                 : engine->startClearing(QDate(2000, 1, 1), "root");
        }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        QStringList expected = QStringList{QFileInfo(engine->automaticBackup()).fileName()};
        for (int i = 11; i >= 3; --i)
            expected << old.at(i);
        if (restoreOldest)
            expected << old.first();
        QCOMPARE(backupEngine::automaticBackups(m_automatic), expected);
        QCOMPARE(expected.size(), kept);
        for (const QString &name : others)
            QVERIFY(QFileInfo::exists(QDir(m_automatic).filePath(name)));
    }

    // A backup from an earlier installation: MySQL 5.5's mysqldump on
    // Windows (CRLF, version comments, LOCK TABLES, int(11)), tables of an
    // older template with neither the unique key, nor the delete triggers,
    // nor the log's key. It restores, and the check afterwards adds them
    // exactly as the template defines them, or says what blocks one.
    void oldInstallationDump_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<QStringList>("repaired");
        QTest::addColumn<QString>("warning");
        const QStringList triggersAndLog = {"触发器“lease_delete_leaseout”", "触发器“lease_delete_leasein”",
                                            "触发器“lease_delete_leasehouse”", "log表的“序号”列"};
        QTest::newRow("as written") << QByteArray() << QByteArray() << (QStringList{"唯一索引“登记编号”"} + triggersAndLog)
                                    << QString();
        QTest::newRow("a number twice blocks the key")
            << QByteArray("('370102',2012,2,") << QByteArray("('370102',2012,1,") << triggersAndLog
            << "登记编号有重复，无法建立唯一索引“登记编号”：370102201200001（2条）。重复的编号改正或删除之前，同一编号仍可能再次登记。";
    }
    void oldInstallationDump()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(QStringList, repaired);
        QFETCH(QString, warning);
        QByteArray dump = readFile(oldDump);
        QVERIFY(dump.contains("\r\n") && dump.contains("5.5.62"));
        if (!from.isEmpty()) {
            QVERIFY(dump.contains(from));
            dump.replace(from, to);
        }
        const QString path = m_dir.filePath("旧系统.sda");
        QVERIFY(writeFile(path, compressed(dump)));
        fill(10, 2025);

        auto engine = engineFor(rootSession());
        QVERIFY(run(*engine, [&] { return engine->startRestore(path); }));
        QVERIFY2(engine->succeeded(), qPrintable(engine->message()));
        QCOMPARE(engine->repaired(), repaired);
        QCOMPARE(engine->warning(), warning);
        QCOMPARE(testSupport::tableCounts(), QString("4/4/4/4/3"));
        QCOMPARE(scalar("SELECT CONCAT_WS('|',出方名称,承方名称,房屋坐落,备注) FROM leaseout JOIN leasein USING (登记编号) "
                        "JOIN leasehouse USING (登记编号) WHERE 登记编号='370102201200002'").toString(),
                 QString("O'Neil 商贸|王强|济南市历下区经十路2号3单元|临街，二楼\r\n带仓库"));
        QCOMPARE(scalar("SELECT 出方地址 FROM leaseout WHERE 登记编号='370102201300001'").toString(),
                 QString("C:\\new\\table\\01"));
        // Numbered in the order the rows were stored.
        QCOMPARE(scalar("SELECT GROUP_CONCAT(序号 ORDER BY 日期) FROM log").toString(), QString("1,2,3"));

        // The same triggers and keys as a database made from the template.
        QVERIFY(exec("DROP DATABASE IF EXISTS zelnor_ref"));
        QVERIFY(exec("CREATE DATABASE zelnor_ref DEFAULT CHARACTER SET utf8"));
        {
            QString problem;
            QVERIFY2(mysqlTools::runScript({"localhost", "root", QString(), "zelnor_ref"}, templatePath, &problem),
                     qPrintable(problem));
        }
        QString expected = schemaOf("zelnor_ref");
        QVERIFY(exec("DROP DATABASE zelnor_ref"));
        if (!warning.isEmpty())
            expected.replace("lease.登记编号.0.地区,lease.登记编号.0.年度,lease.登记编号.0.编号,", "");
        QCOMPARE(schemaOf("zelnor"), expected);

        // The triggers work: a cleared registration takes its party rows.
        QVERIFY(exec("DELETE FROM lease WHERE 年度=2013"));
        QCOMPARE(testSupport::tableCounts(), QString("2/2/2/2/3"));
    }

    // The writer's output is what qCompress writes and qUncompress reads,
    // and the reader takes what qCompress wrote: earlier installations'
    // backups stay readable and new ones stay readable by them.
    void qtCompatible_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("one byte") << 1;
        QTest::newRow("less than a block") << 100000;
        QTest::newRow("exactly one block") << sdaStream::writer::blockSize;
        QTest::newRow("several blocks and a bit") << 3 * sdaStream::writer::blockSize + 17;
    }
    void qtCompatible()
    {
        QFETCH(int, size);
        QByteArray plain;
        for (int i = 0; plain.size() < size; ++i)
            plain += "INSERT INTO `lease` VALUES ('370102',2025," + QByteArray::number(i * 7919 % 100003) + ");\n";
        plain.truncate(size);
        const QByteArray ours = compressed(plain);
        QCOMPARE(qUncompress(ours), plain);
        // No worse than qCompress at level 9 by more than the sync markers.
        QVERIFY2(ours.size() <= qCompress(plain, 9).size() * 1.02 + 64, qPrintable(QString::number(ours.size())));

        QBuffer theirs;
        theirs.setData(qCompress(plain, 9));
        theirs.open(QIODevice::ReadOnly);
        QByteArray read;
        quint64 plainSize = 0;
        QCOMPARE(sdaStream::read(&theirs, [&](const char *data, qint64 n) { read.append(data, int(n)); return true; },
                                 {}, &plainSize),
                 sdaStream::readResult::Complete);
        QCOMPARE(read, plain);
        QCOMPARE(plainSize, quint64(size));
    }

    // Past 4 GiB the length field holds the low 32 bits; the stream itself
    // says where it ends. Made up as it goes, so no database is needed.
    void largerThanFourGiB()
    {
        const qint64 total = (qint64(4) << 30) + (160 << 20) + 12345;
        QByteArray line = "INSERT INTO `leasehouse` VALUES ('370102202500001','济南市历下区人民路1号',NULL);\n";
        QByteArray chunk;
        while (chunk.size() < (1 << 20))
            chunk += line;
        QTemporaryFile file(m_dir.filePath("large-XXXXXX.sda"));
        QVERIFY(file.open());
        uLong written = crc32(0, nullptr, 0);
        {
            sdaStream::writer writer(&file);
            QVERIFY(writer.begin());
            for (qint64 done = 0; done < total;) {
                // Every chunk differs from the last, so a block that went
                // missing or twice would show.
                qToBigEndian(quint64(done), chunk.data());
                const qint64 size = std::min<qint64>(chunk.size(), total - done);
                written = crc32(written, reinterpret_cast<const Bytef *>(chunk.constData()), uInt(size));
                QVERIFY(writer.write(chunk.constData(), size));
                done += size;
            }
            QVERIFY(writer.finish());
            QCOMPARE(writer.plainSize(), quint64(total));
        }
        QVERIFY(file.size() < total / 20);
        QVERIFY(file.seek(0));
        QCOMPARE(qFromBigEndian<quint32>(file.read(4).constData()), quint32(total & 0xffffffff));
        QVERIFY(file.seek(0));
        uLong read = crc32(0, nullptr, 0);
        quint64 plainSize = 0;
        QCOMPARE(sdaStream::read(&file, [&](const char *data, qint64 n) {
                     read = crc32(read, reinterpret_cast<const Bytef *>(data), uInt(n));
                     return true;
                 }, {}, &plainSize),
                 sdaStream::readResult::Complete);
        QCOMPARE(plainSize, quint64(total));
        QCOMPARE(read, written);
    }

    // A run that died (crash, power cut) left its private folder, with the
    // password file, and a half-written backup: the next start removes both,
    // and nothing of a run still going.
    void leftoversRemoved()
    {
        QProcess gone;
        gone.start("true", QStringList());
        QVERIFY(gone.waitForStarted());
        const qint64 deadPid = gone.processId();
        QVERIFY(gone.waitForFinished());
        const QDir temp(m_dir.path());
        const QString dead = QStringLiteral("zelnor-tools-%1-aB3xYz").arg(deadPid);
        const QString alive = QStringLiteral("zelnor-tools-%1-Qw12Er").arg(QCoreApplication::applicationPid() == 1 ? 2 : 1);
        const QString target = m_dir.filePath("晚间备份.sql");
        for (const QString &folder : {dead, alive}) {
            QVERIFY(temp.mkdir(folder));
            QVERIFY(writeFile(temp.filePath(folder + "/client.cnf"), "[client]\npassword=\"x\"\n"));
            QVERIFY(writeFile(temp.filePath(folder + "/writing"), target.toUtf8()));
        }
        const QStringList kept = {"晚间备份.sql", "晚间备份.sql.bak", "晚间备份.sql.toolong1"};
        for (const QString &name : kept + QStringList{"晚间备份.sql.k9Fq2Z"})
            QVERIFY(writeFile(m_dir.filePath(name), "-- MariaDB dump"));

        toolFolder::removeLeftovers();
        QVERIFY(!temp.exists(dead));
        QVERIFY(temp.exists(alive + "/client.cnf"));
        QStringList left = QDir(m_dir.path()).entryList({"晚间备份*"}, QDir::Files);
        QCOMPARE(left, kept);
        QDir(temp.filePath(alive)).removeRecursively();
    }
};

QTEST_GUILESS_MAIN(tst_backupEngine)
#include "tst_backupEngine.moc"
