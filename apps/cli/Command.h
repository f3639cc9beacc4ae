#pragma once

#include "CliMessages.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class Context;
struct CommandSyntax;

// One `sorvane` subcommand: owns its options and help text. Every command takes --help, --json,
// --quiet and --verbose, and exits 0 on success, 1 on failure and 2 on bad usage. Diagnostic
// lines go to Sorvane's log file; standard error shows them with --verbose, and otherwise only
// the warnings (nothing with --quiet).
//
// The usage checks every command shares run before the command does: the number of positional
// arguments, options given twice or together with one they exclude, empty values, and values of
// the wrong kind, named by the option's value name (a DIR that is a file, a FILE that is a folder,
// SECONDS that are not a whole number). `--help --json` describes the command for scripts.
class Command
{
public:
    enum ExitCode { Success = 0, Failure = 1, BadUsage = 2 };

    virtual ~Command();

    virtual QString name() const = 0;
    virtual QString description() const = 0;

    // `arguments` starts with the command's own name.
    int execute(const QStringList &arguments, Context &context);
    // What `sorvane <command> --help --json` prints; the manual page and the shell completions
    // are made from it.
    QVariantMap describe();

protected:
    virtual void addOptions(QCommandLineParser &parser);
    // How many positional arguments the command takes (AnyNumber: no limit); more are a usage
    // error.
    static constexpr int AnyNumber = -1;
    virtual int positionalArguments() const { return 0; }
    // How many of them must be given: by default all of a fixed number, none of AnyNumber.
    virtual int requiredPositionalArguments() const
    {
        return positionalArguments() == AnyNumber ? 0 : positionalArguments();
    }
    // Groups of options of which at most one may be given.
    virtual QList<QStringList> exclusiveOptions() const { return {}; }
    // Options with a value that may be given more than once (every other one only once).
    virtual QStringList repeatableOptions() const { return {}; }
    virtual int run(const QCommandLineParser &parser, Context &context) = 0;

public:
    // A line the user should see on standard error: a note (not with --quiet or --json) or a
    // warning (not with --quiet).
    static void printNote(const QString &text, const QCommandLineParser &parser);
    static void printWarning(const QString &text, const QCommandLineParser &parser);
    // "[done/total] item" on standard error, when it is a terminal (not with --quiet or --json).
    static void printProgress(qsizetype done, qsizetype total, const QString &item, const QCommandLineParser &parser);

protected:
    // What `--help --json` prints: the command's description, the options with their value names
    // and descriptions, the positional arguments, the exclusive groups.
    QVariantMap describe(const CommandSyntax &syntax) const;
    // The parser with every option the command takes, the shared ones first.
    void prepareParser(QCommandLineParser &parser);
    // The parser's help text with the command's name in its usage line.
    QString helpText(const QCommandLineParser &parser) const;
    // Prints a JSON document (object or array) on standard output.
    static void printJson(const QVariant &document);
    static void print(const QString &text);
    static void printError(const QString &text);
    // A refusal or failure: "sorvane <command>: " and the text, on standard error.
    void printFailure(const QString &text) const;
    void printFailure(CliMessage message, const QStringList &arguments = {}) const;
};
