#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

class Context;

// One `sorvane` subcommand: owns its options and help text. Every command takes --help, --json
// and --quiet, and exits 0 on success, 1 on failure and 2 on bad usage.
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
    virtual int run(const QCommandLineParser &parser, Context &context) = 0;

    // Prints a JSON document (object or array) on standard output.
    static void printJson(const QVariant &document);
    static void print(const QString &text);
    static void printError(const QString &text);
};
