#ifndef FRMLOGIN_H
#define FRMLOGIN_H

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class mainWindow;

// Collects server, operator name and password, opens the program's one
// connection (starting a local server first where the settings allow) and
// hands over to the main window's post-login initialisation.
class frmLogin : public QWidget
{
    Q_OBJECT
public:
    explicit frmLogin(mainWindow *owner);

    // The longest a freshly started server is given to come up; the wait
    // ends as soon as it answers. Tests shorten the ceiling.
    static int serverStartWaitMs;

    QLineEdit *serverEdit() const { return linServer; }
    QComboBox *nameBox() const { return cbxName; }
    QLineEdit *passwordEdit() const { return linPassword; }
    QPushButton *loginButton() const { return btLogin; }

public slots:
    void btLoginClicked();
    void rememberUser();
    void forgetUser();
    void rememberServer();

private:
    // 1 opened, 0 no server answered, -1 refused (already reported).
    int attemptOpen();

    mainWindow *m_owner;
    QLineEdit *linServer;
    QLabel *lblServer;
    QComboBox *cbxName;
    QLineEdit *linPassword;
    QPushButton *btLogin;
    QPushButton *btExit;
    bool m_autoStart = false;
    QString m_serverProgram;
};

#endif
