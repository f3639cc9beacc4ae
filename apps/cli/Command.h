#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

class Context;

// One `sorvane` subcommand: owns its options and help text. Every command takes --help, --json,
// --quiet and --verbose, and exits 0 on success, 1 on failure and 2 on bad usage. Diagnostic
// lines go to Sorvane's log file; standard error shows them with --verbose, and otherwise only
// the warnings (nothing with --quiet).
class Command
{
public:
    enum ExitCode { Success = 0, Failure = 1, BadUsage = 2 };

    virtual ~Command();

    virtual QString name() const = 0;
    virtual QString description() const = 0;

    // `arguments` starts with the command's own name.
    int execute(const QStringList &arguments, Context &context);

protected:
    virtual void addOptions(QCommandLineParser &parser);
    // How many positional arguments the command takes (AnyNumber: no limit); more are a usage
    // error.
    static constexpr int AnyNumber = -1;
    virtual int positionalArguments() const { return 0; }
    // Options with a value that may be given more than once (every other one only once).
    virtual QStringList repeatableOptions() const { return {}; }
    virtual int run(const QCommandLineParser &parser, Context &context) = 0;

public:
    // A line the user should see on standard error: a note (not with --quiet or --json) or a
    // warning (not with --quiet).
    static void printNote(const QString &text, const QCommandLineParser &parser);
    static void printWarning(const QString &text, const QCommandLineParser &parser);

protected:
    // Prints a JSON document (object or array) on standard output.
    static void printJson(const QVariant &document);
    static void print(const QString &text);
    static void printError(const QString &text);
};
