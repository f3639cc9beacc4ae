#include "core/AppLog.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

// mkdir -p, quietly: a folder that cannot be made only costs the log line.
void makeFolders(const std::string &path)
{
    for (std::string::size_type slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0755);
    mkdir(path.c_str(), 0755);
}

// One old log is kept, so a chatty engine costs at most twice RotationBytes.
void rotateIfLarge(const std::string &path)
{
    struct stat info
    {
    };
    if (stat(path.c_str(), &info) == 0 && info.st_size >= AppLog::RotationBytes)
        std::rename(path.c_str(), (path + ".1").c_str());
}

} // namespace

std::string AppLog::appNameOf(std::string bundlePath)
{
    while (bundlePath.size() > 1 && bundlePath.back() == '/')
        bundlePath.pop_back();
    std::string name = bundlePath.substr(bundlePath.find_last_of('/') + 1);
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".app") == 0)
        name.resize(name.size() - 4);
    return name;
}

void AppLog::report(const std::string &appName, const std::string &message)
{
    write(appName, message);
    notify(appName, message);
}

void AppLog::write(const std::string &appName, const std::string &message)
{
    std::fprintf(stderr, "%s: %s\n", appName.c_str(), message.c_str());
    const std::string path = logPath(appName);
    if (!path.empty()) {
        makeFolders(path.substr(0, path.find_last_of('/')));
        rotateIfLarge(path);
        if (std::FILE *file = std::fopen(path.c_str(), "a")) {
            char stamp[32] = {};
            const std::time_t now = std::time(nullptr);
            std::tm local{};
            localtime_r(&now, &local);
            std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
            std::fprintf(file, "%s %s\n", stamp, message.c_str());
            std::fclose(file);
        }
    }
}

int AppLog::openForAppend(const std::string &appName)
{
    const std::string path = logPath(appName);
    if (path.empty())
        return -1;
    makeFolders(path.substr(0, path.find_last_of('/')));
    rotateIfLarge(path);
    return open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
}
