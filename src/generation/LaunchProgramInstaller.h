#pragma once


#include <QString>

class Context;

// Puts the programs a generated app runs with into its bundle, from the generator's resources
// folder: the launch program as Contents/MacOS/<Name>, and in Contents/Resources the helper app,
// createEngine.sh and, on Linux, the compat/ folder of macOS tool stand-ins. Every file is written
// atomically, so a regeneration over a running app never leaves half a program behind.
class LaunchProgramInstaller final
{
public:
    explicit LaunchProgramInstaller(Context &context);

    // Both steps below; stops at the first failure.
    bool installInto(const QString &bundlePath, const QString &appName, QString *error) const;

    // Contents/MacOS/<appName> (mode 0755): a copy of `sorvanelauncher`, or, when the resources
    // folder lacks it, SNAppScriptHelper's legacy launch stub after its logged warning.
    bool installLaunchProgram(const QString &bundlePath, const QString &appName, QString *error) const;
    // SorvaneHelper.app, createEngine.sh and (Linux) compat/ into Contents/Resources, with the
    // modes and relative links they have in the resources folder.
    bool installHelperFiles(const QString &bundlePath, QString *error) const;

private:
    Context &m_context;
};
