#include "MessageChannel.h"

#include <cstring>

MessageChannel::MessageChannel(std::FILE *input, std::FILE *output) : m_input(input), m_output(output) {}

MessageChannel::ReadStatus MessageChannel::read(QByteArray *message)
{
    unsigned char header[sizeof(std::uint32_t)];
    const std::size_t headerRead = std::fread(header, 1, sizeof header, m_input);
    if (headerRead == 0)
        return ReadStatus::EndOfInput;
    if (headerRead != sizeof header)
        return ReadStatus::Broken;

    std::uint32_t length = 0;
    std::memcpy(&length, header, sizeof length);
    if (length > MaximumMessageSize)
        return ReadStatus::Broken;

    message->resize(static_cast<qsizetype>(length));
    if (length > 0 && std::fread(message->data(), 1, length, m_input) != length)
        return ReadStatus::Broken;
    return ReadStatus::Message;
}

bool MessageChannel::write(const QByteArray &message)
{
    if (static_cast<std::size_t>(message.size()) > MaximumMessageSize)
        return false;
    const auto length = static_cast<std::uint32_t>(message.size());
    unsigned char header[sizeof length];
    std::memcpy(header, &length, sizeof length);
    return std::fwrite(header, 1, sizeof header, m_output) == sizeof header &&
           std::fwrite(message.constData(), 1, length, m_output) == length && std::fflush(m_output) == 0;
}
