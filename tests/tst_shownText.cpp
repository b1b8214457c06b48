// Texts as the operator meets them: how the mysql tools' complaints read in a
// box, and the help text in its window.
#include "gbText.h"
#include "mainWindow.h"
#include "mysqlTools.h"
#include "testSupport.h"

#include <QtTest>
#include <QtWidgets>

// Columns a line takes on screen: a CJK character two, anything else one.
static int columns(const QString &line)
{
    int n = 0;
    for (const QChar c : line)
        n += c.unicode() >= 0x1100 ? 2 : 1;
    return n;
}

class tst_shownText : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { testSupport::initApplication(); }

    void toolMessage_data()
    {
        QTest::addColumn<QByteArray>("said"); // the tool's error output, bytes as written
        QTest::addColumn<QString>("shown");
        const QByteArray syntax = "ERROR 1064 (42000) at line 1: You have an error in your SQL syntax; check the manual that "
                                  "corresponds to your MariaDB server version for the right syntax to use near '";
        QTest::newRow("Chinese in a table name") << QByteArray("ERROR 1146 (42S02) at line 3: Table 'zelnor.租赁' doesn't exist\n")
                                                 << "第3行：Table 'zelnor.租赁' doesn't exist（ERROR 1146）";
        QTest::newRow("MySQL's syntax wording")
            << QByteArray("ERROR 1064 (42000) at line 7: You have an error in your SQL syntax; check the manual that "
                          "corresponds to your MySQL server version for the right syntax to use near '备份' at line 1")
            << "第7行：句法错误，请检查“备份”。（ERROR 1064）";
        // A file that is not text: its bytes come back inside the quotation,
        // over several lines; what is not a character is left out, and the
        // line is cut where a box would still show it whole.
        QTest::newRow("bytes of a file that is not a backup")
            << syntax + QByteArray("\x1f\x8b\x08\xff\xfe\x01\r\nBINARY\x02\x03 data that goes on and on and on past the edge ")
                   + QByteArray(40, 'x') + "' at line 1\n"
            << "第1行：句法错误，请检查“ BINARY data that goes on and on and on past …";
        QTest::newRow("first lines and a count of the rest")
            << QByteArray("line one\n\nline two\n--------------\nSELECT 'echoed'\n--------------\nline three\n"
                          "line four\nline five\n")
            << "line one\nline two\nline three\n（另有2行未显示）";
        QTest::newRow("a warning is not the reason")
            << QByteArray("mysqldump: [Warning] Using a password on the command line interface can be insecure.\n"
                          "mysqldump: Got error: 1045: \"Access denied for user 'x'@'localhost' (using password: YES)\" "
                          "when trying to connect\n")
            << "mysqldump: Got error: 1045: \"Access denied for user 'x'@'localhost' (u…";
        QTest::newRow("nothing said") << QByteArray("\n \n") << "";
    }
    void toolMessage()
    {
        QFETCH(QByteArray, said);
        const QString shown = mysqlTools::toolMessage(said);
        QTEST(shown, "shown");
        for (const QString &line : shown.split('\n'))
            QVERIFY2(columns(line) <= 72, qPrintable(line));
    }

    // The real client, in a process whose locale is not UTF-8 (a service
    // started with LANG=C): its Chinese still reads as Chinese.
    void toolMessageOfTheRealClient()
    {
        testSupport::resetDatabase();
        QTemporaryDir dir;
        QFile script(dir.filePath("not-a-backup.sql"));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("SELECT * FROM 不存在的表;\n");
        script.close();
        QTextCodec *locale = QTextCodec::codecForLocale();
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        QString problem;
        const bool ran = mysqlTools::runScript(myDatabase().credentials(), script.fileName(), &problem);
        QTextCodec::setCodecForLocale(locale);
        QVERIFY(!ran);
        QCOMPARE(problem, QString("mysql客户端程序报告错误：\n第1行：Table 'zelnor.不存在的表' doesn't exist（ERROR 1146）"));
    }

    // F1's text: GB18030, numbered sections in order, every line whole in its
    // 550 x 350 window, and what a new office needs on its first day, also
    // where the region code and the office name are set, since the program
    // has no dialog for them. Without the file the status bar says so.
    void helpText()
    {
        QFile file("readme.txt");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        const QString text = gbText::decode(bytes);
        QCOMPARE(gbText::encode(text), bytes); // nothing lost to a wrong encoding
        QVERIFY(!text.contains(QChar::ReplacementCharacter));

        const QStringList numbers{"一", "二", "三", "四", "五", "六", "七", "八", "九", "十"};
        QStringList heads;
        for (const QString &line : text.split('\n'))
            if (line.contains(QRegularExpression("^[一二三四五六七八九十]+、")))
                heads << line.section("、", 0, 0);
        QCOMPARE(heads, numbers.mid(0, heads.size()));
        for (const QString &needed : {"地区代码", "580213", "操作员管理", "打印控制", "数据字段维护", "选择项目维护",
                                      "备份业务数据", "backups", "登记备案", "ZELNOR.ini", "[Register]", "Region=",
                                      "Company=", "单位名称"})
            QVERIFY2(text.contains(needed), qPrintable(needed));
        QVERIFY(!text.contains("记事本"));

        mainWindow window; // usable before login
        window.showMaximized();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        testSupport::menuAction(&window, "帮助说明")->trigger();
        auto *edit = qobject_cast<QTextEdit *>(window.mdiArea()->subWindowList().last()->widget());
        QVERIFY(edit && edit->isReadOnly());
        QCOMPARE(edit->toPlainText(), text);
        QCOMPARE(window.mdiArea()->subWindowList().last()->size(), QSize(550, 350));
        QVERIFY(QTest::qWaitForWindowExposed(edit));
        // No line of the text wraps in the window's width.
        for (QTextBlock block = edit->document()->begin(); block.isValid(); block = block.next()) {
            edit->document()->documentLayout()->blockBoundingRect(block); // lays the block out
            QVERIFY2(block.layout()->lineCount() == 1, qPrintable(block.text()));
        }

        QTemporaryDir elsewhere;
        const QString here = QDir::currentPath();
        const int windows = window.mdiArea()->subWindowList().size();
        QDir::setCurrent(elsewhere.path());
        window.slotHelp();
        QDir::setCurrent(here);
        QCOMPARE(window.mdiArea()->subWindowList().size(), windows);
        QCOMPARE(window.statusBar()->currentMessage(), QString("打开文件“readme.txt”失败。"));
    }
};

QTEST_MAIN(tst_shownText)
#include "tst_shownText.moc"
