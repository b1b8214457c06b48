#include "frmSetField.h"

#include "gbText.h"
#include "installPaths.h"
#include "sqlText.h"
#include "formHost.h"
#include "myDatabase.h"
#include "myTools.h"

#include <QApplication>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QStyle>
#include <QTableWidget>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {
// Columns the program itself relies on: the key joining each party table to
// lease, and the names, telephones and location that search and printing use.
const QRegularExpression protectedName(QStringLiteral("登记编号|出方名称|出方电话|承方名称|承方电话|房屋坐落"));
} // namespace

frmSetField::frmSetField(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("数据字段维护"));
    setAttribute(Qt::WA_DeleteOnClose);

    cbxTable = new QComboBox;
    cbxTable->setObjectName(QStringLiteral("cbxTable"));
    cbxTable->addItem(QStringLiteral("出租方信息"), QStringLiteral("leaseout"));
    cbxTable->addItem(QStringLiteral("承租方信息"), QStringLiteral("leasein"));
    cbxTable->addItem(QStringLiteral("房屋信息"), QStringLiteral("leasehouse"));
    auto *tableLabel = new QLabel(QStringLiteral("请选择："));
    tableLabel->setBuddy(cbxTable);

    m_add = new QPushButton(QStringLiteral("增加(&A)"));
    m_inse = new QPushButton(QStringLiteral("插入(&I)"));
    m_dele = new QPushButton(QStringLiteral("删除(&D)"));
    m_move = new QPushButton(QStringLiteral("移动(&M)"));
    m_save = new QPushButton(QStringLiteral("保存(&S)"));
    m_exit = new QPushButton(QStringLiteral("退出(&E)"));

    tableWid = new QTableWidget(0, colCount);
    tableWid->setHorizontalHeaderLabels({QStringLiteral("字段名"), QStringLiteral("类型"), QStringLiteral("允许空"),
                                         QStringLiteral("主键"), QStringLiteral("缺省值"), QStringLiteral("原字段名"),
                                         QStringLiteral("修改标志")});
    tableWid->setColumnHidden(colOriginal, true);
    tableWid->setColumnHidden(colModified, true);
    tableWid->setSelectionBehavior(QAbstractItemView::SelectRows);
    tableWid->setSelectionMode(QAbstractItemView::SingleSelection);

    m_typeText = new QTextEdit;
    m_typeText->setReadOnly(true);
    m_typeText->setMaximumWidth(250);
    QString crib;
    if (gbText::readFile(installPaths::dataFile(QStringLiteral("fieldtype.txt")), &crib)) {
        m_typeText->setPlainText(crib);
    } else {
        QApplication::beep();
        m_host->showStatus(QStringLiteral("打开文件“fieldtype.txt”失败。"), 2000);
    }

    auto *top = new QHBoxLayout;
    top->addWidget(tableLabel);
    top->addWidget(cbxTable);
    top->addStretch();
    auto *buttons = new QHBoxLayout;
    for (QPushButton *b : {m_add, m_inse, m_dele, m_move, m_save, m_exit})
        buttons->addWidget(b);
    buttons->addStretch();
    auto *left = new QVBoxLayout;
    left->addLayout(top);
    left->addWidget(tableWid);
    left->addLayout(buttons);
    auto *layout = new QHBoxLayout(this);
    layout->addLayout(left, 1);
    layout->addWidget(m_typeText);

    connect(m_exit, &QPushButton::clicked, this, &frmSetField::btExitClicked);
    connect(m_add, &QPushButton::clicked, this, &frmSetField::btAddClicked);
    connect(m_inse, &QPushButton::clicked, this, &frmSetField::btInseClicked);
    connect(m_dele, &QPushButton::clicked, this, &frmSetField::btDeleClicked);
    connect(m_move, &QPushButton::clicked, this, &frmSetField::btMoveClicked);
    connect(m_save, &QPushButton::clicked, this, &frmSetField::btSaveClicked);
    connect(cbxTable, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &frmSetField::cbxTableSelected);
    connect(tableWid, &QTableWidget::itemChanged, this, &frmSetField::tableWidEdited);
    connect(tableWid, &QTableWidget::itemSelectionChanged, this, &frmSetField::tableWidSelected);

    cbxTableSelected(cbxTable->currentIndex());
}

QSize frmSetField::sizeHint() const
{
    // Wide enough that the default column is in view next to long enum
    // types; the main window is normally maximised.
    int grid = tableWid->verticalHeader()->sizeHint().width() + 2 * tableWid->frameWidth()
        + style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 8;
    for (int c = colName; c <= colDefault; ++c)
        grid += tableWid->columnWidth(c);
    return QSize(qMin(grid + m_typeText->maximumWidth() + 30, 1200), 520);
}

QString frmSetField::tableName() const { return cbxTable->currentData().toString(); }

void frmSetField::setCell(int row, int column, const QString &text)
{
    const bool wasFilling = m_filling;
    m_filling = true;
    tableWid->item(row, column)->setText(text);
    m_filling = wasFilling;
}

void frmSetField::insertRow(int row, bool isProtected)
{
    const bool wasFilling = m_filling;
    m_filling = true;
    tableWid->insertRow(row);
    for (int c = 0; c < colCount; ++c) {
        auto *item = new QTableWidgetItem;
        if (isProtected)
            item->setFlags(Qt::ItemIsSelectable);
        tableWid->setItem(row, c, item);
    }
    m_filling = wasFilling;
    tableWid->selectRow(row);
    tableWid->setFocus();
}

QList<schemaSql::fieldRow> frmSetField::gridRows() const
{
    QList<schemaSql::fieldRow> rows;
    for (int r = 0; r < tableWid->rowCount(); ++r) {
        auto text = [&](int c) { return tableWid->item(r, c) ? tableWid->item(r, c)->text() : QString(); };
        rows.append({text(colName), text(colType), text(colNull), text(colDefault), text(colOriginal),
                     text(colModified)});
    }
    return rows;
}

