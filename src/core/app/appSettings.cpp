#include "appSettings.h"
#include "gbText.h"
#include "installPaths.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

namespace appSettings {

// The folder decides where automatic backups go too, so a benchmark's
// scratch folder holds both.
void setFolder(const QString &folder) { installPaths::setSettingsFolder(folder); }

QString path() { return installPaths::settingsFile(); }

std::unique_ptr<QSettings> open()
{
    auto settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
    settings->setIniCodec(gbText::codec());
    return settings;
}

QVariant value(const QSettings &settings, const setting &s) { return settings.value(s.name, s.fallback); }

QVariant value(const setting &s) { return value(*open(), s); }

void setValue(QSettings &settings, const setting &s, const QVariant &v) { settings.setValue(s.name, v); }

void setValue(const setting &s, const QVariant &v) { setValue(*open(), s, v); }

int defaultFee()
{
    // Read as a number: "abc" would count as 0, and a fee the fee box cannot
    // even hold would be proposed for every new lease.
    bool ok = false;
    const int fee = value(key::price).toString().trimmed().toInt(&ok);
    return ok && fee >= 1 && fee <= 99999 ? fee : key::price.fallback.toInt();
}

bool isRegionCode(const QString &text)
{
    if (text.size() != 6)
        return false;
    for (const QChar c : text)
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    return true;
}

bool hasRegion() { return open()->contains(key::region.name); }

QString setAsideIfUnreadable()
{
    const QString file = path();
    if (!QFile::exists(file))
        return QString();
    {
        // Read from a copy under a name of its own: QSettings keeps what it
        // parsed of a file for the whole process, and would judge the file as
        // it was then.
        QTemporaryDir scratch;
        const QString copy = scratch.filePath(QStringLiteral("probe.ini"));
        if (!scratch.isValid() || !QFile::copy(file, copy))
            return QString();
        QSettings probe(copy, QSettings::IniFormat);
        probe.setIniCodec(gbText::codec());
        probe.allKeys(); // the file is parsed, and its status known, only when read
        if (probe.status() != QSettings::FormatError)
            return QString();
    }
    const QString aside = file + QStringLiteral(".damaged-")
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    return QFile::rename(file, aside) ? aside : QString();
}

} // namespace appSettings
