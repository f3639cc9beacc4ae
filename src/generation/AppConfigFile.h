#pragma once

#include "core/AppDefinition.h"

#include <QString>
#include <QVariantMap>

#include <optional>

// The per-app configuration file "<appID>.config" in the support folder: an XML property list
// holding the definition, so an app can later be read back, edited and regenerated.
class AppConfigFile final
{
public:
    static QString path(const QString &supportFolder, const QString &appID);

    // The dictionary written for a definition, with exactly the keys, types and
    // absent-not-empty rules of the file: rules and the default destination are cleaned first.
    static QVariantMap dictionaryForDefinition(const AppDefinition &definition);
    // The definition a dictionary describes; fields of the wrong type keep their defaults.
    // A missing restoreSession reads as true, as apps made before the key existed restored.
    static AppDefinition definitionFromDictionary(const QVariantMap &dictionary);

    // Writes the definition; keys of `earlier` (the file as it was) that the definition does not
    // own are kept.
    [[nodiscard]] static bool write(const QString &path, const AppDefinition &definition, QString *error = nullptr,
                                    const QVariantMap &earlier = {});
    static std::optional<AppDefinition> read(const QString &path, QString *error = nullptr);
};
