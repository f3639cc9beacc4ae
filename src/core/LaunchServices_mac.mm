#include "core/LaunchServices.h"

#include "core/Logger.h"

#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

bool LaunchServices::refreshRegistration(const QString &bundlePath)
{
    @autoreleasepool {
        NSURL *url = [NSURL fileURLWithPath:bundlePath.toNSString()];
        const OSStatus status = LSRegisterURL((__bridge CFURLRef)url, true);
        if (status != noErr) {
            Logger::log(QStringLiteral("LSRegisterURL failed for %1 with status %2").arg(bundlePath).arg(int(status)));
            return false;
        }
        return true;
    }
}
