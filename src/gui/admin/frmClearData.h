#ifndef FRMCLEARDATA_H
#define FRMCLEARDATA_H

#include <QWidget>

class QDateEdit;
class QLabel;
class QTimer;
class QPushButton;
class formHost;

// 清理业务数据: removes the registrations registered before a chosen date,
// after showing how many that is and after an automatic backup of the data.
// Only lease rows are deleted here; the database's delete triggers take the
// party rows with them.
class frmClearData : public QWidget
{
    Q_OBJECT
public:
    explicit frmClearData(formHost *host, QWidget *parent = nullptr);

    QDateEdit *dateEdit() const { return m_date; }
    QPushButton *yesButton() const { return m_yes; }
    QLabel *countLabel() const { return m_count; }

private slots:
    void btExitClicked();
    void btYesClicked();
    void clearSigns();
    void countRegistrations();

private:
    formHost *m_host;
    QDateEdit *m_date;
    QPushButton *m_yes;
    QLabel *m_count;
    QTimer *m_counting;
};

#endif
