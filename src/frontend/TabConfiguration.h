#pragma once

#include <QMetaType>
#include <QString>

// One tab of a multi-tab suggestion: its address and the title a view shows for it.
struct TabConfiguration
{
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString url MEMBER url)

public:
    QString name;
    QString url;

    friend bool operator==(const TabConfiguration &, const TabConfiguration &) = default;
};

Q_DECLARE_METATYPE(TabConfiguration)
