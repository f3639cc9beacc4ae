#include "PlutilTool.h"

#include "core/PropertyListBudget.h"

#include <plist/plist.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using PlistPointer = std::unique_ptr<void, decltype(&plist_free)>;

struct Replacement
{
    std::vector<std::string> keyPath;
    std::string type;
    std::string value;
};

std::vector<std::string> splitKeyPath(const std::string &keyPath)
{
    std::vector<std::string> keys(1);
    for (size_t i = 0; i < keyPath.size(); ++i) {
        const char c = keyPath[i];
        if (c == '\\' && i + 1 < keyPath.size() && (keyPath[i + 1] == '.' || keyPath[i + 1] == '\\'))
            keys.back() += keyPath[++i];
        else if (c == '.')
            keys.emplace_back();
        else
            keys.back() += c;
    }
    return keys;
}

bool parseIndex(const std::string &text, uint32_t *index)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    *index = static_cast<uint32_t>(std::stoul(text));
    return true;
}

plist_t newValue(const Replacement &replacement, std::string *error)
{
    if (replacement.type == "-string")
        return plist_new_string(replacement.value.c_str());
    if (replacement.type == "-bool") {
        const std::string &v = replacement.value;
        if (v == "YES" || v == "true" || v == "1")
            return plist_new_bool(1);
        if (v == "NO" || v == "false" || v == "0")
            return plist_new_bool(0);
        *error = "invalid value for -bool: " + v;
        return nullptr;
    }
    const std::string &v = replacement.value;
    if (v.empty() || v.size() > 18 || v.find_first_not_of("0123456789") != std::string::npos) {
        *error = "invalid value for -integer (whole numbers from 0 only): " + v;
        return nullptr;
    }
    return plist_new_uint(std::stoull(v));
}

// Sets the value at the key path; containers on the way must exist, the last key may be new.
bool replaceAt(plist_t root, const Replacement &replacement, std::string *error)
{
    const std::string notFound = "No value at that key path or invalid key path";
    plist_t node = root;
    for (size_t i = 0; i + 1 < replacement.keyPath.size(); ++i) {
        const std::string &key = replacement.keyPath[i];
        uint32_t index = 0;
        if (plist_get_node_type(node) == PLIST_DICT)
            node = plist_dict_get_item(node, key.c_str());
        else if (plist_get_node_type(node) == PLIST_ARRAY && parseIndex(key, &index) &&
                 index < plist_array_get_size(node))
            node = plist_array_get_item(node, index);
        else
            node = nullptr;
        if (!node) {
            *error = notFound;
            return false;
        }
    }
    const std::string &last = replacement.keyPath.back();
    uint32_t index = 0;
    const plist_type type = plist_get_node_type(node);
    if (type != PLIST_DICT &&
        !(type == PLIST_ARRAY && parseIndex(last, &index) && index < plist_array_get_size(node))) {
        *error = notFound;
        return false;
    }
    plist_t value = newValue(replacement, error);
    if (!value)
        return false;
    if (type == PLIST_DICT)
        plist_dict_set_item(node, last.c_str(), value);
    else
        plist_array_set_item(node, value, index);
    return true;
}

bool readWhole(const std::string &path, std::string *data, struct stat *info)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool ok = fstat(fd, info) == 0 && S_ISREG(info->st_mode);
    char buffer[65536];
    while (ok) {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            ok = false;
        if (count <= 0)
            break;
        data->append(buffer, static_cast<size_t>(count));
    }
    close(fd);
    return ok;
}

