#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

// What an import of browser data brought into a new app.
struct ImportSummary
{
    int copiedItemCount = 0;
    QStringList failedItems; // names of what could not be copied
    bool missingSource = false;
    // The browser was running on the source profile, so the databases it keeps open were left
    // alone (and are among failedItems).
    bool sourceInUse = false;

    static const QString MissingSourceMessage;
    static const QString NothingFoundMessage;
    static const QString SourceInUseMessage;

    // The sentences the user is shown, in order.
    QStringList messages() const;
    // One line for the log.
    QString description() const;
    // The fields above and the user's sentences ("messages").
    QVariantMap toVariantMap() const;
};
