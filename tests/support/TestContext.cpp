#include "support/TestContext.h"

#include "core/Logger.h"
#include "core/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

class FixedClock final : public Clock
{
public:
    explicit FixedClock(QDateTime time)
        : m_time(std::move(time))
    {
    }
    QDateTime now() const override { return m_time; }

private:
    QDateTime m_time;
};

} // namespace

TestContext::TestContext(const QString &resources)
{
    Context::Folders folders;
    folders.home = m_dir.path() + QStringLiteral("/home");
    folders.support = folders.home + QStringLiteral("/.local/share/Sorvane");
    folders.resources = resources.isEmpty() ? Context::locateResources() : resources;
    QDir().mkpath(folders.home);
    m_context = std::make_unique<Context>(
        folders, std::make_unique<UserDefaults>(m_dir.path() + QStringLiteral("/settings.ini")));
    Context::setShared(m_context.get());
    Logger::setHandler([this](const QString &line) { m_log.append(line); });
}

TestContext::~TestContext()
{
    Logger::setHandler({});
    Context::setShared(nullptr);
}

QString TestContext::home() const
{
    return m_context->homeFolder();
}

QString TestContext::supportFolder() const
{
    return m_context->supportFolder();
}

QString TestContext::applicationsFolder() const
{
    return m_context->applicationsFolder();
}

void TestContext::setNow(const QDateTime &time)
{
    m_context->setClock(std::make_unique<FixedClock>(time));
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray contentsOrMarker(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void writeFile(const QString &path, const QByteArray &data, QFileDevice::Permissions extra)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size() ||
        !file.setPermissions(file.permissions() | extra))
        ADD_FAILURE() << "cannot write " << path.toStdString();
}

QByteArray plistAsJsonFromPython(const QString &path)
{
    static const char *script = R"PY(
import base64, datetime, json, plistlib, sys
def conv(v):
    if isinstance(v, dict): return {k: conv(x) for k, x in v.items()}
    if isinstance(v, list): return [conv(x) for x in v]
    if isinstance(v, bytes): return "data:" + base64.b64encode(v).decode()
    if isinstance(v, datetime.datetime): return "date:" + v.isoformat()
    return v
with open(sys.argv[1], "rb") as f:
    print(json.dumps(conv(plistlib.load(f)), sort_keys=True, ensure_ascii=False, separators=(",", ":")))
)PY";
    const Outcome python = runProgram(QStringLiteral(SORVANE_PYTHON3), {QStringLiteral("-c"), QString::fromUtf8(script), path},
                                      environmentWith());
    return python.exitCode == 0 ? python.out.trimmed() : QByteArray();
}

QString fixturePath(const QString &relative)
{
    return QStringLiteral(SORVANE_TEST_FIXTURES "/") + relative;
}

bool copyTree(const QString &from, const QString &to)
{
    const QString target = QDir::cleanPath(to);
    QDir().mkpath(QFileInfo(target).absolutePath());
    return runProgram(QStringLiteral("cp"), {QStringLiteral("-a"), from, target}, environmentWith()).exitCode == 0;
}

Outcome runProgram(const QString &program, const QStringList &arguments,
                   const QProcessEnvironment &environment, const QString &workingDirectory)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        process.kill();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QProcessEnvironment environmentWith(const QString &firstOnPath)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!firstOnPath.isEmpty())
        environment.insert(QStringLiteral("PATH"), firstOnPath + u':' + environment.value(QStringLiteral("PATH")));
    return environment;
}
