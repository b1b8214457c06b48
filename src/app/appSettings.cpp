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

int defaultFee() { return open()->value(key::price, 120).toInt(); }

} // namespace appSettings
