#pragma once

#include "core/Context.h"
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
