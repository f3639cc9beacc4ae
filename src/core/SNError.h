#pragma once

#include <QString>

// The error slot that generation steps fill when they fail.
struct SNError
{
    int code = 0;
    QString description;
};
