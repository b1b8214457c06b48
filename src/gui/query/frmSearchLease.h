#ifndef FRMSEARCHLEASE_H
#define FRMSEARCHLEASE_H

#include "mySqlQuery.h"

#include <QWidget>

class QDateEdit;
class QLineEdit;
class QPushButton;
class QTableWidget;
class formHost;

// 搜索查询: one keyword, looked for in names, location, telephones or the
// registration number depending on its form, within a registration-date range.
class frmSearchLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmSearchLease(formHost *host, QWidget *parent = nullptr);
    QSize sizeHint() const override;

    QLineEdit *keywordEdit() const { return m_keyword; }
    QDateEdit *fromDateEdit() const { return m_from; }
    QDateEdit *toDateEdit() const { return m_to; }
    QTableWidget *resultTable() const { return m_table; }
    QPushButton *searchButton() const { return m_search; }
    QPushButton *detailButton() const { return m_detail; }

private slots:
    void btSearchClicked();
    void btDetailClicked();
    void btExitClicked();

private:
    formHost *m_host;
    mySqlQuery m_query;
    QLineEdit *m_keyword;
    QDateEdit *m_from;
    QDateEdit *m_to;
    QTableWidget *m_table;
    QPushButton *m_search;
    QPushButton *m_detail;
};

#endif
