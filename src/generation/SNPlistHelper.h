#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

// The Info.plist of a generated app, as a dictionary ready for PropertyList::writeFile.
class SNPlistHelper final
{
public:
    // The URL schemes an app registered as a browser claims: http/https, ftp and file.
    static QVariantList urlTypes();
    // The one document type of such an app: HTML documents, as a viewer.
    static QVariantList documentTypes();
    static QStringList activityTypes();

    // Every key of a generated app's Info.plist. `generatorVersion` is Sorvane's short version
    // string, `creatorId` Sorvane's own bundle identifier. The browser keys are present only with
    // `registerAsBrowser`, SorvanePasswordManagerCompatibility only with
    // `passwordManagerCompatibility`.
    static QVariantMap infoDictionary(const QString &appName, bool registerAsBrowser,
                                      bool passwordManagerCompatibility, const QString &generatorVersion,
                                      const QString &creatorId);
};
