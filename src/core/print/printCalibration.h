#ifndef PRINTCALIBRATION_H
#define PRINTCALIBRATION_H

#include <QPointF>
#include <QString>
#include <QStringList>
#include <QTransform>

#include <optional>

class QSettings;

// How one printer is corrected: every point of the page is moved to
// offset + point × scale, measured from the sheet's top-left corner. Printers
// and trays place the page a few millimetres off and some stretch it a little
// along the paper path; the layout stays as the operator made it and the
// correction is applied only when that printer prints.
struct printCalibration {
    double offsetXmm = 0;
    double offsetYmm = 0;
    double scaleXpercent = 100;
    double scaleYpercent = 100;

    // Beyond these a typed number is a slip, not a printer's error; such a
    // value reads back as no correction for that number.
    static constexpr double maxOffsetMm = 50;
    static constexpr double minScalePercent = 80;
    static constexpr double maxScalePercent = 120;

    bool isIdentity() const;
    bool isValid() const;
    bool operator==(const printCalibration &other) const;
    bool operator!=(const printCalibration &other) const { return !(*this == other); }

    // The correction on the sheet, in points from its top-left corner.
    QTransform sheetTransform() const;

    // A page printed with this calibration showed the crosses at nominal
    // positions A and B at the measured places (millimetres from the sheet's
    // top-left corner, read off with a ruler). Returns the calibration that
    // puts them where they belong. Nothing when A and B do not differ in
    // both directions, when B was measured before A, or when the result would
    // be out of range: a misread ruler, not a printer.
    std::optional<printCalibration> corrected(QPointF nominalA, QPointF measuredA, QPointF nominalB,
                                              QPointF measuredB) const;

    // Settings: one group per printer name, Calibration/<printer>, holding
    // the keys of appSettings::calibrationKey. A print that goes to no printer
    // (an empty name, a PDF file) is never corrected, and nothing is stored
    // for it. Missing, unreadable or out-of-range numbers read as no
    // correction.
    static printCalibration load(QSettings &settings, const QString &printerName);
    void save(QSettings &settings, const QString &printerName) const;
    static void remove(QSettings &settings, const QString &printerName);
    // The printers that have a stored calibration, by their names.
    static QStringList printers(QSettings &settings);

    // The settings group of one printer ("Calibration/" + escaped name).
    static QString settingsGroup(const QString &printerName);
};

#endif
