#include "IconCommand.h"

#include "core/AtomicWriter.h"
#include "core/WebAddress.h"
#include "editing/SNFaviconHelper.h"
#include "generation/DefinitionValidator.h"

#include <QBuffer>
#include <QDir>

using namespace Qt::Literals::StringLiterals;

void IconCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"URL"_s, u"The site's address; http:// is put in front when it names no scheme."_s);
    parser.addOption({u"output"_s, u"Write the icon to this PNG file."_s, u"FILE"_s});
    parser.addOption({u"timeout"_s,
                      u"Give up after this many seconds, %1 to %2 (default %3), with the best icon found by then."_s
                          .arg(MinimumTimeout.count())
                          .arg(MaximumTimeout.count())
                          .arg(DefaultTimeout.count()),
                      u"SECONDS"_s, QString::number(DefaultTimeout.count())});
}

int IconCommand::run(const QCommandLineParser &parser, Context &)
{
    const std::chrono::seconds timeout{parser.value(u"timeout"_s).toUInt()};
    if (timeout < MinimumTimeout || timeout > MaximumTimeout) {
        printFailure(CliMessage::TimeoutOutOfRange, {QString::number(timeout.count()),
                                                     QString::number(MinimumTimeout.count()),
                                                     QString::number(MaximumTimeout.count())});
        return BadUsage;
    }
    const QString typed = parser.positionalArguments().constFirst().trimmed();
    const QString address = WebAddress::withScheme(typed);
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || (url.host().isEmpty() && url.scheme() != u"file"_s)) {
        printFailure(CliMessage::NotAWebAddress, {DefinitionValidator::quoted(typed.isEmpty() ? typed : address)});
        return Failure;
    }

    SNFaviconHelper helper;
    SNFaviconHelper::Limits limits = helper.limits();
    limits.searchTimeout = timeout;
    helper.setLimits(limits);
    const SNFaviconHelper::Found found = helper.searchAddress(typed);
    if (found.image.isNull()) {
        printFailure(CliMessage::NoIconFound, {found.address.isEmpty() ? url.toString() : found.address});
        return Failure;
    }
    const QImage image = found.image.largestRepresentation();
    QString output;
    if (parser.isSet(u"output"_s)) {
        output = QDir(parser.value(u"output"_s)).absolutePath();
        QByteArray png;
        QBuffer buffer(&png);
        QString error;
        if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG") ||
            !AtomicWriter::write(output, png, &error)) {
            printFailure(CliMessage::OutputNotWritten,
                         {output, error.isEmpty() ? u"the image could not be encoded as PNG"_s : error});
            return Failure;
        }
    }
    if (parser.isSet(u"json"_s)) {
        printJson(QVariantMap{{u"url"_s, found.address.isEmpty() ? url.toString() : found.address},
                              {u"source"_s, found.sourceText()},
                              {u"width"_s, image.width()},
                              {u"height"_s, image.height()},
                              {u"output"_s, output.isEmpty() ? QVariant() : QVariant(output)}});
    } else {
        print(u"%1 %2x%3"_s.arg(found.sourceText()).arg(image.width()).arg(image.height()));
    }
    return Success;
}
