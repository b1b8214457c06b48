// Where the program finds its settings and data files, run from a build
// folder or installed. The installed tree is made by the real install rules
// (`cmake --install` into a scratch prefix), so install rules and lookup
// cannot drift apart unnoticed.
#include "installPaths.h"
#include "testSupport.h"

#include <QtTest>
#include <sys/mount.h>

class tst_installPaths : public QObject
{
    Q_OBJECT
    QTemporaryDir m_prefix; // the installed tree
    QTemporaryDir m_home;   // HOME and the configuration folders of this run
    QString m_programFolder; // where the install rules put the program
    QString m_dataFolder;    // and its data files

    static QString sourceOf(const QString &name)
    {
        return QStringLiteral(ZELNOR_SOURCE_DIR) + (name == "datamodel.sql" ? "/sql/" : "/data/") + name;
    }

private slots:
    void initTestCase()
    {
        QCoreApplication::setApplicationName(QStringLiteral("ZELNOR"));
        // Never the real user's configuration folder.
        qputenv("HOME", m_home.path().toLocal8Bit());
        qunsetenv("XDG_CONFIG_HOME");

        QProcess install;
        install.setProcessChannelMode(QProcess::MergedChannels);
        install.start(QStringLiteral("cmake"),
                      {"--install", QStringLiteral(ZELNOR_BINARY_DIR), "--prefix", m_prefix.path()});
        QVERIFY(install.waitForFinished(120000));
        QVERIFY2(install.exitStatus() == QProcess::NormalExit && install.exitCode() == 0,
                 install.readAll().constData());

        // The program is installed beside its server script; the launcher
        // relies on that too.
        QDirIterator it(m_prefix.path(), {"local-server"}, QDir::Files, QDirIterator::Subdirectories);
        QVERIFY(it.hasNext());
        m_programFolder = QFileInfo(it.next()).absolutePath();
        QVERIFY(QFileInfo(m_programFolder + "/zelnor").isExecutable());
        QDirIterator data(m_prefix.path(), {"datamodel.sql"}, QDir::Files, QDirIterator::Subdirectories);
        QVERIFY(data.hasNext());
        m_dataFolder = QFileInfo(data.next()).absolutePath();
    }

    void cleanup()
    {
        installPaths::setSettingsFolder(QString());
        installPaths::setDataFolder(QString());
        qunsetenv("XDG_CONFIG_HOME");
    }

