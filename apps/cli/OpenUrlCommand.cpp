#include "OpenUrlCommand.h"

#include "companion/DeepLinkChannel.h"

#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int AnswerTimeoutMs = 5000;
} // namespace

void OpenUrlCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"URL"_s, u"For example sorvane://edit-app?id=<app id>."_s);
}

int OpenUrlCommand::run(const QCommandLineParser &parser, Context &)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1 || !DeepLinkChannel::isSendable(arguments.constFirst())) {
        printFailure(CliMessage::LinkNotSendable, {QString::number(DeepLinkChannel::MaximumLineBytes)});
        return BadUsage;
    }
    QString error;
    switch (DeepLinkChannel::sendToRunningInstance(arguments.constFirst(), AnswerTimeoutMs, &error)) {
    case DeepLinkChannel::SendResult::Delivered:
        if (parser.isSet(u"json"_s))
            printJson(QVariantMap{{u"delivered"_s, true}});
        return Success;
    case DeepLinkChannel::SendResult::NoInstance:
    case DeepLinkChannel::SendResult::Failed:
        break;
    }
    if (parser.isSet(u"json"_s))
        printJson(QVariantMap{{u"delivered"_s, false}, {u"error"_s, error}});
    printFailure(CliMessage::LinkNotDelivered, {error});
    return Failure;
}
