#pragma once

#include <QList>
#include <QString>
#include <QVariantList>

#include "companion/CompanionSupport.h"
#include "core/BrowserLocator.h"

class Context;

// What the wizard's browser step lists for each installed engine: its type number, its name and
// one sentence for people on whether the app's links can be routed with it.
class EngineChoices final
{
public:
    // {"type", "name", "linkRouting", "installedAs"} per engine, in the given order. Only
    // Google-branded Chrome is asked for its version (its answer decides how the companion loads).
    // "installedAs" says which packaging the engine comes from and where (empty on macOS).
    static QVariantList describe(Context &context, const QList<int> &types);
    static QString linkRoutingNote(CompanionSupport::Routing routing);
    static QString packagingNote(BrowserPackaging packaging, const QString &enginePath);
};