    // The GB18030 texts arrive byte for byte where the installed program looks.
    void installedDataFiles_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("datamodel.sql") << "datamodel.sql";
        QTest::newRow("fieldtype.txt") << "fieldtype.txt";
        QTest::newRow("readme.txt") << "readme.txt";
    }
    void installedDataFiles()
    {
        QFETCH(QString, name);
        QVERIFY(installPaths::isInstalledProgramFolder(m_programFolder));
        QCOMPARE(installPaths::dataFolder(m_programFolder), m_dataFolder);
        const QByteArray source = testSupport::readFile(sourceOf(name));
        QVERIFY(!source.isEmpty());
        QCOMPARE(testSupport::readFile(m_dataFolder + "/" + name), source);
    }

    // The working folder first, then the installed data folder.
    void dataFileLookup_data()
    {
        QTest::addColumn<QString>("inWorkingFolder"); // "file", "folder" or ""
        QTest::addColumn<bool>("installedHidden");    // the tests' stand-in for "nothing installed"
        QTest::addColumn<QString>("expected");        // "working" or "installed"
        QTest::newRow("only installed") << "" << false << "installed";
        QTest::newRow("a copy in the working folder wins") << "file" << false << "working";
        QTest::newRow("a folder of that name is no file") << "folder" << false << "installed";
        QTest::newRow("nowhere: the working folder's name, reported missing") << "" << true << "working";
        QTest::newRow("only in the working folder") << "file" << true << "working";
    }
    void dataFileLookup()
    {
        QFETCH(QString, inWorkingFolder);
        QFETCH(bool, installedHidden);
        QFETCH(QString, expected);
        QTemporaryDir working, empty;
        const QString here = working.path() + "/readme.txt";
        if (inWorkingFolder == "file") {
            QFile file(here);
            QVERIFY(file.open(QIODevice::WriteOnly));
        } else if (inWorkingFolder == "folder") {
            QVERIFY(QDir().mkpath(here));
        }
        if (installedHidden)
            installPaths::setDataFolder(empty.path());
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(working.path()));
        const QString found = installPaths::dataFile("readme.txt", m_programFolder);
        QDir::setCurrent(before);
        QCOMPARE(found, expected == "working" ? here : m_dataFolder + "/readme.txt");
    }

    void settingsFolder_data()
    {
        QTest::addColumn<QString>("program");  // "installed", "build", "named zelnor", "read-only"
        QTest::addColumn<QString>("xdgConfig"); // relative to the scratch home, empty for unset
        QTest::addColumn<QString>("expected");  // "beside" or relative to the scratch home
        QTest::newRow("build folder: beside the program") << "build" << "" << "beside";
        QTest::newRow("installed, though writable: the user's folder") << "installed" << "" << ".config/zelnor";
        QTest::newRow("installed, XDG_CONFIG_HOME set") << "installed" << "xdg" << "xdg/zelnor";
        QTest::newRow("a folder merely named zelnor is no installation") << "named zelnor" << "" << "beside";
        QTest::newRow("read-only program folder: the user's folder") << "read-only" << "" << ".config/zelnor";
    }
    void settingsFolder()
    {
        QFETCH(QString, program);
        QFETCH(QString, xdgConfig);
        QFETCH(QString, expected);
        QTemporaryDir scratch;
        QString folder = m_programFolder;
        if (program == "build") {
            folder = scratch.path() + "/build";
        } else if (program == "named zelnor") {
            folder = scratch.path() + "/bin/zelnor";
        } else if (program == "read-only") {
            folder = scratch.path() + "/ro";
        }
        QVERIFY(QDir().mkpath(folder));
        // Permissions do not stop root, which the test machines run as; a
        // read-only file system stops everyone.
        if (program == "read-only" && ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", MS_RDONLY, "") != 0)
            QSKIP("cannot mount a read-only folder here");
        if (!xdgConfig.isEmpty())
            qputenv("XDG_CONFIG_HOME", (m_home.path() + "/" + xdgConfig).toLocal8Bit());

        const QString found = installPaths::settingsFolder(folder);
        if (program == "read-only")
            ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH);
        QCOMPARE(found, expected == "beside" ? folder : m_home.path() + "/" + expected);
        // A first write must not fail for want of the folder.
        QVERIFY(QFileInfo(found).isDir());
    }

    // This program runs from its build folder: the settings file is beside it,
    // and the automatic backups beside the settings file.
    void settingsFileAndBackups()
    {
        QCOMPARE(installPaths::settingsFile(), QCoreApplication::applicationDirPath() + "/ZELNOR.ini");

        QTemporaryDir scratch;
        installPaths::setSettingsFolder(scratch.path());
        QCOMPARE(installPaths::settingsFile(), scratch.path() + "/ZELNOR.ini");
        // A folder left open to others by an earlier version is closed again.
        QVERIFY(QDir().mkpath(scratch.path() + "/backups"));
        QVERIFY(QFile::setPermissions(scratch.path() + "/backups", QFile::ReadOwner | QFile::WriteOwner
                                          | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        QCOMPARE(installPaths::backupFolder(), scratch.path() + "/backups");
        QCOMPARE(QFileInfo(scratch.path() + "/backups").permissions()
                     & (QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::WriteGroup
                        | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
};

QTEST_GUILESS_MAIN(tst_installPaths)
#include "tst_installPaths.moc"
