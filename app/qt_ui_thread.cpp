#include "app/qt_ui_thread.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace kvillo {

void QtUiThread::post(std::function<void()> work) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

}  // namespace kvillo
