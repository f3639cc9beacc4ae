#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// What of a browser profile can be brought into a new app, by the names the settings and the
// command line use.
enum class ImportCategory { Bookmarks, Extensions, Settings, History, Passwords };

namespace ImportCategories {

QString rawValue(ImportCategory category);
std::optional<ImportCategory> fromRawValue(const QString &text);
// Every category, in this order: bookmarks, extensions, settings, history, passwords.
QList<ImportCategory> all();
// What an import takes when nothing valid was chosen: bookmarks, extensions and settings.
QList<ImportCategory> defaults();
// The categories named in a saved list (`defaultImportCategories`): unknown names are dropped, and
// when none is left the defaults apply.
QList<ImportCategory> fromSavedList(const QStringList &names);
// The names of the categories, in their order.
QStringList rawValues(const QList<ImportCategory> &categories);

} // namespace ImportCategories
