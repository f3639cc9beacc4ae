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

    // Where the generator's files are: architecture-independent resources and the programs that
    // creation copies into bundles (launch program, helper app, messaging host, tool stand-ins).
    struct GeneratorFolders
    {
        QString resources;
        QString programs;
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
    // The programs creation copies into bundles; the resources folder unless set apart.
    QString programsFolder() const { return m_programs.isEmpty() ? m_folders.resources : m_programs; }
    void setProgramsFolder(const QString &folder) { m_programs = folder; }
    // The user's chosen applications folder (`applicationsPath`), else the platform's default.
    QString applicationsFolder() const;

    // The version this build of Sorvane carries (the CMake project version).
    static QString buildVersion();
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

    // Where the generator's files are, found from the running program so that a moved install
    // still finds its own: $SORVANE_RESOURCES_DIR (both kinds in one folder); the prefix's
    // share/sorvane and libexec/sorvane, relative to bin/; a macOS bundle's Resources; or, for a
    // program in a build tree, the tree's resources/ folder (source resources plus the built
    // programs), found beside the tree's CMakeCache.txt.
    static GeneratorFolders locateGeneratorFolders();
    static QString locateResources() { return locateGeneratorFolders().resources; }

private:
    Folders m_folders;
    QString m_programs;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<NotificationCenter> m_notifications;
    std::unique_ptr<Clock> m_clock;
    std::unique_ptr<ProcessRunner> m_processes;
    std::unique_ptr<Trash> m_trash;
    std::unique_ptr<Prompter> m_prompter;
};
