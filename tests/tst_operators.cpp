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
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSqlQuery>
#include <QStatusBar>
#include <QScopeGuard>
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
    void loginShowsLevel_data();
    void loginShowsLevel();
    void operatorLifeCycle_data();
    void operatorLifeCycle();
    void modesAndEmptyName();
    void refusedGrantLeavesListAlone();
    void passwordRefusals_data();
    void passwordRefusals();

private:
    std::unique_ptr<modalWatcher> m_boxes;
};

static QAction *actionNamed(mainWindow *window, const QString &text)
{
    for (QAction *a : window->findChildren<QAction *>())
        if (a->text() == text)
            return a;
    return nullptr;
}

// Opens a form through its menu action, as the operator would.
template <typename Form>
static Form *openThrough(mainWindow *window, const QString &action)
{
    QAction *a = actionNamed(window, action);
    if (!a || !a->isEnabled())
        return nullptr;
    a->trigger();
    const QList<Form *> forms = window->findChildren<Form *>();
    return forms.isEmpty() ? nullptr : forms.last();
}

static QStringList listLines(frmManageUser *form)
{
    QStringList lines;
    for (int i = 0; i < form->userList()->count(); ++i)
        lines << form->userList()->item(i)->text();
    lines.sort();
    return lines;
}

static QStringList logRows()
{
    QStringList rows;
    QSqlQuery query("SELECT 用户, 描述 FROM log");
    while (query.next())
        rows << query.value(0).toString() + "|" + query.value(1).toString();
    rows.sort(); // rows of one second have no order of their own
    return rows;
}

static bool accountExists(const QString &name)
{
    return testSupport::count("mysql.user WHERE User='" + myTools::accountName(name) + "'") == 1;
}

// The main window keeps only the default connection, so one window at a
// time: each call ends the previous one's connection.
static QString loginStatus(const QString &name, const QString &password, int *level)
{
    std::unique_ptr<mainWindow> window(testSupport::login(name, password));
    *level = window->level();
    return window->statusBar()->currentMessage();
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

void tst_operators::loginShowsLevel_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("label");
    QTest::newRow("root") << "root" << 0 << "权限：超级用户";
    QTest::newRow("主管") << "赵主管" << 1 << "权限：主管";
    QTest::newRow("操作") << "钱操作" << 2 << "权限：操作";
    QTest::newRow("浏览") << "孙浏览" << 3 << "权限：浏览";
}

void tst_operators::loginShowsLevel()
{
    QFETCH(QString, name);
    QFETCH(int, level);
    QFETCH(QString, label);
    QString password;
    if (name != "root") {
        password = "pw-" + QString::number(level);
        testSupport::createOperator(name, password, level);
    }
    std::unique_ptr<mainWindow> window(testSupport::login(name, password));
    QCOMPARE(window->level(), level);
    QCOMPARE(window->operatorName(), name);
    QCOMPARE(window->connection().userName(), myTools::accountName(name));
    QStringList labels;
    for (QLabel *l : window->statusBar()->findChildren<QLabel *>())
        labels << l->text();
    QVERIFY2(labels.contains(label), qPrintable(labels.join('|')));
    QVERIFY2(labels.contains("操作员：" + name), qPrintable(labels.join('|')));

}

void tst_operators::operatorLifeCycle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("grantedAs"); // the level chosen in the dialog
    QTest::addColumn<int>("level");         // what the login reads back
    QTest::addColumn<QString>("listedAs");  // the label a fresh list shows
    QTest::addColumn<QStringList>("enabled"); // actions checked after login
    QTest::addColumn<QStringList>("disabled");
    QTest::newRow("主管") << "赵主管" << "主管" << 1 << "浏览"
                        << QStringList{"操作员管理", "配置服务器", "登记备案", "操作员修改密码"}
                        << QStringList{};
    QTest::newRow("操作") << "钱操作" << "操作" << 2 << "操作"
                        << QStringList{"登记备案", "操作员修改密码"}
                        << QStringList{"操作员管理", "配置服务器"};
    QTest::newRow("浏览") << "孙浏览" << "浏览" << 3 << "主管"
                        << QStringList{"浏览查询", "操作员修改密码"}
                        << QStringList{"登记备案", "操作员管理", "配置服务器"};
    // An ASCII name has a digit-led account name (61646d696e).
    QTest::newRow("ascii name") << "admin" << "操作" << 2 << "操作"
                                << QStringList{"登记备案"} << QStringList{"操作员管理"};
}

