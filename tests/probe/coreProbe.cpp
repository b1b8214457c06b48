// The control for coreWidgetProbe.cpp: what the core may use (painting,
// SQL, settings) compiles with the same usage requirements, so a refusal of
// the widget probe means the widget header, not a broken setup.
#include <QPainter>
#include <QPdfWriter>
#include <QSettings>
#include <QSqlQuery>

int probe() { return QSqlQuery().isActive() ? 1 : 0; }
