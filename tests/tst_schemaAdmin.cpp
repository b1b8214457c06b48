// Field maintenance and choice-list maintenance driven through their dialogs
// on the real server: what SHOW COLUMNS reports afterwards, what the operator
// reads when the server refuses, and that the record form and browse follow.
#include "frmManageSelectedItem.h"
#include "frmSetField.h"
#include "frmViewLease.h"
#include "myTools.h"
#include "recordFormDriver.h"
#include "testSupport.h"

#include <QAction>
#include <QInputDialog>
#include <QSqlQuery>
#include <QStatusBar>
#include <QTableWidget>
#include <QTextEdit>
#include <QTreeWidget>
#include <QtTest>
#include <functional>
#include <memory>

using fieldEdit = std::function<void(frmSetField *, modalWatcher &)>;
Q_DECLARE_METATYPE(fieldEdit)

static const QString number = QStringLiteral("000000202500012");
static const QString baseOrder = QStringLiteral("登记编号,出方名称,出方类别,出方证件类型,出方证件号码,出方电话,出方地址,委托代理人");

// "name type null default" of every column, default "-" when NULL.
static QStringList columns(const QString &table)
{
    QStringList list;
    QSqlQuery query(QStringLiteral("SHOW COLUMNS FROM ") + table);
    while (query.next())
        list << QStringList{query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                            query.value(4).isNull() ? QStringLiteral("-") : query.value(4).toString()}
                    .join(QLatin1Char(' '));
    return list;
}

static QString order(const QString &table)
{
    QStringList names;
    for (const QString &c : columns(table))
        names << c.section(QLatin1Char(' '), 0, 0);
    return names.join(QLatin1Char(','));
}

static QString gridNames(const frmSetField *form)
{
    QStringList names;
    for (int r = 0; r < form->grid()->rowCount(); ++r)
        names << form->grid()->item(r, frmSetField::colName)->text();
    return names.join(QLatin1Char(','));
}

static int rowOf(const frmSetField *form, const QString &name)
{
    for (int r = 0; r < form->grid()->rowCount(); ++r)
        if (form->grid()->item(r, frmSetField::colName)->text() == name)
            return r;
    qFatal("no row %s", qPrintable(name));
}

static void setCells(frmSetField *form, int row, const QStringList &texts)
{
    for (int c = 0; c < texts.size(); ++c)
        if (!texts.at(c).isNull())
            form->grid()->item(row, c)->setText(texts.at(c));
}

// 增加 and fill name, type, 允许空, (主键 untouched), 缺省值.
static fieldEdit add(const QString &name, const QString &type, const QString &null = "YES", const QString &def = "")
{
    return [=](frmSetField *form, modalWatcher &) {
        recordForm::click(form, "增加");
        setCells(form, form->grid()->currentRow(), {name, type, null, QString(), def});
    };
}

static fieldEdit change(const QString &name, const QStringList &cells)
{
    return [=](frmSetField *form, modalWatcher &) { setCells(form, rowOf(form, name), cells); };
}

static fieldEdit dropRow(const QString &name)
{
    return [=](frmSetField *form, modalWatcher &) {
        form->grid()->selectRow(rowOf(form, name));
        recordForm::click(form, "删除");
    };
}

static fieldEdit move(const QString &name, int to)
{
    return [=](frmSetField *form, modalWatcher &watcher) {
        form->grid()->selectRow(rowOf(form, name));
        watcher.handler = [to](QWidget *modal) {
            auto *dialog = qobject_cast<QInputDialog *>(modal);
            dialog->setIntValue(to);
            dialog->accept();
        };
        recordForm::click(form, "移动");
    };
}

