// Operator identity: account-name encoding both ways, the level read back
// from the server's real grants, and the operator dialogs (management and
// own password) driven against the real server and the real login form.
#include "frmLogin.h"
#include "frmManageUser.h"
#include "frmUserChangePWD.h"
#include "mainWindow.h"
#include "myTools.h"
#include "testSupport.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStatusBar>
#include <QtTest>

class tst_operators : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        m_boxes.reset(new modalWatcher);
        testSupport::removeSettingsFile();
        testSupport::resetDatabase();
    }

    void accountName_data();
    void accountName();
    void levelFromGrants_data();
    void levelFromGrants();
    void operatorLifeCycle_data();
    void operatorLifeCycle();

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

// Opens a form through its menu action, as the operator would.
template <typename Form>
static Form *openThrough(mainWindow *window, const QString &action)
{
    testSupport::menuAction(window, action)->trigger();
    return window->findChildren<Form *>().last();
}

static QStringList listLines(frmManageUser *form)
{
    QStringList lines;
    for (int i = 0; i < form->userList()->count(); ++i)
        lines << form->userList()->item(i)->text();
    return lines;
}

// One window at a time: each login replaces the default connection.
static int loginLevel(const QString &name, const QString &password)
{
    return std::unique_ptr<mainWindow>(testSupport::login(name, password))->level();
}

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

void tst_operators::operatorLifeCycle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("grantedAs"); // chosen in the dialog
    QTest::addColumn<int>("level");         // read back at login
    QTest::addColumn<QString>("listedAs");  // the label a fresh list shows
    QTest::newRow("主管") << "赵主管" << "主管" << 1 << "浏览";
    QTest::newRow("操作") << "钱操作" << "操作" << 2 << "操作";
    QTest::newRow("浏览") << "孙浏览" << "浏览" << 3 << "主管";
    // Its account name (61646d696e) starts with a digit and stands unquoted
    // in the password statement.
    QTest::newRow("ascii name") << "admin" << "操作" << 2 << "操作";
}

// Create through the dialog, log in with the initial password, change it
// through the password dialog, log in with the new one, delete the operator.
void tst_operators::operatorLifeCycle()
{
    QFETCH(QString, name);
    QFETCH(QString, grantedAs);
    QFETCH(int, level);
    QFETCH(QString, listedAs);
    {
        std::unique_ptr<mainWindow> root(testSupport::login("root", ""));
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        QVERIFY(listLines(form).isEmpty());
        form->addButton()->click();
        QVERIFY(form->nameEdit()->isEnabled() && !form->deleteButton()->isEnabled());
        form->saveButton()->click(); // an empty name does nothing
        QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)"));
        form->nameEdit()->setText(name);
        form->levelBox()->setCurrentText(grantedAs);
        form->saveButton()->click();
        QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
        QCOMPARE(form->saveButton()->text(), QString("确定(&S)"));
        QVERIFY(form->addButton()->isEnabled() && !form->nameEdit()->isEnabled());
        QCOMPARE(listLines(form), QStringList{name + "--" + grantedAs});
        auto *fresh = openThrough<frmManageUser>(root.get(), "操作员管理");
        QCOMPARE(listLines(fresh), QStringList{name + "--" + listedAs});
        QCOMPARE(testSupport::count("log WHERE 用户='root' AND 描述='增加用户：" + name + "'"), 1);
    }
    {
        std::unique_ptr<mainWindow> window(testSupport::login(name, "580213"));
        QCOMPARE(window->level(), level);
        QCOMPARE(testSupport::menuAction(window.get(), "操作员管理")->isEnabled(), level == 1);
        QCOMPARE(testSupport::menuAction(window.get(), "登记备案")->isEnabled(), level <= 2);
        auto *pwd = openThrough<frmUserChangePWD>(window.get(), "操作员修改密码");
        pwd->oldPasswordEdit()->setText("wrong");
        emit pwd->oldPasswordEdit()->editingFinished();
        QVERIFY(!pwd->newPasswordEdit()->isEnabled() && !pwd->yesButton()->isEnabled());
        pwd->oldPasswordEdit()->setText("580213");
        emit pwd->oldPasswordEdit()->editingFinished();
        QVERIFY(pwd->newPasswordEdit()->isEnabled() && pwd->confirmEdit()->isEnabled());
        pwd->newPasswordEdit()->setText("n3w-pw");
        emit pwd->newPasswordEdit()->editingFinished();
        pwd->yesButton()->click(); // confirmation still empty
        QCOMPARE(m_boxes->lastTitle() + m_boxes->lastText(), QString("警告两次密码不一致，请重新输入！"));
        pwd->confirmEdit()->setText("n3w-pw");
        pwd->yesButton()->click();
        QCOMPARE(m_boxes->boxes.size(), 1);
        QCOMPARE(window->statusBar()->currentMessage() + window->connection().password(),
                 QString(" 密码修改成功！n3w-pw"));
        QVERIFY(!pwd->yesButton()->isEnabled());
        if (level > 1) { // no grant option: the server refuses, nothing is added
            auto *form = new frmManageUser(window.get());
            window->openForm(form);
            form->addButton()->click();
            form->nameEdit()->setText("新人");
            form->saveButton()->click();
            QCOMPARE(m_boxes->lastTitle(), QString("错误"));
            // Both grants are refused; the box shows the last refusal, the one on the business database.
            QVERIFY2(m_boxes->lastText().startsWith("Access denied for user '" + myTools::accountName(name)
                                                    + "'@'%' to database 'zelnor'"), qPrintable(m_boxes->lastText()));
            QCOMPARE(listLines(form), QStringList{name + "--" + listedAs});
            QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)")); // still editing
        }
    }
    QCOMPARE(loginLevel(name, "580213"), 10);
    QCOMPARE(loginLevel(name, "n3w-pw"), level);
    {
        std::unique_ptr<mainWindow> root(testSupport::login("root", ""));
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        form->userList()->setCurrentRow(0);
        QCOMPARE(form->nameEdit()->text() + form->levelBox()->currentText(), name + listedAs);
        form->deleteButton()->click();
        QCOMPARE(form->saveButton()->text(), QString("确定删除(&S)"));
        form->saveButton()->click();
        QVERIFY(listLines(form).isEmpty());
        QCOMPARE(testSupport::count("log WHERE 描述='删除用户：" + name + "'"), 1);
    }
    QCOMPARE(loginLevel(name, "n3w-pw"), 10);
}

QTEST_MAIN(tst_operators)
#include "tst_operators.moc"
