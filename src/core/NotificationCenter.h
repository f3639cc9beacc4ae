#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>

// Named notifications with an optional user-info dictionary. Observers are always called on the
// thread the centre lives on (the main thread), whichever thread posts.
class NotificationCenter final : public QObject
{
    Q_OBJECT
public:
    using Observer = std::function<void(const QVariantMap &userInfo)>;

    explicit NotificationCenter(QObject *parent = nullptr);

    void post(const QString &name, const QVariantMap &userInfo = {});

    // The observer lives as long as `context` does, or until the returned connection is cut.
    QMetaObject::Connection addObserver(const QString &name, QObject *context, Observer observer);

Q_SIGNALS:
    void posted(const QString &name, const QVariantMap &userInfo);
};