static fieldEdit steps(const QList<fieldEdit> &edits)
{
    return [=](frmSetField *form, modalWatcher &watcher) {
        for (const fieldEdit &e : edits)
            e(form, watcher);
    };
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
        const QList<T *> forms = m_window->findChildren<T *>();
        if (forms.isEmpty())
            qFatal("%s opened nothing", qPrintable(actionText));
        return forms.last();
    }

    // A record form opened now has the text field, and a new registration
    // saves into it; browse offers the column in its field tree.
    void checkFormsFollow(const QString &table, const QString &field, const QString &choice = QString())
    {
        frmRegisterLease *form = recordForm::open(m_window.get());
        recordForm::click(form, "增加");
        recordForm::fillRequired(form);
        const QString value = choice.isEmpty() ? QStringLiteral("新值") : choice;
        if (choice.isEmpty())
            recordForm::setLine(form, field, value);
        else
            recordForm::widget<QComboBox>(form, "comb" + field + "：")->setCurrentText(value);
        const QString added = form->numberEdit()->text();
        recordForm::click(form, "确定");
        QCOMPARE(testSupport::scalar("SELECT " + field + " FROM " + table + " WHERE 登记编号='" + added + "'").toString(),
                 value);

        m_window->slotViewLease();
        QTreeWidget *tree = m_window->findChildren<frmViewLease *>().last()->fieldTree();
        QStringList offered;
        for (QTreeWidgetItemIterator it(tree); *it; ++it)
            offered << (*it)->text(0);
        QVERIFY2(offered.contains(field), qPrintable(offered.join(',')));
    }

