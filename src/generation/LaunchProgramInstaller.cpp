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

namespace {

const QString LauncherName = QStringLiteral("sorvanelauncher");
const QString HelperBundleName = QStringLiteral("SorvaneHelper.app");
const QString EngineScriptName = QStringLiteral("createEngine.sh");
const QString CompatFolderName = QStringLiteral("compat");

constexpr QFile::Permissions ExecutableMode = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                              QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther |
                                              QFile::ExeOther;

bool fail(SNError *error, const QString &description)
{
    if (error)
        *error = {1, description};
    return false;
}

} // namespace

LaunchProgramInstaller::LaunchProgramInstaller(Context &context) : m_context(context) {}

bool LaunchProgramInstaller::installInto(const QString &bundlePath, const QString &appName,
                                         SNError *error) const
{
    return installLaunchProgram(bundlePath, appName, error) && installHelperFiles(bundlePath, error);
}

bool LaunchProgramInstaller::installLaunchProgram(const QString &bundlePath, const QString &appName,
                                                  SNError *error) const
{
    const QString folder = bundlePath + QStringLiteral("/Contents/MacOS");
    const QString destination = folder + u'/' + appName;
    if (!QDir().mkpath(folder))
        return fail(error, QStringLiteral("The folder %1 could not be created.").arg(folder));

    QByteArray program;
    const QString launcher = m_context.resourcesFolder() + u'/' + LauncherName;
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

bool LaunchProgramInstaller::installHelperFiles(const QString &bundlePath, SNError *error) const
{
    const QString resources = m_context.resourcesFolder();
    const QString destination = bundlePath + QStringLiteral("/Contents/Resources");
    QStringList items{HelperBundleName, EngineScriptName};
    if (!Platform::isMac())
        items.append(CompatFolderName);

    for (const QString &item : std::as_const(items)) {
        const QFileInfo source(resources + u'/' + item);
        if (!source.exists())
            return fail(
                error, QStringLiteral("%1 is missing from the Sorvane resources (%2).").arg(item, resources));
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
