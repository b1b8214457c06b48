#include "toolFolder.h"
#include "mysqlTools.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#if defined(Q_OS_UNIX)
#include <cerrno>
#include <signal.h>
#elif defined(Q_OS_WIN)
#include <windows.h>
#endif

namespace {

const QString folderPrefix = QStringLiteral("zelnor-tools-");
const QString optionName = QStringLiteral("client.cnf");
const QString writingName = QStringLiteral("writing");

// Option-file values in double quotes take backslash escapes; without the
// quotes a '#' would start a comment and blanks would be trimmed.
QByteArray quotedOption(const QString &value)
{
    QByteArray text;
    for (const char c : value.toUtf8()) {
        switch (c) {
        case '\\': text += "\\\\"; break;
        case '"': text += "\\\""; break;
        case '\n': text += "\\n"; break;
        case '\r': text += "\\r"; break;
        case '\t': text += "\\t"; break;
        default: text += c;
        }
    }
    return '"' + text + '"';
}

bool isRunning(qint64 pid)
{
#if defined(Q_OS_UNIX)
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
#elif defined(Q_OS_WIN)
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(pid));
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED;
    DWORD code = 0;
    const bool running = GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
    CloseHandle(process);
    return running;
#else
    Q_UNUSED(pid);
    return true;
#endif
}

// QSaveFile writes beside its target under the target's name plus a dot and
// six random characters.
void removeHalfWritten(const QString &target)
{
    const QFileInfo info(target);
    const QRegularExpression temporary(QStringLiteral("^") + QRegularExpression::escape(info.fileName())
                                       + QStringLiteral("\\.[A-Za-z0-9]{6}$"));
    QDir dir = info.absoluteDir();
    for (const QString &name : dir.entryList({info.fileName() + QStringLiteral(".*")}, QDir::Files | QDir::Hidden))
        if (temporary.match(name).hasMatch())
            dir.remove(name);
}

} // namespace

toolFolder::toolFolder(const toolAccount &account)
    : m_dir(QDir::tempPath() + QLatin1Char('/') + folderPrefix + QString::number(QCoreApplication::applicationPid())
            + QStringLiteral("-XXXXXX"))
    , m_account(account)
{
    if (!m_dir.isValid()) {
        m_error = QStringLiteral("无法在临时文件夹“%1”建立工作文件夹：%2").arg(QDir::tempPath(), m_dir.errorString());
        return;
    }
    // QTemporaryDir made the folder the owner's alone; the file gets the same
    // before anything is written into it.
    QFile file(optionFile());
    if (!file.open(QIODevice::WriteOnly)
        || !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        m_error = QStringLiteral("无法写入工作文件“%1”：%2").arg(optionFile(), file.errorString());
        return;
    }
    QByteArray text("[client]\n");
    // Left out when empty, like the -p argument before it: an empty value
    // would be a password too.
    if (!account.password.isEmpty())
        text += "password=" + quotedOption(account.password) + '\n';
    if (file.write(text) != text.size() || !file.flush())
        m_error = QStringLiteral("无法写入工作文件“%1”：%2").arg(optionFile(), file.errorString());
}

toolFolder::~toolFolder() = default; // QTemporaryDir removes the folder

QString toolFolder::optionFile() const
{
    return m_dir.filePath(optionName);
}

QStringList toolFolder::arguments() const
{
    return {QStringLiteral("--defaults-extra-file=") + optionFile(), QStringLiteral("-u"), m_account.user,
            QStringLiteral("-h"), m_account.host};
}

void toolFolder::noteWriting(const QString &target)
{
    QFile note(m_dir.filePath(writingName));
    if (note.open(QIODevice::WriteOnly))
        note.write(QFileInfo(target).absoluteFilePath().toUtf8());
}

void toolFolder::doneWriting()
{
    QFile::remove(m_dir.filePath(writingName));
}

void toolFolder::removeLeftovers()
{
    QDir temp(QDir::tempPath());
    const QRegularExpression name(QStringLiteral("^") + folderPrefix + QStringLiteral("(\\d+)-[A-Za-z0-9]{6}$"));
    for (const QString &entry : temp.entryList({folderPrefix + QStringLiteral("*")}, QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QRegularExpressionMatch match = name.match(entry);
        if (!match.hasMatch())
            continue;
        const qint64 pid = match.captured(1).toLongLong();
        if (pid == QCoreApplication::applicationPid() || isRunning(pid))
            continue;
        QDir folder(temp.filePath(entry));
        QFile note(folder.filePath(writingName));
        if (note.open(QIODevice::ReadOnly))
            removeHalfWritten(QString::fromUtf8(note.readAll()));
        note.close();
        folder.removeRecursively();
    }
}

QString toolProgram(const QString &name)
{
    const QString beside = QStandardPaths::findExecutable(name, {QCoreApplication::applicationDirPath()});
    if (!beside.isEmpty())
        return beside;
    const QString onPath = QStandardPaths::findExecutable(name);
    return onPath.isEmpty() ? name : onPath;
}

QString toolProblem(const QString &toolName, const QByteArray &errorOutput)
{
    return QStringLiteral("%1报告错误：\n%2").arg(toolName, mysqlTools::toolMessage(errorOutput));
}