void frmSetField::btExitClicked() { m_host->closeForm(this); }

void frmSetField::btAddClicked() { insertRow(tableWid->rowCount(), false); }

void frmSetField::btInseClicked() { insertRow(qMax(tableWid->currentRow(), 0), false); }

void frmSetField::btDeleClicked()
{
    const int row = tableWid->currentRow();
    if (row < 0)
        return;
    // Protected rows may go too: the operator is asked, and the save drops them.
    if (QMessageBox::question(this, QStringLiteral("确认"),
                              QStringLiteral("确定删除第 ") + QString::number(row + 1) + QStringLiteral(" 行吗？"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        != QMessageBox::Yes)
        return;
    tableWid->removeRow(row);
    m_save->setEnabled(true);
}

void frmSetField::btMoveClicked()
{
    const int current = tableWid->currentRow();
    if (current < 0)
        return;
    const int number = current + 1;
    bool ok = false;
    const int target = QInputDialog::getInt(this, QStringLiteral("对话"),
                                            QStringLiteral("将移动第") + QString::number(number)
                                                + QStringLiteral("行。请输入目的行号："),
                                            number, 1, tableWid->rowCount(), 1, &ok);
    if (!ok || target == number)
        return;
    m_moved = true;
    int source = current;
    int destination = target;
    if (target < number) {
        destination = target - 1;
        source = current + 1;
    }
    // The copy is an ordinary row: a protected column moved by the operator
    // becomes editable, its original name and change mark go with it.
    insertRow(destination, false);
    for (int c = 0; c < colCount; ++c)
        setCell(destination, c, tableWid->item(source, c)->text());
    tableWid->removeRow(source);
    tableWid->selectRow(destination < source ? destination : destination - 1);
    m_save->setEnabled(true);
}

void frmSetField::btSaveClicked()
{
    // The utf8 connection cannot carry such a character; the server would
    // answer in English, or blame the type for a default it could not read.
    for (int r = 0; r < tableWid->rowCount(); ++r) {
        for (int c : {colName, colType, colDefault}) {
            const QTableWidgetItem *cell = tableWid->item(r, c);
            if (!cell || sqlText::fitsConnection(cell->text()))
                continue;
            QApplication::beep();
            QMessageBox::critical(this, QStringLiteral("错误"),
                                  QStringLiteral("第%1行的“%2”中有数据库不能保存的字符（扩展区的生僻字或表情符号），"
                                                 "请改用常用字后再保存。没有修改任何字段。")
                                      .arg(r + 1)
                                      .arg(tableWid->horizontalHeaderItem(c)->text()));
            tableWid->setCurrentCell(r, c);
            return;
        }
    }
    QStringList columns;
    for (const columnInfo &column : myTools::showColumns(m_host->database(), tableName()))
        columns << column.field;

    QList<schemaSql::fieldRow> rows = gridRows();
    const QList<schemaSql::fieldStatement> plan = schemaSql::fieldSavePlan(tableName(), rows, m_moved, columns);
    const schemaSql::fieldSaveOutcome outcome = schemaSql::runFieldSave(m_host->database(), plan);

    // What the server took is done: the grid remembers it, so the next save
    // issues only what is still pending.
    const QList<schemaSql::fieldRow> before = rows;
    schemaSql::markApplied(&rows, &m_moved, plan, outcome.applied);
    for (int r = 0; r < rows.size(); ++r) {
        setCell(r, colOriginal, rows.at(r).originalName);
        setCell(r, colModified, rows.at(r).modified);
    }
    // Every ALTER TABLE the server took changed the table for good, so any
    // of them is a maintenance of the fields worth its log row, whether or
    // not the rest of the save went through.
    if (outcome.applied.contains(true))
        m_host->database().writeLog(m_host->operatorName(), QStringLiteral("维护数据字段"));
    if (outcome.complete()) {
        m_host->showStatus(QStringLiteral("保存OK."), 3000);
        m_save->setEnabled(false);
        return;
    }
    // The grid keeps the operator's pending edits and 保存 stays usable:
    // reloading here would throw away the work the box asks to correct.
    QApplication::beep();
    QMessageBox::critical(this, QStringLiteral("错误"), schemaSql::fieldSaveMessage(outcome, plan, before),
                          QMessageBox::Ok);
    m_save->setEnabled(true);
}

void frmSetField::tableWidEdited(QTableWidgetItem *item)
{
    if (m_filling || !item)
        return;
    const int row = item->row();
    if (!tableWid->item(row, colOriginal)->text().isEmpty() && item->column() != colModified)
        setCell(row, colModified, QStringLiteral("Y"));
    m_save->setEnabled(true);
}

void frmSetField::tableWidSelected() { m_dele->setEnabled(true); }

void frmSetField::cbxTableSelected(int index)
{
    Q_UNUSED(index)
    m_filling = true;
    tableWid->setRowCount(0);
    QSqlQuery query = m_host->database().query();
    query.exec(QStringLiteral("SHOW COLUMNS FROM ") + tableName());
    while (query.next()) {
        const QString field = query.value(0).toString();
        const int row = tableWid->rowCount();
        insertRow(row, field.contains(protectedName));
        for (int c = colName; c <= colDefault; ++c)
            setCell(row, c, query.value(c).toString());
        setCell(row, colOriginal, field);
    }
    m_filling = false;
    if (tableWid->rowCount() > 0)
        tableWid->selectRow(0);
    tableWid->resizeColumnsToContents();
    m_moved = false;
    m_save->setEnabled(false);
    m_dele->setEnabled(false);
}
