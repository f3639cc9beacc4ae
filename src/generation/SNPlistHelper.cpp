#include "generation/SNPlistHelper.h"

namespace {

QVariantMap urlType(const QString &name, const QStringList &schemes)
{
    return {{QStringLiteral("CFBundleURLName"), name},
            {QStringLiteral("CFBundleURLSchemes"), QVariant(schemes).toList()}};
}

} // namespace

QVariantList SNPlistHelper::urlTypes()
{
    return {urlType(QStringLiteral("Web site URL"), {QStringLiteral("http"), QStringLiteral("https")}),
            urlType(QStringLiteral("FTP site URL"), {QStringLiteral("ftp")}),
            urlType(QStringLiteral("Local file URL"), {QStringLiteral("file")})};
}

QVariantList SNPlistHelper::documentTypes()
{
    const QVariantMap html{
        {QStringLiteral("CFBundleTypeExtensions"), QVariantList{QStringLiteral("html"), QStringLiteral("htm")}},
        {QStringLiteral("CFBundleTypeIconFile"), QStringLiteral("document.icns")},
        {QStringLiteral("CFBundleTypeName"), QStringLiteral("HTML document")},
        {QStringLiteral("CFBundleTypeRole"), QStringLiteral("Viewer")},
        {QStringLiteral("CFBundleTypeMIMETypes"), QVariantList{QStringLiteral("text/html")}},
        {QStringLiteral("CFBundleTypeOSTypes"), QVariantList{QStringLiteral("HTML")}},
    };
    return {html};
}

QStringList SNPlistHelper::activityTypes()
{
    return {QStringLiteral("NSUserActivityTypeBrowsingWeb")};
}

QVariantMap SNPlistHelper::infoDictionary(const QString &appName, bool registerAsBrowser,
                                          bool passwordManagerCompatibility, const QString &generatorVersion,
                                          const QString &creatorId)
{
    QVariantMap info;
    info.insert(QStringLiteral("CFBundleIconFile"), QStringLiteral("icon.icns"));
    info.insert(QStringLiteral("CFBundleExecutable"), appName);
    info.insert(QStringLiteral("CFBundleShortVersionString"), generatorVersion);
    info.insert(QStringLiteral("CFBundleInfoDictionaryVersion"), QStringLiteral("6"));
    info.insert(QStringLiteral("CFBundleName"), appName);
    info.insert(QStringLiteral("CFBundlePackageType"), QStringLiteral("APPL"));
    info.insert(QStringLiteral("NSHighResolutionCapable"), true);
    info.insert(QStringLiteral("CFBundleVersion"), QStringLiteral("1"));
    info.insert(QStringLiteral("LSMinimumSystemVersion"), QStringLiteral("10.10"));
    info.insert(QStringLiteral("CFBundleDisplayName"), appName);
    info.insert(QStringLiteral("CFBundleSignature"), QStringLiteral("????"));
    info.insert(QStringLiteral("DTCompiler"), QStringLiteral("com.apple.compilers.llvm.clang.1_0"));
    info.insert(QStringLiteral("NSAppleScriptEnabled"), true);
    info.insert(QStringLiteral("GPUEjectPolicy"), QStringLiteral("wait"));
    info.insert(QStringLiteral("LSEnvironment"),
                QVariantMap{{QStringLiteral("MallocNanoZone"), QStringLiteral("0")}});
    info.insert(QStringLiteral("NSUserNotificationAlertStyle"), QStringLiteral("banner"));
    info.insert(QStringLiteral("NSPrincipalClass"), QStringLiteral("NSApplication"));
    info.insert(QStringLiteral("LSFileQuarantineEnabled"), true);
    info.insert(QStringLiteral("NSSupportsAutomaticGraphicsSwitching"), true);

    const QString usage =
        QStringLiteral("Once %1 has access, websites will be able to ask you for access.").arg(appName);
    for (const char *key : {"NSCameraUsageDescription", "NSMicrophoneUsageDescription",
                            "NSAudioCaptureUsageDescription", "NSLocationUsageDescription",
                            "NSBluetoothAlwaysUsageDescription", "NSBluetoothPeripheralUsageDescription",
                            "NSLocalNetworkUsageDescription"})
        info.insert(QLatin1String(key), usage);

    if (registerAsBrowser) {
        info.insert(QStringLiteral("NSUserActivityTypes"), QVariant(activityTypes()).toList());
        info.insert(QStringLiteral("CFBundleURLTypes"), urlTypes());
        info.insert(QStringLiteral("CFBundleDocumentTypes"), documentTypes());
    }

    info.insert(QStringLiteral("CFBundleIdentifier"),
                QString(QStringLiteral("com.Ondrel.Sorvane") + QString(appName).replace(u' ', u'_')));
    info.insert(QStringLiteral("SorvaneApp"), true);
    if (passwordManagerCompatibility)
        info.insert(QStringLiteral("SorvanePasswordManagerCompatibility"), true);
    info.insert(QStringLiteral("SorvaneCreatorID"), creatorId);
    return info;
}
