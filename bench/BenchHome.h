#pragma once

#include "core/Context.h"
#include "core/ProcessRunner.h"
#include "core/AppDefinition.h"
#include "generation/CreateAppsJob.h"
#include "core/UserDefaults.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// A context over a temporary home whose chromium engine is the recording fake engine; it is the
// shared context while it lives.
class BenchHome
{
public:
    BenchHome()
    {
        const QString home = m_root.path() + QStringLiteral("/home");
        QDir().mkpath(home);
        m_context = std::make_unique<Context>(
            Context::Folders{home, home + QStringLiteral("/.local/share/Sorvane"), Context::locateResources()},
            std::make_unique<UserDefaults>(m_root.path() + QStringLiteral("/settings.ini")));
        m_context->defaults().setValue(QStringLiteral("chromiumPath"), QStringLiteral(SORVANE_FAKE_ENGINE));
        Context::setShared(m_context.get());
    }

    Context &context() { return *m_context; }
    QString folder(const QString &name) const { return m_root.path() + u'/' + name; }

private:
    QTemporaryDir m_root;
    std::unique_ptr<Context> m_context;
};

// createEngine.sh only links the engine on Linux; what is measured is Sorvane's own work.
class StubbedEngineScript final : public ProcessRunner
{
public:
    Result run(const QString &, const QStringList &, const QString &, int) override
    {
        Result result;
        result.started = true;
        result.exitCode = 0;
        return result;
    }
};

// Makes `count` routed tabbed apps into `folder`; their bundle paths.
inline QStringList createApps(BenchHome &home, const QString &folder, int count)
{
    using namespace Qt::Literals::StringLiterals;
    CreateAppsRequest request{{}, 5 /* chromium */, folder, WhenNameTaken::Ask, {}};
    for (int i = 0; i < count; ++i) {
        AppDefinition entry;
        entry.appName = u"App %1"_s.arg(i);
        entry.appURL = u"https://mail.example.org/inbox"_s;
        entry.needTab = true;
        entry.tabsList = {TabAddress(u"https://mail.example.org/inbox"_s), TabAddress(u"https://cal.example.org/"_s)};
        entry.isWhitelistingEnabled = true;
        request.apps.append(entry);
    }
    CreateAppsJob job(home.context(), request);
    job.exec();
    QStringList paths;
    for (const CreateAppsJob::Outcome &made : job.outcomes()) {
        if (made.created)
            paths.append(made.created->bundlePath);
    }
    return paths;
}
