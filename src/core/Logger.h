#pragma once

#include <QString>

#include <functional>

// The one logger for diagnostic lines. Lines go to standard output by default; the command line
// writes them to Sorvane's log file and shows them on standard error only when asked (--verbose),
// keeping the warnings, which the user must act on. Tests install a handler to read what was
// logged.
class Logger final
{
public:
    enum class Sink { StandardOutput, StandardError, Silent };
    using Handler = std::function<void(const QString &line)>;

    static void log(const QString &line);
    // Logs why something failed, hands the reason to the caller when it asked for it, and returns
    // false: the last line of a refusal.
    static bool fail(QString *error, const QString &reason);

    static void setSink(Sink sink);
    // Every line is appended to this file as well (folders made as needed); at 1 MB it is
    // rotated to "<file>.1". An empty path stops writing it.
    static void setLogFile(const QString &path);
    // Lines that begin with the warning sign also go to standard error when the sink is silent.
    static void setEchoWarnings(bool echo);
    static bool isWarning(const QString &line);
    // Replaces the sink while set; pass an empty handler to go back to the sink.
    static void setHandler(Handler handler);
};
