// First login on a server without the business database: it is created from
// datamodel.sql through the real mysql client, once.
#include "mainWindow.h"
#include "testSupport.h"

#include <QLabel>
#include <QProcess>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

class tst_firstRun : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        m_boxes.reset(new modalWatcher);
        testSupport::removeSettingsFile();
        if (!testSupport::isChild())
            testSupport::resetDatabase(false);
    }

    void createsDatabaseOnFirstLogin();
    void missingTemplateOrClient_data();
    void missingTemplateOrClient();
    void racingLogins();

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

static QStringList tables()
{
    QStringList names;
    QSqlQuery q("SELECT table_name FROM information_schema.tables WHERE table_schema='zelnor' ORDER BY 1");
    while (q.next())
        names << q.value(0).toString();
    return names;
}

void tst_firstRun::createsDatabaseOnFirstLogin()
{
    std::unique_ptr<mainWindow> window(testSupport::login());
    QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
    QCOMPARE(window->level(), 0);
    QCOMPARE(window->messageLabel()->text(),
             QString("第一次运行，创建数据库OK。请设置打印控制、初始化用途等选择项目。"));
    QCOMPARE(tables(), (QStringList{"lease", "leasehouse", "leasein", "leaseout", "log"}));
    QCOMPARE(testSupport::scalar("SELECT DEFAULT_CHARACTER_SET_NAME FROM information_schema.schemata "
                                 "WHERE schema_name='zelnor'").toString(), QString("utf8mb3"));
    QCOMPARE(testSupport::scalar("SELECT COUNT(*) FROM information_schema.tables WHERE table_schema='zelnor' "
                                 "AND engine<>'InnoDB'").toInt(), 0);
    QCOMPARE(testSupport::scalar("SELECT 描述 FROM log").toString(), QString("登录系统"));
}

void tst_firstRun::missingTemplateOrClient_data()
{
    QTest::addColumn<bool>("templateThere");
    QTest::addColumn<bool>("clientThere");
    QTest::addColumn<QString>("mentions");
    QTest::newRow("no datamodel.sql") << false << true << "datamodel.sql";
    QTest::newRow("no mysql client") << true << false << "mysql";
}

void tst_firstRun::missingTemplateOrClient()
{
    QFETCH(bool, templateThere);
    QFETCH(bool, clientThere);
    QFETCH(QString, mentions);

    QTemporaryDir work;
    if (templateThere)
        QVERIFY(QFile::copy(QStringLiteral(ZELNOR_BINARY_DIR "/datamodel.sql"), work.path() + "/datamodel.sql"));
    const QString here = QDir::currentPath();
    const QByteArray path = qgetenv("PATH");
    QDir::setCurrent(work.path());
    if (!clientThere)
        qputenv("PATH", work.path().toLocal8Bit());
    std::unique_ptr<mainWindow> window(testSupport::login());
    QDir::setCurrent(here);
    qputenv("PATH", path);

    // A clear message instead of an empty database that the next login
    // would take as ready.
    QCOMPARE(m_boxes->boxes.size(), 1);
    QCOMPARE(m_boxes->lastTitle(), QString("错误"));
    QVERIFY2(m_boxes->lastText().startsWith("无法从模板创建数据库："), qPrintable(m_boxes->lastText()));
    QVERIFY2(m_boxes->lastText().contains(mentions), qPrintable(m_boxes->lastText()));
    QCOMPARE(window->level(), 10);
    testSupport::connectAsRoot();
    QCOMPARE(testSupport::count("information_schema.schemata WHERE schema_name='zelnor'"), 0);

    // Once the cause is gone, the next login creates the database.
    window.reset(testSupport::login());
    QCOMPARE(window->level(), 0);
    QCOMPARE(tables().size(), 5);
}

// Two workstations log in to a fresh server at the same moment: both find no
// database, both try to create it. The loser must neither fill it a second
// time nor drop the winner's work.
void tst_firstRun::racingLogins()
{
    if (!testSupport::isChild()) {
        // Holding the global read lock makes both CREATE DATABASE statements
        // wait after both checks found nothing; releasing it lets them race.
        QVERIFY(testSupport::exec("FLUSH TABLES WITH READ LOCK"));
        std::unique_ptr<QProcess> one(testSupport::startChild({"racingLogins"}, testSupport::socketPath(),
                                                              testSupport::serverPort(), testSupport::serverDir()));
        std::unique_ptr<QProcess> two(testSupport::startChild({"racingLogins"}, testSupport::socketPath(),
                                                              testSupport::serverPort(), testSupport::serverDir()));
        const bool bothWaiting = testSupport::waitFor(
            [] { return testSupport::count("information_schema.processlist WHERE info LIKE 'CREATE DATABASE%'") == 2; },
            30000);
        testSupport::exec("UNLOCK TABLES");
        QVERIFY(bothWaiting);
        QVERIFY(one->waitForFinished(60000) && two->waitForFinished(60000));
        const QString output = QString::fromLocal8Bit(one->readAll() + two->readAll());
        QVERIFY2(one->exitCode() == 0 && two->exitCode() == 0, qPrintable(output));
        QCOMPARE(output.count("won the race"), 1);
        QCOMPARE(output.count("lost the race"), 1);
        QCOMPARE(tables(), (QStringList{"lease", "leasehouse", "leasein", "leaseout", "log"}));
        return;
    }
    std::unique_ptr<mainWindow> window(testSupport::login());
    if (window->level() == 0) {
        QCOMPARE(window->messageLabel()->text(),
                 QString("第一次运行，创建数据库OK。请设置打印控制、初始化用途等选择项目。"));
        qInfo("won the race");
    } else {
        QCOMPARE(m_boxes->boxes.size(), 1);
        QCOMPARE(m_boxes->lastTitle(), QString("错误"));
        QCOMPARE(m_boxes->lastText(), QString("另一台工作站正在创建数据库zelnor，请稍候重新登录。"));
        qInfo("lost the race");
    }
}

QTEST_MAIN(tst_firstRun)
#include "tst_firstRun.moc"
