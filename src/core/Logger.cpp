#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

#include <cstdio>

namespace {

QMutex mutex;
Logger::Sink currentSink = Logger::Sink::StandardOutput;
Logger::Handler currentHandler;
QString logFile;
bool echoWarnings = false;
constexpr qint64 RotationSize = 1024 * 1024;

void appendToLogFile(const QByteArray &bytes)
{
    if (logFile.isEmpty())
        return;
    if (QFileInfo(logFile).size() >= RotationSize) {
        QFile::remove(logFile + QStringLiteral(".1"));
        QFile::rename(logFile, logFile + QStringLiteral(".1"));
    }
    QFile file(logFile);
    // Each line in one append, so that lines of processes logging at once never mix.
    if (file.open(QIODevice::Append | QIODevice::Unbuffered))
        file.write(bytes + '\n');
}

} // namespace

void Logger::log(const QString &line)
{
    QMutexLocker locker(&mutex);
    if (currentHandler) {
        currentHandler(line);
        return;
    }
    const QByteArray bytes = line.toUtf8();
    appendToLogFile(bytes);
    if (currentSink == Sink::Silent && !(echoWarnings && isWarning(line)))
        return;
    FILE *stream = currentSink == Sink::StandardOutput ? stdout : stderr;
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

void Logger::setSink(Sink sink)
{
    QMutexLocker locker(&mutex);
    currentSink = sink;
}

void Logger::setHandler(Handler handler)
{
    QMutexLocker locker(&mutex);
    currentHandler = std::move(handler);
}

void Logger::setLogFile(const QString &path)
{
    QMutexLocker locker(&mutex);
    logFile = path;
    if (!path.isEmpty())
        QDir().mkpath(QFileInfo(path).path());
}

void Logger::setEchoWarnings(bool echo)
{
    QMutexLocker locker(&mutex);
    echoWarnings = echo;
}

bool Logger::isWarning(const QString &line)
{
    return line.startsWith(QStringLiteral("\u26a0"));
}

bool Logger::fail(QString *error, const QString &reason)
{
    log(reason);
    if (error)
        *error = reason;
    return false;
}
