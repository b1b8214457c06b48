// A confirmed registration stays saved, and a refused one leaves nothing:
// another workstation's lock or a KILL in the middle of a save or at its
// commit, the server killed right after the confirmations and then restarted
// between two saves, and typed text that looks like SQL or holds wildcards.
#include "frmSearchLease.h"
#include "recordFormDriver.h"
#include "sqlText.h"
#include "testSupport.h"

#include <QtSql>
#include <QtTest>
#include <QtWidgets>
#include <atomic>

using namespace recordForm;

namespace {

// What is stored under one number, table by table, and its log rows.
QString traces(const QString &number)
{
    QStringList counts;
    counts << QString::number(testSupport::count("lease WHERE " + QString("CONCAT(地区,年度*100000+编号)='%1'").arg(number)));
    for (const char *table : {"leaseout", "leasein", "leasehouse"})
        counts << QString::number(testSupport::count(QString::fromLatin1(table) + " WHERE 登记编号='" + number + "'"));
    counts << QString::number(testSupport::count("log WHERE 描述 LIKE '%" + number + "'"));
    return counts.join('/');
}

// Polls a statement on a connection until it returns a row, at most 10 s.
QVariant waitFor(const myDatabase &db, const QString &sql)
{
    for (int i = 0; i < 200; ++i) {
        const QVariant value = db.scalar(sql);
        if (value.isValid())
            return value;
        QThread::msleep(50);
    }
    return QVariant();
}

} // namespace

class tst_reliability : public QObject
{
    Q_OBJECT
    std::unique_ptr<mainWindow> m_window;

    frmRegisterLease *loginAndOpen() { return recordForm::loginAndOpen(m_window); }

    // Starts a registration as a clerk does and returns its proposed number.
    QString startAdding(frmRegisterLease *form, const QString &lessor = QStringLiteral("张伟"))
    {
        click(form, "增加");
        fillRequired(form);
        setLine(form, "出方名称", lessor);
        return form->numberEdit()->text();
    }

    // The whole suite runs on the fixture's server; a test that stops or
    // kills its server runs in a child on a private one.
    bool onPrivateServer(const char *function)
    {
        if (testSupport::isChild())
            return false;
        QString output;
        const int code = testSupport::runOnPrivateServer({QString::fromLatin1(function)}, "start", &output);
        if (code != 0)
            qWarning("%s", qPrintable(output));
        QTest::qVerify(code == 0, function, "the test on its private server", __FILE__, __LINE__);
        return true;
    }

    void restartServer(bool kill)
    {
        const QString server = qEnvironmentVariable("MYSQL_HOME");
        if (kill) {
            QFile pidFile(server + "/mysqld.pid");
            QVERIFY(pidFile.open(QIODevice::ReadOnly));
            QCOMPARE(QProcess::execute("kill", {"-9", QString::fromLatin1(pidFile.readAll().trimmed())}), 0);
            // The killed server's pid file stays; the start command would take
            // the server as running.
            QFile::remove(server + "/mysqld.pid");
            QTest::qWait(300);
        } else {
            QCOMPARE(QProcess::execute(testSupport::serverScript(), {"stop", server}), 0);
        }
        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"start", server}), 0);
    }

