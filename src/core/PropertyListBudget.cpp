#include "core/PropertyListBudget.h"

#include <algorithm>
#include <vector>

namespace {

using Verdict = PropertyListBudget::Verdict;

// Walks the markup as the parser tokenises it: a tag's name runs to the first blank, '<' or '>',
// the tag to the next '>', and it is empty when a '/' stands right before that '>' (so
// `<array/>`, `<array />` and `<array a="1"/>` open nothing). Comments, CDATA sections,
// processing instructions and the DOCTYPE are skipped whole, so a closing tag inside one of them
// cannot hide a level. Text outside markup bounds the strings and data the parser can decode.
Verdict checkXml(std::string_view data)
{
    constexpr auto npos = std::string_view::npos;
    int depth = 0;
    std::uint64_t values = 0;
    std::uint64_t bytes = 0;
    std::size_t at = 0;
    const auto skipPast = [&](std::string_view end, std::size_t from) {
        const std::size_t found = data.find(end, from);
        return found == npos ? data.size() : found + end.size();
    };
    while (at < data.size()) {
        const std::size_t open = data.find('<', at);
        bytes += (open == npos ? data.size() : open) - at;
        if (open == npos)
            break;
        const std::string_view rest = data.substr(open + 1);
        if (rest.starts_with("!--")) {
            at = skipPast("-->", open + 4);
            continue;
        }
        if (rest.starts_with("![CDATA[")) {
            const std::size_t from = open + 9;
            at = skipPast("]]>", from);
            bytes += at - std::min(at, from);
            continue;
        }
        if (rest.starts_with('?')) {
            at = skipPast("?>", open + 2);
            continue;
        }
        if (rest.starts_with('!')) {
            // A DOCTYPE with an internal subset ends at "]>", any other at the first '>'.
            const std::size_t close = data.find('>', open);
            const std::size_t bracket = data.find('[', open);
            at = bracket < close ? skipPast("]>", bracket) : close == npos ? data.size() : close + 1;
            continue;
        }
        const std::size_t nameEnd = data.find_first_of(" \t\r\n<>", open + 1);
        if (nameEnd == npos)
            break;
        const std::size_t close = data[nameEnd] == '>' ? nameEnd : data.find_first_of("<>", nameEnd);
        if (close == npos)
            break;
        if (data[close] == '<') { // the parser refuses a tag without its '>'
            at = close;
            continue;
        }
        at = close + 1;
        const bool empty = data[close - 1] == '/';
        std::string_view name = data.substr(open + 1, nameEnd - open - 1);
        if (empty && name.ends_with('/'))
            name.remove_suffix(1);
        if (name.starts_with('/')) {
            if ((name == "/array" || name == "/dict") && depth > 0)
                --depth;
            continue;
        }
        if (name == "plist")
            continue;
        if (++values > PropertyListBudget::MaximumValues)
            return Verdict::TooManyValues;
        if (!empty && (name == "array" || name == "dict") && ++depth > PropertyListBudget::MaximumDepth)
            return Verdict::TooDeep;
    }
    return bytes > PropertyListBudget::MaximumBytes ? Verdict::TooManyBytes : Verdict::Fits;
}

// Follows the object references from the top object as the parser does, and sizes the tree it
// would build: each object's depth, values and bytes are the sums over its references, worked
// out once per object (without recursion), so a file that shares one object a billion times is
// measured in the time it takes to read its object table. A cycle is refused as too deep.
class BinaryWalk
{
public:
    explicit BinaryWalk(std::string_view data) : m_data(data) {}

    Verdict run()
    {
        if (m_data.size() < 8 + 32)
            return Verdict::Malformed;
        const std::size_t trailer = m_data.size() - 32;
        m_offsetSize = std::uint8_t(m_data[trailer + 6]);
        m_refSize = std::uint8_t(m_data[trailer + 7]);
        std::uint64_t top = 0;
        if (!bigEndian(trailer + 8, 8, &m_count) || !bigEndian(trailer + 16, 8, &top) ||
            !bigEndian(trailer + 24, 8, &m_table) || m_count > m_data.size() || top >= m_count ||
            m_table > m_data.size())
            return Verdict::Malformed;

        m_seen.assign(m_count, Size{});
        if (const Verdict entered = enter(top); entered != Verdict::Fits)
            return entered;
        while (!m_path.empty()) {
            Frame &frame = m_path.back();
            if (frame.next < frame.refs.size()) {
                const std::uint64_t child = frame.refs[frame.next++];
                const Size &seen = m_seen[child];
                if (seen.depth == OnPath)
                    return Verdict::TooDeep;
                if (seen.depth == Unseen) {
                    if (const Verdict entered = enter(child); entered != Verdict::Fits)
                        return entered;
                    continue;
                }
                if (const Verdict added = add(frame.size, seen); added != Verdict::Fits)
                    return added;
                continue;
            }
            const Size done = frame.size;
            m_seen[frame.index] = done;
            m_path.pop_back();
            if (!m_path.empty()) {
                if (const Verdict added = add(m_path.back().size, done); added != Verdict::Fits)
                    return added;
            }
        }
        return Verdict::Fits;
    }

private:
    static constexpr int Unseen = -1;
    static constexpr int OnPath = -2;

