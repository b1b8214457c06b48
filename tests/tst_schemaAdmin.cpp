// Field maintenance and choice-list maintenance driven through their dialogs
// on the real server: what SHOW COLUMNS reports afterwards, what the operator
// reads when the server refuses, and that the record form and browse follow.
#include "frmManageSelectedItem.h"
#include "frmSetField.h"
#include "frmViewLease.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QAction>
#include <QInputDialog>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStatusBar>
#include <QTableWidget>
#include <QTextEdit>
#include <QTreeWidget>
#include <QtTest>
#include <memory>

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
static QStringList lessorValues()
{
    QStringList values;
    QSqlQuery q("SELECT * FROM leaseout");
    q.next();
    for (int i = 0; i < q.record().count(); ++i)
        if (!q.value(i).isNull())
            values << q.value(i).toString();
    return values;
}

static QStringList gridColumn(const QTableWidget *grid, int column)
{
    QStringList texts;
    for (int r = 0; r < grid->rowCount(); ++r)
        texts << (grid->item(r, column) ? grid->item(r, column)->text() : QString());
    return texts;
}

// One step of an operator at the field grid: "+名|类型|允许空|缺省值" 增加 and
// fill, "^…" the same with 插入 at the current row, "~名|新名|类型" edit a row
// (empty keeps the cell), "-名" 删除, ">名|n" 移动 to row n.
static void fieldStep(frmSetField *form, modalWatcher &watcher, const QString &step)
{
    QStringList p = step.mid(1).split('|');
    QTableWidget *grid = form->grid();
    const int row = gridColumn(grid, frmSetField::colName).indexOf(p[0]);
    grid->selectRow(row);
    if (step[0] == '+' || step[0] == '^') {
        recordForm::click(form, step[0] == '+' ? "增加" : "插入");
        p.insert(frmSetField::colKey, QString()); // 主键 is never typed
        for (int c = 0; c < p.size(); ++c)
            grid->item(grid->currentRow(), c)->setText(p[c]);
    } else if (step[0] == '~') {
        for (int c = 1; c < p.size(); ++c)
            if (!p[c].isEmpty())
                grid->item(row, c - 1)->setText(p[c]);
    } else if (step[0] == '-') {
        recordForm::click(form, "删除");
    } else {
        watcher.handler = [to = p[1].toInt()](QWidget *modal) {
            qobject_cast<QInputDialog *>(modal)->setIntValue(to);
            qobject_cast<QInputDialog *>(modal)->accept();
        };
        recordForm::click(form, "移动");
    }
}

class tst_schemaAdmin : public QObject
{
    Q_OBJECT
    std::unique_ptr<mainWindow> m_window;

    template <typename T> T *openThrough(const QString &actionText)
    {
        for (QAction *a : m_window->findChildren<QAction *>())
            if (a->text() == actionText)
                a->trigger();
        return m_window->findChildren<T *>().value(0);
    }

