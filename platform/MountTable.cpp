#include "platform/MountTable.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace slicewise {

namespace {

constexpr std::uint64_t kBtrfs = 0x9123683e;

// Takes the text before the separator, and the separator, off the front.
std::string_view takeField(std::string_view &text, char separator)
{
    const std::string_view field = text.substr(0, text.find(separator));
    text.remove_prefix(field.size() == text.size() ? field.size() : field.size() + 1);
    return field;
}

template <typename Number> bool readNumber(std::string_view text, Number &number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool isOctal(char digit)
{
    return digit >= '0' && digit <= '7';
}

// The kernel writes space, tab, newline and backslash as a backslash and three octal digits.
std::string unescaped(std::string_view field)
{
    std::string text;
    text.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) && isOctal(field[i + 2]) &&
            isOctal(field[i + 3])) {
            const int code = (field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0');
            text.push_back(static_cast<char>(code & 0xff));
            i += 3;
        } else {
            text.push_back(field[i]);
        }
    }
    return text;
}

std::optional<MountLine> parseLine(std::string_view text)
{
    // 36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue
    // The number of fields before " - " varies.
    MountLine line;
    const std::string_view id = takeField(text, ' ');
    const std::string_view parent = takeField(text, ' ');
    std::string_view device = takeField(text, ' ');
    const std::string_view deviceMajor = takeField(device, ':');
    takeField(text, ' '); // what part of the file system is mounted
    const std::string_view path = takeField(text, ' ');
    takeField(text, ' '); // options
    while (!text.empty() && takeField(text, ' ') != "-") {
    }
    const std::string_view type = takeField(text, ' ');
    if (type.empty() || !path.starts_with('/') || !readNumber(id, line.id) ||
        !readNumber(parent, line.parent) || !readNumber(deviceMajor, line.deviceMajor) ||
        !readNumber(device, line.deviceMinor)) {
        return std::nullopt;
    }
    line.path = unescaped(path);
    line.type = unescaped(type);
    return line;
}

// Tells which mount a path leads to, by going there as the kernel does: from the first mount down, at each
// place on to what is mounted on it, again and again.
class MountLookup {
public:
    explicit MountLookup(const std::vector<MountLine> &lines) : m_count(lines.size())
    {
        for (const MountLine &line : lines) {
            m_parents[line.id] = line.parent;
            m_mountedAt[{line.parent, line.path}] = line.id;
            if (line.path != "/") {
                m_carriesOthers.insert(line.parent);
            }
        }
    }

    [[nodiscard]] bool canBeReached(const MountLine &line) const
    {
        const std::optional<std::uint64_t> first = firstAbove(line.id);
        if (!first) {
            return false;
        }
        std::uint64_t current = rootOfTheProcess(*first);
        const std::string_view path = line.path;
        for (std::size_t end = 1; end < path.size() && path.size() > 1; ++end) {
            end = std::min(path.find('/', end), path.size());
            current = ontoWhatIsMounted(current, path.substr(0, end));
        }
        return current == line.id;
    }

private:
    // What the line's mount hangs on in the end: a mount that hangs on itself or on none in the list.
    [[nodiscard]] std::optional<std::uint64_t> firstAbove(std::uint64_t mount) const
    {
        for (std::size_t steps = 0; steps <= m_count; ++steps) {
            const auto found = m_parents.find(mount);
            if (found == m_parents.end() || found->second == mount) {
                return mount;
            }
            mount = found->second;
        }
        return std::nullopt; // they hang on each other
    }

    // Several mounts may be piled up on "/". The process lives on one of them, which it does not leave when
    // another is put on top, and which is not the lowest where the system was started from memory. It is the
    // uppermost that other mounts hang on.
    [[nodiscard]] std::uint64_t rootOfTheProcess(std::uint64_t first) const
    {
        std::uint64_t mount = first;
        std::optional<std::uint64_t> root;
        for (std::size_t steps = 0; steps <= m_count; ++steps) {
            if (m_parents.contains(mount) && m_carriesOthers.contains(mount)) {
                root = mount;
            }
            const auto found = m_mountedAt.find({mount, "/"});
            if (found == m_mountedAt.end() || found->second == mount) {
                break;
            }
            mount = found->second;
        }
        return root.value_or(mount);
    }

    [[nodiscard]] std::uint64_t ontoWhatIsMounted(std::uint64_t mount, std::string_view place) const
    {
        for (std::size_t steps = 0; steps <= m_count; ++steps) {
            const auto found = m_mountedAt.find({mount, place});
            if (found == m_mountedAt.end() || found->second == mount) {
                break;
            }
            mount = found->second;
        }
        return mount;
    }

    std::size_t m_count;
    absl::flat_hash_set<std::uint64_t> m_carriesOthers; ///< what something hangs on elsewhere than on "/"
    absl::flat_hash_map<std::uint64_t, std::uint64_t> m_parents;
    absl::flat_hash_map<std::pair<std::uint64_t, std::string_view>, std::uint64_t> m_mountedAt;
};

} // namespace

std::vector<MountLine> parseMountTable(std::string_view text)
{
    std::vector<MountLine> lines;
    absl::flat_hash_set<std::uint64_t> seen; // a list that changes while it is read may repeat a line
    while (!text.empty()) {
        std::optional<MountLine> parsed = parseLine(takeField(text, '\n'));
        if (parsed && seen.insert(parsed->id).second) {
            lines.push_back(std::move(*parsed));
        }
    }
    const MountLookup lookup(lines);
    std::vector<MountLine> reachable;
    for (const MountLine &line : lines) {
        if (lookup.canBeReached(line)) {
            reachable.push_back(line);
        }
    }
    return reachable;
}

