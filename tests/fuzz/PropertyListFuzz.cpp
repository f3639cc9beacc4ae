// Any bytes as a property list: the reader must answer without crashing, however deep or
// malformed the input; what it reads (up to a size) must write back and read again.

#include "core/PropertyList.h"

#include <cstdint>
#include <cstdlib>

namespace {

// Values in a tree, stopping past `limit`; the tree is at most PropertyList::MaximumDepth deep.
qsizetype countValues(const QVariant &value, qsizetype limit)
{
    qsizetype count = 1;
    if (value.typeId() == QMetaType::QVariantList) {
        for (const QVariant &item : value.toList()) {
            if ((count += countValues(item, limit - count)) > limit)
                break;
        }
    } else if (value.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend() && count <= limit; ++it)
            count += countValues(it.value(), limit - count);
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QVariant value = PropertyList::fromData(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    // Shared references let a small input expand to a large tree within the budget; writing such a
    // tree back is slow under the sanitizers and adds nothing, so only smaller trees go round.
    if (!value.isValid() || countValues(value, 10000) > 10000)
        return 0;
    const QByteArray xml = PropertyList::toXml(value);
    if (!xml.isEmpty() && !PropertyList::fromData(xml).isValid())
        std::abort();
    return 0;
}
