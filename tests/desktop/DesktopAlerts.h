#pragma once

#include "DesktopHarness.h"

#include <QStringList>

// What the next alert showed (title, text, button labels) and whether it was answered.
struct AlertAnswer
{
    QStringList shown;
    bool answered = false;
};

// Answers the next alert from inside the event loop that waits for it: clicks button `button`,
// or presses Escape for -1. Call before the action that raises the alert.
void answerNextAlert(DesktopHarness &app, int button, AlertAnswer &answer);

// What the alert on screen shows; empty when none is open.
QStringList shownAlert(const DesktopHarness &app);
