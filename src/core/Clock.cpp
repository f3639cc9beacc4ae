#include "core/Clock.h"

Clock::~Clock() = default;

QDateTime Clock::now() const
{
    return QDateTime::currentDateTime();
}
