#include "generation/LaunchProgramInstaller.h"

#include "core/AtomicWriter.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "generation/SNAppScriptHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

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

bool writeFile(const QString &path, const QByteArray &data, QFile::Permissions mode, QString *error)
{
    if (!AtomicWriter::write(path, data, error))
        return false;
    if (!QFile::setPermissions(path, mode)) {
        *error = QStringLiteral("cannot set the permissions of %1").arg(path);
        return false;
    }
    return true;
}

bool copyFile(const QString &source, const QString &destination, QString *error)
{
    // A link left where a file now goes is replaced, not written through.
    if (QFileInfo(destination).isSymLink())
        QFile::remove(destination);
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(source, file.errorString());
        return false;
    }
    return writeFile(destination, file.readAll(), file.permissions(), error);
}

// A link is made beside its place and renamed over it, like a file; its target is kept verbatim
// so that relative links stay inside the bundle.
bool copyLink(const QString &source, const QString &destination, QString *error)
{
    namespace fs = std::filesystem;
    const auto native = [](const QString &path) { return fs::path(QFile::encodeName(path).toStdString()); };
    std::error_code code;
    const fs::path target = fs::read_symlink(native(source), code);
    const fs::path temporary = native(destination + QStringLiteral(".sorvane-link"));
    if (!code) {
        fs::remove(temporary, code);
        fs::create_symlink(target, temporary, code);
    }
    if (!code)
        fs::rename(temporary, native(destination), code);
    if (code) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        *error =
            QStringLiteral("cannot link %1: %2").arg(destination, QString::fromStdString(code.message()));
        return false;
    }
    return true;
}

bool copyTree(const QString &source, const QString &destination, QString *error)
{
    if (!QDir().mkpath(destination)) {
        *error = QStringLiteral("cannot create %1").arg(destination);
        return false;
    }
    const QFileInfoList entries = QDir(source).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo &entry : entries) {
        const QString target = destination + u'/' + entry.fileName();
        const bool copied = entry.isSymLink() ? copyLink(entry.filePath(), target, error)
                            : entry.isDir()   ? copyTree(entry.filePath(), target, error)
                                              : copyFile(entry.filePath(), target, error);
        if (!copied)
            return false;
    }
    return true;
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
    if (!writeFile(destination, program, ExecutableMode, &detail))
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
        QString detail;
        const bool copied = source.isDir() ? copyTree(source.filePath(), destination + u'/' + item, &detail)
                                           : copyFile(source.filePath(), destination + u'/' + item, &detail);
        if (!copied)
            return fail(error, QStringLiteral("%1 could not be installed: %2").arg(item, detail));
    }
    return true;
}
