#include "appSettings.h"
#include "gbText.h"

#include <QCoreApplication>

namespace appSettings {

QString path()
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/')
        + QCoreApplication::applicationName() + QStringLiteral(".ini");
}

std::unique_ptr<QSettings> open()
{
    auto settings = std::make_unique<QSettings>(path(), QSettings::IniFormat);
    settings->setIniCodec(gbText::codec());
    return settings;
}

} // namespace appSettings
