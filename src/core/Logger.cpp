#include "core/Logger.h"

#include <QMutex>
#include <QMutexLocker>

#include <cstdio>

namespace {

QMutex mutex;
Logger::Sink currentSink = Logger::Sink::StandardOutput;
Logger::Handler currentHandler;

} // namespace

void Logger::log(const QString &line)
{
    QMutexLocker locker(&mutex);
    if (currentHandler) {
        currentHandler(line);
        return;
    }
    if (currentSink == Sink::Silent)
        return;
    FILE *stream = currentSink == Sink::StandardError ? stderr : stdout;
    const QByteArray bytes = line.toUtf8();
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
