#pragma once

#include "support/TestContext.h"

#include <QByteArray>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// What a run of `sorvane` (or of an app it made) gave back.
using CliRun = Outcome;

// The document a `--json` run printed (an object, an array or a single value).
inline QJsonValue json(const CliRun &run)
{
    return QJsonDocument::fromJson("[" + run.out + "]").array().at(0);
}

// A temporary home for the built `sorvane`: HOME and the XDG folders inside a TestContext.
class CliSandbox
{
public:
    CliSandbox();

    // Sorvane's settings file with these INI lines under [General].
    void writeSettings(const QString &lines) const;

    CliRun sorvane(const QStringList &arguments) const;
    // Several runs at once, for runs that change nothing; the outcomes in the order given.
    QList<CliRun> sorvaneEach(const QList<QStringList> &runs) const;
    // Any program, with no terminal: questions are answered Cancel.
    static CliRun run(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment);

    TestContext test;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

#ifdef SORVANE_FAKE_ENGINE
// A temporary home whose Sorvane settings make the recording fake engine the chromium engine.
class Home : public CliSandbox
{
public:
    Home() : apps(test.root() + QStringLiteral("/Apps")), records(test.root() + QStringLiteral("/engine-starts"))
    {
        writeSettings(QStringLiteral("chromiumPath=" SORVANE_FAKE_ENGINE "\n"));
        environment.insert(QStringLiteral("SORVANE_FAKE_ENGINE_RECORDS"), records);
        environment.insert(QStringLiteral("SORVANE_HELPER_GRACE_MS"), QStringLiteral("0"));
        QDir().mkpath(records);
    }

    CliRun create(const QString &name, const QStringList &more = {}) const
    {
        return sorvane(QStringList{QStringLiteral("create"), QStringLiteral("--name"), name,
                                   QStringLiteral("--url"), QStringLiteral("https://mail.example.org/"),
                                   QStringLiteral("--browser"), QStringLiteral("chromium"),
                                   QStringLiteral("--into"), apps, QStringLiteral("--json")} +
                       more);
    }
    QString bundle(const QString &name) const { return apps + u'/' + name + QStringLiteral(".app"); }
    QJsonObject tracker() const
    {
        return QJsonDocument::fromJson(
                   plistAsJsonFromPython(test.home() + QStringLiteral("/.local/share/Sorvane/tracker.plist")))
            .object();
    }

    QString apps;
    QString records;
};
#endif
