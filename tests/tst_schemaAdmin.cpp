// Field and choice-list maintenance through their dialogs on the real server:
// what SHOW COLUMNS reports afterwards and what the operator reads on refusal.
#include "adminDriver.h"
#include "desktopFit.h"
#include "frmManageSelectedItem.h"
#include "frmSetField.h"
#include "mainWindow.h"
#include "recordFormDriver.h"
#include "sqlText.h"
#include "testSupport.h"

#include <QtSql>
#include <QtTest>
#include <QtWidgets>

static const QString baseOrder = "登记编号,出方名称,出方类别,出方证件类型,出方证件号码,出方电话,出方地址,委托代理人";

// Every column as "name type null default", the default "-" when NULL.
static QStringList columns(const QString &table)
{
    QStringList list;
    QSqlQuery q("SHOW COLUMNS FROM " + table);
    while (q.next())
        list << QStringList{q.value(0).toString(), q.value(1).toString(), q.value(2).toString(),
                            q.value(4).isNull() ? "-" : q.value(4).toString()}.join(' ');
    return list;
}

static QString order(const QString &table)
{
    QStringList names;
    QSqlQuery q("SHOW COLUMNS FROM " + table);
    while (q.next())
        names << q.value(0).toString();
    return names.join(',');
}

// The lessor row's non-null values, whatever their columns are called now.
static QSet<QString> lessorValues()
{
    QSet<QString> values;
    QSqlQuery q("SELECT * FROM leaseout");
    q.next();
    for (int i = 0; i < q.record().count(); ++i)
        if (!q.value(i).isNull())
            values << q.value(i).toString();
    return values;
}

// Whether the boxes of a save end in a refusal rather than a question.
static bool refusedIn(const QString &boxes) { return !boxes.isEmpty() && !boxes.endsWith("行吗？"); }

// Every grid column's texts, by column index.
static QList<QStringList> gridTexts(const QTableWidget *grid)
{
    QList<QStringList> texts;
    for (int c = 0; c < frmSetField::colCount; ++c)
        texts << adminDriver::gridColumn(grid, c);
    return texts;
}

// While it lives, Qt's Chinese catalogue is loaded as the program loads it
// at start-up, so the driver's part of every error text is Chinese.
class chineseDriverTexts
{
public:
    explicit chineseDriverTexts(bool on)
    {
        if (!on)
            return;
        QVERIFY(desktopFit::installQtTranslations(qApp));
        QSqlQuery probe;
        probe.exec("NOT SQL");
        QCOMPARE(probe.lastError().driverText(), QString("QMYSQL: 无法执行查询"));
    }
    ~chineseDriverTexts()
    {
        for (QTranslator *t : qApp->findChildren<QTranslator *>()) {
            QCoreApplication::removeTranslator(t);
            delete t;
        }
    }
};

using adminDriver::gridColumn;
using testSupport::openThrough;

