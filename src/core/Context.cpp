#include "core/Context.h"

#include "core/Clock.h"
#include "core/Constants.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/Prompter.h"
#include "core/Trash.h"
#include "core/UserDefaults.h"

#include "SorvaneVersion.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

Context *sharedContext = nullptr;
std::unique_ptr<Context> ownedSharedContext;

// Without anyone to ask, every question is cancelled and errors are logged.
class UnattendedPrompter final : public Prompter
{
public:
    int ask(const QString &message, const QString &, const QStringList &) override
    {
        Logger::log(message);
        return -1;
    }
    void showError(const QString &message) override { Logger::log(message); }
};

} // namespace

Context::Context(const Folders &folders, std::unique_ptr<UserDefaults> defaults)
    : m_folders(folders)
    , m_defaults(std::move(defaults))
    , m_notifications(std::make_unique<NotificationCenter>())
    , m_clock(std::make_unique<Clock>())
    , m_processes(std::make_unique<ProcessRunner>())
    , m_trash(std::make_unique<Trash>())
    , m_prompter(std::make_unique<UnattendedPrompter>())
{
}

Context::~Context()
{
    if (sharedContext == this)
        sharedContext = nullptr;
}

std::unique_ptr<Context> Context::createDefault()
{
    Folders folders;
    folders.home = QDir::homePath();
    const QString dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    folders.support = (dataHome.isEmpty() ? folders.home : dataHome) + u'/' + Constants::SupportFolderName;
    const GeneratorFolders generator = locateGeneratorFolders();
    folders.resources = generator.resources;
    auto context = std::make_unique<Context>(folders, std::make_unique<UserDefaults>());
    context->setProgramsFolder(generator.programs);
    return context;
}

Context &Context::shared()
{
    if (!sharedContext) {
        ownedSharedContext = createDefault();
        sharedContext = ownedSharedContext.get();
    }
    return *sharedContext;
}

void Context::setShared(Context *context)
{
    sharedContext = context;
}

QString Context::applicationsFolder() const
{
    const QString chosen = m_defaults->stringForKey(QStringLiteral("applicationsPath"));
    if (!chosen.isEmpty())
        return chosen;
    return Platform::defaultApplicationsFolder(m_folders.home);
}

QString Context::buildVersion()
{
    return QStringLiteral(SORVANE_VERSION);
}

QString Context::version() const
{
    return buildVersion();
}

QString Context::bundleIdentifier() const
{
    return Constants::SorvaneBundleIdentifier;
}

void Context::setClock(std::unique_ptr<Clock> clock)
{
    m_clock = std::move(clock);
}

void Context::setProcessRunner(std::unique_ptr<ProcessRunner> runner)
{
    m_processes = std::move(runner);
}

void Context::setTrash(std::unique_ptr<Trash> trash)
{
    m_trash = std::move(trash);
}

void Context::setPrompter(std::unique_ptr<Prompter> prompter)
{
    m_prompter = std::move(prompter);
}

std::unique_ptr<Prompter> Context::exchangePrompter(std::unique_ptr<Prompter> prompter)
{
    std::swap(m_prompter, prompter);
    return prompter;
}

Context::GeneratorFolders Context::locateGeneratorFolders()
{
    const QString fromEnvironment = qEnvironmentVariable("SORVANE_RESOURCES_DIR");
    if (!fromEnvironment.isEmpty())
        return {fromEnvironment, fromEnvironment};
    if (!QCoreApplication::instance())
        return {};
    const auto hasEngineScript = [](const QString &folder) {
        return QFileInfo(folder + QStringLiteral("/createEngine.sh")).isFile();
    };
    const QDir programDir(QCoreApplication::applicationDirPath());
    // Relative to bin/, as the install rules placed them.
    const GeneratorFolders installed{QDir::cleanPath(programDir.filePath(QStringLiteral(SORVANE_INSTALLED_RESOURCES))),
                                     QDir::cleanPath(programDir.filePath(QStringLiteral(SORVANE_INSTALLED_PROGRAMS)))};
    if (hasEngineScript(installed.resources))
        return installed;
    const QString bundled = QDir::cleanPath(programDir.filePath(QStringLiteral("../Resources")));
    if (hasEngineScript(bundled))
        return {bundled, bundled};
    // Build-tree programs sit one or two folders below the tree's top (apps/cli, tests/core, bench).
    QDir tree = programDir;
    for (int level = 0; level < 3; ++level) {
        const QString resources = tree.filePath(QStringLiteral("resources"));
        if (tree.exists(QStringLiteral("CMakeCache.txt")) && hasEngineScript(resources))
            return {resources, resources};
        if (!tree.cdUp())
            break;
    }
    // Nothing found: the installed places, so that errors name where the files were expected.
    return installed;
}
