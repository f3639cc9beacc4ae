#include "editing/SNExporter.h"

#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "generation/AppConfigFile.h"
#include "maintenance/AppList.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

const QString SNExporter::FileExtension = u".sorvane"_s;
const QString SNExporter::DefaultFileName = u"apps_config.sorvane"_s;
const QString SNExporter::InvalidFileMessage = u"Invalid App Config File"_s;
const QString SNExporter::DialogFolder = u"Documents"_s;
const QString SNExporter::SaveDialogTitle = u"Exporting Apps Config"_s;
const QString SNExporter::SaveDialogMessage = u"Please select a path where to save exported app config."_s;
const QString SNExporter::ExportedMessage = u"%1 App(s) exported successfully"_s;
const QString SNExporter::ExporterTitle = u"Exporter"_s;

SNExporter::SNExporter(Context &context)
    : m_context(context)
{
}

QList<SNExporter::ExportRow> SNExporter::rows() const
{
    QList<ExportRow> rows;
    for (const SNAppItem &item : AppList::loadAppItems(m_context)) {
        const QString file = AppConfigFile::path(SNAppTracker(m_context).getAppBundle(), item.appId);
        if (item.path.endsWith(u".app"_s) && QFileInfo(file).isFile())
            rows.append({item.appId, item.name, item.path, file});
    }
    return rows;
}

QVariantMap SNExporter::exportConfig(const QList<ExportRow> &rows) const
{
    QVariantMap root;
    for (const ExportRow &row : rows) {
        const QVariant read = PropertyList::readFile(row.file);
        if (read.typeId() != QMetaType::QVariantMap)
            continue;
        QVariantMap config = read.toMap();
        if (!row.appPath.isEmpty()) {
            const QVariantMap item = loadAppItem(row.appPath).value_or(QVariantMap{});
            const QStringList urls = item.value(u"appURLs"_s).toStringList();
            config.insert(u"tabList"_s, urls.size() >= 2 ? urls : QStringList{});
            config.insert(u"appURL"_s, urls.value(0));
            config.insert(u"appName"_s, item.value(u"appName"_s).toString());
            config.insert(u"appIcon"_s, imageData(SNImage::fromFile(row.appPath + u"/Contents/Resources/icon.icns"_s)));
        }
        root.insert(row.appID, config);
    }
    return root;
}

std::optional<QString> SNExporter::save(const QVariantMap &root, QString path, QString *error)
{
    if (!path.endsWith(FileExtension))
        path += FileExtension;
    if (!PropertyList::writeFile(path, root, error))
        return std::nullopt;
    return path;
}

std::optional<QVariantMap> SNExporter::loadAppItem(const QString &bundlePath)
{
    return AppList::getAppData(bundlePath);
}

QString SNExporter::imageData(const SNImage &image)
{
    const QImage scaled = imageResize(image, {128, 128});
    return scaled.isNull() ? QString() : SNImage::imageData(SNImage({scaled}));
}

QImage SNExporter::imageResize(const SNImage &image, const QSize &size)
{
    const QImage source = image.largestRepresentation();
    if (source.isNull()) {
        Logger::log(u"Invalid Image"_s);
        return {};
    }
    return source.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}
