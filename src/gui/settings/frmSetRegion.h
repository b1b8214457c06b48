#ifndef FRMSETREGION_H
#define FRMSETREGION_H

#include <QDialog>

class QLineEdit;
class QPushButton;

// Asks a supervisor for the office's region code (the six digits every
// registration number starts with) and its name, when the settings file has
// no valid code: on a new office's first login, or after the file was lost.
class frmSetRegion : public QDialog
{
    Q_OBJECT
public:
    frmSetRegion(const QString &region, const QString &company, QWidget *parent = nullptr);

    QString region() const;
    QString company() const;

    QLineEdit *regionEdit() const { return m_region; }
    QLineEdit *companyEdit() const { return m_company; }
    QPushButton *okButton() const { return m_ok; }

private:
    QLineEdit *m_region;
    QLineEdit *m_company;
    QPushButton *m_ok;
};

#endif
