#include "core/LaunchServices.h"

#include "core/Logger.h"

namespace {
// There is no registry of application bundles on Linux; report it the way a refusal is reported.
constexpr int unavailableStatus = -1;
} // namespace

bool LaunchServices::refreshRegistration(const QString &bundlePath)
{
    Logger::log(QStringLiteral("LSRegisterURL failed for %1 with status %2").arg(bundlePath).arg(unavailableStatus));
    return false;
}
