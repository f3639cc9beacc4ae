#pragma once

#include <QByteArray>

#include <cstdint>

class QIODevice;

// The native-messaging framing on a pair of open devices: each message is a 32-bit length in the
// machine's byte order followed by that many bytes of UTF-8 JSON. The host runs it on its standard
// input and output, opened unbuffered (a buffered read would wait for more input than one message
// while the browser waits for the reply); tests feed it from QBuffers.
class MessageChannel final
{
public:
    // The browser refuses anything larger from a host; larger input is taken as a broken stream.
    static constexpr std::uint32_t MaximumMessageSize = 1024 * 1024;

    enum class ReadStatus
    {
        Message,    // a whole message was read
        EndOfInput, // the browser closed the stream between two messages
        Broken,     // a truncated message or a length over the maximum; nothing more is read
    };

    MessageChannel(QIODevice &input, QIODevice &output);

    ReadStatus read(QByteArray *message);
    // Writes one framed message and flushes it; false when it is too large or the device failed.
    bool write(const QByteArray &message);

private:
    QIODevice &m_input;
    QIODevice &m_output;
};
