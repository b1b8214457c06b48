#include "frmManageSelectedItem.h"

#include "formHost.h"
#include "myDatabase.h"
#include "myTools.h"
#include "schemaSql.h"
#include "sqlText.h"

#include <QApplication>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QTableWidget>
#include <QVBoxLayout>

frmManageSelectedItem::frmManageSelectedItem(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host)
{
    setWindowTitle(QStringLiteral("选择项目选择值维护"));
    setAttribute(Qt::WA_DeleteOnClose);

    cbxField = new QComboBox;
    cbxField->setObjectName(QStringLiteral("cbxField"));
    auto *fieldLabel = new QLabel(QStringLiteral("请选择："));
    fieldLabel->setBuddy(cbxField);

    tableWid = new QTableWidget(0, 1);
    tableWid->setHorizontalHeaderLabels({QStringLiteral("可选择值")});
    tableWid->horizontalHeader()->setStretchLastSection(true);
    tableWid->setSelectionMode(QAbstractItemView::SingleSelection);

    m_appe = new QPushButton(QStringLiteral("增加(&A)"));
    m_dele = new QPushButton(QStringLiteral("删除(&D)"));
    m_save = new QPushButton(QStringLiteral("保存(&S)"));
    m_canc = new QPushButton(QStringLiteral("放弃(&C)"));
    m_exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *top = new QHBoxLayout;
    top->addWidget(fieldLabel);
    top->addWidget(cbxField, 1);
    auto *buttons = new QVBoxLayout;
    for (QPushButton *b : {m_appe, m_dele, m_save, m_canc, m_exit})
        buttons->addWidget(b);
    buttons->addStretch();
    auto *body = new QHBoxLayout;
    body->addWidget(tableWid, 1);
    body->addLayout(buttons);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(body);

    connect(m_exit, &QPushButton::clicked, this, &frmManageSelectedItem::btExitClicked);
    connect(m_appe, &QPushButton::clicked, this, &frmManageSelectedItem::btAppeClicked);
    connect(m_dele, &QPushButton::clicked, this, &frmManageSelectedItem::btDeleClicked);
    connect(m_save, &QPushButton::clicked, this, &frmManageSelectedItem::btSaveClicked);
    connect(m_canc, &QPushButton::clicked, this, &frmManageSelectedItem::btCancClicked);
    connect(tableWid, &QTableWidget::itemChanged, this, &frmManageSelectedItem::myTableEdited);
    connect(this, &frmManageSelectedItem::myEditStatusChangeSignal, this,
            &frmManageSelectedItem::myEditStatusChanged);

    for (const QString &table : {QStringLiteral("leaseout"), QStringLiteral("leasein"), QStringLiteral("leasehouse")})
        for (const columnInfo &column : myTools::showColumns(m_host->database(), table))
            if (column.type.startsWith(QLatin1String("enum")))
                cbxField->addItem(column.field, table);
    // Connected after filling so the first entry is loaded once, below.
    connect(cbxField, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { cbxFieldSelected(cbxField->itemText(index)); });

    cbxFieldSelected(cbxField->currentText());
    emit myEditStatusChangeSignal(false);
}

QSize frmManageSelectedItem::sizeHint() const { return QSize(420, 380); }

void frmManageSelectedItem::btExitClicked() { m_host->closeForm(this); }

void frmManageSelectedItem::btAppeClicked() { tableWid->setRowCount(tableWid->rowCount() + 1); }

void frmManageSelectedItem::btDeleClicked()
{
    tableWid->removeRow(tableWid->currentRow());
    emit myEditStatusChangeSignal(true);
}

void frmManageSelectedItem::btSaveClicked()
{
    for (int r = tableWid->rowCount() - 1; r >= 0; --r)
        if (!tableWid->item(r, 0) || tableWid->item(r, 0)->text().trimmed().isEmpty())
            tableWid->removeRow(r);
    QStringList values;
    for (int r = 0; r < tableWid->rowCount(); ++r) {
        values << tableWid->item(r, 0)->text();
        if (!sqlText::fitsConnection(values.last())) {
            QApplication::beep();
            QMessageBox::critical(this, QStringLiteral("错误"),
                                  QStringLiteral("“%1”中有数据库不能保存的字符（扩展区的生僻字或表情符号），请改用常用字后再保存。")
                                      .arg(values.last()));
            tableWid->setCurrentCell(r, 0);
            return;
        }
    }

    const QString column = cbxField->currentText();
    const QString table = cbxField->currentData().toString();
    // One statement, committed by the server on its own: it either changes
    // the list or leaves it as it was. No NULL or DEFAULT clause, so the
    // column ends up nullable with no default.
    const QString name = schemaSql::identifier(column);
    QSqlError error;
    if (m_host->database().exec(QStringLiteral("ALTER TABLE ") + table + QStringLiteral(" CHANGE ") + name
                                    + QLatin1Char(' ') + name + QLatin1Char(' ') + schemaSql::choiceType(values),
                                &error)) {
        emit myEditStatusChangeSignal(false);
        m_host->showStatus(QStringLiteral("保存OK"), 2000);
        return;
    }
    QApplication::beep();
    QMessageBox::critical(this, QStringLiteral("错误"), schemaSql::choiceSaveMessage(error, column, values),
                          QMessageBox::Ok);
}

void frmManageSelectedItem::btCancClicked()
{
    if (!cbxField->currentText().isEmpty())
        cbxFieldSelected(cbxField->currentText());
    emit myEditStatusChangeSignal(false);
}

void frmManageSelectedItem::myTableEdited()
{
    if (!m_loading)
        emit myEditStatusChangeSignal(true);
}

void frmManageSelectedItem::cbxFieldSelected(const QString &column)
{
    if (column.isEmpty())
        return;
    const QString table = cbxField->currentData().toString();
    m_loading = true;
    tableWid->setRowCount(0);
    QSqlQuery query = m_host->database().query();
    if (query.exec(QStringLiteral("SHOW COLUMNS FROM ") + table + QStringLiteral(" LIKE '")
                   + sqlText::likeEscaped(column) + QLatin1Char('\''))
        && query.next()) {
        // The same character-class stripping as the record form's choice
        // lists, so both show a value the same way.
        const QStringList values = myTools::enumValues(query.value(1).toString());
        tableWid->setRowCount(values.size());
        for (int r = 0; r < values.size(); ++r)
            tableWid->setItem(r, 0, new QTableWidgetItem(values.at(r)));
    }
    m_loading = false;
}

void frmManageSelectedItem::myEditStatusChanged(bool dirty)
{
    m_save->setEnabled(dirty);
    m_canc->setEnabled(dirty);
    cbxField->setEnabled(!dirty);
}
