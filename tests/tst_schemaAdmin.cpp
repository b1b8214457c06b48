// Field and choice-list maintenance through their dialogs on the real server:
// what SHOW COLUMNS reports afterwards and what the operator reads on refusal.
#include "adminDriver.h"
#include "frmManageSelectedItem.h"
#include "frmSetField.h"
#include "mainWindow.h"
#include "recordFormDriver.h"
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
    for (const QString &c : columns(table))
        names << c.section(' ', 0, 0);
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
        const QString base = baseOrder, syntax = "句法错误，请检查“%1”。", tail = " QMYSQL: Unable to execute query";
        auto row = [](const char *name, const QString &steps, const QString &order, const QString &detail,
                      const QString &boxes) {
            QTest::newRow(name) << steps.split(';') << order << detail.split(';', Qt::SkipEmptyParts) << boxes;
        };
        row("insert at the top, rename with type change, drop",
            "^档案号|varchar(20)|NO|无;~出方地址|联系地址|varchar(120);-委托代理人",
            "档案号," + QString(base).replace("出方地址", "联系地址").remove(",委托代理人"),
            "联系地址 varchar(120) YES -;档案号 varchar(20) NO 无", "确定删除第 9 行吗？");
        row("add below another new row", "+紧急联系人|varchar(20)|YES|;+紧急电话|varchar(20)|no|无", base + ",紧急联系人,紧急电话",
            "紧急联系人 varchar(20) YES -;紧急电话 varchar(20) NO 无", "");
        // A reorder resets every column to nullable without default; the
        // primary key stays NOT NULL because the server insists.
        row("move down, move the last up to the first", ">出方类别|5;>委托代理人|1",
            "委托代理人,登记编号,出方名称,出方证件类型,出方证件号码,出方类别,出方电话,出方地址",
            "登记编号 char(15) NO -;出方名称 varchar(60) YES -;出方类别 enum('个人','单位') YES -", "");
        row("move to its own place, then rename and move", ">出方类别|3;~出方地址|住址;>住址|3",
            "登记编号,出方名称,住址,出方类别,出方证件类型,出方证件号码,出方电话,委托代理人", "住址 varchar(100) YES -", "");
        // Refusals: what was applied stays, the grid shows the table again,
        // and a failed retype never costs the column its data.
        row("deleted and re-added in one save", "-委托代理人;+委托代理人|varchar(10)|YES|", base, "委托代理人 varchar(40) YES -",
            "确定删除第 8 行吗？|Duplicate column name '委托代理人'" + tail);
        row("apostrophe in a default, after a rename", "~出方证件号码|证件号码;+备用|varchar(10)|YES|O'Neil",
            QString(base).replace("出方证件号码", "证件号码"), "证件号码 varchar(30) YES -", syntax.arg("' AFTER 委托代理人"));
        row("choice retyped below stored data", "~出方类别||enum('个人')", base, "出方类别 enum('个人','单位') YES 个人",
            "失败：“出方类别”列已存在数据，不能对此同步修改或删除。");
    }
    void fieldSave()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, order);
        QFETCH(QStringList, detail);
        QFETCH(QString, boxes);
        const QSet<QString> before = lessorValues();
        auto *form = openThrough<frmSetField>(m_window.get(), "数据字段维护");
        modalWatcher watcher(QMessageBox::Yes);
        for (const QString &step : steps)
            adminDriver::fieldStep(form, watcher, step);
        recordForm::click(form, "保存");

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
        QCOMPARE(gridColumn(form->grid(), frmSetField::colName).join(','), order);
        QVERIFY(!form->saveButton()->isEnabled());
        const bool failed = !seen.isEmpty() && !seen.last().startsWith("确定删除");
        QCOMPARE(testSupport::count("log WHERE 描述='维护数据字段'"), failed ? 0 : 1);
    }

    // The server's wording here is MariaDB's; MySQL's, and the driver's words
    // in Chinese once Qt's translation is loaded, come out the same.
    void syntaxWording_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("driver");
        QTest::newRow("MySQL") << "MySQL" << "Unable to execute query";
        QTest::newRow("translated driver") << "MariaDB" << "无法执行查询";
    }
    void syntaxWording()
    {
        QFETCH(QString, server);
        QFETCH(QString, driver);
        QCOMPARE(schemaSql::fieldSaveMessage("You have an error in your SQL syntax; check the manual that corresponds to "
                                             "your " + server + " server version for the right syntax to use near "
                                             "'Neil' FIRST' at line 1 QMYSQL: " + driver),
                 QString("句法错误，请检查“Neil' FIRST”。"));
    }

    void choiceSave_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("steps"); // "+text" appends a row (typed into when given), "-text" deletes it
        QTest::addColumn<QStringList>("shown"); // the grid afterwards, as edited, also after a refusal
        QTest::addColumn<QString>("type");      // the column's type afterwards
        QTest::addColumn<QString>("box");
        QTest::newRow("remove an unused value, empty rows squeezed out")
            << "房屋结构" << QStringList{"-砖木", "+", "+  ", "+商铺", "+"} << QStringList{"钢混", "砖混", "其他", "商铺"}
            << "enum('钢混','砖混','其他','商铺')" << "";
        QTest::newRow("remove a value in use") << "出方类别" << QStringList{"-单位", "+其他"} << QStringList{"个人", "其他"}
                                               << "enum('个人','单位')" << "“出方类别”列已存在原数据，不能对此同步修改或删除。";
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
        recordForm::click(form, "保存");
        QCOMPARE(watcher.lastText(), box);
        QVERIFY(columns(table).filter(QRegularExpression("^" + column + " ")).value(0).startsWith(column + " " + type));
        QTEST(gridColumn(form->grid(), 0), "shown");
        QCOMPARE(form->saveButton()->isEnabled(), !box.isEmpty());
        QCOMPARE(form->fieldBox()->isEnabled(), box.isEmpty());
        if (!box.isEmpty()) {
            recordForm::click(form, "放弃");
            QCOMPARE(gridColumn(form->grid(), 0), stored);
            QVERIFY(form->fieldBox()->isEnabled() && !form->saveButton()->isEnabled());
        }
    }
};

QTEST_MAIN(tst_schemaAdmin)
#include "tst_schemaAdmin.moc"
