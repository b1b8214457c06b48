#include "appSettings.h"
#include "gbText.h"
#include "installPaths.h"

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

int defaultFee() { return value(key::price).toInt(); }

} // namespace appSettings
