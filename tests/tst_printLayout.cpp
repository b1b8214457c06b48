// The print layout editor: what it writes to the settings file, what it reads
// back, its cell editors and its Save button.
#include "appSettings.h"
#include "frmSetPrintItem.h"
#include "gbText.h"
#include "mainWindow.h"
#include "myDelegate.h"
#include "testSupport.h"

#include <QComboBox>
#include <QFile>
#include <QFontDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolTip>
#include <QtTest>

namespace {

// The settings file as another program would see it. QSettings keeps one
// parsed copy per path and process, so read a copy under another name.
QMap<QString, QString> storedValues()
{
    static int copies = 0;
    const QString copy = QDir::tempPath() + QStringLiteral("/zelnor-layout-%1-%2.ini")
                             .arg(QCoreApplication::applicationPid()).arg(++copies);
    QFile::remove(copy);
    QFile::copy(testSupport::settingsPath(), copy);
    QMap<QString, QString> values;
    {
        QSettings settings(copy, QSettings::IniFormat);
        settings.setIniCodec(gbText::codec());
        for (const QString &key : settings.allKeys())
            values.insert(key, settings.value(key).toString());
    }
    QFile::remove(copy);
    return values;
}

QStringList storedItems()
{
    QStringList items;
    const QMap<QString, QString> values = storedValues();
    for (int n = 0; values.contains(QStringLiteral("PrintItems/%1").arg(n)); ++n)
        items << values.value(QStringLiteral("PrintItems/%1").arg(n));
    return items;
}

void setCell(QTableWidget *table, int row, int column, const QString &text)
{
    table->setItem(row, column, new QTableWidgetItem(text));
}

QString cell(QTableWidget *table, int row, int column)
{
    const QTableWidgetItem *item = table->item(row, column);
    return item ? item->text() : QStringLiteral("<none>");
}

} // namespace

class tst_printLayout : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void absentFileShowsDefaults();
    void savedItems_data();
    void savedItems();
    void pageSetupRoundTrip_data();
    void pageSetupRoundTrip();
    void elevenItemsReadInKeyOrder();
    void fractionalFontReadsBackAs12();
    void saveButtonFollowsEdits();
    void fieldDroppedOnCell();
    void choiceEditors_data();
    void choiceEditors();
    void fontButtonSetsCellFont();
    void menuActionOpensAndExitCloses();

private:
    frmSetPrintItem *openForm();
    mainWindow *m_window = nullptr;
};

void tst_printLayout::initTestCase() { testSupport::initApplication(); }

void tst_printLayout::init()
{
    testSupport::resetDatabase();
    testSupport::removeSettingsFile();
    m_window = new mainWindow;
}

void tst_printLayout::cleanup()
{
    delete m_window;
    m_window = nullptr;
}

frmSetPrintItem *tst_printLayout::openForm()
{
    auto *form = new frmSetPrintItem(m_window);
    m_window->openForm(form);
    return form;
}

void tst_printLayout::absentFileShowsDefaults()
{
    frmSetPrintItem *form = openForm();
    QCOMPARE(form->windowTitle(), QString("打印项目控制"));
    QCOMPARE(form->table()->rowCount(), 1000);
    QCOMPARE(form->table()->columnCount(), 6);
    QCOMPARE(cell(form->table(), 0, 0), QString("<none>"));
    QCOMPARE(form->paperEdit()->text(), QString("A4"));
    QVERIFY(form->landscapeButton()->isChecked());
    QVERIFY(!form->portraitButton()->isChecked());
    QCOMPARE(form->leftEdit()->text(), QString("50"));
    QCOMPARE(form->topEdit()->text(), QString("50"));
    QVERIFY(!form->saveButton()->isEnabled());
    // The field list comes from the live tables, lessor's number first.
    QVERIFY(form->fieldList()->count() > 20);
    QCOMPARE(form->fieldList()->item(0)->text(), QString("登记编号"));
    QVERIFY(!form->fieldList()->findItems("收费金额", Qt::MatchExactly).isEmpty());
}

