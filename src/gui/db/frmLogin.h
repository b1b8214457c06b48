#ifndef FRMLOGIN_H
#define FRMLOGIN_H

#include <QWidget>

class QComboBox;
class QLineEdit;
class QProcess;
class QPushButton;
class shellHost;

// Collects server, operator name and password, opens the program's one
// connection (starting a local server first where the settings allow) and
// hands over to the main window's post-login initialisation.
class frmLogin : public QWidget
{
    Q_OBJECT
public:
    explicit frmLogin(shellHost *host, QWidget *parent = nullptr);

    // The longest wait for a freshly started server to answer.
    static constexpr int serverStartWaitMs = 9000;

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
    // A refusal has already been reported to the operator when it is returned.
    enum class openResult { Opened, NoServer, Refused };
    openResult attemptOpen();
    openResult refuseLogin();
    // Steps of the login up to an open connection.
    openResult openConnection();
    void waitForServer(QProcess *server);

    shellHost *m_host;
    QLineEdit *linServer;
    QComboBox *cbxName;
    QLineEdit *linPassword;
    QPushButton *btLogin;
    bool m_autoStart = false;
    bool m_loggingIn = false;
    QString m_serverProgram;
};

#endif
