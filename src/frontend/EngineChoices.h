#pragma once

#include <QList>
#include <QString>
#include <QVariantList>

#include "companion/CompanionSupport.h"

class Context;

// What the wizard's browser step lists for each installed engine: its type number, its name and
// one sentence for people on whether the app's links can be routed with it.
class EngineChoices final
{
public:
    // {"type", "name", "linkRouting"} per engine, in the given order. Only Google-branded Chrome
    // is asked for its version (its answer decides how the companion loads).
    static QVariantList describe(Context &context, const QList<int> &types);
    static QString linkRoutingNote(CompanionSupport::Routing routing);
};
