// Operator identity: account-name encoding both ways, and the level read
// back from the server's real grants (the login shows it: tst_mainWindow).
#include "myTools.h"
#include "testSupport.h"

#include <QtTest>

class tst_operators : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::resetDatabase(); }

    void accountName_data();
    void accountName();
    void levelFromGrants_data();
    void levelFromGrants();
};

void tst_operators::accountName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("decoded"); // what the account name reads back as
    QTest::newRow("root stays root") << "root" << "root" << "root";
    QTest::newRow("Root is another account") << "Root" << "526f6f74" << "Root";
    QTest::newRow("admin") << "admin" << "61646d696e" << "admin";
    QTest::newRow("chinese, GB18030 bytes") << "张三" << "d5c5c8fd" << "张三";
    QTest::newRow("four-byte GB18030") << "𠀀甲" << "95328236bcd7" << "𠀀甲";
    QTest::newRow("quote") << "O'Neil" << "4f274e65696c" << "O'Neil";
    // Bytes below 16 give one digit, so such names do not read back.
    QTest::newRow("control byte unpadded") << "a\tb" << "61962" << "a";
    QTest::newRow("empty") << "" << "" << "";
}

void tst_operators::accountName()
{
    QFETCH(QString, name);
    QFETCH(QString, account);
    QFETCH(QString, decoded);
    QCOMPARE(myTools::accountName(name), account);
    QCOMPARE(myTools::displayName(account), decoded);
    // A pair that is not hex ends the name, as a zero byte would.
    if (account != "root")
        QCOMPARE(myTools::displayName(account + "zz41"), decoded);
}

void tst_operators::levelFromGrants_data()
{
    QTest::addColumn<QString>("grant"); // %1 = 'account'@'%'
    QTest::addColumn<int>("level");
    QTest::newRow("grant option only") << "GRANT SELECT ON zelnor.* TO %1 WITH GRANT OPTION" << 1;
    QTest::newRow("all with grant option") << "GRANT ALL ON zelnor.* TO %1 WITH GRANT OPTION" << 1;
    QTest::newRow("all") << "GRANT ALL ON zelnor.* TO %1" << 2;
    QTest::newRow("drop and execute") << "GRANT DROP, EXECUTE ON zelnor.* TO %1" << 2;
    QTest::newRow("drop without execute") << "GRANT SELECT, DROP ON zelnor.* TO %1" << 3;
    QTest::newRow("browse set")
        << "GRANT Select,Insert,Update,Delete,Lock Tables,Create,Create Temporary Tables,Show View,"
           "Create View,Alter,Index,Drop ON zelnor.* TO %1" << 3;
    QTest::newRow("no row for the database") << "GRANT SELECT ON mysql.* TO %1" << 3;
    // Only database-level grants count: a global grant reads as 浏览.
    QTest::newRow("global rights") << "GRANT ALL ON *.* TO %1 WITH GRANT OPTION" << 3;
}

void tst_operators::levelFromGrants()
{
    QFETCH(QString, grant);
    QFETCH(int, level);
    const QString account = myTools::accountName("王五");
    QVERIFY(testSupport::exec(QString("CREATE USER '%1'@'%' IDENTIFIED BY 'x'").arg(account)));
    QVERIFY(testSupport::exec(grant.arg(QString("'%1'@'%'").arg(account))));
    QCOMPARE(myTools().operatorLevel(account, "zelnor"), level);
    QCOMPARE(myTools().operatorLevel("root", "no_such_db"), 0);
}

QTEST_MAIN(tst_operators)
#include "tst_operators.moc"
