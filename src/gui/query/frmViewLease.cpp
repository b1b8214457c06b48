#include "frmViewLease.h"

#include "csvExport.h"
#include "leaseQuery.h"
#include "formHost.h"
#include "myTools.h"
#include "queryForm.h"

#include <QDateEdit>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

// The fields ticked when the form opens: enough to recognise a lease and to
// open it (the number comes first, the detail button reads column 0).
static const QStringList initiallyChecked = {
    QStringLiteral("登记编号"), QStringLiteral("登记日期"), QStringLiteral("收费金额"),
    QStringLiteral("出方名称"), QStringLiteral("承方名称"), QStringLiteral("房屋坐落")};

frmViewLease::frmViewLease(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host), m_query(host->database())
{
    setWindowTitle(QStringLiteral("浏览查询"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_tree = new QTreeWidget;
    m_tree->setColumnCount(1);
    m_tree->setHeaderLabel(QStringLiteral("字段"));
    buildFieldTree();

    m_from = queryForm::fromDateEdit(host->workDate());
    m_to = queryForm::toDateEdit(host->workDate());
    m_view = new QPushButton(QStringLiteral("浏览(&V)"));
    m_export = new QPushButton(QStringLiteral("导出(&F)"));
    m_export->setToolTip(QStringLiteral("可以导出CSV文件、文本文件，以供共享数据。"));
    m_export->setEnabled(false); // nothing to export before the first view
    m_detail = new QPushButton(QStringLiteral("详细情况(&D)"));
    m_detail->setToolTip(QStringLiteral("查看当前记录详细情况，以便打印、修改、删除。"));
    m_sum = new QPushButton(QStringLiteral("收费小计"));
    m_sum->setToolTip(QStringLiteral("收费金额合计"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));
    m_table = new QTableWidget;
    queryForm::setupResultTable(m_table);

    // Two rows of buttons, so the form keeps every control whole down to
    // 800 pixels wide: above, the date range and what works on it (browse,
    // fee total); below the table, what works on its rows.
    auto *range = new QHBoxLayout;
    range->addWidget(new QLabel(QStringLiteral("登记日期：")));
    range->addWidget(m_from);
    range->addWidget(new QLabel(QStringLiteral("—")));
    range->addWidget(m_to);
    range->addWidget(m_view);
    range->addWidget(m_sum);
    range->addStretch(1);
    auto *rows = new QHBoxLayout;
    rows->addStretch(1);
    for (QPushButton *button : {m_export, m_detail, exit})
        rows->addWidget(button);

    auto *results = new QVBoxLayout;
    results->addWidget(m_table, 1);
    results->addLayout(rows);
    auto *body = new QHBoxLayout;
    body->addWidget(m_tree);
    body->addLayout(results, 1);
    m_tree->setMaximumWidth(200);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(range);
    layout->addLayout(body, 1);

    connect(m_tree, &QTreeWidget::itemChanged, this, &frmViewLease::treeFieldItemCheckChanged);
    connect(m_view, &QPushButton::clicked, this, &frmViewLease::btViewClicked);
    connect(m_export, &QPushButton::clicked, this, &frmViewLease::bt2FileClicked);
    connect(m_detail, &QPushButton::clicked, this, &frmViewLease::btDetailClicked);
    connect(m_sum, &QPushButton::clicked, this, &frmViewLease::btSumPriceClicked);
    connect(exit, &QPushButton::clicked, this, &frmViewLease::btExitClicked);
}

void frmViewLease::buildFieldTree()
{
    struct group {
        const char *text;
        const char *table;
    };
    static const group groups[] = {{"基础信息", "lease"},
                                   {"出租方信息", "leaseout"},
                                   {"承租方信息", "leasein"},
                                   {"房屋信息", "leasehouse"}};
    // The number is offered once, under 基础信息; its parts and the party
    // tables' copies of it would only repeat it.
    static const QStringList hidden = {QStringLiteral("登记编号"), QStringLiteral("编号"),
                                       QStringLiteral("地区"), QStringLiteral("年度")};
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsUserCheckable;
    auto addField = [&](QTreeWidgetItem *parent, const QString &name) {
        auto *child = new QTreeWidgetItem(parent, {name});
        child->setFlags(flags);
        child->setCheckState(0, initiallyChecked.contains(name) ? Qt::Checked : Qt::Unchecked);
    };

    for (const group &g : groups) {
        auto *top = new QTreeWidgetItem(m_tree, {QString::fromUtf8(g.text)});
        top->setFlags(flags);
        top->setCheckState(0, Qt::Unchecked);
        if (top == m_tree->topLevelItem(0))
            addField(top, QStringLiteral("登记编号"));
        for (const columnInfo &c : myTools::showColumns(m_host->database(), QString::fromLatin1(g.table))) {
            if (!hidden.contains(c.field))
                addField(top, c.field);
        }
    }
    m_tree->expandAll();
}

QStringList frmViewLease::checkedFields() const
{
    QStringList fields;
    for (int t = 0; t < m_tree->topLevelItemCount(); ++t) {
        const QTreeWidgetItem *top = m_tree->topLevelItem(t);
        for (int c = 0; c < top->childCount(); ++c) {
            if (top->child(c)->checkState(0) == Qt::Checked)
                fields << top->child(c)->text(0);
        }
    }
    return fields;
}

void frmViewLease::treeFieldItemCheckChanged(QTreeWidgetItem *item, int column)
{
    // A group passes its state down; a field's own change leaves the group
    // as it is.
    for (int c = 0; c < item->childCount(); ++c)
        item->child(c)->setCheckState(column, item->checkState(column));
}

void frmViewLease::btViewClicked()
{
    queryForm::showResult(&m_query, m_table, leaseQuery::browse(checkedFields(), m_from->date(), m_to->date()));
    m_export->setEnabled(true);
}

void frmViewLease::bt2FileClicked()
{
    // A bare name would open the dialog in the program's working folder,
    // which is no place for a clerk's files.
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("导出数据"),
                                                      QDir::home().filePath(QStringLiteral("mydata.csv")),
                                                      QStringLiteral("CSV(逗号分隔)(*.csv);;文本文件 (*.txt)"));
    if (path.isEmpty())
        return;
    QString error;
    if (!csvExport::write(m_table->model(), path, &error)) {
        QMessageBox::critical(this, QStringLiteral("错误"), error);
        return;
    }
    m_host->showStatus(QStringLiteral("导出数据成功."), 3000);
}

QSize frmViewLease::sizeHint() const
{
    // The MDI area opens a form at its size hint; the layout's own would
    // show about five result rows.
    return QSize(960, 600);
}

void frmViewLease::btDetailClicked()
{
    queryForm::openCurrentLease(m_host, m_table);
}

void frmViewLease::btSumPriceClicked()
{
    // A range without leases sums to NULL, shown as an empty amount (a null
    // number would read "0").
    const QVariant total = m_host->database().scalar(leaseQuery::feeTotal(m_from->date(), m_to->date()));
    const QString sum = total.isNull() ? QString() : total.toString();
    QMessageBox::information(this, QStringLiteral("信息"),
                             QStringLiteral("当前收费金额合计：") + sum + QStringLiteral("元"));
}

void frmViewLease::btExitClicked()
{
    m_host->closeForm(this);
}
