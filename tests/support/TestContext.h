#pragma once

#include "core/Clock.h"
#include "core/Context.h"
#include "support/QtPrinters.h"

#include <QDateTime>
#include <QFileDevice>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// A Context over a fresh temporary folder: its own home, support folder, applications folder and
// settings file. It becomes the shared context while it lives, and collects every logged line.
class TestContext final
{
public:
    // `resources` replaces the build's resources folder (a copy a test may break).
    explicit TestContext(const QString &resources = {});
    ~TestContext();

    Context &context() { return *m_context; }
    QString root() const { return m_dir.path(); }
    QString home() const;
    QString supportFolder() const;
    QString applicationsFolder() const;

    // Lines logged since construction (or the last clearLog()).
    const QStringList &log() const { return m_log; }
    void clearLog() { m_log.clear(); }

    // Freezes the clock at `time`.
    void setNow(const QDateTime &time);

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Context> m_context;
    QStringList m_log;
};

// Reads a property list with Python's plistlib and returns it as compact JSON (keys sorted),
// so tests check our files with a reader that shares no code with ours. Dates and data are
// rendered as strings ("date:<iso>", "data:<base64>").
QByteArray plistAsJsonFromPython(const QString &path);

// A file's bytes; empty when it cannot be read.
QByteArray readAll(const QString &path);

// Writes a test file, making its folder first, and adds `extra` to its permissions; a failure is
// recorded as a test failure.
void writeFile(const QString &path, const QByteArray &data, QFileDevice::Permissions extra = {});

// A file's bytes, or "<unreadable>" when it cannot be read: a missing file never passes for an empty one.
QByteArray contentsOrMarker(const QString &path);

// The test fixtures folder of the source tree.
QString fixturePath(const QString &relative);

// Copies a folder with everything in it (links as links) to `to`, which must not exist yet.
bool copyTree(const QString &from, const QString &to);

struct Outcome
{
    int exitCode = -1; // -1: it crashed or did not end within a minute
    QByteArray out;
    QByteArray err;
};

// Runs a program to its end with nothing on its standard input.
Outcome runProgram(const QString &program, const QStringList &arguments,
                   const QProcessEnvironment &environment, const QString &workingDirectory = {});
// This process's environment, with `firstOnPath` (if any) put first on PATH.
QProcessEnvironment environmentWith(const QString &firstOnPath = {});
