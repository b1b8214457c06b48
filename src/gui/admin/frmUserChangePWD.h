#ifndef FRMUSERCHANGEPWD_H
#define FRMUSERCHANGEPWD_H

#include <QWidget>

class QLineEdit;
class QPushButton;
class formHost;

// 操作员修改密码: the logged-in operator sets a new server password for the
// account of the program's connection. The old password is checked against
// the one the connection was opened with, not against the server.
class frmUserChangePWD : public QWidget
{
    Q_OBJECT
public:
    explicit frmUserChangePWD(formHost *host, QWidget *parent = nullptr);

    QLineEdit *oldPasswordEdit() const { return linOld; }
    QLineEdit *newPasswordEdit() const { return linNew; }
    QLineEdit *confirmEdit() const { return linConfirm; }
    QPushButton *yesButton() const { return btYes; }

public slots:
    void oldPasswordChecked();
    void btYesSetEnable();
    void btYesClicked();
    void btExitClicked();

private:
    bool oldPasswordRight() const;
    formHost *m_host;
    QLineEdit *linOld;
    QLineEdit *linNew;
    QLineEdit *linConfirm;
    QPushButton *btYes;
};

#endif
