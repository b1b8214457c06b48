#include "installPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

// The install rules (packaging/CMakeLists.txt) say where the program and its
// data go; they hand the same places to this file, so the two cannot drift.
#if !defined(ZELNOR_INSTALL_PROGRAM_DIR) || !defined(ZELNOR_INSTALL_PROGRAM_SUBDIR)                              \
    || !defined(ZELNOR_INSTALL_DATA_DIR) || !defined(ZELNOR_DATA_FROM_PROGRAM)
#error "the install folders come from packaging/CMakeLists.txt"
#endif

namespace installPaths {

namespace {

QString s_settingsFolder;
QString s_dataFolder;

// The name of the user's own folders; the launcher uses the same one.
const QString userFolderName = QStringLiteral("zelnor");

QString userConfigFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    const QString folder = base + QLatin1Char('/') + userFolderName;
    QDir().mkpath(folder);
    return folder;
}

} // namespace

bool isInstalledProgramFolder(const QString &programFolder)
{
    const QString folder = QDir::cleanPath(programFolder);
    if (folder == QStringLiteral(ZELNOR_INSTALL_PROGRAM_DIR))
        return true;
    // A moved installation keeps its shape below the prefix. The program's
    // folder name alone would be too weak a sign, so the subfolder below the
    // prefix ("libexec/zelnor") must match as a whole.
    const QString subfolder = QStringLiteral(ZELNOR_INSTALL_PROGRAM_SUBDIR);
    return !subfolder.isEmpty() && folder.endsWith(QLatin1Char('/') + subfolder);
}

QString dataFolder(const QString &programFolder)
{
    if (!s_dataFolder.isEmpty())
        return s_dataFolder;
    if (isInstalledProgramFolder(programFolder))
        return QDir::cleanPath(programFolder + QLatin1Char('/') + QStringLiteral(ZELNOR_DATA_FROM_PROGRAM));
    return QStringLiteral(ZELNOR_INSTALL_DATA_DIR);
}

QString dataFile(const QString &name, const QString &programFolder)
{
    const QString here = QDir::current().absoluteFilePath(name);
    if (QFileInfo(here).isFile())
        return here;
    const QString installed = dataFolder(programFolder) + QLatin1Char('/') + name;
    return QFileInfo(installed).isFile() ? installed : here;
}

QString settingsFolder(const QString &programFolder)
{
    if (!s_settingsFolder.isEmpty())
        return s_settingsFolder;
    // An installed program folder belongs to the package manager even where
    // it happens to be writable (root, an unpacked package): settings written
    // there would be shared by every user and lost or left behind by it.
    const QFileInfo folder(programFolder);
    if (!isInstalledProgramFolder(programFolder) && folder.isDir() && folder.isWritable())
        return QDir::cleanPath(programFolder);
    return userConfigFolder();
}

QString settingsFolder() { return settingsFolder(QCoreApplication::applicationDirPath()); }

QString settingsFile()
{
    return settingsFolder() + QLatin1Char('/') + QCoreApplication::applicationName() + QStringLiteral(".ini");
}

QString backupFolder()
{
    const QString folder = settingsFolder() + QStringLiteral("/backups");
    if (QDir().mkpath(folder))
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return folder;
}

QString dataFolder() { return dataFolder(QCoreApplication::applicationDirPath()); }

QString dataFile(const QString &name) { return dataFile(name, QCoreApplication::applicationDirPath()); }

void setSettingsFolder(const QString &folder) { s_settingsFolder = folder; }

void setDataFolder(const QString &folder) { s_dataFolder = folder; }

} // namespace installPaths