FileSystemKind kindOfFileSystemNamed(std::string_view type)
{
    static const absl::flat_hash_map<std::string_view, FileSystemKind> kinds = [] {
        absl::flat_hash_map<std::string_view, FileSystemKind> map;
        for (const std::string_view name :
             {"proc",           "sysfs",      "cgroup",       "cgroup2",  "cpuset",     "devtmpfs",
              "devpts",         "devfs",      "debugfs",      "tracefs",  "securityfs", "pstore",
              "efivarfs",       "bpf",        "configfs",     "fusectl",  "hugetlbfs",  "mqueue",
              "binfmt_misc",    "rpc_pipefs", "nfsd",         "nsfs",     "selinuxfs",  "smackfs",
              "apparmorfs",     "binder",     "functionfs",   "gadgetfs", "openpromfs", "resctrl",
              "sockfs",         "pipefs",     "anon_inodefs", "xenfs",    "spufs",      "usbfs",
              "usbdevfs",       "dax",        "drm",          "bdev",     "fuse.lxcfs", "fuse.portal",
              "fuse.gvfsd-fuse"}) {
            map[name] = FileSystemKind::NoStorage;
        }
        for (const std::string_view name : {"tmpfs", "ramfs", "rootfs"}) {
            map[name] = FileSystemKind::Memory;
        }
        for (const std::string_view name :
             {"nfs",    "nfs4",        "cifs",      "smb3",   "smbfs",    "smb2",   "ncpfs",
              "ncp",    "afs",         "coda",      "9p",     "virtiofs", "vboxsf", "vmhgfs",
              "prl_fs", "ceph",        "glusterfs", "lustre", "gpfs",     "beegfs", "orangefs",
              "pvfs2",  "ocfs2_dlmfs", "autofs",    "davfs",  "sshfs",    "fuse"}) {
            map[name] = FileSystemKind::Network;
        }
        for (const std::string_view name :
             {"fuseblk", "fuse.ntfs-3g", "fuse.ntfs", "fuse.exfat", "fuse.exfat-fuse", "fuse.ext2",
              "fuse.ext4", "fuse.fuse2fs", "fuse.fuseext2", "fuse.apfs", "fuse.apfs-fuse", "fuse.hfsfuse",
              "fuse.zfs"}) {
            map[name] = FileSystemKind::Storage;
        }
        for (const std::string_view name : {"overlay", "aufs", "unionfs", "fuse.fuse-overlayfs",
                                            "fuse.unionfs", "fuse.mergerfs", "fuse.bindfs"}) {
            map[name] = FileSystemKind::View;
        }
        return map;
    }();
    if (const auto found = kinds.find(type); found != kinds.end()) {
        return found->second;
    }
    return type.starts_with("fuse.") ? FileSystemKind::Network : FileSystemKind::Storage;
}

FileSystemKind kindOfFileSystemMagic(std::uint64_t magic)
{
    // The numbers are those of <linux/magic.h>, written out because some are in other headers or in none.
    static const absl::flat_hash_map<std::uint64_t, FileSystemKind> kinds = [] {
        absl::flat_hash_map<std::uint64_t, FileSystemKind> map;
        for (const std::uint64_t number :
             {0x9fa0ULL,     0x9fa1ULL,     0x9fa2ULL,     0x62656572ULL, 0x27e0ebULL,   0x63677270ULL,
              0x1373ULL,     0x1cd1ULL,     0x64626720ULL, 0x74726163ULL, 0x73636673ULL, 0x6165676cULL,
              0xde5e81e4ULL, 0xcafe4a11ULL, 0x62656570ULL, 0x65735543ULL, 0x958458f6ULL, 0x19800202ULL,
              0x42494e4dULL, 0x67596969ULL, 0x6e667364ULL, 0x6e736673ULL, 0xf97cff8cULL, 0x43415d53ULL,
              0x5a3c69f0ULL, 0x6c6f6f70ULL, 0x7655821ULL,  0x534f434bULL, 0x50495045ULL, 0x9041934ULL,
              0xabba1974ULL}) {
            map[number] = FileSystemKind::NoStorage;
        }
        for (const std::uint64_t number : {0x1021994ULL, 0x858458f6ULL}) {
            map[number] = FileSystemKind::Memory;
        }
        for (const std::uint64_t number :
             {0x6969ULL, 0xff534d42ULL, 0xfe534d42ULL, 0x517bULL, 0x564cULL, 0x5346414fULL, 0x6b414653ULL,
              0x73757245ULL, 0x1021997ULL, 0x65735546ULL, 0xc36400ULL, 0x187ULL, 0xbd00bd0ULL, 0x47504653ULL,
              0x786f4256ULL, 0xbacbacbcULL, 0x20030528ULL}) {
            map[number] = FileSystemKind::Network;
        }
        for (const std::uint64_t number : {0x794c7630ULL, 0x61756673ULL}) {
            map[number] = FileSystemKind::View;
        }
        return map;
    }();
    const auto found = kinds.find(magic);
    return found != kinds.end() ? found->second : FileSystemKind::Storage;
}

bool hasManyDeviceNumbers(std::uint64_t magic)
{
    return magic == kBtrfs;
}

} // namespace slicewise
