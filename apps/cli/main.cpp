// sorvane: the scripting face of the generator.

#include "Commands.h"

#include "core/Context.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QList>
#include <QTextStream>


namespace {

const QString Summary = QStringLiteral("Turns web sites into stand-alone desktop apps.");

struct GlobalOption
{
    QString name;
    QString description;
};

const QList<GlobalOption> &globalOptions()
{
    static const QList<GlobalOption> options{
        {QStringLiteral("help"), QStringLiteral("Show this help; `sorvane <command> --help` shows a command's options.")},
        {QStringLiteral("version"), QStringLiteral("Show Sorvane's version.")}};
    return options;
}

QString usage(const std::vector<std::unique_ptr<Command>> &list)
{
    QString text = QStringLiteral("Usage: sorvane <command> [options]\n\n") + Summary + QStringLiteral("\n\nCommands:\n");
    for (const auto &command : list)
        text += QStringLiteral("  %1 %2\n").arg(command->name().leftJustified(15), command->description());
    text += QStringLiteral("\nOptions:\n");
    for (const GlobalOption &option : globalOptions())
        text += QStringLiteral("  %1 %2\n").arg(QString(QStringLiteral("--") + option.name).leftJustified(10), option.description);
    return text;
}

// `sorvane --help --json`: everything the help texts say, for the manual page and the shell
// completions.
QByteArray describeAll(const std::vector<std::unique_ptr<Command>> &list)
{
    QVariantList commands;
    for (const auto &command : list)
        commands.append(command->describe());
    QVariantList options;
    for (const GlobalOption &option : globalOptions())
        options.append(QVariantMap{{QStringLiteral("names"), QStringList{option.name}},
                                   {QStringLiteral("description"), option.description}});
    return QJsonDocument::fromVariant(QVariantMap{{QStringLiteral("program"), QStringLiteral("sorvane")},
                                                  {QStringLiteral("description"), Summary},
                                                  {QStringLiteral("commands"), commands},
                                                  {QStringLiteral("options"), options}})
        .toJson(QJsonDocument::Indented);
}

QtMessageHandler previousMessageHandler = nullptr;

void withoutRuntimeFolderWarning(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    if (previousMessageHandler)
        previousMessageHandler(type, context, message);
}

} // namespace

int main(int argc, char **argv)
{
    // The command line is read here as it is: Qt Gui takes options it knows ("--icon" among them
    // on X11) out of the one it is given.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    // Qt Gui on no screen, for drawing alone: an app made without an icon gets its initial drawn in
    // the platform's fonts (LetterIcon).
    char program[] = "sorvane";
    char platformOption[] = "-platform";
    char platform[] = "offscreen";
    char *guiArgv[] = {argc > 0 && argv[0] ? argv[0] : program, platformOption, platform, nullptr};
    int guiArgc = 3;
    // While it starts, Qt Gui looks for a Wayland socket in the runtime folder and warns when
    // XDG_RUNTIME_DIR is unset (cron, ssh): nothing the user of a command needs to read.
    previousMessageHandler = qInstallMessageHandler(withoutRuntimeFolderWarning);
    QGuiApplication app(guiArgc, guiArgv);
    qInstallMessageHandler(previousMessageHandler);
    QCoreApplication::setApplicationName(QStringLiteral("sorvane"));

    const auto list = Commands::all();
    QTextStream out(stdout);
    QTextStream err(stderr);

    if (arguments.isEmpty()) {
        err << usage(list);
        return Command::BadUsage;
    }
    const QString first = arguments.first();
    if (first == QLatin1String("--help") || first == QLatin1String("-h") || first == QLatin1String("help")) {
        if (arguments.contains(QLatin1String("--json")))
            out << describeAll(list);
        else
            out << usage(list);
        return Command::Success;
    }
    if (first == QLatin1String("--version") || first == QLatin1String("-v")) {
        const auto context = Context::createDefault();
        out << "sorvane " << context->version() << '\n';
        return Command::Success;
    }
    for (const auto &command : list) {
        if (command->name() == first) {
            const auto context = Context::createDefault();
            return command->execute(arguments, *context);
        }
    }
    err << "sorvane: unknown command '" << first << "'\n\n" << usage(list);
    return Command::BadUsage;
}
