#include "core/PropertyList.h"

#include "core/AtomicWriter.h"

#include <QDateTime>
#include <QFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <memory>
#include <vector>

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

// The deepest nesting of arrays and dictionaries in an XML property list, counted from the tags
// alone (tags inside comments count too, which can only err towards refusing). The parser and
// the conversion below recurse once per level, so a hostile file could otherwise exhaust the stack.
int xmlNestingDepth(const QByteArray &data)
{
    int depth = 0;
    int deepest = 0;
    for (qsizetype at = data.indexOf('<'); at >= 0; at = data.indexOf('<', at + 1)) {
        const QByteArrayView rest = QByteArrayView(data).sliced(at + 1);
        const bool closing = rest.startsWith('/');
        const QByteArrayView name = closing ? rest.sliced(1) : rest;
        const qsizetype length = name.startsWith("array") ? 5 : name.startsWith("dict") ? 4 : 0;
        if (length == 0)
            continue;
        const QByteArrayView after = name.sliced(length);
        if (after.startsWith('/'))
            continue; // <array/>: empty, opens nothing
        if (!after.startsWith('>') && !after.startsWith(' ') && !after.startsWith('\t'))
            continue;
        depth += closing ? -1 : 1;
        deepest = std::max(deepest, depth);
    }
    return deepest;
}


// The longest chain of arrays, sets and dictionaries in a binary property list, following the
// object references from the top object as the parser does; limit + 1 when it is longer or
// there is a cycle, -1 when the object table is malformed. Walked without recursion, each object
// once.
int binaryNestingDepth(const QByteArray &data, int limit)
{
    const int refused = limit + 1;
    const int malformed = -1;
    const auto bigEndian = [&](qsizetype at, int size, quint64 *value) {
        if (size < 1 || size > 8 || at < 0 || at + size > data.size())
            return false;
        *value = 0;
        for (int i = 0; i < size; ++i)
            *value = (*value << 8) | quint8(data.at(at + i));
        return true;
    };
    if (data.size() < 8 + 32)
        return malformed;
    const qsizetype trailer = data.size() - 32;
    const int offsetSize = quint8(data.at(trailer + 6));
    const int refSize = quint8(data.at(trailer + 7));
    quint64 count = 0, top = 0, table = 0;
    if (!bigEndian(trailer + 8, 8, &count) || !bigEndian(trailer + 16, 8, &top) ||
        !bigEndian(trailer + 24, 8, &table) || count > quint64(data.size()) || top >= count ||
        table > quint64(data.size()))
        return malformed;

    // The references held by object `index` (none for a scalar); false when malformed. A string
    // with a NUL in it counts as malformed too: the library's readers abort on one.
    const auto children = [&](quint64 index, QList<quint64> *refs) {
        refs->clear();
        quint64 offset = 0;
        if (!bigEndian(qsizetype(table + index * quint64(offsetSize)), offsetSize, &offset) ||
            offset >= quint64(data.size()))
            return false;
        const quint8 marker = quint8(data.at(qsizetype(offset)));
        const int type = marker >> 4;
        if (type != 0x5 && type != 0x6 && type != 0xA && type != 0xC && type != 0xD)
            return true;
        quint64 length = marker & 0x0F;
        qsizetype at = qsizetype(offset) + 1;
        if (length == 0x0F) {
            if (at >= data.size() || (quint8(data.at(at)) >> 4) != 0x1)
                return false;
            const int lengthSize = 1 << (quint8(data.at(at)) & 0x0F);
            if (!bigEndian(at + 1, lengthSize, &length))
                return false;
            at += 1 + lengthSize;
        }
        if (type == 0x5 || type == 0x6) {
            const int unit = type == 0x5 ? 1 : 2;
            if (length > quint64(data.size()) || at + qsizetype(length) * unit > data.size())
                return false;
            for (qsizetype i = 0; i < qsizetype(length); ++i) {
                if (unit == 1 ? data.at(at + i) == 0 : (data.at(at + 2 * i) == 0 && data.at(at + 2 * i + 1) == 0))
                    return false;
            }
            return true;
        }
        const quint64 total = type == 0xD ? length * 2 : length;
        if (total > quint64(data.size()))
            return false;
        for (quint64 i = 0; i < total; ++i) {
            quint64 ref = 0;
            if (!bigEndian(at + qsizetype(i) * refSize, refSize, &ref) || ref >= count)
                return false;
            refs->append(ref);
        }
        return true;
    };

    // depth[i]: -1 not seen, -2 on the current path, else the longest chain below it.
    std::vector<int> depth(count, -1);
    struct Frame
    {
        quint64 index;
        QList<quint64> refs;
        qsizetype next = 0;
        int deepest = 0;
    };
    std::vector<Frame> path;
    bool wellFormed = true;
    const auto enter = [&](quint64 index) {
        Frame frame{index, {}, 0, 0};
        wellFormed = children(index, &frame.refs);
        if (!wellFormed)
            return false;
        depth[index] = -2;
        path.push_back(std::move(frame));
        return int(path.size()) <= limit + 1;
    };
    if (!enter(top))
        return wellFormed ? refused : malformed;
    while (!path.empty()) {
        Frame &frame = path.back();
        if (frame.next < frame.refs.size()) {
            const quint64 child = frame.refs.at(frame.next++);
            if (depth[child] == -2)
                return refused; // a cycle
            if (depth[child] >= 0) {
                frame.deepest = std::max(frame.deepest, depth[child] + 1);
                continue;
            }
            if (!enter(child))
                return wellFormed ? refused : malformed;
            continue;
        }
        const int done = frame.refs.isEmpty() ? 0 : std::max(frame.deepest, 1);
        depth[frame.index] = done;
        path.pop_back();
        if (done > limit)
            return refused;
        if (!path.empty())
            path.back().deepest = std::max(path.back().deepest, done + 1);
    }
    return depth[top];
}

} // namespace

QVariant PropertyList::fromData(const QByteArray &data, QString *error)
{
    plist_t root = nullptr;
    const bool binary = data.startsWith("bplist00");
    const int depth = binary ? binaryNestingDepth(data, MaximumDepth) : xmlNestingDepth(data);
    if (depth > MaximumDepth) {
        if (error)
            *error = QStringLiteral("The property list nests deeper than %1 levels.").arg(MaximumDepth);
        return {};
    }
    if (binary && depth >= 0) {
        plist_from_bin(data.constData(), uint32_t(data.size()), &root);
    } else if (!data.trimmed().isEmpty()) {
        plist_from_xml(data.constData(), uint32_t(data.size()), &root);
    }
    if (!root) {
        if (error)
            *error = QStringLiteral("The data is not a property list.");
        return {};
    }
    PlistPtr owner(root);
    bool tooDeep = false;
    QVariant value = toVariant(root, 0, tooDeep);
    if (tooDeep) {
        if (error)
            *error = QStringLiteral("The property list nests deeper than %1 levels.").arg(MaximumDepth);
        return {};
    }
    return value;
}

QVariant PropertyList::readFile(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return {};
    }
    return fromData(file.readAll(), error);
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
