#include "desktopFit.h"
#include "gbText.h"
#include "mainWindow.h"
#include "toolFolder.h"

#include <QApplication>
#include <QTextCodec>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ZELNOR"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.2.1"));
    desktopFit::installQtTranslations(&app);
    // Sources are UTF-8 and Qt 5 reads literals as UTF-8. GB18030 is used
    // explicitly where files and account names need it (gbText); making it
    // the locale codec here would encode file names and process arguments in
    // GB18030 on a UTF-8 system.
#ifdef Q_OS_WIN
    QTextCodec::setCodecForLocale(gbText::codec());
#endif
    // A run that ended without tidying up (a crash, a power cut) may have
    // left the tools' password file or a half-written backup behind.
    toolFolder::removeLeftovers();
    mainWindow window; // destroyed before the application object, being declared after it
    window.show();
    return app.exec();
}
