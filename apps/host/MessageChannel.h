#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdio>

// The native-messaging framing on a pair of streams: each message is a 32-bit length in the
// machine's byte order followed by that many bytes of UTF-8 JSON.
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

    MessageChannel(std::FILE *input, std::FILE *output);

    ReadStatus read(QByteArray *message);
    // Writes one framed message and flushes it; false when it is too large or the stream failed.
    bool write(const QByteArray &message);

private:
    std::FILE *m_input;
    std::FILE *m_output;
};
