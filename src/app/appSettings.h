#ifndef APPSETTINGS_H
#define APPSETTINGS_H

#include <QSettings>
#include <memory>

// The settings file is ZELNOR.ini beside the program, ini format, GB18030.
// There is deliberately no long-lived settings object: each operation opens
// the file, reads or writes, and lets the object go, which flushes to disk.
namespace appSettings {

QString path();
// Benchmark programs only: keep the file in this folder instead of beside the
// program, so a run leaves nothing in the build tree. Empty restores the default.
void setFolder(const QString &folder);
std::unique_ptr<QSettings> open();

} // namespace appSettings

#endif