void tst_printLayout::savedItems_data()
{
    // Table rows as "row|expression|position|size|alignment|conversion";
    // the font column is left empty here (see the font tests).
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("complete row")
        << QStringList{"0|出方名称|10,20|200,30|居中|中文数字"}
        << QStringList{"出方名称\t\t10,20\t200,30\t居中\t中文数字"};
    QTest::newRow("blank expressions squeezed out")
        << QStringList{"0|出方名称|1,1|2,2|居左|无", "1|   |5,5|6,6|居右|金额大写", "4|承方名称|3,3|4,4|居右|无"}
        << QStringList{"出方名称\t\t1,1\t2,2\t居左\t无", "承方名称\t\t3,3\t4,4\t居右\t无"};
    QTest::newRow("empty conversion stored as 无")
        << QStringList{"0|收费金额|1,2|3,4|居左|"} << QStringList{"收费金额\t\t1,2\t3,4\t居左\t无"};
    QTest::newRow("cells trimmed")
        << QStringList{"2| CONCAT(出方名称,'x') | 10,20 |200,30 | 居右 | 金额大写 "}
        << QStringList{"CONCAT(出方名称,'x')\t\t10,20\t200,30\t居右\t金额大写"};
    QTest::newRow("expression alone")
        << QStringList{"7|房屋坐落"} << QStringList{"房屋坐落\t\t\t\t\t无"};
}

void tst_printLayout::savedItems()
{
    QFETCH(QStringList, rows);
    QFETCH(QStringList, expected);
    frmSetPrintItem *form = openForm();
    for (const QString &row : rows) {
        const QStringList parts = row.split('|');
        for (int part = 1; part < parts.size(); ++part) {
            const int column = part == 1 ? 0 : part; // parts 2.. are columns 2..5
            setCell(form->table(), parts[0].toInt(), column, parts[part]);
        }
    }
    form->btSaveClicked();
    QCOMPARE(storedItems(), expected);
    QCOMPARE(storedValues().keys().filter("PrintItems/").size(), expected.size());

    // Reading shows the stored text, so the table now holds the squeezed rows.
    form->btReadClicked();
    for (int row = 0; row < expected.size(); ++row)
        QCOMPARE(cell(form->table(), row, 0), expected[row].section('\t', 0, 0));
    QCOMPARE(cell(form->table(), expected.size(), 0), QString("<none>"));
}

void tst_printLayout::pageSetupRoundTrip_data()
{
    QTest::addColumn<QString>("paper");
    QTest::addColumn<bool>("landscape");
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("top");
    QTest::newRow("A3 portrait") << "A3" << false << "30" << "70";
    QTest::newRow("kept as typed") << " a5 " << true << "abc" << "";
}

void tst_printLayout::pageSetupRoundTrip()
{
    QFETCH(QString, paper);
    QFETCH(bool, landscape);
    QFETCH(QString, left);
    QFETCH(QString, top);
    frmSetPrintItem *form = openForm();
    form->paperEdit()->setText(paper);
    (landscape ? form->landscapeButton() : form->portraitButton())->setChecked(true);
    form->leftEdit()->setText(left);
    form->topEdit()->setText(top);
    form->btSaveClicked();

    // Earlier installations read exactly these keys, "Left" and "top" included.
    const QMap<QString, QString> stored = storedValues();
    QCOMPARE(stored.value("PageSetup/size"), paper);
    QCOMPARE(stored.value("PageSetup/direction"), QString(landscape ? "true" : "false"));
    QCOMPARE(stored.value("PageSetup/Left"), left);
    QCOMPARE(stored.value("PageSetup/top"), top);

    frmSetPrintItem *again = openForm();
    QCOMPARE(again->paperEdit()->text(), paper);
    QCOMPARE(again->landscapeButton()->isChecked(), landscape);
    QCOMPARE(again->portraitButton()->isChecked(), !landscape);
    QCOMPARE(again->leftEdit()->text(), left);
    QCOMPARE(again->topEdit()->text(), top);
}

void tst_printLayout::elevenItemsReadInKeyOrder()
{
    {
        const auto settings = appSettings::open();
        for (int n = 0; n < 12; ++n)
            settings->setValue(QStringLiteral("PrintItems/%1").arg(n),
                               QStringLiteral("项目%1\t\t%1,0\t10,10\t居左\t无").arg(n));
    }
    frmSetPrintItem *form = openForm();
    const QStringList order{"0", "1", "10", "11", "2", "3", "4", "5", "6", "7", "8", "9"};
    for (int row = 0; row < order.size(); ++row) {
        QCOMPARE(cell(form->table(), row, 0), "项目" + order[row]);
        QCOMPARE(cell(form->table(), row, 2), order[row] + ",0");
    }
    QCOMPARE(cell(form->table(), 12, 0), QString("<none>"));

    // Saving renumbers in the order shown: the old item 10 becomes item 2.
    form->btSaveClicked();
    const QStringList items = storedItems();
    QCOMPARE(items.size(), 12);
    for (int n = 0; n < items.size(); ++n)
        QCOMPARE(items[n].section('\t', 0, 0), "项目" + order[n]);
}

