// Operators on the real server: account names, levels from real grants,
// what each level's account may do and the server refuses, operator
// management and password changes driven as an office drives them, and
// the narrowing of accounts made by earlier installations.
#include "adminDriver.h"
#include "desktopFit.h"
#include "frmManageUser.h"
#include "frmRegisterLease.h"
#include "mainWindow.h"
#include "myDatabase.h"
#include "myTools.h"
#include "operatorAccounts.h"
#include "operatorSql.h"
#include "recordFormDriver.h"
#include "sqlText.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

using testSupport::openThrough;

namespace {

const QString initial = QStringLiteral("580213");

// The menu entries each level finds usable.
const QStringList browseActions{"退    出", "设置背景图片", "关于", "帮助说明", "浏览查询", "搜索查询", "操作员修改密码"};
const QStringList operateActions = browseActions + QStringList{"登记备案", "备份业务数据", "恢复业务数据", "浏览日志",
                                                               "选择项目维护", "打印控制"};
const QStringList allActions = operateActions + QStringList{"清理业务数据", "清理所有日志", "操作员管理", "数据字段维护",
                                                            "默认收费金额", "配置服务器"};

QStringList listLines(const frmManageUser *form)
{
    QStringList lines;
    for (int i = 0; i < form->userList()->count(); ++i)
        lines << form->userList()->item(i)->text();
    return lines;
}

// One window at a time: each login replaces the default connection.
int loginLevel(const QString &name, const QString &password)
{
    return std::unique_ptr<mainWindow>(testSupport::login(name, password))->level();
}

bool rootExec(const QString &sql)
{
    QSqlError error;
    if (testSupport::rootConnection().exec(sql, &error))
        return true;
    qWarning("%s: %s", qPrintable(sql), qPrintable(error.text()));
    return false;
}

// The account's grants as the server states them, its name written A and
// its password hash left out, sorted.
QStringList grantsOf(const QString &account)
{
    QSqlQuery query = testSupport::rootConnection().query();
    query.exec(QStringLiteral("SHOW GRANTS FOR '%1'@'%'").arg(account));
    QStringList lines;
    while (query.next())
        lines << query.value(0).toString()
                     .replace(QRegularExpression(QStringLiteral(" IDENTIFIED BY PASSWORD '[^']*'")), QString())
                     .replace('`' + account + '`', QStringLiteral("`A`"));
    lines.sort();
    return lines;
}

QString passwordHash(const QString &account)
{
    return testSupport::rootConnection().scalar(QStringLiteral("SELECT GROUP_CONCAT(Host,Password) FROM mysql.user WHERE User='%1'")
                                 .arg(account)).toString();
}

int logCount(const QString &description)
{
    return testSupport::rootConnection().scalar("SELECT COUNT(*) FROM zelnor.log WHERE 描述=" + sqlText::quoted(description)).toInt();
}

// Picks the operator's line (or the first, when the list has none of his),
// 删除(D, then the name as it then stands in the edit, 确定删除(S).
void deleteThrough(frmManageUser *form, const QString &name)
{
    const QList<QListWidgetItem *> lines = form->userList()->findItems(name + "--", Qt::MatchStartsWith);
    form->userList()->setCurrentItem(lines.isEmpty() ? form->userList()->item(0) : lines.first());
    form->deleteButton()->click();
    form->nameEdit()->setText(name);
    form->saveButton()->click();
}

// The old grants, which earlier installations gave every operator.
void createOldStyle(const QString &name, const QString &level)
{
    const QString a = myTools::accountName(name);
    QVERIFY(rootExec("GRANT ALL ON mysql.* TO `" + a + "`@`%` Identified By '580213'"
                     + (level == "主管" ? " WITH GRANT OPTION" : "")));
    if (level == "主管")
        QVERIFY(rootExec("GRANT ALL ON zelnor.* TO `" + a + "`@`%` WITH GRANT OPTION"));
    else if (level == "操作")
        QVERIFY(rootExec("Grant All On zelnor.* To '" + a + "'@'%'"));
    else
        QVERIFY(rootExec("Grant Select,Insert,Update,Delete,Lock Tables,Create,Create Temporary Tables,Show View,"
                         "Create View,Alter,Index,Drop On zelnor.* To '" + a + "'@'%'"));
}

} // namespace

