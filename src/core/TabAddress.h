#pragma once

#include <QList>
#include <QString>

// One tab of a tabbed app.
class TabAddress final
{
public:
    TabAddress() = default;
    explicit TabAddress(QString address)
        : tabUrlString(std::move(address))
    {
    }

    QString tabUrlString;

    friend bool operator==(const TabAddress &, const TabAddress &) = default;
};

using TabAddressList = QList<TabAddress>;
