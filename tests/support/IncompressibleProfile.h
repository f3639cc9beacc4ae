#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QString>

// Fills the profile folder `folder` with `megabytes` files of 1 MB of random bytes, which no copy
// or compression can shortcut: the weight of a profile people have used for a while.
inline bool fillProfile(const QString &folder, int megabytes)
{
    QByteArray block(1 << 20, Qt::Uninitialized);
    if (!QDir().mkpath(folder + QStringLiteral("/Default/IndexedDB")))
        return false;
    for (int i = 0; i < megabytes; ++i) {
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
        QFile file(folder + QStringLiteral("/Default/IndexedDB/%1.blob").arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(block) != block.size())
            return false;
    }
    return true;
}