// Create through the dialog, log in with the initial password, change it
// through the password dialog, log in with the new one, delete it.
void tst_operators::operatorLifeCycle()
{
    QFETCH(QString, name);
    QFETCH(QString, grantedAs);
    QFETCH(int, level);
    QFETCH(QString, listedAs);
    QFETCH(QStringList, enabled);
    QFETCH(QStringList, disabled);
    const QString wrongLogin = "登录失败，姓名或密码错误";
    testSupport::createOperator("老operator", "x", 1); // a line already in the list
    {
        std::unique_ptr<mainWindow> root(testSupport::login("root", ""));
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        QVERIFY(form);
        QCOMPARE(form->windowTitle(), QString("操作员管理"));
        QCOMPARE(listLines(form), QStringList{"老operator--浏览"});
        form->addButton()->click();
        QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)"));
        QVERIFY(form->nameEdit()->isEnabled() && !form->deleteButton()->isEnabled());
        form->nameEdit()->setText(name);
        form->levelBox()->setCurrentText(grantedAs);
        form->saveButton()->click();
        QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
        QCOMPARE(form->saveButton()->text(), QString("确定(&S)"));
        QVERIFY(form->addButton()->isEnabled() && !form->nameEdit()->isEnabled());
        QStringList expected{"老operator--浏览", name + "--" + grantedAs};
        expected.sort();
        QCOMPARE(listLines(form), expected);
        // A list read afresh shows the label paired with the granted level.
        auto *again = openThrough<frmManageUser>(root.get(), "操作员管理");
        QVERIFY(again != form);
        QVERIFY(listLines(again).contains(name + "--" + listedAs));
        QCOMPARE(logRows(), (QStringList{"root|增加用户：" + name, "root|登录系统"}));
    }
    {
        std::unique_ptr<mainWindow> window(testSupport::login(name, "580213"));
        QCOMPARE(window->level(), level);
        QCOMPARE(window->operatorName(), name);
        for (const QString &action : enabled)
            QVERIFY2(actionNamed(window.get(), action)->isEnabled(), qPrintable(action));
        for (const QString &action : disabled)
            QVERIFY2(!actionNamed(window.get(), action)->isEnabled(), qPrintable(action));

        auto *pwd = openThrough<frmUserChangePWD>(window.get(), "操作员修改密码");
        QVERIFY(pwd);
        QVERIFY(!pwd->newPasswordEdit()->isEnabled() && !pwd->yesButton()->isEnabled());
        pwd->oldPasswordEdit()->setText("580213");
        emit pwd->oldPasswordEdit()->editingFinished();
        QVERIFY(pwd->newPasswordEdit()->isEnabled() && pwd->confirmEdit()->isEnabled());
        pwd->newPasswordEdit()->setText("n3w-pw");
        pwd->confirmEdit()->setText("n3w-pw");
        emit pwd->confirmEdit()->editingFinished();
        pwd->yesButton()->click();
        QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
        QCOMPARE(window->statusBar()->currentMessage(), QString(" 密码修改成功！"));
        QVERIFY(!pwd->yesButton()->isEnabled());
        QCOMPARE(window->connection().password(), QString("n3w-pw"));
        // The check is against the connection, so the new one now passes.
        pwd->oldPasswordEdit()->setText("580213");
        emit pwd->oldPasswordEdit()->editingFinished();
        QVERIFY(!pwd->newPasswordEdit()->isEnabled());
        pwd->oldPasswordEdit()->setText("n3w-pw");
        emit pwd->oldPasswordEdit()->editingFinished();
        QVERIFY(pwd->newPasswordEdit()->isEnabled());
    }
    int got = -1;
    QCOMPARE(loginStatus(name, "580213", &got), wrongLogin);
    QCOMPARE(got, 10);
    loginStatus(name, "n3w-pw", &got);
    QCOMPARE(got, level);
    {
        std::unique_ptr<mainWindow> root(testSupport::login("root", ""));
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        QList<QListWidgetItem *> items = form->userList()->findItems(name + "--", Qt::MatchStartsWith);
        QCOMPARE(items.size(), 1);
        form->userList()->setCurrentItem(items.first());
        QCOMPARE(form->nameEdit()->text(), name);
        QCOMPARE(form->levelBox()->currentText(), listedAs);
        form->deleteButton()->click();
        QCOMPARE(form->saveButton()->text(), QString("确定删除(&S)"));
        form->saveButton()->click();
        QVERIFY2(m_boxes->boxes.isEmpty(), qPrintable(m_boxes->lastText()));
        QCOMPARE(listLines(form), QStringList{"老operator--浏览"});
        QVERIFY(logRows().contains("root|删除用户：" + name));
        QVERIFY(!accountExists(name));
    }
    QCOMPARE(loginStatus(name, "n3w-pw", &got), wrongLogin);
    QCOMPARE(got, 10);
}

