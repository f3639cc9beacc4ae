#pragma once

#include <string>

// Recognises the engine of one generated app among the running processes: a process whose first
// argument names `<bundle>/Contents/MacOS/<engine name>`, however the path was spelled
// ("Contents/Resources/../MacOS/..." from the script, or through a link to the bundle).
class EngineWatch final
{
public:
    EngineWatch(const std::string &bundlePath, const std::string &engineName);

    bool engineRunning() const;
    // Whether a process started with `firstArgument` in `workingDirectory` is the engine.
    bool isEngine(const std::string &firstArgument, const std::string &workingDirectory) const;

    // "/a/./b//c/../d" -> "/a/b/d", without looking at the disk.
    static std::string normalised(const std::string &path);

private:
    bool isEngineFolder(const std::string &folder) const;

    std::string m_engineName;
    std::string m_engineFolder;         // lexical form
    std::string m_resolvedEngineFolder; // with links resolved, when the folder exists
};
