#include "generation/LaunchProgramInstaller.h"

#include "core/AtomicWriter.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/TreeCopy.h"
#include "generation/SNAppScriptHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>

#include <utility>

namespace {

const QString LauncherName = QStringLiteral("sorvanelauncher");
const QString HelperBundleName = QStringLiteral("SorvaneHelper.app");
const QString EngineScriptName = QStringLiteral("createEngine.sh");
const QString CompatFolderName = QStringLiteral("compat");

constexpr QFile::Permissions ExecutableMode = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                              QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther |
                                              QFile::ExeOther;

bool fail(QString *error, const QString &description)
{
    if (error)
        *error = description;
    return false;
}

} // namespace

LaunchProgramInstaller::LaunchProgramInstaller(Context &context) : m_context(context) {}

bool LaunchProgramInstaller::installInto(const QString &bundlePath, const QString &appName,
                                         QString *error) const
{
    return installLaunchProgram(bundlePath, appName, error) && installHelperFiles(bundlePath, error);
}

bool LaunchProgramInstaller::installLaunchProgram(const QString &bundlePath, const QString &appName,
                                                  QString *error) const
{
    const QString folder = bundlePath + QStringLiteral("/Contents/MacOS");
    const QString destination = folder + u'/' + appName;
    if (!QDir().mkpath(folder))
        return fail(error, QStringLiteral("The folder %1 could not be created.").arg(folder));

    QByteArray program;
    const QString launcher = m_context.programsFolder() + u'/' + LauncherName;
    if (QFileInfo(launcher).isFile()) {
        QFile file(launcher);
        if (!file.open(QIODevice::ReadOnly))
            return fail(error, QStringLiteral("The launch program %1 could not be read.").arg(launcher));
        program = file.readAll();
    } else {
        Logger::log(SNAppScriptHelper::LegacyStubWarning);
        program = SNAppScriptHelper::legacyLaunchStub().toUtf8();
    }
    QString detail;
    // Executable from the moment it appears under its name.
    if (!AtomicWriter::writeWithMode(destination, program, ExecutableMode, &detail))
        return fail(error, QStringLiteral("The launch program could not be installed: %1").arg(detail));
    return true;
}

bool LaunchProgramInstaller::installHelperFiles(const QString &bundlePath, QString *error) const
{
    const QString destination = bundlePath + QStringLiteral("/Contents/Resources");
    // The script is data; the helper app and the tool stand-ins are programs, which an installed
    // Sorvane keeps in a folder of their own.
    QList<std::pair<QString, QString>> items{{HelperBundleName, m_context.programsFolder()},
                                             {EngineScriptName, m_context.resourcesFolder()}};
    if (!Platform::isMac())
        items.append({CompatFolderName, m_context.programsFolder()});

    for (const auto &[item, folder] : std::as_const(items)) {
        const QFileInfo source(folder + u'/' + item);
        if (!source.exists())
            return fail(
                error, QStringLiteral("%1 is missing from the Sorvane resources (%2).").arg(item, folder));
        // A regeneration copies over the last one; what it left in the way is replaced, not
        // written through.
        if (const std::optional<QString> detail =
                TreeCopy::copy(source.filePath(), destination + u'/' + item,
                               {.links = TreeCopy::Links::Keep,
                                .existing = TreeCopy::Existing::ReplaceNonFolder,
                                .errors = TreeCopy::Errors::Stop}))
            return fail(error, QStringLiteral("%1 could not be installed: %2").arg(item, *detail));
    }
    return true;
}
