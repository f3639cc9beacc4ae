#include "companion/host/AppBundle.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

bool AppBundle::isBundleFolder(const QString &bundlePath)
{
    return QDir::isAbsolutePath(bundlePath) && bundlePath.endsWith(u".app"_s) &&
           QFileInfo(bundlePath).isDir();
}

QString AppBundle::launchProgram(const QString &bundlePath)
{
    if (!isBundleFolder(bundlePath))
        return {};
    const QString name = executableName(bundlePath + u"/Contents/Info.plist"_s);
    if (name.isEmpty() || name.contains(u'/') || name == u"."_s || name == u".."_s)
        return {};
    const QFileInfo program(bundlePath + u"/Contents/MacOS/"_s + name);
    // Resolved, so that a link inside the bundle cannot lead out of it.
    const QString resolved = program.canonicalFilePath();
    const QString bundle = QFileInfo(bundlePath).canonicalFilePath();
    if (resolved.isEmpty() || !resolved.startsWith(bundle + u'/'))
        return {};
    const QFileInfo target(resolved);
    return target.isFile() && target.isExecutable() ? resolved : QString();
}

// Qt reads no property lists, and the host must not load libplist for one key at every start.
// Generated bundles' Info.plist files are XML, so a stream reader over the top dictionary does.
QString AppBundle::executableName(const QString &infoPlistPath)
{
    QFile file(infoPlistPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    if (!xml.readNextStartElement() || xml.name() != u"plist"_s)
        return {};
    if (!xml.readNextStartElement() || xml.name() != u"dict"_s)
        return {};
    // The top dictionary's children alternate <key> and value elements.
    bool valueWanted = false;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"key"_s) {
            valueWanted = xml.readElementText() == u"CFBundleExecutable"_s;
            continue;
        }
        if (valueWanted) {
            if (xml.name() != u"string"_s)
                return {};
            const QString name = xml.readElementText();
            return xml.hasError() ? QString() : name;
        }
        xml.skipCurrentElement();
    }
    return {};
}