void tst_printLayout::fractionalFontReadsBackAs12()
{
    frmSetPrintItem *form = openForm();
    QFont font("WenQuanYi Zen Hei");
    font.setPointSizeF(10.5);
    font.setBold(true);
    font.setItalic(true);
    setCell(form->table(), 0, 0, "出方名称");
    auto *fontCell = new QTableWidgetItem("字样");
    fontCell->setData(Qt::FontRole, font);
    form->table()->setItem(0, 1, fontCell);
    form->btSaveClicked();
    QCOMPARE(storedItems().value(0).section('\t', 1, 1), QString("WenQuanYi Zen Hei,10.5,-1,5,75,1,0,0,0,0"));

    form->btReadClicked();
    QCOMPARE(cell(form->table(), 0, 1), QString("字样"));
    const QFont read = form->table()->item(0, 1)->data(Qt::FontRole).value<QFont>();
    QCOMPARE(read.family(), QString("WenQuanYi Zen Hei"));
    QCOMPARE(read.pointSize(), 12);
    QVERIFY(read.bold());
    QVERIFY(read.italic());
}

void tst_printLayout::saveButtonFollowsEdits()
{
    frmSetPrintItem *form = openForm();
    QVERIFY(!form->saveButton()->isEnabled());
    setCell(form->table(), 3, 0, "出方名称");
    QVERIFY(form->saveButton()->isEnabled());

    form->saveButton()->click();
    QVERIFY(!form->saveButton()->isEnabled());
    QCOMPARE(m_window->statusBar()->currentMessage(), QString("数据保存OK."));

    form->table()->item(3, 0)->setText("承方名称");
    QVERIFY(form->saveButton()->isEnabled());
    form->btReadClicked();
    QVERIFY(!form->saveButton()->isEnabled());
    QCOMPARE(cell(form->table(), 0, 0), QString("出方名称")); // the unsaved edit is gone

    form->btClearClicked();
    QVERIFY(!form->saveButton()->isEnabled());
    QCOMPARE(form->table()->rowCount(), 1000);
    QCOMPARE(cell(form->table(), 0, 0), QString("<none>"));
}

