#pragma once

#include "core/AppDefinition.h"

#include <QColor>
#include <QString>
#include <QStringList>

// The part of an app's definition whose change needs the bundle to be rebuilt. Routing rules,
// the default destination, the accent colour and session restore are not in it: they take
// effect from the configuration, data.json and the engine's preferences alone ("live-only").
struct StructuralState
{
    QString url;
    QStringList tabURLs;
    bool isTabbed = false;
    bool registerAsBrowser = false;
    bool incognito = false;
    bool forceDarkMode = false;
    QStringList engineSwitches;
    bool passwordManagerCompatibility = false;
    qint64 iconIdentity = 0; // the icon's pixels as loaded: a new image is a new identity
    bool hasCustomIconEnhancements = false;
    QString iconShape;
    QColor iconColor;

    // The state of a definition; the icon tools' choices are the wizard's to add.
    static StructuralState of(const AppDefinition &app);

    friend bool operator==(const StructuralState &, const StructuralState &) = default;
};
