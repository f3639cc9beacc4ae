// SorvaneHelper: started by a generated app's script beside its engine, with the app's bundle path
// and the engine's executable name. It lives exactly as long as that engine, so the script can
// tell by its presence that the app is starting or running and never starts a second engine.

#include "core/EngineWatch.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::chrono::milliseconds PollInterval{500};
// The engine may take a while to appear: the script first builds it and seeds the profile.
constexpr std::chrono::milliseconds DefaultGrace{20000};

std::chrono::milliseconds graceFromEnvironment()
{
    // Tests shorten the wait; nothing else sets this.
    const char *value = std::getenv("SORVANE_HELPER_GRACE_MS");
    if (!value || !*value)
        return DefaultGrace;
    char *end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(value, &end, 10);
    if (errno != 0 || *end != '\0' || parsed < 0)
        return DefaultGrace;
    return std::chrono::milliseconds(parsed);
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-psn_", 5) != 0)
            arguments.emplace_back(argv[i]);
    }
    if (arguments.size() != 2 || arguments[0].empty() || arguments[1].empty()) {
        std::fprintf(stderr, "usage: SorvaneHelper <app bundle path> <engine executable name>\n");
        return 2;
    }

    const EngineWatch watch(arguments[0], arguments[1]);
    const auto deadline = std::chrono::steady_clock::now() + graceFromEnvironment();
    while (!watch.engineRunning()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            std::fprintf(stderr, "SorvaneHelper: the engine \"%s\" of %s did not start\n",
                         arguments[1].c_str(), arguments[0].c_str());
            return 1;
        }
        std::this_thread::sleep_for(PollInterval);
    }
    while (watch.engineRunning())
        std::this_thread::sleep_for(PollInterval);
    return 0;
}
