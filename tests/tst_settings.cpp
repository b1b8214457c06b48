// The settings file: GB18030 bytes on disk, compatible with files that other
// programs (and earlier installations) wrote, and key spelling rules.
#include "appSettings.h"
#include "gbText.h"
#include "testSupport.h"

#include <QFile>
#include <QtTest>

class tst_settings : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }
    void init() { testSupport::removeSettingsFile(); }

    void writtenAsGb18030Bytes();
    void readsFileWrittenElsewhere_data();
    void readsFileWrittenElsewhere();
    void leadingSlashIsTheSameKey_data();
    void leadingSlashIsTheSameKey();
};

static QByteArray rawFile()
{
    QFile file(testSupport::settingsPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

static void writeRaw(const QByteArray &bytes)
{
    QFile file(testSupport::settingsPath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

void tst_settings::writtenAsGb18030Bytes()
{
    // Raw bytes, as another program or an earlier installation reads them;
    // Chinese key names are %U-escaped by the settings library.
    {
        auto settings = appSettings::open();
        settings->setValue("Register/Company", QString("城关区房屋租赁管理所"));
        settings->setValue("LoginUser/李四", 1);
    }
    const QByteArray bytes = rawFile();
    QVERIFY(bytes.contains("[Register]"));
    QVERIFY2(bytes.contains("Company=" + gbText::encode("城关区房屋租赁管理所")), bytes.constData());
    QVERIFY2(bytes.contains("[LoginUser]\n%U674E%U56DB=1"), bytes.constData());
    QCOMPARE(appSettings::path(), QCoreApplication::applicationDirPath() + "/ZELNOR.ini");
}

void tst_settings::readsFileWrittenElsewhere_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");
    const QByteArray company = gbText::encode("东城房管所");
    QTest::newRow("chinese value") << QByteArray("[Register]\r\nCompany=" + company + "\r\nRegion=110101\r\n")
                                   << "Register/Company" << "东城房管所";
    // Chinese key names are stored %U-escaped by the settings library.
    QTest::newRow("remembered operator") << QByteArray("[LoginUser]\n%U5F20%U4E09=1\n")
                                         << "LoginUser/张三" << "1";
    QTest::newRow("quoted command") << QByteArray("[Server]\nBinDir=\"\\\"/opt/my sql/bin/mysqld\\\" --x\"\n")
                                    << "Server/BinDir" << "\"/opt/my sql/bin/mysqld\" --x";
}

void tst_settings::readsFileWrittenElsewhere()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, key);
    QFETCH(QString, expected);
    writeRaw(file);
    QCOMPARE(appSettings::open()->value(key).toString(), expected);
}

void tst_settings::leadingSlashIsTheSameKey_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("read");
    QTest::newRow("slash written") << "/ZELNOR/Price" << "ZELNOR/Price";
    QTest::newRow("slash read") << "ZELNOR/Price" << "/ZELNOR/Price";
}

void tst_settings::leadingSlashIsTheSameKey()
{
    QFETCH(QString, written);
    QFETCH(QString, read);
    appSettings::open()->setValue(written, 150);
    QCOMPARE(appSettings::open()->value(read, 120).toInt(), 150);
    QCOMPARE(rawFile().count("Price="), 1);
}

QTEST_MAIN(tst_settings)
#include "tst_settings.moc"
