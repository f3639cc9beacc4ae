#include "core/NotificationCenter.h"

#include <QThread>

NotificationCenter::NotificationCenter(QObject *parent)
    : QObject(parent)
{
}

void NotificationCenter::post(const QString &name, const QVariantMap &userInfo)
{
    if (QThread::currentThread() == thread()) {
        Q_EMIT posted(name, userInfo);
        return;
    }
    QMetaObject::invokeMethod(this, [this, name, userInfo] { Q_EMIT posted(name, userInfo); },
                              Qt::QueuedConnection);
}

QMetaObject::Connection NotificationCenter::addObserver(const QString &name, QObject *context,
                                                        Observer observer)
{
    return connect(this, &NotificationCenter::posted, context,
                   [name, observer = std::move(observer)](const QString &posted, const QVariantMap &info) {
                       if (posted == name)
                           observer(info);
                   });
}
