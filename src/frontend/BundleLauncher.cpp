#include "frontend/BundleLauncher.h"

#include "core/Logger.h"
#include "core/PropertyList.h"
#include "maintenance/AppList.h"

#include <QFileInfo>
#include <QProcess>

using namespace Qt::Literals::StringLiterals;

bool BundleLauncher::launch(const QString &bundlePath)
{
    QString openError;
    const QString named = PropertyList::readFile(bundlePath + u"/Contents/Info.plist"_s)
                              .toMap()
                              .value(u"CFBundleExecutable"_s)
                              .toString();
    const QString program = programInBundle(bundlePath, named, &openError);
    if (!program.isEmpty() && startDetached(program, &openError))
        return true;

    QString execError;
    const QString fallback =
        programInBundle(bundlePath, AppList::launcherBinaryNameForApp(bundlePath), &execError);
    if (!fallback.isEmpty() && startDetached(fallback, &execError))
        return true;
    Logger::log(u"launchApp: LaunchServices refused %1 and direct exec failed: %2"_s.arg(openError, execError));
    return false;
}

QString BundleLauncher::programInBundle(const QString &bundlePath, const QString &name, QString *error)
{
    const auto refuse = [&](const QString &reason) {
        if (error)
            *error = reason;
        return QString();
    };
    if (bundlePath.isEmpty())
        return refuse(u"the app has no bundle"_s);
    if (name.isEmpty() || name.contains(u'/') || name == u"."_s || name == u".."_s)
        return refuse(u"%1 names no launch program"_s.arg(bundlePath));
    // Resolved, so that a link inside the bundle cannot start a program elsewhere.
    const QString bundle = QFileInfo(bundlePath).canonicalFilePath();
    const QString resolved = QFileInfo(bundlePath + u"/Contents/MacOS/"_s + name).canonicalFilePath();
    if (bundle.isEmpty() || resolved.isEmpty() || !resolved.startsWith(bundle + u'/'))
        return refuse(u"%1 has no launch program %2"_s.arg(bundlePath, name));
    const QFileInfo target(resolved);
    if (!target.isFile() || !target.isExecutable())
        return refuse(u"%1 is not an executable file"_s.arg(resolved));
    return resolved;
}

bool BundleLauncher::startDetached(const QString &program, QString *error)
{
    QProcess process;
    process.setProgram(program);
    process.setWorkingDirectory(QFileInfo(program).absolutePath());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (process.startDetached())
        return true;
    if (error)
        *error = u"%1: %2"_s.arg(program, process.errorString());
    return false;
}
