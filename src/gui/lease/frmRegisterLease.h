#ifndef FRMREGISTERLEASE_H
#define FRMREGISTERLEASE_H

#include <QList>
#include <QString>
#include <QWidget>

#include "registrationSql.h"

class QComboBox;
class QDateEdit;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QSpinBox;
class formHost;

// The registration record form (登记备案), built at run time from the party
// tables' current columns.
//
// Loading and saving find the party fields only through their names: a group
// box is named after its table, a row label reads column + "：", and the
// field's object name is the kind prefix ("line", "comb", "spin") followed by
// that label. Columns of other types get no field and are never touched.
class frmRegisterLease : public QWidget
{
    Q_OBJECT
public:
    explicit frmRegisterLease(formHost *host, QWidget *parent = nullptr);

    // The registration-number field; browse and search write a number into
    // it and then call slotEditLinDJBH to load that registration.
    QLineEdit *numberEdit() const { return linDJBH; }

    // "正常", "增加", "修改" or "删除".
    QString mode() const { return m_mode; }

    // Shows the stored registration; false (and nothing changed) when there
    // is no lease with that number.
    bool loadRecord(const QString &number);
    // Blank party texts and this year's dates; choices and numbers stay.
    void resetRecord();
    // True (after telling the operator) when a required text field is empty.
    // The save does not ask it: the server's NOT NULL refusal is the check
    // operators meet, with the column named in its message.
    bool hasEmptyRequiredField();

    // Reading a party table's fields with one statement per table instead of
    // one per field shows the same values with far fewer round trips; the
    // per-field way stays available for comparison.
    enum class loadStrategy { PerTable, PerField };
    void setLoadStrategy(loadStrategy strategy) { m_loadStrategy = strategy; }

    // Whether the registration is stored with the values on the form (lease
    // row and lessor row): a save whose commit lost its connection may have
    // been kept, and saving it again would give the lease a second number.
    // False when the server cannot be asked.
    bool storedAsTyped(const QString &number, bool *stored);

public slots:
    void slotEditLinDJBH(const QString &text);

private slots:
    void btAddClicked();
    void btEditClicked();
    void btDeleClicked();
    void btYesClicked();
    void btNoClicked();
    void btPrintClicked();
    void btExitClicked();

private:
    // One party field as the naming scheme describes it.
    struct field {
        QString column;
        QString kind; // "line", "comb" or "spin"
        QWidget *widget;
    };
    static QList<field> fieldsOf(const QGroupBox *group);
    static void showValue(const field &f, const QString &value);
    static void showChoice(QComboBox *combo, const QString &value);
    static QString sqlValue(const field &f);

    QWidget *buildNumberFrame();
    QGroupBox *buildPartyGroup(const QString &title, const QString &table, const QString &labelColour);
    QGroupBox *buildFeeGroup();
    QWidget *buildButtonFrame();

    void loadParty(const QGroupBox *group, const QString &number);
    void setMode(const QString &mode);
    void applyButtonState();
    bool armChange();
    QStringList saveStatements(const QString &number) const;
    // What the form holds, as the statements take it.
    registrationSql::leaseValues typedLease() const;
    static QStringList typedPairs(const QGroupBox *group);
    bool proposeFreeNumber(const QString &taken);
    void saveDone();
    bool fitsConnection();

    formHost *m_host;
    QString m_mode;
    // A new registration whose commit lost its connection before the server
    // could answer; the next 确定 asks the server before saving it again.
    QString m_uncertainNumber;
    loadStrategy m_loadStrategy = loadStrategy::PerTable;

    QLineEdit *linDJBH;
    QDateEdit *dateDJRQ, *dateYXQ, *dateYXZ;
    QSpinBox *spinFee;
    QList<QGroupBox *> m_partyGroups; // leaseout, leasein, leasehouse
    QPushButton *btAdd, *btEdit, *btDele, *btYes, *btNo, *btPrint, *btExit;
};

#endif
