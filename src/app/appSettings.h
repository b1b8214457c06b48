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

// Keys that more than one form reads or writes. The names are those earlier
// installations wrote, so existing settings files keep working.
namespace key {
inline const QString serverAddress = QStringLiteral("Server/Address");
inline const QString serverProgram = QStringLiteral("Server/BinDir");
inline const QString serverAutoStart = QStringLiteral("Server/AutoStart");
inline const QString serverAutoStop = QStringLiteral("Server/AutoStop");
inline const QString backgroundFile = QStringLiteral("Background/FileName");
inline const QString backgroundDisplay = QStringLiteral("Background/Display");
inline const QString backgroundFill = QStringLiteral("Background/FillTo");
inline const QString toolBarDisplay = QStringLiteral("ToolBar/Display");
inline const QString price = QStringLiteral("ZELNOR/Price");
} // namespace key

// The fee, in whole yuan, that a new registration proposes (默认收费金额).
int defaultFee();

} // namespace appSettings

#endif
