#ifndef FRMCLEARDATA_H
#define FRMCLEARDATA_H

#include <QWidget>

class QDateEdit;
class QPushButton;
class formHost;

// 清理业务数据: removes the registrations registered before a chosen date.
// Only lease rows are deleted here; the database's delete triggers take the
// party rows with them.
class frmClearData : public QWidget
{
    Q_OBJECT
public:
    explicit frmClearData(formHost *host, QWidget *parent = nullptr);

    QDateEdit *dateEdit() const { return m_date; }
    QPushButton *yesButton() const { return m_yes; }

private slots:
    void btExitClicked();
    void btYesClicked();
    void clearSigns();

private:
    formHost *m_host;
    QDateEdit *m_date;
    QPushButton *m_yes;
};

#endif
