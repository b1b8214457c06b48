#ifndef INSTALLPATHS_H
#define INSTALLPATHS_H

#include <QString>

// Where the program finds its files. Two ways of running it:
//  - from a build or a copied folder (portable): the settings file beside the
//    program, the data files in the working folder, as it has always been;
//  - installed (the package, or `cmake --install`): the program folder belongs
//    to the system, so the settings file lives in the user's configuration
//    folder, and data files missing from the working folder come from the
//    installed data folder.
// An installed tree may be moved as a whole (a package built for /usr from a
// tree configured for /usr/local, `cmake --install --prefix`, an unpacked
// package): the data folder is then found relative to the program.
namespace installPaths {

// The settings file: settingsFolder() + "/" + application name + ".ini".
QString settingsFile();
// Beside the program when that folder is writable and not an installed
// program folder; otherwise the user's configuration folder
// ($XDG_CONFIG_HOME/zelnor, by default ~/.config/zelnor), created here. The
// desktop launcher writes a user's first settings file to the same place.
QString settingsFolder();
// Automatic backups kept before a restore or a clearing: settingsFolder() +
// "/backups". Created on the first call and readable by its owner only, as
// the backups hold the office's records.
QString backupFolder();

// A data file (datamodel.sql, fieldtype.txt, readme.txt): the one in the
// working folder when there is one, else the installed one. When neither
// exists the working folder's path comes back, so the caller reports the
// file as missing just as before.
QString dataFile(const QString &name);
// The installed data folder of this program (relative to the program when it
// is installed, otherwise the data folder chosen at build time).
QString dataFolder();

// The same decisions for a program living in programFolder.
bool isInstalledProgramFolder(const QString &programFolder);
QString settingsFolder(const QString &programFolder);
QString dataFolder(const QString &programFolder);
QString dataFile(const QString &name, const QString &programFolder);

// Tests and benchmarks only: keep settings (and with them the automatic
// backups) in this folder, so that a run leaves nothing beside the program.
// Empty restores the rule above.
void setSettingsFolder(const QString &folder);
// Tests only: look for installed data files in this folder, so that a test of
// a missing file is not satisfied by an installation on the machine. Empty
// restores the rule above.
void setDataFolder(const QString &folder);

} // namespace installPaths

#endif