// Captions and enabling through add, delete and cancel; an empty name
// neither saves nor starts a delete.
void tst_operators::modesAndEmptyName()
{
    testSupport::createOperator("甲", "x", 2);
    std::unique_ptr<mainWindow> root(testSupport::login("root", ""));
    frmManageUser form(root.get());
    auto state = [&form] {
        return QStringList{form.saveButton()->text(), QString::number(form.addButton()->isEnabled()),
                           QString::number(form.deleteButton()->isEnabled()),
                           QString::number(form.saveButton()->isEnabled()),
                           QString::number(form.cancelButton()->isEnabled()),
                           QString::number(form.nameEdit()->isEnabled()),
                           QString::number(form.levelBox()->isEnabled())}.join(' ');
    };
    const QString browsing = "确定(&S) 1 1 0 0 0 0";
    QCOMPARE(state(), browsing);
    form.deleteButton()->click(); // nothing selected: empty name
    QCOMPARE(state(), browsing);
    form.addButton()->click();
    QCOMPARE(state(), QString("确定增加(&S) 0 0 1 1 1 1"));
    form.saveButton()->click(); // empty name: nothing happens
    QCOMPARE(state(), QString("确定增加(&S) 0 0 1 1 1 1"));
    QCOMPARE(form.userList()->count(), 1);
    form.cancelButton()->click();
    QCOMPARE(state(), browsing);
    form.userList()->setCurrentRow(0);
    QCOMPARE(form.nameEdit()->text(), QString("甲"));
    QCOMPARE(form.levelBox()->currentText(), QString("操作"));
    form.deleteButton()->click();
    QCOMPARE(state(), QString("确定删除(&S) 0 0 1 1 1 1"));
    form.cancelButton()->click();
    QCOMPARE(state(), browsing);
    QVERIFY(m_boxes->boxes.isEmpty());
    QCOMPARE(logRows(), QStringList{"root|登录系统"});
    QVERIFY(accountExists("甲"));
}

// An 操作 operator holds no grant option: the server refuses the GRANT, the
// refusal is shown under 错误 and nothing is added.
void tst_operators::refusedGrantLeavesListAlone()
{
    testSupport::createOperator("钱操作", "pw", 2);
    std::unique_ptr<mainWindow> window(testSupport::login("钱操作", "pw"));
    QCOMPARE(window->level(), 2);
    auto *form = new frmManageUser(window.get());
    window->openForm(form);
    const QStringList before = listLines(form);
    QCOMPARE(before, QStringList{"钱操作--操作"});
    form->addButton()->click();
    form->nameEdit()->setText("新人");
    form->levelBox()->setCurrentText("主管");
    form->saveButton()->click();
    QCOMPARE(m_boxes->boxes.size(), 1);
    QCOMPARE(m_boxes->lastTitle(), QString("错误"));
    QVERIFY2(m_boxes->lastText().startsWith("Access denied for user '" + myTools::accountName("钱操作")
                                            + "'@'%' to database 'mysql'"),
             qPrintable(m_boxes->lastText()));
    QCOMPARE(listLines(form), before);
    QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)")); // still editing
    testSupport::connectAsRoot("zelnor");
    QVERIFY(!accountExists("新人"));
}

