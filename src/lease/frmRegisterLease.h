#ifndef FRMREGISTERLEASE_H
#define FRMREGISTERLEASE_H

#include <QWidget>

class QLineEdit;
class mainWindow;

// The registration record form (登记备案), built at run time from the party
// tables' current columns.
class frmRegisterLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmRegisterLease(mainWindow *opener);

    // The registration-number field; browse and search write a number into
    // it and then call slotEditLinDJBH to load that registration.
    QLineEdit *numberEdit() const { return linDJBH; }

public slots:
    void slotEditLinDJBH(const QString &text);

private:
    mainWindow *m_opener;
    QLineEdit *linDJBH;
};

#endif
