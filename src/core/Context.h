#pragma once

#include <QString>

#include <memory>

class Clock;
class NotificationCenter;
class ProcessRunner;
class Prompter;
class Trash;
class UserDefaults;

// Everything that touches the machine: folders, settings, notifications, the clock, processes,
// the Trash and questions to the user. Code that needs any of it is handed a Context, so a test
// can build one over temporary folders and never reach the real home folder or settings.
class Context final
{
public:
    struct Folders
    {
        QString home;
        QString support;   // Sorvane's per-user support folder (registry, per-app configurations)
        QString resources; // the generator's own resources (engine script, extension, templates)
    };

    Context(const Folders &folders, std::unique_ptr<UserDefaults> defaults);
    ~Context();
    Q_DISABLE_COPY_MOVE(Context)

    // This user's folders and settings.
    static std::unique_ptr<Context> createDefault();
    // The context shared by singleton-style entry points; created on first use unless one was set.
    static Context &shared();
    static void setShared(Context *context);

    QString homeFolder() const { return m_folders.home; }
    QString supportFolder() const { return m_folders.support; }
    QString resourcesFolder() const { return m_folders.resources; }
    // The user's chosen applications folder (`applicationsPath`), else the platform's default.
    QString applicationsFolder() const;

    QString version() const;
    QString bundleIdentifier() const;

    UserDefaults &defaults() const { return *m_defaults; }
    NotificationCenter &notifications() const { return *m_notifications; }
    Clock &clock() const { return *m_clock; }
    ProcessRunner &processes() const { return *m_processes; }
    Trash &trash() const { return *m_trash; }
    Prompter &prompter() const { return *m_prompter; }

    void setClock(std::unique_ptr<Clock> clock);
    void setProcessRunner(std::unique_ptr<ProcessRunner> runner);
    void setTrash(std::unique_ptr<Trash> trash);
    void setPrompter(std::unique_ptr<Prompter> prompter);
    // Installs `prompter` and hands back the one it replaces.
    std::unique_ptr<Prompter> exchangePrompter(std::unique_ptr<Prompter> prompter);

    // Where the generator's resources are: $SORVANE_RESOURCES_DIR, beside the installed program,
    // or the build tree's resources/ folder (source resources plus the built programs) for a
    // build that is not installed.
    static QString locateResources();

private:
    Folders m_folders;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<NotificationCenter> m_notifications;
    std::unique_ptr<Clock> m_clock;
    std::unique_ptr<ProcessRunner> m_processes;
    std::unique_ptr<Trash> m_trash;
    std::unique_ptr<Prompter> m_prompter;
};