private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init()
    {
        testSupport::resetDatabase();
        testSupport::insertLease({number, "2025-03-02", 120, "张伟", "", "李娜", "", "人民路12号"});
        testSupport::exec("UPDATE leaseout SET 出方类别='单位',出方地址='北京市朝阳区建国路88号',委托代理人='王芳'");
        m_window.reset(testSupport::login());
        QVERIFY(!m_window->operatorName().isEmpty());
    }
    void cleanup() { m_window.reset(); }

    // Loading: protected columns cannot be edited, the hidden columns hold
    // the loaded names, nothing is marked changed, the crib is shown.
    void loadsTable_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("table");
        QTest::addColumn<QStringList>("locked");
        QTest::newRow("出租方") << 0 << "leaseout" << QStringList{"登记编号", "出方名称", "出方电话"};
        QTest::newRow("承租方") << 1 << "leasein" << QStringList{"登记编号", "承方名称", "承方电话"};
        QTest::newRow("房屋") << 2 << "leasehouse" << QStringList{"登记编号", "房屋坐落"};
    }
    void loadsTable()
    {
        QFETCH(int, index);
        QFETCH(QString, table);
        QFETCH(QStringList, locked);
        auto *form = openThrough<frmSetField>("数据字段维护");
        form->tableBox()->setCurrentIndex(index);
        QCOMPARE(gridNames(form), order(table));
        QVERIFY(form->typePane()->toPlainText().startsWith("常用字段类型参考\n"));
        QVERIFY(form->grid()->isColumnHidden(5) && form->grid()->isColumnHidden(6));
        QStringList lockedSeen;
        for (int r = 0; r < form->grid()->rowCount(); ++r) {
            QTableWidgetItem *name = form->grid()->item(r, frmSetField::colName);
            QCOMPARE(form->grid()->item(r, frmSetField::colOriginal)->text(), name->text());
            QCOMPARE(form->grid()->item(r, frmSetField::colModified)->text(), QString());
            int editable = 0;
            for (int c = 0; c < frmSetField::colCount; ++c)
                editable += (form->grid()->item(r, c)->flags() & Qt::ItemIsEditable) ? 1 : 0;
            QVERIFY(editable == 0 || editable == frmSetField::colCount);
            if (editable == 0)
                lockedSeen << name->text();
        }
        QCOMPARE(lockedSeen, locked);
        QVERIFY(!form->saveButton()->isEnabled());
        QVERIFY(!form->deleteButton()->isEnabled());
    }

    void fieldSave_data()
    {
        QTest::addColumn<fieldEdit>("edit");
        QTest::addColumn<QString>("order");    // leaseout's columns afterwards
        QTest::addColumn<QStringList>("detail"); // some of them as SHOW COLUMNS has them
        QTest::addColumn<QString>("boxes");    // every box the operator saw
        QTest::addColumn<QString>("formField"); // a text field forms must now offer

        const QString syntaxBox = "句法错误，请检查“%1”。";
        QTest::newRow("rename with type change")
            << change("出方地址", {"联系地址", "varchar(120)"})
            << "登记编号,出方名称,出方类别,出方证件类型,出方证件号码,出方电话,联系地址,委托代理人"
            << QStringList{"联系地址 varchar(120) YES -"} << "" << "联系地址";
        QTest::newRow("insert at the top")
            << fieldEdit([](frmSetField *form, modalWatcher &) {
                   recordForm::click(form, "插入");
                   setCells(form, 0, {"档案号", "varchar(20)", "NO", QString(), "无"});
               })
            << "档案号," + baseOrder << QStringList{"档案号 varchar(20) NO 无"} << "" << "档案号";
        QTest::newRow("add below another new row")
            << steps({add("紧急联系人", "varchar(20)"), add("紧急电话", "varchar(20)", "no", "无")})
            << baseOrder + ",紧急联系人,紧急电话"
            << QStringList{"紧急联系人 varchar(20) YES -", "紧急电话 varchar(20) NO 无"} << "" << "紧急电话";
        // A reorder resets every column to nullable without default; the
        // primary key stays NOT NULL because the server insists.
        QTest::newRow("move down")
            << move("出方类别", 5) << "登记编号,出方名称,出方证件类型,出方证件号码,出方类别,出方电话,出方地址,委托代理人"
            << QStringList{"登记编号 char(15) NO -", "出方名称 varchar(60) YES -", "出方类别 enum('个人','单位') YES -"}
            << "" << "出方地址";
        QTest::newRow("move the last up to the first")
            << move("委托代理人", 1) << "委托代理人,登记编号,出方名称,出方类别,出方证件类型,出方证件号码,出方电话,出方地址"
            << QStringList{"出方证件类型 enum('居民身份证','营业执照','护照','军官证','其他') YES -"} << "" << "委托代理人";
        QTest::newRow("renamed and moved")
            << steps({change("出方地址", {QStringLiteral("住址")}), move("住址", 3)})
            << "登记编号,出方名称,住址,出方类别,出方证件类型,出方证件号码,出方电话,委托代理人"
            << QStringList{"住址 varchar(100) YES -"} << "" << "住址";
        QTest::newRow("drop") << dropRow("委托代理人") << "登记编号,出方名称,出方类别,出方证件类型,出方证件号码,出方电话,出方地址"
                              << QStringList() << "确定删除第 8 行吗？" << "";

        // Failures: the other statements stay applied, the grid shows the table.
        QTest::newRow("deleted and re-added in one save")
            << steps({dropRow("委托代理人"), add("委托代理人", "varchar(10)")}) << baseOrder
            << QStringList{"委托代理人 varchar(40) YES -"}
            << "确定删除第 8 行吗？|Duplicate column name '委托代理人' QMYSQL: Unable to execute query" << "";
        QTest::newRow("apostrophe in a default")
            << steps({change("出方证件号码", {"证件号码"}), add("备用", "varchar(10)", "YES", "O'Neil")})
            << "登记编号,出方名称,出方类别,出方证件类型,证件号码,出方电话,出方地址,委托代理人"
            << QStringList{"证件号码 varchar(30) YES -"} << syntaxBox.arg("' AFTER 委托代理人") << "";
        // A failed retype must not lose the column: it is still the row's
        // original name, not a column the operator removed.
        QTest::newRow("choice retyped below stored data")
            << change("出方类别", {QString(), "enum('个人')"}) << baseOrder
            << QStringList{"出方类别 enum('个人','单位') YES 个人"}
            << "失败：“出方类别”列已存在数据，不能对此同步修改或删除。" << "";
        QTest::newRow("text shortened below stored data")
            << change("出方地址", {"地址", "varchar(4)"}) << baseOrder << QStringList{"出方地址 varchar(100) YES -"}
            << "Data too long for column '地址' at row 1 QMYSQL: Unable to execute query" << "";
        QTest::newRow("blank in a name") << add("联系 地址", "varchar(20)") << baseOrder << QStringList()
                                          << "Unknown data type: '地址' QMYSQL: Unable to execute query" << "";
        QTest::newRow("quote in a name") << add("a'b", "varchar(20)") << baseOrder << QStringList()
                                          << syntaxBox.arg("'b varchar(20)  NULL AFTER 委托代理人") << "";
        QTest::newRow("backtick in a name") << add("a`b", "varchar(20)") << baseOrder << QStringList()
                                             << syntaxBox.arg("`b varchar(20)  NULL AFTER 委托代理人") << "";
        QTest::newRow("reserved word") << add("select", "varchar(20)") << baseOrder << QStringList()
                                       << syntaxBox.arg("select varchar(20)  NULL AFTER 委托代理人") << "";
        QTest::newRow("empty row") << add("", "") << baseOrder << QStringList()
                                   << syntaxBox.arg("NULL AFTER 委托代理人") << "";
        QTest::newRow("duplicate name") << add("出方电话", "varchar(20)") << baseOrder << QStringList()
                                        << "Duplicate column name '出方电话' QMYSQL: Unable to execute query" << "";
        QTest::newRow("unknown type") << add("新字段", "varchr(20)") << baseOrder << QStringList()
                                      << "Unknown data type: 'varchr' QMYSQL: Unable to execute query" << "";
        QTest::newRow("length too large")
            << add("新字段", "varchar(99999)") << baseOrder << QStringList()
            << "Column length too big for column '新字段' (max = 21844); use BLOB or TEXT instead QMYSQL: Unable to "
               "execute query"
            << "";
    }

    void fieldSave()
    {
        QFETCH(fieldEdit, edit);
        QFETCH(QString, order);
        QFETCH(QStringList, detail);
        QFETCH(QString, boxes);
        QFETCH(QString, formField);
        const QString logBefore = testSupport::scalar("SELECT COUNT(*) FROM log WHERE 描述='维护数据字段'").toString();
        auto *form = openThrough<frmSetField>("数据字段维护");
        modalWatcher watcher(QMessageBox::Yes);
        edit(form, watcher);
        QVERIFY(form->saveButton()->isEnabled());
        recordForm::click(form, "保存");

        QStringList seen;
        for (const modalWatcher::seen &s : watcher.boxes)
            if (s.className == QLatin1String("QMessageBox"))
                seen << s.text;
        QCOMPARE(seen.join('|'), boxes);
        QCOMPARE(::order("leaseout"), order);
        const QStringList now = columns("leaseout");
        for (const QString &d : detail)
            QVERIFY2(now.contains(d), qPrintable(now.join(" | ")));
        // Renames, moves and failures keep the stored values.
        QCOMPARE(testSupport::scalar("SELECT COUNT(*) FROM leaseout WHERE 出方名称='张伟'").toInt(), 1);
        QCOMPARE(gridNames(form), order);
        const bool failed = !seen.isEmpty() && !seen.last().startsWith("确定删除");
        QCOMPARE(testSupport::scalar("SELECT COUNT(*) FROM log WHERE 描述='维护数据字段'").toString(),
                 QString::number(logBefore.toInt() + (failed ? 0 : 1)));
        if (!failed)
            QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK."));
        QCOMPARE(form->saveButton()->isEnabled(), false);
        if (!formField.isEmpty())
            checkFormsFollow("leaseout", formField);
    }

    // The server here only speaks MariaDB; the MySQL wording of a syntax
    // error must be cut the same way.
    void messages_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("choice");
        const QString tail = "' at line 1 QMYSQL: Unable to execute query";
        QTest::newRow("MySQL syntax")
            << "You have an error in your SQL syntax; check the manual that corresponds to your MySQL server version for "
               "the right syntax to use near 'Neil' FIRST" + tail
            << "句法错误，请检查“Neil' FIRST”。" << "";
        QTest::newRow("MariaDB syntax")
            << "You have an error in your SQL syntax; check the manual that corresponds to your MariaDB server version "
               "for the right syntax to use near 'x y' AFTER 甲" + tail
            << "句法错误，请检查“x y' AFTER 甲”。" << "";
        QTest::newRow("truncated") << "Data truncated for column '房屋用途' at row 1 QMYSQL: Unable to execute query"
                                   << "失败：“房屋用途”列已存在数据，不能对此同步修改或删除。"
                                   << "“房屋用途”列已存在原数据，不能对此同步修改或删除。";
        QTest::newRow("other") << "Lost connection to server during query QMYSQL: Unable to execute query" << "" << "";
    }
    void messages()
    {
        QFETCH(QString, error);
        QFETCH(QString, field);
        QFETCH(QString, choice);
        QCOMPARE(schemaSql::fieldSaveMessage(error), field.isEmpty() ? error : field);
        QCOMPARE(schemaSql::choiceSaveMessage(error), choice.isEmpty() ? error : choice);
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
        QCOMPARE(gridNames(form), baseOrder);
    }

    // The move dialog's own number changes nothing, and a move keeps the
    // column's name and change mark with it.
    void moveToItself()
    {
        auto *form = openThrough<frmSetField>("数据字段维护");
        modalWatcher watcher;
        move("出方类别", 3)(form, watcher);
        QVERIFY(!form->moved());
        QCOMPARE(gridNames(form), baseOrder);
        QCOMPARE(watcher.boxes.value(0).title, QString("对话"));
        change("出方地址", {"住址"})(form, watcher);
        move("住址", 1)(form, watcher);
        QVERIFY(form->moved());
        QCOMPARE(form->grid()->item(0, frmSetField::colOriginal)->text(), QString("出方地址"));
        QCOMPARE(form->grid()->item(0, frmSetField::colModified)->text(), QString("Y"));
    }

    void choiceSave_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("edits"); // "+text" appends a row, "-text" deletes that row
        QTest::addColumn<QString>("type");      // the column's type afterwards
        QTest::addColumn<QString>("box");
        QTest::newRow("add a value") << "出方类别" << QStringList{"+其他"} << "enum('个人','单位','其他')" << "";
        QTest::newRow("remove an unused value") << "房屋结构" << QStringList{"-砖木"} << "enum('钢混','砖混','其他')" << "";
        QTest::newRow("empty rows squeezed out")
            << "房屋用途" << QStringList{"+", "+  ", "+商铺", "+"} << "enum('住宅','商业','办公','厂房','仓储','其他','商铺')"
            << "";
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
        QFETCH(QStringList, edits);
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
        QVERIFY(!form->saveButton()->isEnabled() && !form->cancelButton()->isEnabled());
        QVERIFY(form->fieldBox()->isEnabled());
        const QString table = form->fieldBox()->currentData().toString();
        QSqlQuery before("SHOW COLUMNS FROM " + table + " LIKE '" + column + "'");
        before.next();
        const QStringList stored = myTools::enumValues(before.value(1).toString());

        QStringList expected = stored;
        for (const QString &e : edits) {
            const QString text = e.mid(1);
            if (e.startsWith('+')) {
                recordForm::click(form, "增加");
                if (!text.isEmpty())
                    form->grid()->setItem(form->grid()->rowCount() - 1, 0, new QTableWidgetItem(text));
                if (!text.trimmed().isEmpty())
                    expected << text;
            } else {
                for (int r = 0; r < form->grid()->rowCount(); ++r)
                    if (form->grid()->item(r, 0) && form->grid()->item(r, 0)->text() == text)
                        form->grid()->setCurrentCell(r, 0);
                recordForm::click(form, "删除");
                expected.removeOne(text);
            }
        }
        QVERIFY(form->saveButton()->isEnabled() && form->cancelButton()->isEnabled());
        QVERIFY(!form->fieldBox()->isEnabled());
        modalWatcher watcher;
        recordForm::click(form, "保存");
        QCOMPARE(watcher.lastText(), box);
        QSqlQuery after("SHOW COLUMNS FROM " + table + " LIKE '" + column + "'");
        QVERIFY(after.next());
        QCOMPARE(after.value(1).toString(), type);

        QStringList shown;
        for (int r = 0; r < form->grid()->rowCount(); ++r)
            shown << form->grid()->item(r, 0)->text().trimmed();
        QCOMPARE(shown, expected); // kept as edited, also after a refusal
        QCOMPARE(form->saveButton()->isEnabled(), !box.isEmpty());
        QCOMPARE(form->fieldBox()->isEnabled(), box.isEmpty());
        if (box.isEmpty()) {
            QCOMPARE(m_window->statusBar()->currentMessage(), QString("保存OK"));
            checkFormsFollow(table, column, expected.last());
        } else {
            recordForm::click(form, "放弃");
            shown.clear();
            for (int r = 0; r < form->grid()->rowCount(); ++r)
                shown << form->grid()->item(r, 0)->text();
            QCOMPARE(shown, stored);
            QVERIFY(form->fieldBox()->isEnabled() && !form->saveButton()->isEnabled());
        }
    }
};

QTEST_MAIN(tst_schemaAdmin)
#include "tst_schemaAdmin.moc"
