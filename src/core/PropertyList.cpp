#include "core/PropertyList.h"

#include "core/AtomicWriter.h"
#include "core/PropertyListBudget.h"

#include <QDateTime>
#include <QFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <memory>
#include <string_view>

namespace {

// Seconds between the Unix epoch and the property-list epoch (2001-01-01 UTC).
constexpr qint64 plistEpochOffset = 978307200;

struct PlistFree
{
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// `depth` counts the arrays and dictionaries around `node`; past the limit `tooDeep` is set and
// the value left out, so the recursion stays bounded whatever the input.
QVariant toVariant(plist_t node, int depth, bool &tooDeep)
{
    if (depth > PropertyList::MaximumDepth) {
        tooDeep = true;
        return {};
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return qlonglong(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        uint64_t length = 0;
        const char *value = plist_get_string_ptr(node, &length);
        return value ? QString::fromUtf8(value, qsizetype(length)) : QString();
    }
    case PLIST_DATA: {
        char *value = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &value, &length);
        const QByteArray bytes(value, qsizetype(length));
        free(value);
        return bytes;
    }
    case PLIST_DATE: {
        int32_t sec = 0, usec = 0;
        plist_get_date_val(node, &sec, &usec);
        return QDateTime::fromMSecsSinceEpoch((plistEpochOffset + sec) * 1000 + usec / 1000, QTimeZone::utc());
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t count = plist_array_get_size(node);
        list.reserve(count);
        for (uint32_t i = 0; i < count; ++i)
            list.append(toVariant(plist_array_get_item(node, i), depth + 1, tooDeep));
        return list;
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char *key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!key)
                break;
            map.insert(QString::fromUtf8(key), toVariant(value, depth + 1, tooDeep));
            free(key);
        }
        free(it);
        return map;
    }
    case PLIST_UID: {
        uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return qulonglong(value);
    }
    default:
        return {};
    }
}

plist_t fromVariant(const QVariant &value, QString *error)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
        return plist_new_uint(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime: {
        const qint64 msecs = value.toDateTime().toMSecsSinceEpoch() - plistEpochOffset * 1000;
        return plist_new_date(int32_t(msecs / 1000), int32_t((msecs % 1000) * 1000));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        PlistPtr array(plist_new_array());
        for (const QVariant &item : value.toList()) {
            plist_t node = fromVariant(item, error);
            if (!node)
                return nullptr;
            plist_array_append_item(array.get(), node);
        }
        return array.release();
    }
    case QMetaType::QVariantMap: {
        PlistPtr dict(plist_new_dict());
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            plist_t node = fromVariant(it.value(), error);
            if (!node)
                return nullptr;
            plist_dict_set_item(dict.get(), it.key().toUtf8().constData(), node);
        }
        return dict.release();
    }
    default:
        if (error)
            *error = QStringLiteral("A value of type %1 cannot be stored in a property list.")
                         .arg(QString::fromLatin1(value.typeName() ? value.typeName() : "invalid"));
        return nullptr;
    }
}

} // namespace

QVariant PropertyList::fromData(const QByteArray &data, QString *error, const QString &source)
{
    const auto refuse = [&](const QString &reason) {
        if (error)
            *error = source.isEmpty() ? QStringLiteral("Cannot read the property list: %1.").arg(reason)
                                      : QStringLiteral("Cannot read the property list %1: %2.").arg(source, reason);
        return QVariant();
    };
    // Measured before the parser runs: it recurses once per level and copies shared objects.
    const PropertyListBudget::Verdict verdict =
        PropertyListBudget::check(std::string_view(data.constData(), std::size_t(data.size())));
    if (verdict != PropertyListBudget::Verdict::Fits)
        return refuse(QString::fromStdString(PropertyListBudget::reason(verdict)));
    plist_t root = nullptr;
    if (data.startsWith("bplist00"))
        plist_from_bin(data.constData(), uint32_t(data.size()), &root);
    else if (!data.trimmed().isEmpty())
        plist_from_xml(data.constData(), uint32_t(data.size()), &root);
    if (!root)
        return refuse(QString::fromStdString(PropertyListBudget::reason(PropertyListBudget::Verdict::Malformed)));
    PlistPtr owner(root);
    bool tooDeep = false;
    QVariant value = toVariant(root, 0, tooDeep);
    if (tooDeep)
        return refuse(QString::fromStdString(PropertyListBudget::reason(PropertyListBudget::Verdict::TooDeep)));
    return value;
}

QVariant PropertyList::readFile(const QString &path, QString *error)
{
    const QString source = QLatin1Char('"') + path + QLatin1Char('"');
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("Cannot read the property list %1: %2.").arg(source, file.errorString());
        return {};
    }
    // Larger than any value tree the budget lets through, so not worth reading.
    if (quint64(file.size()) > PropertyListBudget::MaximumBytes * 2) {
        if (error)
            *error = QStringLiteral("Cannot read the property list %1: it is larger than %2 MB.")
                         .arg(source)
                         .arg(PropertyListBudget::MaximumBytes * 2 / (1024 * 1024));
        return {};
    }
    return fromData(file.readAll(), error, source);
}

QByteArray PropertyList::toXml(const QVariant &value, QString *error)
{
    PlistPtr root(fromVariant(value, error));
    if (!root)
        return {};
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root.get(), &xml, &length);
    const QByteArray bytes(xml, qsizetype(length));
    plist_to_xml_free(xml);
    return bytes;
}

bool PropertyList::writeFile(const QString &path, const QVariant &value, QString *error)
{
    const QByteArray xml = toXml(value, error);
    if (xml.isEmpty())
        return false;
    return AtomicWriter::write(path, xml, error);
}
