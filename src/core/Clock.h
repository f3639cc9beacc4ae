#pragma once

#include <QDateTime>

// The time source of a Context; tests replace it to get stable timestamps.
class Clock
{
public:
    virtual ~Clock();
    virtual QDateTime now() const;
};
