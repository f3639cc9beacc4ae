// Any bytes as an app name (the first line) and a launcher script (the rest): the reader must
// answer without crashing or hanging, and keep the name it was given.

#include "maintenance/AppScriptReader.h"

#include <QString>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString input = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype lineEnd = input.indexOf(u'\n');
    const QString name = lineEnd < 0 ? input : input.left(lineEnd);
    const QString script = lineEnd < 0 ? QString() : input.mid(lineEnd + 1);
    const std::optional<QVariantMap> info = AppScriptReader::appInfo(name, script);
    if (info && info->value(QStringLiteral("appName")).toString() != name)
        std::abort();
    AppScriptReader::browserTypeFromEngineLineInScript(script);
    return 0;
}
