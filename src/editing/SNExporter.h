#pragma once

#include "core/SNImage.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// Writes a set of apps to one ".sorvane" file (an XML property list): per registry id, the
// app's configuration dictionary as it stands, with its addresses, name and a 128x128 icon for
// the chosen-apps variant. Settings and addresses only: never a profile or an engine.
class SNExporter final
{
public:
    // One app offered for export.
    struct ExportRow
    {
        QString appID;
        QString appName;
        QString appPath; // the bundle
        QString file;    // its configuration file
    };

    explicit SNExporter(Context &context);

    // The registered apps that can be exported: a bundle ending in ".app" that exists, with a
    // configuration file; one row per bundle (the first record wins).
    QList<ExportRow> rows() const;

    // The chosen apps' configurations, each with tabList, appURL, appName and appIcon taken from
    // its bundle as it is now.
    QVariantMap exportConfig(const QList<ExportRow> &rows) const;

    // Writes `root` atomically to `path` (".sorvane" appended when missing); the path written, or
    // nothing with the reason.
    static std::optional<QString> save(const QVariantMap &root, QString path, QString *error);

    // Name, addresses, tabbed or not and browser type of the bundle, as read from its launcher.
    static std::optional<QVariantMap> loadAppItem(const QString &bundlePath);
    // The image at 128x128 as a TIFF, base64 on one line; empty for no image.
    static QString imageData(const SNImage &image);
    // The image scaled to `size`; a null image (logged "Invalid Image") for none.
    static QImage imageResize(const SNImage &image, const QSize &size);

    static const QString FileExtension;   // ".sorvane"
    static const QString DefaultFileName; // "apps_config.sorvane"
    static const QString InvalidFileMessage;
    // The save dialog of a front end: where it opens (a folder of the home folder), its title and
    // its message; and what the exporter screen says afterwards ("%1": the number of apps).
    static const QString DialogFolder;
    static const QString SaveDialogTitle;
    static const QString SaveDialogMessage;
    static const QString ExportedMessage;
    static const QString ExporterTitle;

private:
    Context &m_context;
};