    // The tree below an object: the depth of its containers, its values and its bytes.
    struct Size
    {
        int depth = Unseen;
        std::uint64_t values = 0;
        std::uint64_t bytes = 0;
    };
    struct Frame
    {
        std::uint64_t index;
        std::vector<std::uint64_t> refs;
        std::size_t next = 0;
        Size size;
    };

    bool bigEndian(std::uint64_t at, int size, std::uint64_t *value) const
    {
        if (size < 1 || size > 8 || at > m_data.size() || m_data.size() - at < std::uint64_t(size))
            return false;
        *value = 0;
        for (int i = 0; i < size; ++i)
            *value = (*value << 8) | std::uint8_t(m_data[at + i]);
        return true;
    }

    // Adds a finished child's tree to its parent's; each limit is checked after every step, so
    // the sums never pass twice the limit and cannot overflow.
    static Verdict add(Size &parent, const Size &child)
    {
        parent.depth = std::max(parent.depth, child.depth + 1);
        parent.values += child.values;
        parent.bytes += child.bytes;
        if (parent.depth > PropertyListBudget::MaximumDepth)
            return Verdict::TooDeep;
        if (parent.values > PropertyListBudget::MaximumValues)
            return Verdict::TooManyValues;
        if (parent.bytes > PropertyListBudget::MaximumBytes)
            return Verdict::TooManyBytes;
        return Verdict::Fits;
    }

    // Reads object `index`: its own bytes and the references it holds. A string with a NUL in
    // it is malformed too: the parser aborts on one.
    Verdict enter(std::uint64_t index)
    {
        Frame frame{index, {}, 0, {}};
        std::uint64_t offset = 0;
        if (!bigEndian(m_table + index * m_offsetSize, m_offsetSize, &offset) || offset >= m_data.size())
            return Verdict::Malformed;
        const std::uint8_t marker = std::uint8_t(m_data[offset]);
        const int type = marker >> 4;
        frame.size.depth = 0;
        frame.size.values = 1;
        if (type == 0x4 || type == 0x5 || type == 0x6 || type == 0xA || type == 0xC || type == 0xD) {
            std::uint64_t length = marker & 0x0F;
            std::uint64_t at = offset + 1;
            if (length == 0x0F) {
                if (at >= m_data.size() || (std::uint8_t(m_data[at]) >> 4) != 0x1)
                    return Verdict::Malformed;
                const int lengthSize = 1 << (std::uint8_t(m_data[at]) & 0x0F);
                if (!bigEndian(at + 1, lengthSize, &length))
                    return Verdict::Malformed;
                at += 1 + lengthSize;
            }
            const std::uint64_t available = m_data.size() - std::min<std::uint64_t>(at, m_data.size());
            if (type == 0x4 || type == 0x5 || type == 0x6) {
                const std::uint64_t unit = type == 0x6 ? 2 : 1;
                if (length > available / unit)
                    return Verdict::Malformed;
                if (type != 0x4) {
                    for (std::uint64_t i = 0; i < length; ++i) {
                        if (unit == 1 ? m_data[at + i] == 0
                                      : (m_data[at + 2 * i] == 0 && m_data[at + 2 * i + 1] == 0))
                            return Verdict::Malformed;
                    }
                }
                frame.size.bytes = length * unit;
            } else {
                const std::uint64_t total = type == 0xD ? length * 2 : length;
                if (m_refSize < 1 || total > available / m_refSize)
                    return Verdict::Malformed;
                frame.refs.reserve(total);
                for (std::uint64_t i = 0; i < total; ++i) {
                    std::uint64_t ref = 0;
                    if (!bigEndian(at + i * m_refSize, m_refSize, &ref) || ref >= m_count)
                        return Verdict::Malformed;
                    frame.refs.push_back(ref);
                }
                // A container is a level even when empty.
                frame.size.depth = 1;
            }
        }
        if (frame.size.bytes > PropertyListBudget::MaximumBytes)
            return Verdict::TooManyBytes;
        m_seen[index].depth = OnPath;
        m_path.push_back(std::move(frame));
        return m_path.size() > std::size_t(PropertyListBudget::MaximumDepth) + 1 ? Verdict::TooDeep
                                                                                 : Verdict::Fits;
    }

    std::string_view m_data;
    int m_offsetSize = 0;
    int m_refSize = 0;
    std::uint64_t m_count = 0;
    std::uint64_t m_table = 0;
    std::vector<Size> m_seen;
    std::vector<Frame> m_path;
};

} // namespace

PropertyListBudget::Verdict PropertyListBudget::check(std::string_view data)
{
    return data.starts_with("bplist00") ? BinaryWalk(data).run() : checkXml(data);
}

std::string PropertyListBudget::reason(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Fits:
        return {};
    case Verdict::TooDeep:
        return "it nests arrays and dictionaries deeper than " + std::to_string(MaximumDepth) + " levels";
    case Verdict::TooManyValues:
        return "it holds more than " + std::to_string(MaximumValues) +
               " values, counting every shared reference";
    case Verdict::TooManyBytes:
        return "it holds more than " + std::to_string(MaximumBytes / (1024 * 1024)) +
               " MB of strings and data, counting every shared reference";
    case Verdict::Malformed:
        return "it is not a property list";
    }
    return {};
}
