#pragma once

#include "LaunchTestSupport.h"

#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>

class TestContext;

// What a test app is made from.
struct AppTraits
{
    QString name;
    QString typeKey = QStringLiteral("chromium");
    QString url = QStringLiteral("https://app.example.test/");
    bool tabbed = false;
    QStringList tabs = {};
    bool incognito = false;
    bool dark = false;
    bool routing = false;
    // Otherwise the app starts as if it had run before (no store page on its first start).
    bool firstStart = false;
    // The browser's engine executable; the recording fake engine when empty.
    QString enginePath = {};
    QStringList engineSwitches = {};
};

// One start of the fake engine, as it recorded itself.
struct EngineStart
{
    QString program; // argv[0]
    QString workingFolder;
    QStringList arguments; // without the window-class switch every start of the app ends with
    QString windowClass;   // that switch's value; empty when the start did not end with it
    qint64 pid = 0;
};

// An app made by the real creation in a test folder, with the recording fake engine as its
// browser (through the browser's path setting).
class GeneratedApp final
{
public:
    GeneratedApp(TestContext &test, const AppTraits &traits);
    ~GeneratedApp();

    QString bundle() const { return m_bundle; }
    QString resources() const { return m_bundle + QStringLiteral("/Contents/Resources"); }
    QString profile() const { return m_bundle + QStringLiteral("/Contents/Profile"); }
    QString appId() const { return m_appId; }
    QString scriptText() const { return m_script; }
    // The app's log, where its launch program puts the script's and the engine's output.
    QString log() const { return m_environment.value(QStringLiteral("XDG_STATE_HOME")) + QStringLiteral("/Sorvane/apps/") + m_name + QStringLiteral(".log"); }

    // Environment of every start; tests add to it.
    QProcessEnvironment &environment() { return m_environment; }

    // Starts the app through its launch program and waits until the program, or the engine it
    // became, and (unless an engine is kept running) the helper it started have finished.
    Outcome start(const QStringList &arguments = {});
    // Starts the app with an engine that stays, and waits until both the engine and the helper run.
    bool startAndKeepRunning(const QStringList &arguments = {});
    // Stops a kept engine and waits until its helper has left too.
    bool stop();

    QList<EngineStart> engineStarts() const;
    bool helperRunning() const;
    // Moves the bundle into `folder` (created when missing).
    bool moveInto(const QString &folder);
    // Follows the app to where an edit moved it, under its new name.
    void renamed(const QString &bundle, const QString &name)
    {
        m_bundle = bundle;
        m_name = name;
    }

private:
    QString launchProgram() const;

    QString m_recordsFolder;
    QString m_name;
    QString m_bundle;
    QString m_appId;
    QString m_script;
    QProcessEnvironment m_environment;
    std::unique_ptr<QProcess> m_running;
};

// Every entry of a tree with its content's hash, its link target or its mode, sorted.
QStringList treeFingerprint(const QString &root);
// What a user's profile holds besides what creation seeded: cookies, a private file, a link.
void addUserData(const QString &profile);