// The new text lands in a temporary file beside the old one, is synced, and only then replaces
// it; the folder is synced after the rename. On any failure the old file stays as it was and
// errno says why.
bool writeAtomically(const std::string &path, const char *data, size_t size, mode_t mode)
{
    const std::string::size_type slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temporary = folder + "/." + name.substr(0, 200) + ".plutil-XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    bool ok = fchmod(fd, mode & 07777) == 0;
    size_t written = 0;
    while (ok && written < size) {
        const ssize_t count = write(fd, data + written, size - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0)
            errno = EIO;
        if (count <= 0)
            ok = false;
        else
            written += static_cast<size_t>(count);
    }
    while (ok && fsync(fd) != 0) {
        if (errno != EINTR)
            ok = false;
    }
    int code = errno;
    if (close(fd) != 0 && ok) {
        ok = false;
        code = errno;
    }
    if (ok && rename(temporary.c_str(), path.c_str()) != 0) {
        ok = false;
        code = errno;
    }
    if (!ok) {
        unlink(temporary.c_str());
        errno = code;
        return false;
    }
    const int folderFd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd >= 0) {
        // A file system that cannot sync a folder says EINVAL.
        ok = fsync(folderFd) == 0 || errno == EINVAL;
        code = errno;
        close(folderFd);
        errno = code;
    }
    return ok;
}

// Held while a file is read, changed and written back: Sorvane itself edits the app registry
// under the same "<file>.lock", so an app's start never undoes a record another process just
// added. The kernel drops the lock when the process ends.
class EditLock
{
public:
    explicit EditLock(const std::string &path)
        : m_fd(open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {
        while (m_fd >= 0 && flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~EditLock()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    EditLock(const EditLock &) = delete;
    EditLock &operator=(const EditLock &) = delete;

private:
    int m_fd;
};

bool editFile(const std::string &path, const Replacement &replacement)
{
    const EditLock lock(path);
    std::string data;
    struct stat info
    {
    };
    if (!readWhole(path, &data, &info)) {
        std::fprintf(stderr, "%s: file does not exist or is not readable or is not a regular file\n",
                     path.c_str());
        return false;
    }
    // Over budget, the parser would take all memory or overflow the stack.
    const PropertyListBudget::Verdict verdict = PropertyListBudget::check(data);
    if (verdict != PropertyListBudget::Verdict::Fits && verdict != PropertyListBudget::Verdict::Malformed) {
        std::fprintf(stderr, "%s: Property List error: %s\n", path.c_str(),
                     PropertyListBudget::reason(verdict).c_str());
        return false;
    }
    plist_t parsed = nullptr;
    if (!data.empty() && data.size() < UINT32_MAX && verdict == PropertyListBudget::Verdict::Fits)
        plist_from_memory(data.data(), static_cast<uint32_t>(data.size()), &parsed);
    const PlistPointer root(parsed, &plist_free);
    if (!root) {
        std::fprintf(stderr, "%s: Property List error: the file is not a property list\n", path.c_str());
        return false;
    }
    std::string error;
    if (!replaceAt(root.get(), replacement, &error)) {
        std::fprintf(stderr, "%s: Could not modify plist, error: %s\n", path.c_str(), error.c_str());
        return false;
    }
    const bool binary = plist_is_binary(data.data(), static_cast<uint32_t>(data.size())) != 0;
    char *out = nullptr;
    uint32_t length = 0;
    if (binary)
        plist_to_bin(root.get(), &out, &length);
    else
        plist_to_xml(root.get(), &out, &length);
    const bool ok = out && writeAtomically(path, out, length, info.st_mode);
    const int code = out ? errno : ENOMEM;
    if (binary)
        plist_to_bin_free(out);
    else
        plist_to_xml_free(out);
    if (!ok)
        std::fprintf(stderr, "%s: Could not write the property list: %s\n", path.c_str(),
                     std::strerror(code));
    return ok;
}

} // namespace

int PlutilTool::run(const std::vector<std::string> &arguments)
{
    const bool supported =
        arguments.size() >= 5 && arguments[0] == "-replace" && !arguments[1].empty() &&
        (arguments[2] == "-string" || arguments[2] == "-bool" || arguments[2] == "-integer");
    if (!supported) {
        std::fprintf(stderr, "plutil: only \"plutil -replace KEYPATH -string|-bool|-integer VALUE FILE...\" "
                             "is available on this system\n");
        return 1;
    }
    const Replacement replacement{splitKeyPath(arguments[1]), arguments[2], arguments[3]};
    bool ok = true;
    for (size_t i = 4; i < arguments.size(); ++i)
        ok = editFile(arguments[i], replacement) && ok;
    return ok ? 0 : 1;
}