class tst_operators : public QObject
{
    Q_OBJECT
    std::unique_ptr<modalWatcher> m_boxes;

    // root creates the operator through 操作员管理; no box may appear.
    void createThroughProgram(const QString &name, const QString &level)
    {
        std::unique_ptr<mainWindow> root(testSupport::login());
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        QVERIFY(form);
        adminDriver::addOperator(form, name, level);
        QCOMPARE(m_boxes->take(), QStringList());
    }

    // Logs in as root, or as a 主管 the program made first.
    mainWindow *loginAs(const QString &who)
    {
        if (who == "root")
            return testSupport::login();
        createThroughProgram(who, "主管");
        return testSupport::login(who, initial);
    }

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
    void cleanup()
    {
        m_boxes.reset();
        // A failed password test must not leave root with a password the
        // other tests do not know.
        rootExec(QStringLiteral("SET PASSWORD FOR root@'localhost' = PASSWORD('')"));
        rootExec(QStringLiteral("SET GLOBAL general_log=OFF"));
        rootExec(QStringLiteral("DROP ROLE IF EXISTS 管理员角色"));
    }

    void accountName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("account");
        QTest::addColumn<QString>("decoded"); // what the account name reads back as
        QTest::newRow("root stays root") << "root" << "root" << "root";
        QTest::newRow("Root is another account") << "Root" << "526f6f74" << "Root";
        QTest::newRow("chinese, GB18030 bytes") << "张三" << "d5c5c8fd" << "张三";
        QTest::newRow("four-byte GB18030") << "𠀀甲" << "95328236bcd7" << "𠀀甲";
        QTest::newRow("quote") << "O'Neil" << "4f274e65696c" << "O'Neil";
        // Bytes below 16 give one digit, so such names do not read back.
        QTest::newRow("control byte unpadded") << "a\tb" << "61962" << "a";
        QTest::newRow("empty") << "" << "" << "";
    }
    void accountName()
    {
        QFETCH(QString, name);
        QFETCH(QString, account);
        QCOMPARE(myTools::accountName(name), account);
        QTEST(myTools::displayName(account), "decoded");
        // A pair that is not hex ends the name, as a zero byte would.
        if (account != "root")
            QTEST(myTools::displayName(account + "zz41"), "decoded");
    }

    void levelFromGrants_data()
    {
        QTest::addColumn<QString>("grant"); // %1 = 'account'@'%'
        QTest::addColumn<int>("level");
        QTest::newRow("grant option only") << "GRANT SELECT ON zelnor.* TO %1 WITH GRANT OPTION" << 1;
        QTest::newRow("all") << "GRANT ALL ON zelnor.* TO %1" << 2;
        QTest::newRow("drop and execute") << "GRANT DROP, EXECUTE ON zelnor.* TO %1" << 2;
        QTest::newRow("drop without execute") << "GRANT SELECT, DROP ON zelnor.* TO %1" << 3;
        QTest::newRow("no row for the database") << "GRANT SELECT ON mysql.* TO %1" << 3;
        // Only database-level grants count: a global grant reads as 浏览.
        QTest::newRow("global rights") << "GRANT ALL ON *.* TO %1 WITH GRANT OPTION" << 3;
    }
    void levelFromGrants()
    {
        QFETCH(QString, grant);
        const QString account = myTools::accountName("王五");
        QVERIFY(testSupport::exec(QString("CREATE USER '%1'@'%' IDENTIFIED BY 'x'").arg(account)));
        QVERIFY(testSupport::exec(grant.arg(QString("'%1'@'%'").arg(account))));
        QTEST(myTools::operatorLevel(myDatabase(), account, "zelnor"), "level");
    }

    // Exactly the rights of each level, whether root or a 主管 adds the
    // operator, read back as the level that was granted; names at the edge
    // of what an account can carry are added, listed, logged and log in.
    void grantsByLevel_data()
    {
        QTest::addColumn<QString>("addedBy");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("level");
        QTest::addColumn<int>("levelAtLogin");
        QTest::addColumn<QStringList>("grants");
        const QStringList supervisor{"GRANT ALL PRIVILEGES ON `zelnor`.* TO `A`@`%` WITH GRANT OPTION",
                                     "GRANT CREATE USER ON *.* TO `A`@`%` WITH GRANT OPTION",
                                     "GRANT SELECT ON `mysql`.`db` TO `A`@`%` WITH GRANT OPTION"};
        const QStringList operate{"GRANT ALL PRIVILEGES ON `zelnor`.* TO `A`@`%`", "GRANT SELECT ON `mysql`.`db` TO `A`@`%`",
                                  "GRANT USAGE ON *.* TO `A`@`%`"};
        const QStringList browse{"GRANT INSERT ON `zelnor`.`log` TO `A`@`%`", "GRANT SELECT ON `mysql`.`db` TO `A`@`%`",
                                 "GRANT SELECT ON `zelnor`.* TO `A`@`%`", "GRANT USAGE ON *.* TO `A`@`%`"};
        for (const QString &by : {QString("root"), QString("李主管")}) {
            QTest::addRow("%s adds 主管", qPrintable(by)) << by << "新主管" << "主管" << 1 << supervisor;
            QTest::addRow("%s adds 操作", qPrintable(by)) << by << "新操作" << "操作" << 2 << operate;
            QTest::addRow("%s adds 浏览", qPrintable(by)) << by << "新浏览" << "浏览" << 3 << browse;
        }
        QTest::newRow("apostrophe") << "root" << "O'Brien" << "浏览" << 3 << browse;
        QTest::newRow("backslash") << "root" << "王\\五" << "浏览" << 3 << browse;
        QTest::newRow("20 characters, 80 digits") << "root" << QString("欧阳").repeated(10) << "操作" << 2 << operate;
        QTest::newRow("digits only") << "李主管" << "12" << "浏览" << 3 << browse;
        QTest::newRow("digits, e, digit") << "root" << "嶱" << "主管" << 1 << supervisor; // 8e50
    }
    void grantsByLevel()
    {
        QFETCH(QString, addedBy);
        QFETCH(QString, name);
        QFETCH(QString, level);
        {
            std::unique_ptr<mainWindow> window(loginAs(addedBy));
            auto *form = openThrough<frmManageUser>(window.get(), "操作员管理");
            QVERIFY(form);
            adminDriver::addOperator(form, name, level);
            QCOMPARE(m_boxes->take(), QStringList());
            QCOMPARE(listLines(form).last(), name + "--" + level);
            // A list read afresh shows 主管 as 浏览 and 浏览 as 主管, as it always did.
            const QString listed = level == "主管" ? "浏览" : level == "浏览" ? "主管" : level;
            QVERIFY(listLines(openThrough<frmManageUser>(window.get(), "操作员管理")).contains(name + "--" + listed));
        }
        QTEST(grantsOf(myTools::accountName(name)), "grants");
        QCOMPARE(logCount("增加用户：" + name), 1);
        std::unique_ptr<mainWindow> window(testSupport::login(name, initial));
        QTEST(window->level(), "levelAtLogin");
        QCOMPARE(window->operatorName(), name);
    }

    // For each level, through the login form: every usable entry does what it
    // should without an error, the level's own work goes end to end, and the
    // server allows each statement (code "") or refuses it with the code given.
    void levelMatrix_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("enabled");
        QTest::addColumn<QStringList>("statements"); // "code|statement", %1: the operator's own account
        const QStringList always{"1044|SET PASSWORD FOR root@'localhost' = PASSWORD('')",
                                 "1142|UPDATE mysql.db SET Grant_priv='Y' WHERE User='%1'",
                                 "1142|SELECT COUNT(*) FROM mysql.user", "|INSERT INTO log SET 日期=NOW(),用户='x',描述='y'"};
        const QString create = "|CREATE USER 'probe'@'%'", grant = "|GRANT SELECT ON zelnor.lease TO '%1'@'%'",
                      remove = "|DELETE FROM lease WHERE 1=0";
        QTest::newRow("主管") << "主管" << "周主管" << allActions << always + QStringList{create, grant, remove};
        QTest::newRow("操作") << "操作" << "周操作" << operateActions
                            << always + QStringList{"1227" + create, "1142" + grant, remove};
        // An apostrophe in the name is logged as it is written.
        QTest::newRow("浏览") << "浏览" << "周'浏览" << browseActions
                            << always + QStringList{"1227" + create, "1142" + grant, "1142" + remove,
                                                    "1142|UPDATE log SET 描述='z'", "1142|DROP TABLE log"};
    }
    void levelMatrix()
    {
        QFETCH(QString, level);
        QFETCH(QString, name);
        QFETCH(QStringList, enabled);
        createThroughProgram(name, level);
        std::unique_ptr<mainWindow> window(testSupport::login(name, initial));
        QCOMPARE(window->level(), 3 - operatorSql::levelTexts().indexOf(level));
        enabled.sort();
        QCOMPARE(testSupport::enabledActions(window.get()), enabled);

        // A window in the work area, or the title of what asks first
        // (answered with No or Cancel).
        const QMap<QString, QString> shows{
            {"登记备案", "窗口"}, {"浏览查询", "窗口"}, {"搜索查询", "窗口"}, {"备份业务数据", "备份业务数据"},
            {"恢复业务数据", "打开备份数据文件："}, {"清理业务数据", "窗口"}, {"浏览日志", "窗口"},
            {"清理所有日志", "确认"}, {"操作员修改密码", "窗口"}, {"操作员管理", "窗口"}, {"数据字段维护", "窗口"},
            {"选择项目维护", "窗口"}, {"默认收费金额", "对话框"}, {"打印控制", "窗口"}, {"配置服务器", "窗口"},
            {"设置背景图片", "窗口"}, {"关于", "关于"}, {"帮助说明", "窗口"}};
        m_boxes->answer = QMessageBox::No;
        QStringList expected, seen;
        for (const QString &action : enabled) {
            if (action == "退    出")
                continue;
            expected << action + "|" + shows.value(action);
            const int windows = window->mdiArea()->subWindowList().size();
            testSupport::menuAction(window.get(), action)->trigger();
            QStringList titles;
            for (const auto &box : m_boxes->boxes)
                titles << box.title;
            m_boxes->boxes.clear();
            seen << action + "|" + (titles.isEmpty() ? window->mdiArea()->subWindowList().size() > windows ? "窗口" : "无"
                                                     : titles.join("+"));
        }
        QCOMPARE(seen, expected);
        window->mdiArea()->closeAllSubWindows();
        m_boxes->answer = QMessageBox::Ok;

        QFETCH(QStringList, statements);
        for (const QString &row : statements) {
            QSqlError error;
            window->database().exec(row.section('|', 1).arg(myTools::accountName(name)), &error);
            QVERIFY2(error.nativeErrorCode() == row.section('|', 0, 0), qPrintable(row + ": " + error.text()));
        }
        if (level != "主管") { // the dialog opened past the menu: the server refuses, nothing is added
            auto *form = new frmManageUser(window.get());
            window->openForm(form);
            adminDriver::addOperator(form, "新人", "浏览");
            // Without the grant option it cannot even ask whether the account exists.
            const QString refused = m_boxes->take().value(0);
            QVERIFY2(refused.startsWith("错误|Access denied for user '" + myTools::accountName(name) + "'@'%'"),
                     qPrintable(refused));
            QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)")); // still editing
            QCOMPARE(passwordHash(myTools::accountName("新人")), QString());
        }
        if (level == "操作") {
            frmRegisterLease *record = recordForm::open(window.get());
            recordForm::click(record, "增加");
            recordForm::fillRequired(record);
            const QString number = record->numberEdit()->text();
            recordForm::click(record, "确定");
            QCOMPARE(window->statusBar()->currentMessage(), QString("数据保存OK."));
            QCOMPARE(testSupport::registration(number, "出方名称"), QString("张伟"));
        } else if (level == "浏览") {
            // His login and exit are logged with his own account.
            window->close();
            QCOMPARE(testSupport::rootConnection().scalar("SELECT GROUP_CONCAT(描述) FROM zelnor.log WHERE 用户=" + sqlText::quoted(name))
                         .toString(),
                     QString("登录系统,退出系统"));
        }
        QCOMPARE(m_boxes->take(), QStringList());
    }

    // Refused before anything is sent that could change an account; the box
    // says why. What the check itself asks is listed.
    void addRefused_data()
    {
        QTest::addColumn<QString>("addedBy");
        QTest::addColumn<QString>("existing"); // how the name already exists
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("sent"); // %1: the name's account
        const QString exists = "操作员“%1”已经存在，不能重复增加。要改变其级别，请先删除再增加。";
        const QString byRoot = "SELECT COUNT(*) FROM mysql.user WHERE User='%1'";
        const QStringList bySupervisor{byRoot, "SELECT COUNT(*) FROM mysql.db WHERE User='%1'"};
        QTest::newRow("root") << "root" << "" << "root" << "“root”是数据库服务器的管理员账户，不能作为操作员增加。"
                              << QStringList();
        QTest::newRow("empty") << "root" << "" << "" << "操作员姓名不能为空，请输入姓名。" << QStringList();
        QTest::newRow("blanks") << "root" << "" << "  　 " << "操作员姓名不能为空，请输入姓名。" << QStringList();
        QTest::newRow("tab") << "root" << "" << "王\t五" << "操作员姓名中有制表符等不能用作账户名的字符，请修改。"
                             << QStringList();
        QTest::newRow("four-byte character") << "root" << "" << "𠀀甲"
                                             << "操作员姓名中有数据库无法保存的字（生僻字或表情符号），请换一种写法。"
                                             << QStringList();
        QTest::newRow("41 bytes") << "root" << "" << QString(41, 'x')
                                  << "操作员姓名太长：账户名最多80个字符，即40个字节（约20个汉字），请缩短。"
                                  << QStringList();
        QTest::newRow("made by the program") << "root" << "program" << "孙浏览" << exists.arg("孙浏览")
                                             << QStringList{byRoot};
        QTest::newRow("on another host") << "root" << "localhost" << "孙浏览" << exists.arg("孙浏览")
                                         << QStringList{byRoot};
        QTest::newRow("主管: made by the program") << "李主管" << "program" << "孙浏览" << exists.arg("孙浏览")
                                                   << bySupervisor;
        // Without rights on any database the account has no row in mysql.db.
        QTest::newRow("主管: made by hand") << "李主管" << "by hand" << "孙浏览" << exists.arg("孙浏览")
                                            << bySupervisor + QStringList{"REVOKE USAGE ON *.* FROM '%1'@'%'"};
    }
    void addRefused()
    {
        QFETCH(QString, addedBy);
        QFETCH(QString, existing);
        QFETCH(QString, name);
        const QString account = myTools::accountName(name);
        if (existing == "program")
            createThroughProgram(name, "浏览");
        else if (existing == "localhost")
            QVERIFY(rootExec("CREATE USER '" + account + "'@'localhost' IDENTIFIED BY 'keep'"));
        else if (existing == "by hand")
            QVERIFY(rootExec("CREATE USER '" + account + "'@'%' IDENTIFIED BY 'keep'"));
        std::unique_ptr<mainWindow> window(loginAs(addedBy));
        const QString hashes = passwordHash(account);
        const int accounts = testSupport::rootConnection().scalar("SELECT COUNT(*) FROM mysql.user").toInt();
        auto *form = openThrough<frmManageUser>(window.get(), "操作员管理");
        const QStringList listed = listLines(form);
        QStringList recorded;
        {
            testSupport::statementLog log(window->database());
            adminDriver::addOperator(form, name, "主管");
            recorded = log.statements();
        }
        QFETCH(QString, message);
        QCOMPARE(m_boxes->take(), QStringList{"警告|" + message});
        QFETCH(QStringList, sent);
        for (QString &sql : sent)
            sql = sql.arg(account);
        QCOMPARE(recorded, sent);
        QCOMPARE(passwordHash(account), hashes);
        QCOMPARE(testSupport::rootConnection().scalar("SELECT COUNT(*) FROM mysql.user").toInt(), accounts);
        QCOMPARE(listLines(form), listed);
        QCOMPARE(form->saveButton()->text(), QString("确定增加(&S)")); // to correct the name
        QCOMPARE(logCount("增加用户：" + name), existing == "program" ? 1 : 0);
    }

    void deleteOperator_data()
    {
        QTest::addColumn<QString>("by");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("box");  // title|text, or the start of a server's text
        QTest::addColumn<bool>("dropped"); // the account is gone and the deletion logged
        QTest::newRow("root drops an operator") << "root" << "孙浏览" << "" << true;
        QTest::newRow("主管 drops an operator") << "李主管" << "孙浏览" << "" << true;
        // No account, no log row: the server's refusal is all there is.
        QTest::newRow("no such account") << "root" << "无此人" << "错误|Operation DROP USER failed for '" << false;
        QTest::newRow("root") << "root" << "root" << "警告|“root”是数据库服务器的管理员账户，不能删除。" << false;
        QTest::newRow("own account") << "李主管" << "李主管"
                                     << "警告|不能删除自己正在使用的账户“李主管”：删除后可能再无人能管理操作员。"
                                        "如确需删除，请由root或另一位主管删除。" << false;
        QTest::newRow("empty") << "root" << "" << "警告|请先在列表中选择或输入要删除的操作员姓名。" << false;
    }
    void deleteOperator()
    {
        QFETCH(QString, by);
        QFETCH(QString, name);
        QFETCH(bool, dropped);
        createThroughProgram("孙浏览", "浏览");
        createThroughProgram("李主管", "主管");
        std::unique_ptr<mainWindow> window(testSupport::login(by, by == "root" ? QString() : initial));
        auto *form = openThrough<frmManageUser>(window.get(), "操作员管理");
        const QStringList listed = listLines(form);
        const QString account = myTools::accountName(name);
        QStringList sent;
        {
            testSupport::statementLog log(window->database());
            deleteThrough(form, name);
            sent = log.statements();
        }
        QFETCH(QString, box);
        const QStringList boxes = m_boxes->take();
        QVERIFY2(box.isEmpty() ? boxes.isEmpty() : boxes.size() == 1 && boxes[0].startsWith(box), qPrintable(boxes.join('\n')));
        const QString drop = "DROP USER '" + account + "'@'%'";
        const QString logged = "INSERT INTO log SET 日期=NOW(),用户='" + window->operatorName() + "',描述='删除用户：" + name + "'";
        // The account goes first; the log row only when it went.
        const QStringList expected = box.startsWith("警告") ? QStringList() : dropped ? QStringList{drop, logged}
                                                                                    : QStringList{drop};
        QCOMPARE(sent, expected);
        QCOMPARE(logCount("删除用户：" + name), dropped ? 1 : 0);
        if (dropped) {
            QCOMPARE(passwordHash(account), QString());
            QVERIFY(!listLines(form).contains(name + "--主管"));
            QCOMPARE(listLines(form).size(), listed.size() - 1);
        } else {
            QCOMPARE(listLines(form), listed);
        }
        QCOMPARE(passwordHash(myTools::accountName("李主管")).isEmpty(), false);
    }

    // Set through 操作员修改密码 and used at the next login, as typed; the
    // connection goes on with it. Refused or not confirmed, nothing changes.
    void passwords_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("typedOld"); // null: the right one
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("confirmed"); // null: the same
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("retypedOld"); // typed over the old password last; null: left alone
        QTest::newRow("apostrophe") << "钱操作" << QString() << "it's" << QString() << "" << QString();
        QTest::newRow("backslash") << "钱操作" << QString() << "ab\\cd" << QString() << "" << QString();
        QTest::newRow("chinese") << "钱操作" << QString() << "中文密码" << QString() << "" << QString();
        QTest::newRow("all of them") << "钱操作" << QString() << "混'合\\密码\\'" << QString() << "" << QString();
        QTest::newRow("empty") << "钱操作" << QString() << "" << QString() << "" << QString();
        QTest::newRow("four-byte character") << "钱操作" << QString() << "密码𠀀" << QString()
                                             << "警告|新密码中有数据库无法保存的字（生僻字或表情符号），请换一个密码。" << QString();
        QTest::newRow("confirmation differs") << "钱操作" << QString() << "n3w-pw" << "" << "警告|两次密码不一致，请重新输入！" << QString();
        // The new password and 确定 stay closed, also when the old one is
        // retyped wrong after the new ones were entered.
        QTest::newRow("wrong old password") << "钱操作" << "wrong" << "n3w-pw" << QString() << "" << QString();
        QTest::newRow("old password retyped wrong") << "钱操作" << QString() << "n3w-pw" << QString() << "" << "wrong";
        // Through "localhost", root's own account row.
        QTest::newRow("root") << "root" << QString() << "r'\\根" << QString() << "" << QString();
    }
    void passwords()
    {
        QFETCH(QString, name);
        QFETCH(QString, typedOld);
        QFETCH(QString, password);
        QFETCH(QString, confirmed);
        QFETCH(QString, box);
        QFETCH(QString, retypedOld);
        const bool root = name == "root";
        const QString old = root ? QString() : initial;
        if (!root)
            createThroughProgram(name, "操作");
        const int level = root ? 0 : 2;
        const bool changed = box.isEmpty() && typedOld.isNull() && retypedOld.isNull();
        {
            std::unique_ptr<mainWindow> window(testSupport::login(name, old));
            QVERIFY(adminDriver::changePassword(window.get(), typedOld.isNull() ? old : typedOld, password,
                                                confirmed.isNull() ? password : confirmed, retypedOld));
            QCOMPARE(m_boxes->take(), box.isEmpty() ? QStringList() : QStringList{box});
            QCOMPARE(window->statusBar()->currentMessage(), QString(changed ? " 密码修改成功！" : ""));
            QCOMPARE(window->database().password(), changed ? password : old);
        }
        const QString now = changed ? password : old;
        QCOMPARE(loginLevel(name, now), level);
        if (now != old)
            QCOMPARE(loginLevel(name, old), 10);
        if (root) { // and back, through the dialog too
            std::unique_ptr<mainWindow> window(testSupport::login(name, password));
            QVERIFY(adminDriver::changePassword(window.get(), password, QString(), QString()));
            QCOMPARE(m_boxes->take(), QStringList());
            QCOMPARE(loginLevel(name, QString()), 0);
        }
    }

    void setPasswordStatement_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("sql");
        QTest::newRow("root through localhost") << "root" << "localhost" << "pw"
                                                << "SET PASSWORD FOR root@'localhost' = PASSWORD('pw');";
        QTest::newRow("root, upper case host") << "root" << "LocalHost" << "pw"
                                               << "SET PASSWORD FOR root@'localhost' = PASSWORD('pw');";
        QTest::newRow("root through an address") << "root" << "127.0.0.1" << "pw"
                                                 << "SET PASSWORD FOR root@'%' = PASSWORD('pw');";
        QTest::newRow("typed text") << "d5c5c8fd" << "db" << "a'b\\c"
                                    << "SET PASSWORD FOR d5c5c8fd@'%' = PASSWORD('a''b\\\\c');";
        // The server reads a name of digits alone, or digits, an e and a digit, as a number.
        QTest::newRow("digits") << "3132" << "db" << "pw" << "SET PASSWORD FOR '3132'@'%' = PASSWORD('pw');";
        QTest::newRow("digits, e, digit") << "8e50" << "db" << "pw" << "SET PASSWORD FOR '8e50'@'%' = PASSWORD('pw');";
        QTest::newRow("digits, e, letter") << "31ea" << "db" << "pw" << "SET PASSWORD FOR 31ea@'%' = PASSWORD('pw');";
    }
    void setPasswordStatement()
    {
        QFETCH(QString, user);
        QFETCH(QString, host);
        QFETCH(QString, password);
        QTEST(operatorSql::setPasswordSql(user, host, password), "sql");
    }

    void excessRights_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("extra"); // run by root after the level's grants; %1 = 'account'@'%'
        QTest::addColumn<QStringList>("beyond");
        QTest::newRow("主管 as made") << "主管" << "" << QStringList();
        QTest::newRow("操作 as made") << "操作" << "" << QStringList();
        QTest::newRow("浏览 as made") << "浏览" << "" << QStringList();
        QTest::newRow("global") << "主管" << "GRANT PROCESS, SUPER ON *.* TO %1" << QStringList{"全局：PROCESS, SUPER"};
        QTest::newRow("another database") << "操作" << "GRANT SELECT ON test.* TO %1" << QStringList{"test.*：SELECT"};
        // On the database itself the grant option would make him a 主管.
        QTest::newRow("passes rights on") << "操作" << "GRANT SELECT ON zelnor.log TO %1 WITH GRANT OPTION"
                                          << QStringList{"zelnor.log：GRANT OPTION"};
        QTest::newRow("writes a table") << "浏览" << "GRANT UPDATE, DELETE ON zelnor.log TO %1"
                                        << QStringList{"zelnor.log：UPDATE, DELETE"};
        QTest::newRow("a column") << "浏览" << "GRANT UPDATE (描述) ON zelnor.log TO %1"
                                  << QStringList{"zelnor.log.描述：UPDATE"};
        QTest::newRow("writes mysql.db") << "主管" << "GRANT UPDATE ON mysql.db TO %1"
                                         << QStringList{"mysql.db：UPDATE"};
        QTest::newRow("a role") << "浏览" << "CREATE ROLE 管理员角色; GRANT 管理员角色 TO %1"
                                << QStringList{"角色：管理员角色"};
    }
    void excessRights()
    {
        QFETCH(QString, level);
        QFETCH(QString, extra);
        const QString account = myTools::accountName("王五");
        for (const QString &sql : operatorSql::grantStatements(account, level, "zelnor"))
            QVERIFY(rootExec(sql));
        for (const QString &sql : extra.split("; ", Qt::SkipEmptyParts))
            QVERIFY(rootExec(sql.arg("'" + account + "'@'%'")));
        const int read = myTools::operatorLevel(testSupport::rootConnection(), account, "zelnor");
        QTEST(operatorAccounts::excessRights(testSupport::rootConnection(), account, read, "zelnor"), "beyond");
    }

    // Accounts of earlier installations keep working; root sees them marked
    // and narrows them in one go, passwords kept.
    void oldAccountsAreNarrowed()
    {
        const QStringList names{"老主管", "老操作", "老浏览"};
        const QStringList levels{"主管", "操作", "浏览"};
        for (int i = 0; i < 3; ++i)
            createOldStyle(names[i], levels[i]);
        createThroughProgram("新操作", "操作");
        for (int i = 0; i < 3; ++i)
            QCOMPARE(loginLevel(names[i], initial), i + 1);
        {
            // A 主管 of the old kind still manages operators, but is not offered the narrowing.
            std::unique_ptr<mainWindow> window(testSupport::login("老主管", initial));
            auto *form = openThrough<frmManageUser>(window.get(), "操作员管理");
            QVERIFY(form->narrowButton()->isHidden());
            adminDriver::addOperator(form, "老主管加的", "浏览");
            QCOMPARE(m_boxes->take(), QStringList());
            QCOMPARE(loginLevel("老主管加的", initial), 3);
        }
        std::unique_ptr<mainWindow> root(testSupport::login());
        auto *form = openThrough<frmManageUser>(root.get(), "操作员管理");
        QVERIFY(form->narrowButton()->isVisible() && form->narrowButton()->isEnabled());
        QStringList marked;
        for (int i = 0; i < form->userList()->count(); ++i) {
            const QListWidgetItem *item = form->userList()->item(i);
            if (item->foreground().color() == QColor(Qt::darkRed) && !item->icon().isNull())
                marked << item->text();
        }
        // The list's labels, as always: 主管 shows 浏览 and 浏览 shows 主管.
        marked.sort();
        QCOMPARE(marked, (QStringList{"老主管--浏览", "老操作--操作", "老浏览--主管"}));
        const QString tip = form->userList()->findItems("老浏览--", Qt::MatchStartsWith).first()->toolTip();
        QVERIFY2(tip.contains("mysql.*：SELECT, INSERT, UPDATE") && tip.contains("zelnor.*：INSERT, UPDATE, DELETE"),
                 qPrintable(tip));
        form->userList()->setCurrentRow(listLines(form).indexOf("老浏览--主管"));
        QCOMPARE(form->nameEdit()->text() + "|" + form->levelBox()->currentText(), QString("老浏览|主管"));

        form->narrowButton()->click();
        QCOMPARE(m_boxes->take(), QStringList());
        QCOMPARE(root->statusBar()->currentMessage(), QString("已收紧3个操作员的权限。"));
        QVERIFY(!form->narrowButton()->isEnabled());
        for (int i = 0; i < form->userList()->count(); ++i)
            QVERIFY(form->userList()->item(i)->toolTip().isEmpty());
        // Exactly what the program gives a new operator of the level.
        const QString fresh = myTools::accountName("新的");
        for (int i = 0; i < 3; ++i) {
            for (const QString &sql : operatorSql::grantStatements(fresh, levels[i], "zelnor"))
                QVERIFY(rootExec(sql));
            QCOMPARE(grantsOf(myTools::accountName(names[i])), grantsOf(fresh));
            QVERIFY(rootExec("DROP USER '" + fresh + "'@'%'"));
            QCOMPARE(logCount("收紧权限：" + names[i]), 1);
        }
        QCOMPARE(logCount("收紧权限：新操作"), 0);
        root.reset();
        for (int i = 0; i < 3; ++i)
            QCOMPARE(loginLevel(names[i], initial), i + 1);
    }
};

QTEST_MAIN(tst_operators)
#include "tst_operators.moc"
