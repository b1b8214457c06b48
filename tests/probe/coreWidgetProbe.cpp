// Compiled against the core library's usage requirements only. It must not
// compile: a widget in the core would tie every tool and test that links the
// core to a display.
#include <QMessageBox>

int probe() { return QMessageBox::Ok; }
