#pragma once

#include "support/TestContext.h" // readAll, writeFile, runProgram

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>

// Shared by the tests of the built launch program, helper app and tool stand-ins.
namespace LaunchTest {

// The build tree's generator resources folder and the programs in it.
QString buildResources();
QString compatTool(const QString &tool);

void writeExecutable(const QString &path, const QByteArray &text);
// Waits up to `timeoutMs` until `condition` holds.
bool waitFor(const std::function<bool()> &condition, int timeoutMs = 5000);

// A shell program that records its $0 and arguments, NUL-separated, into `recordFile`.
QByteArray recordingScript(const QString &recordFile);
QStringList recorded(const QString &recordFile);

} // namespace LaunchTest
