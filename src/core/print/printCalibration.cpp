#include "printCalibration.h"

#include "appSettings.h"

#include <QSettings>
#include <QtMath>

namespace {

const double pointsPerMm = 72.0 / 25.4;

// QSettings takes both '/' and '\' in a key as group separators and folds
// repeated ones, so "\\server\HP" and "server/HP" would share one group and
// an empty name would land on the group itself. Those two characters (and
// '%', the escape itself) are percent-escaped; everything else, Chinese
// included, is left to QSettings, which writes it as %UXXXX in plain ASCII,
// the same bytes whatever the file's codec.
QString escaped(const QString &name)
{
    QString out;
    for (const QChar c : name) {
        if (c == QLatin1Char('%'))
            out += QLatin1String("%25");
        else if (c == QLatin1Char('/'))
            out += QLatin1String("%2F");
        else if (c == QLatin1Char('\\'))
            out += QLatin1String("%5C");
        else
            out += c;
    }
    return out;
}

QString unescaped(const QString &key)
{
    QString out = key;
    out.replace(QLatin1String("%2F"), QLatin1String("/"));
    out.replace(QLatin1String("%5C"), QLatin1String("\\"));
    out.replace(QLatin1String("%25"), QLatin1String("%")); // last: "%252F" is "%2F" spelled out
    return out;
}

// A stored number, or the key's default when it is missing, not a number or
// outside [low, high].
double number(QSettings &settings, const appSettings::setting &key, double low, double high)
{
    bool ok = false;
    const double value = settings.value(key.name).toString().trimmed().toDouble(&ok);
    return ok && value >= low && value <= high ? value : key.fallback.toDouble();
}

// Along one axis the page printed at measured = offset + scale × nominal; from
// two crosses this gives that printer's map.
bool fit(double nominalA, double measuredA, double nominalB, double measuredB, double *offset, double *scale)
{
    if (qFuzzyCompare(nominalA, nominalB))
        return false;
    *scale = (measuredB - measuredA) / (nominalB - nominalA);
    *offset = measuredA - *scale * nominalA;
    return *scale > 0;
}

} // namespace

bool printCalibration::isIdentity() const
{
    return *this == printCalibration();
}

bool printCalibration::isValid() const
{
    auto offsetOk = [](double mm) { return qAbs(mm) <= maxOffsetMm; };
    auto scaleOk = [](double percent) { return percent >= minScalePercent && percent <= maxScalePercent; };
    return offsetOk(offsetXmm) && offsetOk(offsetYmm) && scaleOk(scaleXpercent) && scaleOk(scaleYpercent);
}

bool printCalibration::operator==(const printCalibration &other) const
{
    return offsetXmm == other.offsetXmm && offsetYmm == other.offsetYmm && scaleXpercent == other.scaleXpercent
           && scaleYpercent == other.scaleYpercent;
}

QTransform printCalibration::sheetTransform() const
{
    return QTransform(scaleXpercent / 100, 0, 0, scaleYpercent / 100, offsetXmm * pointsPerMm,
                      offsetYmm * pointsPerMm);
}

std::optional<printCalibration> printCalibration::corrected(QPointF nominalA, QPointF measuredA, QPointF nominalB,
                                                            QPointF measuredB) const
{
    // The page was drawn through this calibration c and the printer's own map
    // e put it on paper as m = e∘c. The new calibration must undo e alone:
    // c' = e⁻¹ = c∘m⁻¹, which per axis is scale s/sm and offset o − s·om/sm.
    double omX, smX, omY, smY;
    if (!fit(nominalA.x(), measuredA.x(), nominalB.x(), measuredB.x(), &omX, &smX)
        || !fit(nominalA.y(), measuredA.y(), nominalB.y(), measuredB.y(), &omY, &smY))
        return std::nullopt;
    const double sX = scaleXpercent / 100, sY = scaleYpercent / 100;
    // Hundredths of a millimetre and of a percent: finer than any ruler
    // reading, and what an operator would type.
    auto hundredths = [](double v) { return qRound(v * 100) / 100.0; };
    printCalibration next;
    next.scaleXpercent = hundredths(100 * sX / smX);
    next.scaleYpercent = hundredths(100 * sY / smY);
    next.offsetXmm = hundredths(offsetXmm - sX * omX / smX);
    next.offsetYmm = hundredths(offsetYmm - sY * omY / smY);
    if (!next.isValid())
        return std::nullopt;
    return next;
}

QString printCalibration::settingsGroup(const QString &printerName)
{
    return appSettings::group::calibration + QLatin1Char('/') + escaped(printerName);
}

printCalibration printCalibration::load(QSettings &settings, const QString &printerName)
{
    printCalibration calibration;
    if (printerName.isEmpty())
        return calibration;
    settings.beginGroup(settingsGroup(printerName));
    using namespace appSettings::calibrationKey;
    calibration.offsetXmm = number(settings, offsetX, -maxOffsetMm, maxOffsetMm);
    calibration.offsetYmm = number(settings, offsetY, -maxOffsetMm, maxOffsetMm);
    calibration.scaleXpercent = number(settings, scaleX, minScalePercent, maxScalePercent);
    calibration.scaleYpercent = number(settings, scaleY, minScalePercent, maxScalePercent);
    settings.endGroup();
    return calibration;
}

void printCalibration::save(QSettings &settings, const QString &printerName) const
{
    if (printerName.isEmpty())
        return;
    settings.beginGroup(settingsGroup(printerName));
    // Text, not a double QVariant: the file reads the same to a person and
    // to every Qt version, with '.' as the decimal point whatever the locale.
    using namespace appSettings::calibrationKey;
    appSettings::setValue(settings, offsetX, QString::number(offsetXmm));
    appSettings::setValue(settings, offsetY, QString::number(offsetYmm));
    appSettings::setValue(settings, scaleX, QString::number(scaleXpercent));
    appSettings::setValue(settings, scaleY, QString::number(scaleYpercent));
    settings.endGroup();
}

void printCalibration::remove(QSettings &settings, const QString &printerName)
{
    if (!printerName.isEmpty())
        settings.remove(settingsGroup(printerName));
}

QStringList printCalibration::printers(QSettings &settings)
{
    settings.beginGroup(appSettings::group::calibration);
    QStringList names;
    for (const QString &key : settings.childGroups())
        names << unescaped(key);
    settings.endGroup();
    return names;
}
