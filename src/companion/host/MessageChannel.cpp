#include "companion/host/MessageChannel.h"

#include <QFileDevice>
#include <QIODevice>

#include <cstddef>
#include <cstring>

namespace {

// Reads until `size` bytes or the end of the input; a pipe may hand a message over in parts.
qint64 readFully(QIODevice &input, char *data, qint64 size)
{
    qint64 done = 0;
    for (qint64 got = 0; done < size && (got = input.read(data + done, size - done)) > 0;)
        done += got;
    return done;
}

} // namespace

MessageChannel::MessageChannel(QIODevice &input, QIODevice &output) : m_input(input), m_output(output) {}

MessageChannel::ReadStatus MessageChannel::read(QByteArray *message)
{
    char header[sizeof(std::uint32_t)];
    const qint64 headerRead = readFully(m_input, header, sizeof header);
    if (headerRead == 0)
        return ReadStatus::EndOfInput;
    if (headerRead != sizeof header)
        return ReadStatus::Broken;

    std::uint32_t length = 0;
    std::memcpy(&length, header, sizeof length);
    if (length > MaximumMessageSize)
        return ReadStatus::Broken;

    message->resize(static_cast<qsizetype>(length));
    if (readFully(m_input, message->data(), length) != length)
        return ReadStatus::Broken;
    return ReadStatus::Message;
}

bool MessageChannel::write(const QByteArray &message)
{
    if (static_cast<std::size_t>(message.size()) > MaximumMessageSize)
        return false;
    const auto length = static_cast<std::uint32_t>(message.size());
    QByteArray frame(sizeof length, Qt::Uninitialized);
    std::memcpy(frame.data(), &length, sizeof length);
    frame += message;
    if (m_output.write(frame) != frame.size())
        return false;
    auto *file = qobject_cast<QFileDevice *>(&m_output);
    return !file || file->flush();
}
