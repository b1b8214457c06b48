#include "frmSearchLease.h"

#include "leaseQuery.h"
#include "formHost.h"
#include "queryForm.h"
#include "sqlText.h"

#include <QApplication>

#include <QDateEdit>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

frmSearchLease::frmSearchLease(formHost *host, QWidget *parent)
    : QWidget(parent), m_host(host), m_query(host->database())
{
    setWindowTitle(QStringLiteral("搜索查询"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_keyword = new QLineEdit;
    m_search = new QPushButton(QStringLiteral("搜索(&S)"));
    auto *help = new QLabel(QStringLiteral(
        "说明：1、可以智能搜索出方名称、承方名称、坐落位置，也可以智能搜索电话号码、登记编号； \n"
        "       2、若为5位（含)以下数字，只搜索登记编号。6位（含）以上则在电话、登记编号中搜索。"));
    m_from = queryForm::fromDateEdit(host->workDate());
    m_to = queryForm::toDateEdit(host->workDate());
    m_table = new QTableWidget;
    queryForm::setupResultTable(m_table);
    m_detail = new QPushButton(QStringLiteral("查看详细(&D)"));
    m_detail->setToolTip(QStringLiteral("查看当前记录详细情况，以便打印、修改、删除。"));
    auto *exit = new QPushButton(QStringLiteral("退出(&E)"));

    auto *keywordRow = new QHBoxLayout;
    keywordRow->addWidget(new QLabel(QStringLiteral("关键字：")));
    keywordRow->addWidget(m_keyword, 1);
    keywordRow->addWidget(m_search);
    auto *dateRow = new QHBoxLayout;
    dateRow->addWidget(m_from);
    dateRow->addWidget(new QLabel(QStringLiteral("—")));
    dateRow->addWidget(m_to);
    dateRow->addStretch(1);
    auto *buttonRow = new QHBoxLayout;
    buttonRow->addStretch(1);
    buttonRow->addWidget(m_detail);
    buttonRow->addWidget(exit);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(keywordRow);
    layout->addWidget(help);
    layout->addLayout(dateRow);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttonRow);

    connect(m_search, &QPushButton::clicked, this, &frmSearchLease::btSearchClicked);
    connect(m_detail, &QPushButton::clicked, this, &frmSearchLease::btDetailClicked);
    connect(exit, &QPushButton::clicked, this, &frmSearchLease::btExitClicked);
}

void frmSearchLease::btSearchClicked()
{
    mySqlQuery::emptyTable(m_table);
    const QString keyword = m_keyword->text().trimmed();
    if (keyword.isEmpty())
        return;
    if (!sqlText::fitsConnection(keyword)) {
        QApplication::beep();
        m_host->showStatus(QStringLiteral("关键字中有数据库不能查找的字符（扩展区的生僻字或表情符号），请改用常用字。"), 3000);
        return;
    }
    queryForm::showResult(&m_query, m_table, leaseQuery::search(keyword, m_from->date(), m_to->date()));
    m_host->showStatus(
        QStringLiteral("信息：共搜索到 ") + QString::number(m_table->rowCount()) + QStringLiteral("条记录."), 3000);
}

QSize frmSearchLease::sizeHint() const
{
    // The MDI area opens a form at its size hint; the layout's own would
    // show about five result rows.
    return QSize(960, 600);
}

void frmSearchLease::btDetailClicked()
{
    queryForm::openCurrentLease(m_host, m_table);
}

void frmSearchLease::btExitClicked()
{
    m_host->closeForm(this);
}
