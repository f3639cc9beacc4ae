#pragma once

#include <string>

// Where a generated app tells its user what went wrong at a start: a line in the app's own log
// and, where a desktop session is there to show one, a notification. Either may be missing; the
// report never blocks the app's next start.
class AppLog final
{
public:
    // The log of the app called `appName`: on Linux $XDG_STATE_HOME/Sorvane/apps/<name>.log
    // (~/.local/state when unset), on macOS ~/Library/Logs/Sorvane/<name>.log.
    static std::string logPath(const std::string &appName);
    // The app's name from its bundle path: ".../Mail.app" -> "Mail".
    static std::string appNameOf(std::string bundlePath);
    // Appends "<time> <message>" to the app's log (folders made as needed) and shows `message`
    // as a desktop notification titled `appName` when one can be shown.
    static void report(const std::string &appName, const std::string &message);
    // Only the log line, for what a user may look up but need not be told at once.
    static void write(const std::string &appName, const std::string &message);
    // The app's log opened for appending (and reading back), for a program's whole output:
    // folders made as needed, rotated first. -1 when it cannot be opened.
    static int openForAppend(const std::string &appName);
    // A desktop notification titled `title`, when a session is there to show one.
    static void notify(const std::string &title, const std::string &message);

    // A log this large moves aside to "<log>.1" (replacing an older one) before more is written.
    static constexpr long long RotationBytes = 1024 * 1024;
};
