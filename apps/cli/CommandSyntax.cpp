#include "CommandSyntax.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

CommandSyntax CommandSyntax::of(const QCommandLineParser &parser)
{
    // Qt writes each option as "  -h, --help" or "  --into <DIR>" at the start of a line, and each
    // positional argument's name the same way under "Arguments:", then the description; a wrapped
    // description goes on in lines indented further.
    static const QRegularExpression entry(u"^  (\\S.*?)(?:  |$)"_s);
    static const QRegularExpression valued(u"^(.*?) <(.*)>$"_s);
    CommandSyntax syntax;
    enum class Section { None, Options, Arguments } section = Section::None;
    QString *description = nullptr;
    for (const QString &line : parser.helpText().split(u'\n')) {
        if (line == u"Options:"_s || line == u"Arguments:"_s) {
            section = line == u"Options:"_s ? Section::Options : Section::Arguments;
            description = nullptr;
            continue;
        }
        const QRegularExpressionMatch match = entry.match(line);
        if (section == Section::None || !match.hasMatch()) {
            if (description && line.startsWith(u"   "_s) && !line.trimmed().isEmpty())
                *description += u' ' + line.trimmed();
            else
                description = nullptr;
            continue;
        }
        QString names = match.captured(1).trimmed();
        const QString text = line.mid(match.capturedEnd(0)).trimmed();
        if (section == Section::Arguments) {
            syntax.positionals.append(names);
            syntax.positionalDescriptions.append(text);
            description = &syntax.positionalDescriptions.last();
            continue;
        }
        Option option;
        option.description = text;
        if (const QRegularExpressionMatch value = valued.match(names); value.hasMatch()) {
            names = value.captured(1);
            option.valueName = value.captured(2);
        }
        for (QString name : names.split(u", "_s)) {
            while (name.startsWith(u'-'))
                name.remove(0, 1);
            option.names.append(name);
        }
        syntax.options.append(option);
        description = &syntax.options.last().description;
    }
    return syntax;
}

const CommandSyntax::Option *CommandSyntax::option(const QString &name) const
{
    for (const Option &each : options) {
        if (each.names.contains(name))
            return &each;
    }
    return nullptr;
}
