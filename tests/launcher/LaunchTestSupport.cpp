#include "LaunchTestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace LaunchTest {

QString buildResources()
{
    return QStringLiteral(SORVANE_BUILD_RESOURCES);
}

QString compatTool(const QString &tool)
{
    return buildResources() + u"/compat/"_s + tool;
}

void writeExecutable(const QString &path, const QByteArray &text)
{
    writeFile(path, text, QFile::ExeOwner);
}

bool waitFor(const std::function<bool()> &condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(50);
    }
    return true;
}

QByteArray recordingScript(const QString &recordFile)
{
    // Written to a temporary name and moved, so a reader never sees half a record.
    return "#!/bin/sh\nprintf '%s\\0' \"$0\" \"$@\" > '" + recordFile.toUtf8() + ".tmp'\nmv '" +
           recordFile.toUtf8() + ".tmp' '" + recordFile.toUtf8() + "'\n";
}

QStringList recorded(const QString &recordFile)
{
    QByteArray data = readAll(recordFile);
    if (data.isEmpty())
        return {};
    data.chop(1);
    QStringList items;
    for (const QByteArray &item : data.split('\0'))
        items.append(QString::fromUtf8(item));
    return items;
}

} // namespace LaunchTest
