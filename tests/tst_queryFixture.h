#ifndef TST_QUERYFIXTURE_H
#define TST_QUERYFIXTURE_H

// What the browse and search tests share: one logged-in main window for the
// whole program, empty lease tables before each test, no forms left after it.
#include "mainWindow.h"
#include "testSupport.h"

#include <QCoreApplication>
#include <QMdiArea>

namespace queryFixture {

inline mainWindow *start()
{
    testSupport::initApplication();
    testSupport::resetDatabase();
    return testSupport::login();
}

inline void clearLeases()
{
    for (const char *table : {"lease", "leaseout", "leasein", "leasehouse"})
        testSupport::exec(QStringLiteral("DELETE FROM ") + QLatin1String(table));
}

inline void closeForms(mainWindow *window)
{
    window->mdiArea()->closeAllSubWindows();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace queryFixture

#endif
