#include "GeneratedApp.h"

#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"
#include "generation/AppCreator.h"
#include "support/TestContext.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

// Command lines of the running processes, as /proc shows them (NULs between arguments).
QList<QByteArray> commandLines()
{
    QList<QByteArray> lines;
    const QStringList pids = QDir(u"/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &pid : pids) {
        bool number = false;
        pid.toInt(&number);
        if (number)
            lines.append(readAll(u"/proc/"_s + pid + u"/cmdline"_s));
    }
    return lines;
}

} // namespace

GeneratedApp::GeneratedApp(TestContext &test, const AppTraits &traits)
    : m_recordsFolder(test.root() + u"/engine-starts"_s),
      m_name(traits.name), m_bundle(test.root() + u"/Apps/"_s + traits.name + u".app"_s),
      m_environment(QProcessEnvironment::systemEnvironment())
{
    QDir().mkpath(m_recordsFolder);
    Context &context = test.context();
    context.defaults().setValue(BrowserCatalogue::byTypeKey(traits.typeKey).settingsKey,
                                traits.enginePath.isEmpty() ? QStringLiteral(SORVANE_FAKE_ENGINE) : traits.enginePath);
    AppDefinition definition;
    definition.appName = traits.name;
    definition.appURL = traits.url;
    definition.needTab = traits.tabbed;
    for (const QString &tab : traits.tabs)
        definition.tabsList.append(TabAddress(tab));
    definition.incognito = traits.incognito;
    definition.forceDarkMode = traits.dark;
    definition.engineSwitches = traits.engineSwitches;
    definition.isWhitelistingEnabled = traits.routing;
    definition.applicationType = BrowserCatalogue::numberForTypeKey(traits.typeKey);
    definition.applicationsPath = test.root() + u"/Apps"_s;
    // Straight to the creator: these apps hold what the definition checks refuse, to prove the
    // launcher safe with any configuration.
    AppCreator creator(context, context.prompter(), definition);
    QString error;
    if (!creator.create(WhenNameTaken::Ask, &error))
        ADD_FAILURE() << "the test app was not created: " << qPrintable(error);
    m_appId = creator.created().appID;
    m_script = QString::fromUtf8(readAll(resources() + u"/script"_s));
    if (!traits.firstStart)
        writeExecutable(profile() + u"/First Launch Complete"_s, {});

    m_environment.insert(u"SORVANE_FAKE_ENGINE_RECORDS"_s, m_recordsFolder);
    m_environment.insert(u"SORVANE_HELPER_GRACE_MS"_s, u"0"_s);
    m_environment.insert(u"XDG_STATE_HOME"_s, test.root() + u"/state"_s);
    m_environment.remove(u"DISPLAY"_s);
}

GeneratedApp::~GeneratedApp()
{
    stop();
}

Outcome GeneratedApp::start(const QStringList &arguments)
{
    const Outcome outcome = runProgram(launchProgram(), arguments, m_environment);
    // The helper the script started goes with the engine; until then it marks the app as running.
    if (!m_running)
        waitFor([&] { return !helperRunning(); }, 10000);
    return outcome;
}

QString GeneratedApp::launchProgram() const
{
    return m_bundle + u"/Contents/MacOS/"_s + m_name;
}

bool GeneratedApp::startAndKeepRunning(const QStringList &arguments)
{
    QProcessEnvironment environment = m_environment;
    environment.insert(u"SORVANE_FAKE_ENGINE_STAY"_s, u"1"_s);
    environment.insert(u"SORVANE_HELPER_GRACE_MS"_s, u"10000"_s);
    QFile::remove(m_recordsFolder + u"/stop"_s);
    const qsizetype before = engineStarts().size();
    m_running = std::make_unique<QProcess>();
    m_running->setProcessEnvironment(environment);
    m_running->start(launchProgram(), arguments);
    const bool running = m_running->waitForStarted() &&
                         waitFor([&] { return engineStarts().size() > before && helperRunning(); }, 10000);
    // Time for the helper to see the engine: one that missed it waits out its grace (10 s here).
    QThread::msleep(200);
    return running;
}

bool GeneratedApp::stop()
{
    if (!m_running)
        return true;
    writeExecutable(m_recordsFolder + u"/stop"_s, {});
    const bool engineLeft = m_running->waitForFinished(10000);
    m_running.reset();
    // A helper that missed the engine leaves at the end of its 10 s grace.
    return engineLeft && waitFor([&] { return !helperRunning(); }, 15000);
}

QList<EngineStart> GeneratedApp::engineStarts() const
{
    QList<EngineStart> starts;
    const QStringList names = QDir(m_recordsFolder).entryList({u"*.args"_s}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        const QStringList items = recorded(m_recordsFolder + u'/' + name);
        if (items.size() < 2)
            continue;
        EngineStart start{items.at(0), items.at(1), items.mid(2), {}, name.section(u'-', 1).chopped(5).toLongLong()};
        if (!start.arguments.isEmpty() && start.arguments.constLast().startsWith(u"--class="_s))
            start.windowClass = start.arguments.takeLast().mid(8);
        starts.append(start);
    }
    return starts;
}

bool GeneratedApp::helperRunning() const
{
    const QByteArray helper = (resources() + u"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper"_s).toUtf8();
    for (const QByteArray &line : commandLines()) {
        if (line.startsWith(helper))
            return true;
    }
    return false;
}

bool GeneratedApp::moveInto(const QString &folder)
{
    QDir().mkpath(folder);
    const QString target = folder + u'/' + QDir(m_bundle).dirName();
    if (!QDir().rename(m_bundle, target))
        return false;
    m_bundle = target;
    return true;
}

QStringList treeFingerprint(const QString &root)
{
    QStringList lines;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo &info = it.fileInfo();
        QString line = path.mid(root.size()) + u' ' + QString::number(int(info.permissions()), 16);
        if (info.isSymLink()) // the target as written, not resolved
            line += u" -> "_s + QString::fromStdString(std::filesystem::read_symlink(path.toStdString()).string());
        else if (info.isFile())
            line += u' ' + QString::fromLatin1(
                               QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256).toHex());
        lines.append(line);
    }
    lines.sort();
    return lines;
}

void addUserData(const QString &profile)
{
    writeFile(profile + u"/Default/Cookies"_s, "cookie jar");
    writeFile(profile + u"/Default/Login Data"_s, "secret");
    QFile::setPermissions(profile + u"/Default/Login Data"_s, QFile::ReadOwner | QFile::WriteOwner);
    writeFile(profile + u"/Default/Extensions/abc/1.0/manifest.json"_s, "{}");
    QFile::link(u"user-host-1234"_s, profile + u"/SingletonLock"_s);
}
