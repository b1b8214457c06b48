#ifndef FRMVIEWLEASE_H
#define FRMVIEWLEASE_H

#include "mySqlQuery.h"

#include <QStringList>
#include <QWidget>

class QDateEdit;
class QPushButton;
class QTableWidget;
class QTreeWidget;
class QTreeWidgetItem;
class formHost;

// 浏览查询: the leases of a registration-date range with the fields ticked in
// a tree built from the tables' current columns, the fee total of the range,
// export of the result and opening a lease in the record form.
class frmViewLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmViewLease(formHost *host, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    QTreeWidget *fieldTree() const { return m_tree; }
    QDateEdit *fromDateEdit() const { return m_from; }
    QDateEdit *toDateEdit() const { return m_to; }
    QTableWidget *resultTable() const { return m_table; }
    QPushButton *viewButton() const { return m_view; }
    QPushButton *exportButton() const { return m_export; }
    QPushButton *detailButton() const { return m_detail; }
    QPushButton *sumButton() const { return m_sum; }

    // The ticked fields in tree order, as they go into the statement.
    QStringList checkedFields() const;

private slots:
    void treeFieldItemCheckChanged(QTreeWidgetItem *item, int column);
    void btViewClicked();
    void bt2FileClicked();
    void btDetailClicked();
    void btSumPriceClicked();
    void btExitClicked();

private:
    void buildFieldTree();

    formHost *m_host;
    mySqlQuery m_query;
    QTreeWidget *m_tree;
    QDateEdit *m_from;
    QDateEdit *m_to;
    QTableWidget *m_table;
    QPushButton *m_view;
    QPushButton *m_export;
    QPushButton *m_detail;
    QPushButton *m_sum;
};

#endif