    // A record form opened now has the field and a new registration saves
    // into it; browse offers the column in its field tree.
    void checkFormsFollow(const QString &table, const QString &field, const QString &choice = QString())
    {
        frmRegisterLease *form = recordForm::open(m_window.get());
        recordForm::click(form, "增加");
        recordForm::fillRequired(form);
        const QString value = choice.isEmpty() ? "新值" : choice;
        if (choice.isEmpty())
            recordForm::setLine(form, field, value);
        else
            recordForm::widget<QComboBox>(form, "comb" + field + "：")->setCurrentText(value);
        const QString added = form->numberEdit()->text();
        recordForm::click(form, "确定");
        QCOMPARE(testSupport::scalar("SELECT " + field + " FROM " + table + " WHERE 登记编号='" + added + "'").toString(),
                 value);
        m_window->slotViewLease();
        QStringList offered;
        for (QTreeWidgetItemIterator it(m_window->findChildren<frmViewLease *>().last()->fieldTree()); *it; ++it)
            offered << (*it)->text(0);
        QVERIFY2(offered.contains(field), qPrintable(offered.join(',')));
    }

private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        testSupport::resetDatabase();
        testSupport::insertLease({"000000202500012", "2025-03-02", 120, "张伟", "", "李娜", "", "人民路12号"});
        testSupport::exec("UPDATE leaseout SET 出方类别='单位',出方地址='北京市朝阳区建国路88号'");
        m_window.reset(testSupport::login());
        QVERIFY(!m_window->operatorName().isEmpty());
    }
    void cleanup() { m_window.reset(); }

    // Protected columns cannot be edited in any cell, the hidden columns hold
    // the loaded names, nothing is marked changed, the crib is shown.
    void loadsTable()
    {
        auto *form = openThrough<frmSetField>("数据字段维护");
        QTableWidget *grid = form->grid();
        QVERIFY(form->typePane()->toPlainText().startsWith("常用字段类型参考\n"));
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
    }

    void fieldSave_data()
    {
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QString>("order");      // leaseout's columns afterwards
        QTest::addColumn<QStringList>("detail"); // some of them as SHOW COLUMNS has them
        QTest::addColumn<QString>("boxes");      // every box the operator saw
        QTest::addColumn<QString>("formField");  // a text field the forms must offer now
        const QString base = baseOrder, syntax = "句法错误，请检查“%1 AFTER 委托代理人”。", tail = " QMYSQL: Unable to execute query";
        auto row = [](const char *name, const QString &steps, const QString &order, const QString &detail,
                      const QString &boxes, const QString &formField = QString()) {
            QTest::newRow(name) << steps.split(';') << order << detail.split(';', Qt::SkipEmptyParts) << boxes << formField;
        };
        row("rename with type change", "~出方地址|联系地址|varchar(120)", QString(base).replace("出方地址", "联系地址"),
            "联系地址 varchar(120) YES -", "", "联系地址");
        row("insert at the top", "^档案号|varchar(20)|NO|无", "档案号," + base, "档案号 varchar(20) NO 无", "", "档案号");
        row("add below another new row", "+紧急联系人|varchar(20)|YES|;+紧急电话|varchar(20)|no|无", base + ",紧急联系人,紧急电话",
            "紧急联系人 varchar(20) YES -;紧急电话 varchar(20) NO 无", "", "紧急电话");
        // A reorder resets every column to nullable without default; the
        // primary key stays NOT NULL because the server insists.
        row("move down", ">出方类别|5", "登记编号,出方名称,出方证件类型,出方证件号码,出方类别,出方电话,出方地址,委托代理人",
            "登记编号 char(15) NO -;出方名称 varchar(60) YES -;出方类别 enum('个人','单位') YES -", "", "出方地址");
        row("move the last up to the first", ">委托代理人|1", "委托代理人," + QString(base).remove(",委托代理人"),
            "出方证件类型 enum('居民身份证','营业执照','护照','军官证','其他') YES -", "", "委托代理人");
        row("move to its own place, then rename and move", ">出方类别|3;~出方地址|住址;>住址|3",
            "登记编号,出方名称,住址,出方类别,出方证件类型,出方证件号码,出方电话,委托代理人", "住址 varchar(100) YES -", "", "住址");
        row("drop", "-委托代理人", QString(base).remove(",委托代理人"), "", "确定删除第 8 行吗？");
        // Refusals: what was applied stays, the grid shows the table again,
        // and a failed retype never costs the column its data.
        row("deleted and re-added in one save", "-委托代理人;+委托代理人|varchar(10)|YES|", base, "委托代理人 varchar(40) YES -",
            "确定删除第 8 行吗？|Duplicate column name '委托代理人'" + tail);
        row("apostrophe in a default, after a rename", "~出方证件号码|证件号码;+备用|varchar(10)|YES|O'Neil",
            QString(base).replace("出方证件号码", "证件号码"), "证件号码 varchar(30) YES -", syntax.arg("'"));
        row("choice retyped below stored data", "~出方类别||enum('个人')", base, "出方类别 enum('个人','单位') YES 个人",
            "失败：“出方类别”列已存在数据，不能对此同步修改或删除。");
        row("renamed and shortened below stored data", "~出方地址|地址|varchar(4)", base, "出方地址 varchar(100) YES -",
            "Data too long for column '地址' at row 1" + tail);
        row("blank in a name", "+联系 地址|varchar(20)|YES|", base, "", "Unknown data type: '地址'" + tail);
        row("quote in a name", "+a'b|varchar(20)|YES|", base, "", syntax.arg("'b varchar(20)  NULL"));
        row("backtick in a name", "+a`b|varchar(20)|YES|", base, "", syntax.arg("`b varchar(20)  NULL"));
        row("reserved word", "+select|varchar(20)|YES|", base, "", syntax.arg("select varchar(20)  NULL"));
        row("empty row", "+|||", base, "", syntax.arg("NULL"));
        row("duplicate name", "+出方电话|varchar(20)|YES|", base, "", "Duplicate column name '出方电话'" + tail);
        row("unknown type", "+新字段|varchr(20)|YES|", base, "", "Unknown data type: 'varchr'" + tail);
        row("length too large", "+新字段|varchar(99999)|YES|", base, "",
            "Column length too big for column '新字段' (max = 21844); use BLOB or TEXT instead" + tail);
    }
    void fieldSave()
    {
        QFETCH(QStringList, steps);
        QFETCH(QString, order);
        QFETCH(QStringList, detail);
        QFETCH(QString, boxes);
        QFETCH(QString, formField);
        const QStringList before = lessorValues();
        auto *form = openThrough<frmSetField>("数据字段维护");
        modalWatcher watcher(QMessageBox::Yes);
        for (const QString &step : steps)
            fieldStep(form, watcher, step);
        QVERIFY(form->saveButton()->isEnabled());
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
        const QStringList after = lessorValues(); // renames, moves and refusals keep every stored value
        for (const QString &value : before)
            QVERIFY2(after.contains(value), qPrintable(value));
        QCOMPARE(gridColumn(form->grid(), frmSetField::colName).join(','), order);
        QVERIFY(!form->saveButton()->isEnabled());
        const bool failed = !seen.isEmpty() && seen.last() != "确定删除第 8 行吗？";
        QCOMPARE(testSupport::count("log WHERE 描述='维护数据字段'"), failed ? 0 : 1);
        if (!failed)
            QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK."));
        if (!formField.isEmpty())
            checkFormsFollow("leaseout", formField);
    }

    // The server here speaks MariaDB only; the MySQL wording is cut the same way.
    void mysqlSyntaxWording()
    {
        QCOMPARE(schemaSql::fieldSaveMessage("You have an error in your SQL syntax; check the manual that corresponds to "
                                             "your MySQL server version for the right syntax to use near 'Neil' FIRST' "
                                             "at line 1 QMYSQL: Unable to execute query"),
                 QString("句法错误，请检查“Neil' FIRST”。"));
    }

    // Without the crib the dialog still works and says what is missing.
    void missingCrib()
    {
        const QString here = QDir::currentPath();
        QTemporaryDir empty;
        QDir::setCurrent(empty.path());
        auto *form = openThrough<frmSetField>("数据字段维护");
        QDir::setCurrent(here);
        QCOMPARE(m_window->statusBar()->currentMessage(), QString("打开文件“fieldtype.txt”失败。"));
        QCOMPARE(form->typePane()->toPlainText(), QString());
        QCOMPARE(gridColumn(form->grid(), frmSetField::colName).join(','), baseOrder);
    }

    void choiceSave_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("steps"); // "+text" appends a row (typed into when given), "-text" deletes it
        QTest::addColumn<QString>("type");      // the column's type afterwards
        QTest::addColumn<QString>("box");
        QTest::newRow("add a value") << "出方类别" << QStringList{"+其他"} << "enum('个人','单位','其他')" << "";
        QTest::newRow("remove an unused value") << "房屋结构" << QStringList{"-砖木"} << "enum('钢混','砖混','其他')" << "";
        QTest::newRow("empty rows squeezed out") << "房屋用途" << QStringList{"+", "+  ", "+商铺", "+"}
                                                 << "enum('住宅','商业','办公','厂房','仓储','其他','商铺')" << "";
        QTest::newRow("remove a value in use") << "出方类别" << QStringList{"-单位"} << "enum('个人','单位')"
                                               << "“出方类别”列已存在原数据，不能对此同步修改或删除。";
        QTest::newRow("remove every value")
            << "承方类别" << QStringList{"-个人", "-单位"} << "enum('个人','单位')"
            << "You have an error in your SQL syntax; check the manual that corresponds to your MariaDB server version "
               "for the right syntax to use near ')' at line 1 QMYSQL: Unable to execute query";
    }
    void choiceSave()
    {
        QFETCH(QString, column);
        QFETCH(QStringList, steps);
        QFETCH(QString, type);
        QFETCH(QString, box);
        auto *form = openThrough<frmManageSelectedItem>("选择项目维护");
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
        QStringList expected = stored;
        for (const QString &step : steps) {
            const QString text = step.mid(1);
            if (step[0] == '+') {
                recordForm::click(form, "增加");
                if (!text.isEmpty())
                    form->grid()->setItem(form->grid()->rowCount() - 1, 0, new QTableWidgetItem(text));
                if (!text.trimmed().isEmpty())
                    expected << text;
            } else {
                form->grid()->setCurrentCell(gridColumn(form->grid(), 0).indexOf(text), 0);
                recordForm::click(form, "删除");
                expected.removeOne(text);
            }
        }
        QVERIFY(form->saveButton()->isEnabled() && form->cancelButton()->isEnabled() && !form->fieldBox()->isEnabled());
        modalWatcher watcher;
        recordForm::click(form, "保存");
        QCOMPARE(watcher.lastText(), box);
        QVERIFY(columns(table).filter(QRegularExpression("^" + column + " ")).value(0).startsWith(column + " " + type));
        QCOMPARE(gridColumn(form->grid(), 0), expected); // as edited, also after a refusal
        QCOMPARE(form->saveButton()->isEnabled(), !box.isEmpty());
        QCOMPARE(form->fieldBox()->isEnabled(), box.isEmpty());
        if (box.isEmpty()) {
            QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK"));
            checkFormsFollow(table, column, expected.last());
        } else {
            recordForm::click(form, "放弃");
            QCOMPARE(gridColumn(form->grid(), 0), stored);
            QVERIFY(form->fieldBox()->isEnabled() && !form->saveButton()->isEnabled());
        }
    }
};

QTEST_MAIN(tst_schemaAdmin)
#include "tst_schemaAdmin.moc"
