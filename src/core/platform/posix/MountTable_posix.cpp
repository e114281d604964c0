#include "platform/posix/MountTable.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace tessaron::posix {

namespace {

bool IsOctal(char c) {
    return c >= '0' && c <= '7';
}

// mountinfo writes blank, tab, newline and backslash as "\ooo".
std::string UnescapeOctal(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && IsOctal(text[i + 1]) &&
            IsOctal(text[i + 2]) && IsOctal(text[i + 3])) {
            out += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 +
                                     (text[i + 3] - '0'));
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

bool ParseDevice(const std::string& field, MountEntry& entry) {
    std::size_t colon = field.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    char* end = nullptr;
    entry.Major = static_cast<unsigned>(std::strtoul(field.c_str(), &end, 10));
    if (end != field.c_str() + colon) {
        return false;
    }
    entry.Minor = static_cast<unsigned>(std::strtoul(field.c_str() + colon + 1, &end, 10));
    return *end == '\0';
}

// One mountinfo line: ID PARENT MAJ:MIN ROOT MOUNTPOINT OPTIONS [OPTIONAL...] - TYPE SOURCE
// SUPEROPTIONS.
bool ParseLine(const std::string& line, MountEntry& entry) {
    std::istringstream in(line);
    std::vector<std::string> fields;
    for (std::string field; in >> field;) {
        fields.push_back(field);
    }
    auto dash = std::find(fields.begin(), fields.end(), "-");
    if (fields.size() < 6 || dash == fields.end() || dash - fields.begin() < 6 ||
        fields.end() - dash < 3) {
        return false;
    }
    entry.MountPoint = UnescapeOctal(fields[4]);
    entry.FsType = UnescapeOctal(*(dash + 1));
    entry.Source = UnescapeOctal(*(dash + 2));
    return ParseDevice(fields[2], entry) && !entry.MountPoint.empty() && entry.MountPoint[0] == '/';
}

// True when path is folder or lies below it.
bool IsAtOrBelow(const std::string& path, const std::string& folder) {
    if (folder == "/") {
        return !path.empty() && path[0] == '/';
    }
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

std::vector<MountEntry> LoadMountTable() {
    std::ifstream in("/proc/self/mountinfo", std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return ParseMountInfo(text.str());
}

std::vector<MountEntry> ParseMountInfo(std::string_view text) {
    std::vector<MountEntry> mounts;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        MountEntry entry;
        if (ParseLine(std::string(text.substr(pos, end - pos)), entry)) {
            mounts.push_back(std::move(entry));
        }
        pos = end + 1;
    }
    return mounts;
}

bool IsPseudoFileSystem(const std::string& fsType) {
    static const std::array<const char*, 23> kPseudo = {
        "proc",      "sysfs",           "cgroup",     "cgroup2",     "devpts",
        "mqueue",    "debugfs",         "tracefs",    "securityfs",  "bpf",
        "configfs",  "fusectl",         "autofs",     "binfmt_misc", "hugetlbfs",
        "pstore",    "devtmpfs",        "nsfs",       "rpc_pipefs",  "efivarfs",
        "selinuxfs", "fuse.gvfsd-fuse", "fuse.portal"};
    return std::find_if(kPseudo.begin(), kPseudo.end(),
                        [&](const char* name) { return fsType == name; }) != kPseudo.end();
}

std::vector<MountEntry> DriveMounts(const std::vector<MountEntry>& mounts) {
    std::vector<MountEntry> drives;
    for (const MountEntry& entry : mounts) {
        bool snap = entry.FsType == "squashfs" && IsAtOrBelow(entry.MountPoint, "/snap");
        if (snap || IsPseudoFileSystem(entry.FsType) || IsAtOrBelow(entry.MountPoint, "/proc") ||
            IsAtOrBelow(entry.MountPoint, "/sys")) {
            continue;
        }
        auto same = std::find_if(drives.begin(), drives.end(), [&](const MountEntry& d) {
            return d.MountPoint == entry.MountPoint;
        });
        if (same != drives.end()) {
            *same = entry; // mounted over: the later mount is the one that is seen
        } else {
            drives.push_back(entry);
        }
    }
    std::stable_sort(drives.begin(), drives.end(), [](const MountEntry& a, const MountEntry& b) {
        if ((a.MountPoint == "/") != (b.MountPoint == "/")) {
            return a.MountPoint == "/";
        }
        return a.MountPoint < b.MountPoint;
    });
    return drives;
}

const MountEntry* HoldingMount(const std::vector<MountEntry>& mounts, const std::string& path) {
    const MountEntry* best = nullptr;
    for (const MountEntry& entry : mounts) {
        if (IsAtOrBelow(path, entry.MountPoint) &&
            (best == nullptr || entry.MountPoint.size() >= best->MountPoint.size())) {
            best = &entry;
        }
    }
    return best;
}

std::string TypeOfFileSystem(const std::string& fsType) {
    static const std::array<const char*, 16> kNetwork = {
        "nfs", "nfs4", "cifs",      "smb3",           "smbfs", "sshfs", "fuse.sshfs",  "ncpfs",
        "afs", "ceph", "glusterfs", "fuse.glusterfs", "9p",    "davfs", "fuse.rclone", "lustre"};
    if (fsType == "tmpfs" || fsType == "ramfs") {
        return "RAMDISK";
    }
    bool network = std::find_if(kNetwork.begin(), kNetwork.end(),
                                [&](const char* name) { return fsType == name; }) != kNetwork.end();
    return network ? "REMOTE" : "";
}

std::string RemovableMediaBase(const std::string& path) {
    for (const std::string base : {"/media/", "/run/media/"}) {
        if (path.compare(0, base.size(), base) != 0) {
            continue;
        }
        std::size_t user_end = path.find('/', base.size());
        if (user_end == std::string::npos || user_end == base.size()) {
            return {};
        }
        std::size_t name_end = path.find('/', user_end + 1);
        std::string mount = path.substr(0, name_end);
        return mount.size() > user_end + 1 ? mount : std::string();
    }
    return {};
}

std::string NormalizePath(const std::string& path) {
    if (path.empty() || path[0] != '/') {
        return {};
    }
    std::vector<std::string> parts;
    std::size_t pos = 0;
    while (pos < path.size()) {
        std::size_t end = path.find('/', pos);
        if (end == std::string::npos) {
            end = path.size();
        }
        std::string part = path.substr(pos, end - pos);
        if (part == "..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        pos = end + 1;
    }
    std::string out;
    for (const std::string& part : parts) {
        out += "/" + part;
    }
    return out.empty() ? "/" : out;
}

std::string DecodeUdevName(const std::string& name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name.compare(i, 2, "\\x") == 0 && i + 3 < name.size() &&
            std::isxdigit(static_cast<unsigned char>(name[i + 2])) != 0 &&
            std::isxdigit(static_cast<unsigned char>(name[i + 3])) != 0) {
            out += static_cast<char>(std::strtol(name.substr(i + 2, 2).c_str(), nullptr, 16));
            i += 3;
        } else {
            out += name[i];
        }
    }
    return out;
}

} // namespace tessaron::posix
