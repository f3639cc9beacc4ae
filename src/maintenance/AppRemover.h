#pragma once

#include <QString>

class Context;

// Deletes a generated app for good (not to the Trash: the user confirmed it): the bundle, then
// its registry record and stored configuration. The bundle first leaves its name in one rename,
// so a removal that fails half-way never leaves half an app that still looks like the app; a
// bundle that cannot leave its name keeps its record and stays listed.
class AppRemover final
{
public:
    // The question asked before a delete, and its buttons ("Delete" first).
    static QString confirmationMessage(const QString &appName);
    static const QString ConfirmationInformativeText;
    static const QStringList ConfirmationButtons;

    // False, with the reason, when nothing was removed (the app is running, or its bundle cannot
    // be moved); true once the app is gone from its place and from the registry. A bundle whose
    // removal stopped part-way is reported in `leftover` (a hidden folder beside where it was).
    static bool deleteApp(Context &context, const QString &appId, const QString &bundlePath, QString *error,
                          QString *leftover = nullptr);
};
