#ifndef FRMPRINTCALIBRATION_H
#define FRMPRINTCALIBRATION_H

#include "printGeometry.h"

#include <QWidget>

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class formHost;

// Calibration of one printer (打印机校准), opened from the layout editor: the
// operator prints the 校准页 on it, measures with a ruler where crosses A
// and B landed and lets the form compute the correction, or types the four
// numbers directly. Saved per printer name, the correction then applies to
// every page that printer prints.
class frmPrintCalibration : public QWidget
{
    Q_OBJECT
public:
    // page: the paper and orientation the certificates are printed on, which
    // the 校准页 is printed on too.
    frmPrintCalibration(formHost *host, const printGeometry &page, QWidget *parent = nullptr);

    void setPage(const printGeometry &page);

    QComboBox *printerChoice() const { return m_printer; }
    QDoubleSpinBox *offsetXSpin() const { return m_offsetX; }
    QDoubleSpinBox *offsetYSpin() const { return m_offsetY; }
    QDoubleSpinBox *scaleXSpin() const { return m_scaleX; }
    QDoubleSpinBox *scaleYSpin() const { return m_scaleY; }
    // Where crosses A and B were measured, in millimetres from the paper's
    // left and top edges.
    QDoubleSpinBox *measuredSpin(int cross, Qt::Orientation axis) const;
    QLabel *noteLabel() const { return m_note; }

    printCalibration typed() const;

public slots:
    void btPagePrintClicked();
    void btComputeClicked();
    void btSaveClicked();
    void btResetClicked();
    void btExitClicked();
    // Shows what is stored for the chosen printer.
    void printerChanged();

private:
    void showCalibration(const printCalibration &calibration);
    void showCrosses();

    formHost *m_host;
    printGeometry m_page;
    QComboBox *m_printer;
    QDoubleSpinBox *m_offsetX;
    QDoubleSpinBox *m_offsetY;
    QDoubleSpinBox *m_scaleX;
    QDoubleSpinBox *m_scaleY;
    QDoubleSpinBox *m_measured[2][2]; // [cross A, B][x, y]
    QLabel *m_nominal[2];
    QLabel *m_paper;
    QLabel *m_note;
    QList<QPushButton *> m_printerButtons;
};

#endif
