#pragma once

#include <QByteArray>
#include <QString>

// Every file Sorvane writes into a bundle, its support folder or a profile goes through here:
// the data lands in a temporary file beside the target, which is then renamed over it, so a
// reader never sees half a file and a failed write leaves the old file as it was.
class AtomicWriter final
{
public:
    static bool write(const QString &path, const QByteArray &data, QString *error = nullptr);
};
