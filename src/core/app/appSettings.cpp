#include "appSettings.h"
#include "gbText.h"

#include <QCoreApplication>

namespace appSettings {

static QString s_folder;

void setFolder(const QString &folder) { s_folder = folder; }

QString path()
{
    return (s_folder.isEmpty() ? QCoreApplication::applicationDirPath() : s_folder) + QLatin1Char('/')
        + QCoreApplication::applicationName() + QStringLiteral(".ini");
}

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
