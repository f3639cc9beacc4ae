#include "EngineWatch.h"

#include "ProcessTable.h"

#include <climits>
#include <cstdlib>
#include <vector>

namespace {

std::string resolved(const std::string &path)
{
    char buffer[PATH_MAX];
    if (!realpath(path.c_str(), buffer))
        return {};
    return buffer;
}

} // namespace

EngineWatch::EngineWatch(const std::string &bundlePath, const std::string &engineName)
    : m_engineName(engineName), m_engineFolder(normalised(bundlePath + "/Contents/MacOS")),
      m_resolvedEngineFolder(resolved(m_engineFolder))
{
}

bool EngineWatch::engineRunning() const
{
    for (const ProcessTable::Entry &entry : ProcessTable::snapshot()) {
        // Only a name match costs a look at the process's working directory.
        const std::string::size_type slash = entry.firstArgument.find_last_of('/');
        if (slash == std::string::npos ||
            entry.firstArgument.compare(slash + 1, std::string::npos, m_engineName) != 0)
            continue;
        const std::string cwd =
            entry.firstArgument[0] == '/' ? std::string() : ProcessTable::workingDirectory(entry.pid);
        if (isEngine(entry.firstArgument, cwd))
            return true;
    }
    return false;
}

bool EngineWatch::isEngine(const std::string &firstArgument, const std::string &workingDirectory) const
{
    const std::string::size_type slash = firstArgument.find_last_of('/');
    if (slash == std::string::npos || firstArgument.substr(slash + 1) != m_engineName)
        return false;
    if (firstArgument[0] == '/')
        return isEngineFolder(slash == 0 ? std::string("/") : firstArgument.substr(0, slash));
    if (workingDirectory.empty())
        return false;
    return isEngineFolder(workingDirectory + "/" + firstArgument.substr(0, slash));
}

bool EngineWatch::isEngineFolder(const std::string &folder) const
{
    if (normalised(folder) == m_engineFolder)
        return true;
    if (m_resolvedEngineFolder.empty())
        return false;
    return resolved(folder) == m_resolvedEngineFolder;
}

std::string EngineWatch::normalised(const std::string &path)
{
    std::vector<std::string> parts;
    std::string::size_type start = 0;
    while (start <= path.size()) {
        std::string::size_type end = path.find('/', start);
        if (end == std::string::npos)
            end = path.size();
        const std::string part = path.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty() && parts.back() != "..")
                parts.pop_back();
            else if (path.empty() || path[0] != '/')
                parts.push_back(part);
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    const bool absolute = !path.empty() && path[0] == '/';
    std::string result = absolute ? "/" : "";
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            result += '/';
        result += parts[i];
    }
    return result.empty() ? std::string(".") : result;
}
