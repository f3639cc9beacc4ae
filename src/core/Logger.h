#pragma once

#include <QString>

#include <functional>

// The one logger for diagnostic lines. Lines go to standard output by default; the command line
// moves them to standard error when it prints JSON and hides them with --quiet. Tests install a
// handler to read what was logged.
class Logger final
{
public:
    enum class Sink { StandardOutput, StandardError, Silent };
    using Handler = std::function<void(const QString &line)>;

    static void log(const QString &line);

    static void setSink(Sink sink);
    // Replaces the sink while set; pass an empty handler to go back to the sink.
    static void setHandler(Handler handler);
};