private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::resetDatabase(); }
    void cleanup() { m_window.reset(); }

    // Another connection makes the server end the save half-way: a deadlock
    // (the other transaction is the heavier one, so the save is the victim),
    // a KILL QUERY, a KILL of the whole connection, or that KILL while every
    // statement went through and the commit waits. Nothing of the save may
    // remain, no log row may say it happened, the clerk reads what to do,
    // and one more 确定 saves what was typed.
    void endedMidway_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("told");
        const QString lost = "错误|无法连接数据库服务器（服务器可能已经停止，或者网络中断），这次保存没有完成，也没有留下任何数据。"
                             "服务器恢复后请再按“确定”保存，不必重新输入，也不必重新启动程序。";
        QTest::newRow("deadlock") << "deadlock" << "错误|另一台工作站同时在保存，这次保存没有完成，也没有留下任何数据。请再按“确定”保存。";
        QTest::newRow("kill query") << "KILL QUERY" << "错误|保存被中断，这次保存没有完成，也没有留下任何数据。请再按“确定”保存。";
        QTest::newRow("kill connection") << "KILL" << lost;
        QTest::newRow("kill connection at the commit") << "COMMIT" << lost;
    }
    void endedMidway()
    {
        QFETCH(QString, how);
        QFETCH(QString, told);
        frmRegisterLease *form = loginAndOpen();
        const QString number = startAdding(form);
        // The other workstation holds the house row of the same number, so
        // the save stops at its last party table and waits; or it holds a
        // backup stage that lets every statement through and blocks commits.
        const bool atCommit = how == "COMMIT";
        std::atomic<bool> sideOk{true};
        std::atomic<bool> holding{false};
        QThread *side = QThread::create([&] {
            myDatabase db("side");
            db.setAccount({"localhost", "root", QString(), "zelnor"});
            sideOk = db.open() && db.exec("BEGIN");
            if (how == "deadlock")
                sideOk = sideOk && db.exec("INSERT INTO log (日期,用户,描述) SELECT NOW(),'side','x' FROM seq_1_to_200");
            if (atCommit)
                for (const char *stage : {"START", "FLUSH", "BLOCK_DDL", "BLOCK_COMMIT"})
                    sideOk = sideOk && db.exec(QString("BACKUP STAGE ") + stage);
            else
                sideOk = sideOk && db.exec("INSERT leasehouse SET 登记编号='" + number + "',房屋坐落='别处'");
            holding = true;
            const QVariant waiting = waitFor(db, "SELECT ID FROM information_schema.PROCESSLIST WHERE COMMAND='Query' AND INFO "
                                                 + QString(atCommit ? "='COMMIT'" : "LIKE 'INSERT leasehouse%'")
                                                 + " AND ID<>CONNECTION_ID()");
            sideOk = sideOk && waiting.isValid();
            if (how == "deadlock") // waits on the form's lessor row: a cycle
                db.exec("INSERT leaseout SET 登记编号='" + number + "',出方名称='别人'");
            else
                sideOk = sideOk && db.exec((atCommit ? "KILL" : how) + " " + waiting.toString());
            // The commit is let through only once the killed connection is gone.
            if (atCommit)
                sideOk = sideOk && waitFor(db, "SELECT 1 FROM DUAL WHERE NOT EXISTS (SELECT * FROM "
                                               "information_schema.PROCESSLIST WHERE ID=" + waiting.toString() + ")").isValid();
            db.exec(atCommit ? "BACKUP STAGE END" : "ROLLBACK");
            db.discard();
        });
        side->start();
        QVERIFY(QTest::qWaitFor([&] { return bool(holding); }));
        modalWatcher watcher;
        click(form, "确定");
        QVERIFY(side->wait(20000));
        delete side;
        QVERIFY(sideOk);
        QCOMPARE(watcher.take(), QStringList{told});
        QCOMPARE(traces(number), QString("0/0/0/0/0"));
        QCOMPARE(form->mode(), QString("增加"));
        QCOMPARE(form->numberEdit()->text(), number);

        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        QCOMPARE(traces(number), QString("1/1/1/1/1"));
        QCOMPARE(testSupport::registration(number, "出方名称"), QString("张伟"));
    }

    // After a commit whose answer was lost, the form asks the server whether
    // the registration is stored as typed before saving it again: it must
    // recognise its own save (empty fields as NULL included) and not another
    // lease under the same number.
    void recognisesItsOwnSave()
    {
        frmRegisterLease *form = loginAndOpen();
        const QString number = startAdding(form, "O'Brien");
        click(form, "确定");
        QCOMPARE(form->mode(), QString("正常"));
        bool stored = false;
        QVERIFY(form->storedAsTyped(number, &stored));
        QVERIFY(stored);
        setLine(form, "出方电话", "13800000000"); // another lease's lessor
        QVERIFY(form->storedAsTyped(number, &stored));
        QVERIFY(!stored);
        QVERIFY(form->storedAsTyped("000000209900001", &stored));
        QVERIFY(!stored);
    }

    // Every save confirmed before the server is killed is there after its
    // restart: the office's server commits to disk at every commit. Then the
    // server stops and starts again between two saves: the program goes on
    // without a restart. While it is away, a form says so instead of opening
    // empty and 增加 proposes no number; once it is back the same form saves.
    void savesSurviveKillAndRestart()
    {
        if (onPrivateServer("savesSurviveKillAndRestart"))
            return;
        frmRegisterLease *form = loginAndOpen();
        QStringList saved;
        for (int i = 0; i < 25; ++i) {
            saved << startAdding(form);
            click(form, "确定");
            QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        }
        restartServer(true);
        QVERIFY(testSupport::connectAsRoot("zelnor"));
        QCOMPARE(testSupport::scalar("SELECT GROUP_CONCAT(登记编号 ORDER BY 登记编号) FROM leaseout").toString(),
                 saved.join(','));
        QCOMPARE(testSupport::count("log WHERE 描述 LIKE '增加%'"), saved.size());

        const QString server = qEnvironmentVariable("MYSQL_HOME");
        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"stop", server}), 0);
        modalWatcher watcher;
        const int forms = m_window->findChildren<frmRegisterLease *>().size();
        m_window->slotRegisterLease();
        QCOMPARE(m_window->findChildren<frmRegisterLease *>().size(), forms);
        QStringList told = watcher.take();
        QCOMPARE(told.size(), 1);
        QVERIFY2(told.first().startsWith("错误|无法连接数据库服务器"), qPrintable(told.first()));
        click(form, "增加");
        told = watcher.take();
        QCOMPARE(told.size(), 1);
        QVERIFY2(told.first().startsWith("错误|无法读取已有的最大登记编号，没有给出新的登记编号："), qPrintable(told.first()));
        QCOMPARE(form->mode(), QString("正常"));

        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"start", server}), 0);
        const QString next = startAdding(form, "李雷");
        QCOMPARE(next.right(5), QString("00026"));
        // The server went away once more while the clerk typed: 确定 still
        // saves, on a connection opened again with the same account.
        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"stop", server}), 0);
        QCOMPARE(QProcess::execute(testSupport::serverScript(), {"start", server}), 0);
        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList());
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));
        QCOMPARE(testSupport::registration(next, "出方名称"), QString("李雷"));
        // A form opened now has its fields again.
        frmRegisterLease *again = open(m_window.get());
        QVERIFY(again->findChild<QLineEdit *>("line房屋坐落："));
    }

    // Typed text is stored as typed and found as typed: quotes and
    // backslashes are not syntax, % and _ are not wildcards, and a change
    // that looks like a statement changes one registration only.
    void typedTextStoredAndFound_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("neighbour"); // also saved; must not be found by the text
        QTest::newRow("apostrophe") << "O'Brien商贸" << "OBrien商贸";
        QTest::newRow("backslashes") << "C:\\new\\table\\01" << "C:newtable01";
        QTest::newRow("percent") << "50%折扣房" << "50元折扣房";
        QTest::newRow("underscore") << "甲_乙" << "甲丙乙";
        QTest::newRow("statement-like") << "整改' WHERE 1=1 -- " << "整改";
        QTest::newRow("blanks only") << "   " << "";
    }
    void typedTextStoredAndFound()
    {
        QFETCH(QString, text);
        QFETCH(QString, neighbour);
        frmRegisterLease *form = loginAndOpen();
        modalWatcher watcher;
        const QString number = startAdding(form, text);
        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList());
        QString other;
        if (!neighbour.isEmpty()) {
            other = startAdding(form, neighbour);
            click(form, "确定");
        }
        QCOMPARE(testSupport::registration(number, "出方名称"), text);

        // 修改 of the house's location to the same text touches that lease only.
        show(form, number);
        click(form, "修改");
        setLine(form, "房屋坐落", text);
        click(form, "确定");
        QCOMPARE(watcher.take(), QStringList());
        QCOMPARE(testSupport::count("leasehouse WHERE 房屋坐落=" + sqlText::quoted(text)), 1);

        if (text.trimmed().isEmpty())
            return; // an empty keyword searches nothing
        auto *search = testSupport::openThrough<frmSearchLease>(m_window.get(), "搜索查询");
        search->keywordEdit()->setText(text);
        search->searchButton()->click();
        QCOMPARE(search->resultTable()->rowCount(), 1);
        QCOMPARE(search->resultTable()->item(0, 0)->text(), number);
        Q_UNUSED(other)
    }
};

QTEST_MAIN(tst_reliability)
#include "tst_reliability.moc"