void tst_printLayout::fieldDroppedOnCell()
{
    frmSetPrintItem *form = openForm();
    m_window->resize(1200, 800);
    QListWidget *list = form->fieldList();
    QTableWidget *table = form->table();
    const QList<QListWidgetItem *> found = list->findItems("房屋坐落", Qt::MatchExactly);
    QCOMPARE(found.size(), 1);
    QMimeData *data = list->model()->mimeData({list->model()->index(list->row(found.first()), 0)});
    QVERIFY(data);

    // Enter the table and drop onto the middle of row 2, column 0, the way
    // a mouse drag from the list ends.
    const QRect target = table->visualRect(table->model()->index(2, 0));
    QVERIFY(target.isValid());
    QDragEnterEvent enter(target.center(), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(table->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(target.center(), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(table->viewport(), &drop);
    QCOMPARE(cell(table, 2, 0), QString("房屋坐落"));
    QCOMPARE(table->rowCount(), 1000); // overwritten, not inserted
    QCOMPARE(cell(table, 3, 0), QString("<none>"));
    QVERIFY(form->saveButton()->isEnabled());
    delete data;
}

void tst_printLayout::choiceEditors_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QStringList>("choices");
    QTest::addColumn<QString>("current");
    QTest::addColumn<int>("pick");
    QTest::newRow("alignment") << 4 << QStringList{"居左", "居中", "居右"} << "居右" << 1;
    QTest::newRow("conversion") << 5 << QStringList{"无", "中文数字", "金额大写"} << "中文数字" << 2;
}

void tst_printLayout::choiceEditors()
{
    QFETCH(int, column);
    QFETCH(QStringList, choices);
    QFETCH(QString, current);
    QFETCH(int, pick);
    frmSetPrintItem *form = openForm();
    QTableWidget *table = form->table();
    setCell(table, 0, column, current);
    QAbstractItemDelegate *delegate = table->itemDelegate();
    const QModelIndex index = table->model()->index(0, column);

    std::unique_ptr<QWidget> editor(delegate->createEditor(table->viewport(), QStyleOptionViewItem(), index));
    auto *combo = qobject_cast<QComboBox *>(editor.get());
    QVERIFY(combo);
    QStringList shown;
    for (int i = 0; i < combo->count(); ++i)
        shown << combo->itemText(i);
    QCOMPARE(shown, choices);
    delegate->setEditorData(combo, index);
    QCOMPARE(combo->currentText(), current);
    combo->setCurrentIndex(pick);
    delegate->setModelData(combo, table->model(), index);
    QCOMPARE(cell(table, 0, column), choices[pick]);
}

void tst_printLayout::fontButtonSetsCellFont()
{
    frmSetPrintItem *form = openForm();
    QTableWidget *table = form->table();
    QAbstractItemDelegate *delegate = table->itemDelegate();
    table->setCurrentCell(1, 1);
    const QModelIndex index = table->model()->index(1, 1);

    QFont wanted("WenQuanYi Zen Hei", 18);
    wanted.setUnderline(true);
    bool accept = true;
    QFont startedWith;
    modalWatcher watcher;
    watcher.handler = [&](QWidget *modal) {
        auto *dialog = qobject_cast<QFontDialog *>(modal);
        QVERIFY(dialog);
        startedWith = dialog->currentFont();
        if (accept) {
            dialog->setCurrentFont(wanted);
            dialog->accept();
        } else {
            dialog->reject();
        }
    };

    std::unique_ptr<QWidget> editor(delegate->createEditor(table->viewport(), QStyleOptionViewItem(), index));
    auto *button = qobject_cast<QPushButton *>(editor.get());
    QVERIFY(button);
    QCOMPARE(button->text(), QString("设置"));
    button->click();
    QCOMPARE(watcher.boxes.size(), 1);
    delegate->setModelData(button, table->model(), index);
    QCOMPARE(cell(table, 1, 1), QString("字样"));
    QFont stored = table->item(1, 1)->data(Qt::FontRole).value<QFont>();
    QCOMPARE(stored.family(), wanted.family());
    QCOMPARE(stored.pointSize(), 18);
    QVERIFY(stored.underline());

    // The narrow column cannot show a large sample; its tooltip names the font.
    m_window->resize(1200, 800);
    const QRect fontRect = table->visualRect(index);
    QHelpEvent help(QEvent::ToolTip, fontRect.center(), table->viewport()->mapToGlobal(fontRect.center()));
    QApplication::sendEvent(table->viewport(), &help);
    QVERIFY(testSupport::waitFor([] { return QToolTip::isVisible(); }, 2000));
    QCOMPARE(QToolTip::text(), QString("WenQuanYi Zen Hei，18磅，下划线"));

    // A second click starts from that font; cancelling keeps it.
    accept = false;
    button->click();
    QCOMPARE(watcher.boxes.size(), 2);
    QCOMPARE(startedWith.pointSize(), 18);
    stored = table->item(1, 1)->data(Qt::FontRole).value<QFont>();
    QCOMPARE(stored.pointSize(), 18);
    QVERIFY(stored.underline());

    // And the chosen font is what gets saved.
    setCell(table, 1, 0, "出方名称");
    form->btSaveClicked();
    QCOMPARE(storedItems().value(0).section('\t', 1, 1).section(',', 0, 1), QString("WenQuanYi Zen Hei,18"));
}

void tst_printLayout::menuActionOpensAndExitCloses()
{
    m_window->slotSetPrintItem();
    QMdiSubWindow *sub = m_window->mdiArea()->activeSubWindow();
    QVERIFY(sub);
    auto *form = qobject_cast<frmSetPrintItem *>(sub->widget());
    QVERIFY(form);
    QCOMPARE(sub->windowTitle(), QString("打印项目控制"));
    const int before = m_window->mdiArea()->subWindowList().size();
    QPointer<frmSetPrintItem> watched(form);
    form->btExitClicked();
    QVERIFY(testSupport::waitFor([&] { return watched.isNull(); }));
    QCOMPARE(m_window->mdiArea()->subWindowList().size(), before - 1);
}

QTEST_MAIN(tst_printLayout)
#include "tst_printLayout.moc"
