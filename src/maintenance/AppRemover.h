#pragma once

#include <QString>
#include <QStringList>

class Context;

// Deletes a generated app: the bundle goes to the Trash (with the freedesktop info file that lets
// a file manager put it back), then its registry record, stored configuration and menu entry go.
// Only an app Sorvane made and lists at that very path is deleted; anything else (a plain folder,
// the applications folder, a copy of an app) is refused with nothing changed. The app's lock is
// held throughout and the deletion is journaled: a kill after the bundle left finishes removing
// the record at the next start, a kill before leaves the app as it was.
class AppRemover final
{
public:
    // The question asked before a delete, and its buttons ("Delete" first).
    static QString confirmationMessage(const QString &appName);
    static const QString ConfirmationInformativeText;
    static const QStringList ConfirmationButtons;

    // False, with the reason, when nothing was removed: not an app of the registry at that path,
    // running, or its bundle cannot be moved to the Trash. True once the app is in the Trash and
    // gone from the registry; `trashedPath` tells where it lies (empty when the bundle was
    // already gone and only the record was removed).
    static bool deleteApp(Context &context, const QString &appId, const QString &bundlePath, QString *error,
                          QString *trashedPath = nullptr);

    // Finishes a deletion that a kill interrupted (its journal entry).
    static bool recover(Context &context, const QString &appId, const QString &bundlePath);
};
