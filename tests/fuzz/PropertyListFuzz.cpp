// Any bytes as a property list: the reader must answer without crashing, however deep or
// malformed the input; what it reads must write back and read again to the same value.

#include "core/PropertyList.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QVariant value = PropertyList::fromData(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (!value.isValid())
        return 0;
    const QByteArray xml = PropertyList::toXml(value);
    if (!xml.isEmpty() && !PropertyList::fromData(xml).isValid())
        std::abort();
    return 0;
}
