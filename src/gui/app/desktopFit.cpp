#include "desktopFit.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QLibraryInfo>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTableView>
#include <QTranslator>

namespace desktopFit {

bool installQtTranslations(QCoreApplication *app)
{
    // The user interface is Chinese whatever the session's locale says, so
    // the catalogue is chosen by name rather than by QLocale::system().
    auto *translator = new QTranslator(app);
    if (!translator->load(QStringLiteral("qtbase_zh_CN"),
                          QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    return QCoreApplication::installTranslator(translator);
}

void fitInside(QMdiSubWindow *sub)
{
    // Before the main window is first shown the area has no size of its own
    // yet (the login form opens then); it places that one at its top left.
    QMdiArea *area = sub->mdiArea();
    if (!area || !area->isVisible())
        return;
    const QRect visible = area->viewport()->rect();
    QRect frame = sub->geometry();
    frame.setWidth(qMin(frame.width(), visible.width()));
    frame.setHeight(qMin(frame.height(), visible.height()));
    // Keep the area's chosen place where it already fits; otherwise slide the
    // window back in from the right or the bottom.
    if (frame.right() > visible.right())
        frame.moveRight(visible.right());
    if (frame.bottom() > visible.bottom())
        frame.moveBottom(visible.bottom());
    frame.moveTopLeft(QPoint(qMax(frame.left(), visible.left()), qMax(frame.top(), visible.top())));
    sub->setGeometry(frame);
}

void setColumnWidths(QTableView *view, const QList<int> &widths)
{
    view->ensurePolished();
    for (int c = 0; c < widths.size(); ++c) {
        // The header text and the widest shown cell, each in the font in use
        // (QTableView hides the public sizeHintForColumn of its base).
        const int needed = qMax(view->horizontalHeader()->sectionSizeHint(c),
                                static_cast<QAbstractItemView *>(view)->sizeHintForColumn(c));
        view->setColumnWidth(c, qMax(widths.at(c), needed));
    }
}

} // namespace desktopFit