class tst_schemaAdmin : public QObject
{
    Q_OBJECT
    std::unique_ptr<mainWindow> m_window;

private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        testSupport::resetDatabase();
        testSupport::insertLease({"000000202500012", "2025-03-02", 120, "张伟", "", "李娜", "", "人民路12号"});
        testSupport::exec("UPDATE leaseout SET 出方类别='单位',出方地址='北京市朝阳区建国路88号'");
        m_window.reset(testSupport::login());
    }
    void cleanup() { m_window.reset(); }

    // Opened where the crib is missing, the dialog still works and says so.
    // Protected columns cannot be edited in any cell, the hidden columns hold
    // the loaded names, nothing is marked changed.
    void loadsTable()
    {
        const QString here = QDir::currentPath();
        QTemporaryDir empty;
        QDir::setCurrent(empty.path());
        auto *form = openThrough<frmSetField>(m_window.get(), "数据字段维护");
        QDir::setCurrent(here);
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("打开文件“fieldtype.txt”失败。"));
        QCOMPARE(form->typePane()->toPlainText(), QString());
        QTableWidget *grid = form->grid();
        QVERIFY(grid->isColumnHidden(5) && grid->isColumnHidden(6));
        QStringList locked;
        for (int t = 0; t < 3; ++t) {
            form->tableBox()->setCurrentIndex(t);
            const QString names = order(form->tableBox()->currentData().toString());
            QCOMPARE(gridColumn(grid, 0).join(',') + gridColumn(grid, 5).join(',') + gridColumn(grid, 6).join(""), names + names);
            QVERIFY(!form->saveButton()->isEnabled() && !form->deleteButton()->isEnabled());
            for (int r = 0; r < grid->rowCount(); ++r) {
                int editable = 0;
                for (int c = 0; c < frmSetField::colCount; ++c)
                    editable += (grid->item(r, c)->flags() & Qt::ItemIsEditable) ? 1 : 0;
                QVERIFY(editable == 0 || editable == frmSetField::colCount);
                if (editable == 0)
                    locked << grid->item(r, 0)->text();
            }
        }
        QCOMPARE(locked.join(','), QString("登记编号,出方名称,出方电话,登记编号,承方名称,承方电话,登记编号,房屋坐落"));
        QVERIFY(openThrough<frmSetField>(m_window.get(), "数据字段维护")->typePane()->toPlainText().startsWith("常用字段类型参考\n"));
    }

    void fieldSave_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("order");      // leaseout's columns afterwards
        QTest::addColumn<QStringList>("detail"); // some of them as SHOW COLUMNS has them
        QTest::addColumn<QString>("boxes");      // every box the operator saw
        QTest::addColumn<bool>("applied");       // the server took some statement: one log row
        QTest::addColumn<bool>("translated");    // Qt's Chinese translation loaded
        const QString base = baseOrder;
        const QString pending = "\n没有完成的修改仍在表格中，改正后请再按“保存”。";
        const QString partly = "\n其他修改已经生效；没有完成的修改仍在表格中，改正后请再按“保存”。";
        // A refusal is read in the server's words, which do not change with
        // the language of the driver's own: each refusal runs in both.
        auto row = [](const QString &name, const QString &steps, const QString &order, const QString &detail,
                      const QString &boxes, bool applied = true) {
            for (const bool translated : {false, true})
                if (!translated || refusedIn(boxes))
                    QTest::newRow(qPrintable(name + (translated ? ", Chinese driver texts" : "")))
                        << steps.split(';') << order << detail.split(';', Qt::SkipEmptyParts) << boxes << applied
                        << translated;
        };
        row("insert at the top, rename with type change, drop",
            "^档案号|varchar(20)|NO|无;~出方地址|联系地址|varchar(120);-委托代理人",
            "档案号," + QString(base).replace("出方地址", "联系地址").remove(",委托代理人"),
            "联系地址 varchar(120) YES -;档案号 varchar(20) NO 无", "确定删除第 9 行吗？");
        row("add below another new row", "+紧急联系人|varchar(20)|YES|;+紧急电话|varchar(20)|no|无", base + ",紧急联系人,紧急电话",
            "紧急联系人 varchar(20) YES -;紧急电话 varchar(20) NO 无", "");
        // A reorder keeps every column's rules: the required name stays
        // required, the choices keep their defaults.
        row("move down, move the last up to the first", ">出方类别|5;>委托代理人|1",
            "委托代理人,登记编号,出方名称,出方证件类型,出方证件号码,出方类别,出方电话,出方地址",
            "登记编号 char(15) NO -;出方名称 varchar(60) NO -;出方类别 enum('个人','单位') YES 个人;"
            "出方证件类型 enum('居民身份证','营业执照','护照','军官证','其他') YES 居民身份证", "");
        row("move to its own place, then rename and move", ">出方类别|3;~出方地址|住址;>住址|3",
            "登记编号,出方名称,住址,出方类别,出方证件类型,出方证件号码,出方电话,委托代理人",
            "住址 varchar(100) YES -;出方名称 varchar(60) NO -;出方类别 enum('个人','单位') YES 个人", "");
        // The rules a moved row carries are the edited ones.
        row("move a row whose rules were edited", "~出方地址|||NO|未填;>出方地址|1",
            "出方地址," + QString(base).remove(",出方地址"), "出方地址 varchar(100) NO 未填;出方名称 varchar(60) NO -", "");
        row("names and defaults as typed", "+备 注|varchar(20)|YES|O'Neil;+路径`名|varchar(20)|YES|C:\\new\\table",
            base + ",备 注,路径`名", "备 注 varchar(20) YES O'Neil;路径`名 varchar(20) YES C:\\new\\table", "");

        // Refusals: what the server took stays, the grid keeps what it did not.
        row("deleted and re-added in one save", "-委托代理人;+委托代理人|varchar(10)|YES|", base,
            "委托代理人 varchar(40) YES -",
            "确定删除第 8 行吗？|字段名“委托代理人”已经有了，请换一个名字。要重建同名的字段，请先删除原来的并保存，再增加。" + pending,
            false);
        row("unknown type word, after a rename", "~出方证件号码|证件号码;+楼层|intt|YES|",
            QString(base).replace("出方证件号码", "证件号码"), "证件号码 varchar(30) YES -",
            "“楼层”列的类型“intt”不对，请照右边的类型参考改正，例如 varchar(20)、int(11)。" + partly);
        row("type without its length", "+楼层|varchar|YES|", base, "",
            "“楼层”列的类型“varchar”不对，请照右边的类型参考改正，例如 varchar(20)、int(11)。" + pending, false);
        row("default that does not fit the type", "+楼层|int(11)|YES|三楼", base, "",
            "“楼层”列的缺省值“三楼”不适合类型“int(11)”，请改正缺省值，或把它清空（不填表示没有缺省值）。" + pending, false);
        row("required column defaulting to NULL", "+楼层|int(11)|NO|NULL", base, "",
            "“楼层”列不允许空，缺省值就不能是 NULL：请清空缺省值，或把允许空改为 YES。" + pending, false);
        row("choice retyped below stored data", "~出方类别||enum('个人')", base, "出方类别 enum('个人','单位') YES 个人",
            "失败：“出方类别”列已存在数据，不能对此同步修改或删除。\n"
            "已登记的内容放不进类型“enum('个人')”，请改回原来的类型，或把它放宽后再保存。" + pending, false);
        row("required column too short for its data", "~出方地址||varchar(5)|NO", base, "出方地址 varchar(100) YES -",
            "失败：“出方地址”列已存在数据，不能对此同步修改或删除。\n"
            "已登记的内容放不进类型“varchar(5)”，请改回原来的类型，或把它放宽后再保存。" + pending, false);
        row("reserved word as a name", "+select|varchar(10)|YES|", base, "",
            "字段名“select”是数据库的保留字，不能使用，请换一个名字。" + pending, false);
        // Refused before any statement is sent: nothing is applied, no log row.
        row("a rare character in a name", "+备\U00020000注|varchar(10)|YES|", base, "",
            "第9行的“字段名”中有数据库不能保存的字符（扩展区的生僻字或表情符号），请改用常用字后再保存。没有修改任何字段。", false);
        row("row left without a name, below a good one", "+楼层|int(11)|YES|;+|varchar(10)|YES|", base + ",楼层", "",
            "第10行没有填字段名，请填写字段名或删除这一行。" + partly);
    }
    void fieldSave()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, order);
        QFETCH(QStringList, detail);
        QFETCH(QString, boxes);
        QFETCH(bool, applied);
        QFETCH(bool, translated);
        const QSet<QString> before = lessorValues();
        auto *form = openThrough<frmSetField>(m_window.get(), "数据字段维护");
        modalWatcher watcher(QMessageBox::Yes);
        for (const QString &step : steps)
            adminDriver::fieldStep(form, watcher, step);
        const QList<QStringList> working = gridTexts(form->grid());
        {
            chineseDriverTexts chinese(translated);
            recordForm::click(form, "保存");
        }

        QStringList seen;
        for (const modalWatcher::seen &s : watcher.boxes)
            if (s.className == "QMessageBox")
                seen << s.text;
        QCOMPARE(seen.join('|'), boxes);
        QCOMPARE(::order("leaseout"), order);
        const QStringList now = columns("leaseout");
        for (const QString &d : detail)
            QVERIFY2(now.contains(d), qPrintable(now.join(" | ")));
        QVERIFY(lessorValues().contains(before)); // renames, moves and refusals keep every stored value
        QCOMPARE(testSupport::count("log WHERE 描述='维护数据字段'"), applied ? 1 : 0);

        // The grid is never reloaded: it keeps the working copy. After a
        // complete save it is the table and nothing in it is pending; after a
        // refusal 保存 stays usable for the corrected edits.
        const bool refused = refusedIn(boxes);
        const QList<QStringList> shown = gridTexts(form->grid());
        for (int c : {frmSetField::colName, frmSetField::colType, frmSetField::colNull, frmSetField::colDefault})
            QCOMPARE(shown.at(c), working.at(c));
        QCOMPARE(form->saveButton()->isEnabled(), refused);
        if (!refused) {
            QCOMPARE(shown.at(frmSetField::colName).join(','), order);
            QCOMPARE(shown.at(frmSetField::colOriginal), shown.at(frmSetField::colName));
            QCOMPARE(shown.at(frmSetField::colModified).join(""), QString());
            QVERIFY(!form->moved());
        }
    }

    // A second save in the same dialog issues what is pending and nothing
    // that the first one already did, as the server's general log shows.
    void secondSave_data()
    {
        QTest::addColumn<QStringList>("first");
        QTest::addColumn<QStringList>("second");
        QTest::addColumn<QString>("issued"); // the second save's statements, as "verb column"
        QTest::addColumn<QStringList>("detail");
        const QString reorder = "MODIFY 登记编号,MODIFY 出方名称,MODIFY 出方证件类型,MODIFY 出方证件号码,MODIFY 出方类别,"
                                "MODIFY 出方电话,MODIFY 出方地址,MODIFY 委托代理人";
        QTest::newRow("add, then rename the added column") << QStringList{"+楼层|int(11)|YES|"} << QStringList{"~楼层|楼层数"}
            << "CHANGE 楼层" << QStringList{"楼层数 int(11) YES -"};
        QTest::newRow("move, then change a default") << QStringList{">出方类别|5"} << QStringList{"~出方地址||||待补"}
            << "CHANGE 出方地址" << QStringList{"出方地址 varchar(100) YES 待补", "出方名称 varchar(60) NO -"};
        QTest::newRow("refused type corrected") << QStringList{"+楼层|intt|YES|"} << QStringList{"~楼层||int(11)"}
            << "ADD 楼层" << QStringList{"楼层 int(11) YES -"};
        // A refused addition holds the reorder back (it would name a column
        // that is not there); both follow once the type is right.
        QTest::newRow("refused addition holds the move back") << QStringList{"+楼层|intt|YES|", ">出方类别|5"}
            << QStringList{"~楼层||int(11)"} << "ADD 楼层," + reorder + ",MODIFY 楼层"
            << QStringList{"楼层 int(11) YES -", "出方类别 enum('个人','单位') YES 个人"};
    }
    void secondSave()
    {
        QFETCH(QStringList, first);
        QFETCH(QStringList, second);
        auto *form = openThrough<frmSetField>(m_window.get(), "数据字段维护");
        modalWatcher watcher(QMessageBox::Yes);
        for (const QString &step : first)
            adminDriver::fieldStep(form, watcher, step);
        recordForm::click(form, "保存");
        watcher.boxes.clear();
        for (const QString &step : second)
            adminDriver::fieldStep(form, watcher, step);
        QStringList issued;
        {
            testSupport::statementLog log{myDatabase()};
            recordForm::click(form, "保存");
            for (const QString &sql : log.statements().filter(QRegularExpression("^ALTER TABLE ")))
                issued << sql.section(' ', 3, 4);
        }
        QTEST(issued.join(','), "issued");
        QCOMPARE(watcher.boxes.size(), 0);
        QVERIFY(!form->saveButton()->isEnabled());
        QFETCH(QStringList, detail);
        const QStringList now = columns("leaseout");
        for (const QString &d : detail)
            QVERIFY2(now.contains(d), qPrintable(now.join(" | ")));
    }

    void choiceSave_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("steps"); // "+text" appends a row (typed into when given), "-text" deletes it
        QTest::addColumn<QStringList>("shown"); // the grid afterwards, as edited, also after a refusal
        QTest::addColumn<QString>("type");      // the column's type afterwards
        QTest::addColumn<QString>("box");
        QTest::addColumn<bool>("translated");
        QTest::newRow("remove an unused value, empty rows squeezed out")
            << "房屋结构" << QStringList{"-砖木", "+", "+  ", "+商铺", "+"} << QStringList{"钢混", "砖混", "其他", "商铺"}
            << "enum('钢混','砖混','其他','商铺')" << "" << false;
        QTest::newRow("values as typed") << "出方类别" << QStringList{"+O'Neil", "+C:\\new"}
                                         << QStringList{"个人", "单位", "O'Neil", "C:\\new"}
                                         << "enum('个人','单位','O''Neil','C:\\\\new')" << "" << false;
        QTest::newRow("a rare character") << "出方类别" << QStringList{"+机构\U0001F3E0"}
                                          << QStringList{"个人", "单位", "机构\U0001F3E0"} << "enum('个人','单位')"
                                          << "“机构\U0001F3E0”中有数据库不能保存的字符（扩展区的生僻字或表情符号），请改用常用字后再保存。"
                                          << false;
        const QString inUse = "“出方类别”列已存在原数据，不能对此同步修改或删除。\n"
                              "有登记用到了要删去或改动的值：请保留这个值，或先修改用到它的登记。";
        for (const bool translated : {false, true}) {
            const QString driver = translated ? ", Chinese driver texts" : "";
            QTest::newRow(qPrintable("remove a value in use" + driver))
                << "出方类别" << QStringList{"-单位", "+其他"} << QStringList{"个人", "其他"} << "enum('个人','单位')"
                << inUse << translated;
            QTest::newRow(qPrintable("a value twice" + driver))
                << "房屋结构" << QStringList{"+其他"} << QStringList{"钢混", "砖混", "砖木", "其他", "其他"}
                << "enum('钢混','砖混','砖木','其他')" << "“房屋结构”列的可选择值“其他”重复了，请删去重复的一行。"
                << translated;
            QTest::newRow(qPrintable("every value removed" + driver))
                << "房屋结构" << QStringList{"-钢混", "-砖混", "-砖木", "-其他"} << QStringList{}
                << "enum('钢混','砖混','砖木','其他')" << "“房屋结构”列至少要有一个可选择值，请增加后再保存。" << translated;
        }
    }
    void choiceSave()
    {
        QFETCH(QString, column);
        QFETCH(QStringList, steps);
        QFETCH(QString, type);
        QFETCH(QString, box);
        auto *form = openThrough<frmManageSelectedItem>(m_window.get(), "选择项目维护");
        QStringList entries;
        for (int i = 0; i < form->fieldBox()->count(); ++i)
            entries << form->fieldBox()->itemText(i) + "/" + form->fieldBox()->itemData(i).toString();
        QCOMPARE(entries.join(','), QString("出方类别/leaseout,出方证件类型/leaseout,承方类别/leasein,承方证件类型/leasein,"
                                            "房屋用途/leasehouse,房屋结构/leasehouse,租金支付方式/leasehouse"));
        form->fieldBox()->setCurrentText(column);
        // Neither opening nor switching the column makes the dialog dirty.
        QVERIFY(!form->saveButton()->isEnabled() && !form->cancelButton()->isEnabled() && form->fieldBox()->isEnabled());
        const QString table = form->fieldBox()->currentData().toString();
        const QStringList stored = gridColumn(form->grid(), 0);
        for (const QString &step : steps)
            adminDriver::choiceStep(form, step);
        QVERIFY(form->saveButton()->isEnabled() && form->cancelButton()->isEnabled() && !form->fieldBox()->isEnabled());
        modalWatcher watcher;
        {
            QFETCH(bool, translated);
            chineseDriverTexts chinese(translated);
            recordForm::click(form, "保存");
        }
        QCOMPARE(watcher.lastText(), box);
        QVERIFY(columns(table).filter(QRegularExpression("^" + column + " ")).value(0).startsWith(column + " " + type));
        QTEST(gridColumn(form->grid(), 0), "shown");
        QCOMPARE(form->saveButton()->isEnabled(), !box.isEmpty());
        QCOMPARE(form->fieldBox()->isEnabled(), box.isEmpty());
        // Every value the grid shows can be stored as it reads there.
        if (box.isEmpty())
            for (const QString &value : gridColumn(form->grid(), 0)) {
                QVERIFY(testSupport::exec("UPDATE " + table + " SET " + column + "=" + sqlText::quoted(value)));
                QCOMPARE(testSupport::scalar("SELECT " + column + " FROM " + table).toString(), value);
            }
        if (!box.isEmpty()) {
            recordForm::click(form, "放弃");
            QCOMPARE(gridColumn(form->grid(), 0), stored);
            QVERIFY(form->fieldBox()->isEnabled() && !form->saveButton()->isEnabled());
        }
    }
};

QTEST_MAIN(tst_schemaAdmin)
#include "tst_schemaAdmin.moc"