void tst_operators::passwordRefusals_data()
{
    QTest::addColumn<QString>("name"); // root: the root@'localhost' form
    QTest::addColumn<QString>("oldPassword");
    QTest::addColumn<QString>("newPassword");
    QTest::addColumn<QString>("confirmation");
    QTest::addColumn<QString>("boxTitle"); // empty: no box
    QTest::addColumn<QString>("boxText");  // a prefix of the box's text
    QTest::addColumn<QString>("works");    // the password that logs in afterwards
    QTest::newRow("wrong old password") << "周" << "nope" << "" << "" << "" << "" << "pw";
    QTest::newRow("mismatch") << "周" << "pw" << "a1" << "a2" << "警告" << "两次密码不一致，请重新输入！" << "pw";
    QTest::newRow("apostrophe breaks the statement")
        << "周" << "pw" << "it's" << "it's" << "错误" << "You have an error in your SQL syntax" << "pw";
    QTest::newRow("empty new password") << "周" << "pw" << "" << "" << "" << "" << "";
    QTest::newRow("root through localhost") << "root" << "" << "r00t" << "r00t" << "" << "" << "r00t";
}

void tst_operators::passwordRefusals()
{
    QFETCH(QString, name);
    QFETCH(QString, oldPassword);
    QFETCH(QString, newPassword);
    QFETCH(QString, confirmation);
    QFETCH(QString, boxTitle);
    QFETCH(QString, boxText);
    QFETCH(QString, works);
    if (name != "root")
        testSupport::createOperator(name, "pw", 3);
    const QString startPassword = name == "root" ? "" : "pw";
    {
        std::unique_ptr<mainWindow> window(testSupport::login(name, startPassword));
        QVERIFY(window->level() <= 3);
        // Put root back on its still-open connection whatever happens below.
        const auto restoreRoot = qScopeGuard([&] {
            if (name == "root")
                QSqlQuery(window->connection()).exec("SET PASSWORD FOR root@'localhost' = PASSWORD('')");
        });
        frmUserChangePWD form(window.get());
        form.oldPasswordEdit()->setText(oldPassword);
        emit form.oldPasswordEdit()->editingFinished();
        const bool accepted = form.newPasswordEdit()->isEnabled();
        QCOMPARE(accepted, oldPassword == startPassword);
        if (accepted) {
            form.newPasswordEdit()->setText(newPassword);
            form.confirmEdit()->setText(confirmation);
            emit form.newPasswordEdit()->editingFinished();
            QVERIFY(form.yesButton()->isEnabled());
            form.yesButton()->click();
        }
        QCOMPARE(m_boxes->lastTitle(), boxTitle);
        QVERIFY2(boxText.isEmpty() ? m_boxes->boxes.isEmpty() : m_boxes->lastText().startsWith(boxText),
                 qPrintable(m_boxes->lastText()));
        QCOMPARE(window->connection().password(), works);
        if (name == "root") {
            QSqlDatabase check = QSqlDatabase::addDatabase("QMYSQL", "check");
            check.setHostName("localhost");
            check.setUserName("root");
            check.setPassword(works);
            QVERIFY(check.open());
        }
    }
    QSqlDatabase::removeDatabase("check");
    if (name == "root")
        return; // logging in with r00t is the same check as for operators
    int level = -1;
    loginStatus(name, works, &level);
    QCOMPARE(level, 3);
}

QTEST_MAIN(tst_operators)
#include "tst_operators.moc"
