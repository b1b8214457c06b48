#ifndef APPSETTINGS_H
#define APPSETTINGS_H

#include <QSettings>
#include <QVariant>
#include <memory>

// The settings file is ZELNOR.ini, ini format, GB18030: beside the program
// in a build or a portable copy, in the user's configuration folder once
// installed (installPaths). There is deliberately no long-lived settings
// object: each operation opens the file, reads or writes, and lets the
// object go, which flushes to disk.
namespace appSettings {

QString path();
// Benchmark programs only: keep the file in this folder instead of beside the
// program, so a run leaves nothing in the build tree. Empty restores the default.
void setFolder(const QString &folder);
std::unique_ptr<QSettings> open();

// One key of the file and the value a reader gets when it is absent.
struct setting {
    QString name;
    QVariant fallback;
};

// Every key of the file, with its default. The names are those earlier
// installations wrote (the capital L of "Left" and the small t of "top"
// included), so existing settings files keep working.
namespace key {
inline const setting region{QStringLiteral("Register/Region"), QStringLiteral("000000")};
inline const setting company{QStringLiteral("Register/Company"), QString()};
inline const setting backgroundFile{QStringLiteral("Background/FileName"), QString()};
inline const setting backgroundDisplay{QStringLiteral("Background/Display"), false};
inline const setting backgroundFill{QStringLiteral("Background/FillTo"), true};
inline const setting toolBarDisplay{QStringLiteral("ToolBar/Display"), true};
// The login form shows its server row only while no address is stored, so
// its default is empty; the server dialog proposes a local server instead.
inline const setting serverAddress{QStringLiteral("Server/Address"), QString()};
inline const setting serverAddressProposed{QStringLiteral("Server/Address"), QStringLiteral("localhost")};
// Despite its name the command that starts a local server, not a folder.
inline const setting serverProgram{QStringLiteral("Server/BinDir"), QString()};
inline const setting serverProgramProposed{QStringLiteral("Server/BinDir"), QStringLiteral("./mysql/bin/mysqld.exe")};
inline const setting serverAutoStart{QStringLiteral("Server/AutoStart"), false};
inline const setting serverAutoStop{QStringLiteral("Server/AutoStop"), false};
inline const setting price{QStringLiteral("ZELNOR/Price"), 120};
inline const setting paper{QStringLiteral("PageSetup/size"), QStringLiteral("A4")};
inline const setting landscape{QStringLiteral("PageSetup/direction"), true};
inline const setting leftMargin{QStringLiteral("PageSetup/Left"), QStringLiteral("50")};
inline const setting topMargin{QStringLiteral("PageSetup/top"), QStringLiteral("50")};
// The scan of the blank stationery that the print preview lays under the
// page, and its resolution as typed (0: the one the file records). A group of
// its own: saving the layout removes the whole PageSetup and PrintItems groups.
inline const setting stationeryFile{QStringLiteral("Stationery/FileName"), QString()};
inline const setting stationeryDpi{QStringLiteral("Stationery/Dpi"), 0};
} // namespace key

// The keys of one printer's correction, inside its group
// Calibration/<printer name> (printCalibration::settingsGroup): offsets in
// millimetres, scales in percent, written as text with a decimal point.
namespace calibrationKey {
inline const setting offsetX{QStringLiteral("OffsetX"), 0.0};
inline const setting offsetY{QStringLiteral("OffsetY"), 0.0};
inline const setting scaleX{QStringLiteral("ScaleX"), 100.0};
inline const setting scaleY{QStringLiteral("ScaleY"), 100.0};
} // namespace calibrationKey

// Groups whose child keys are the data: one key per remembered operator name
// (value 1), one per print item ("0", "1", …) and one group per calibrated
// printer.
namespace group {
inline const QString loginUsers = QStringLiteral("LoginUser");
inline const QString pageSetup = QStringLiteral("PageSetup");
inline const QString printItems = QStringLiteral("PrintItems");
inline const QString calibration = QStringLiteral("Calibration");
} // namespace group

QVariant value(const QSettings &settings, const setting &s);
// Opens the file for this one read.
QVariant value(const setting &s);
void setValue(QSettings &settings, const setting &s, const QVariant &v);
void setValue(const setting &s, const QVariant &v);

// The fee, in whole yuan, that a new registration proposes (默认收费金额):
// the stored one when it is a whole number from 1 to 99999, else 120.
int defaultFee();

// A region code is six digits: it is the start of every registration number.
bool isRegionCode(const QString &text);
// Whether the file names a region code of its own (absent on a new office's
// first start; the default 000000 then stands in).
bool hasRegion();

// A settings file Qt cannot read as an ini file (a copy gone wrong, a disk
// fault) is moved aside under a name of its own, so the program starts from
// the defaults and the damaged file can still be looked at; a readable file
// is never touched. Returns the name it was moved to, or an empty text when
// the file was fine or absent.
QString setAsideIfUnreadable();

} // namespace appSettings

#endif
