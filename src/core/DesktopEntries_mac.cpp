#include "core/DesktopEntries.h"

// A macOS app bundle is its own menu entry and carries its own icon: nothing to keep in step.

bool DesktopEntries::writeAppEntry(const QString &, const QString &, QString *, QStringList *) const
{
    return true;
}

bool DesktopEntries::removeAppEntry(const QString &, QString *) const
{
    return true;
}

QStringList DesktopEntries::entryAppIds() const
{
    return {};
}

bool DesktopEntries::writeSorvaneEntry(const QString &, QString *, bool *changed) const
{
    if (changed)
        *changed = false;
    return true;
}
