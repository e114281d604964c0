// clsFileSystem on Windows: drives, ejecting a medium, and the program's own folders.
#include "platform/clsFileSystem.h"

#include "platform/Trim.h"
#include "platform/win32/Win32Support.h"

#include <cctype>
#include <chrono>
#include <cwchar>
#include <thread>
#include <winioctl.h>
#include <winnetwk.h>

namespace tessaron {

using win32::LongPath;

namespace {

constexpr int kLockAttempts = 10;

// The root of the volume that holds path ("C:\", a mounted folder, "\\srv\share\"), so
// that any path, not only a root, can be asked about; "" (the thread's last error set)
// when there is none.
std::wstring VolumeRoot(const std::string& path) {
    if (path.empty()) {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    std::wstring wide = win32::Widen(path);
    wchar_t root[MAX_PATH + 1];
    if (!::GetVolumePathNameW(wide.c_str(), root, MAX_PATH + 1)) {
        return {};
    }
    return root;
}

std::string DriveTypeName(UINT type) {
    switch (type) {
    case DRIVE_REMOVABLE:
        return "REMOVABLE";
    case DRIVE_FIXED:
        return "FIXED";
    case DRIVE_REMOTE:
        return "REMOTE";
    case DRIVE_CDROM:
        return "CDROM";
    case DRIVE_RAMDISK:
        return "RAMDISK";
    default:
        return {};
    }
}

bool DiskSpace(const std::string& path, double& total, double& free) {
    ULARGE_INTEGER available{};
    ULARGE_INTEGER all{};
    const std::wstring root = VolumeRoot(path);
    if (root.empty() || !::GetDiskFreeSpaceExW(root.c_str(), &available, &all, nullptr)) {
        return false;
    }
    total = static_cast<double>(all.QuadPart);
    free = static_cast<double>(available.QuadPart);
    return true;
}

bool IsWritableFolder(const std::string& dir) {
    const std::wstring probe = LongPath(dir + "\\.tessaron-probe");
    win32::Handle file(::CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE,
                                     nullptr));
    return file.Valid();
}

} // namespace

std::string clsFileSystem::GetDriveType(const std::string& path) {
    const std::wstring root = VolumeRoot(path);
    const std::string type =
        root.empty() ? std::string() : DriveTypeName(::GetDriveTypeW(root.c_str()));
    if (type.empty()) {
        Fail("GetDriveType", root.empty() ? ::GetLastError() : ERROR_INVALID_DRIVE);
    }
    return type;
}

double clsFileSystem::GetDriveFreeSpace(const std::string& path) {
    double total = 0;
    double free = 0;
    if (!DiskSpace(path, total, free)) {
        Fail("GetDriveFreeSpace", ::GetLastError());
        return 0;
    }
    return free;
}

std::string clsFileSystem::GetDriveVolume(const std::string& path) {
    const std::wstring root = VolumeRoot(path);
    wchar_t name[MAX_PATH + 1] = {};
    wchar_t system[MAX_PATH + 1] = {};
    if (root.empty() || !::GetVolumeInformationW(root.c_str(), name, MAX_PATH + 1, nullptr, nullptr,
                                                 nullptr, system, MAX_PATH + 1)) {
        return {};
    }
    return TrimSpaces(win32::Narrow(name));
}

std::string clsFileSystem::GetDriveUNC(const std::string& path) {
    // "F:", "F:\" and "F:\Backup" all name the drive "F:".
    if (path.size() < 2 || path[1] != ':') {
        return {};
    }
    const std::wstring drive = win32::Widen(path.substr(0, 2));
    wchar_t share[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH + 1;
    if (::WNetGetConnectionW(drive.c_str(), share, &size) != NO_ERROR) {
        return {};
    }
    return TrimSpaces(win32::Narrow(share));
}

int clsFileSystem::GetDrives() {
    Items.clear();
    wchar_t buf[512] = {};
    const DWORD n = ::GetLogicalDriveStringsW(static_cast<DWORD>(std::size(buf)), buf);
    if (n == 0 || n > std::size(buf)) {
        Fail("GetDirectory", n == 0 ? ::GetLastError() : ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    for (const wchar_t* root = buf; *root != L'\0'; root += std::wcslen(root) + 1) {
        clsFSItem item;
        item.Path = win32::Narrow(root);
        item.IsDrive = true;
        item.DriveType = DriveTypeName(::GetDriveTypeW(root));
        DiskSpace(item.Path, item.Size, item.FreeSpace);
        if (item.DriveType == "REMOTE") {
            item.Description = GetDriveUNC(item.Path);
        } else if (item.DriveType != "RAMDISK" && !item.DriveType.empty() && item.Size > 0) {
            item.Description = GetDriveVolume(item.Path);
        }
        Items.push_back(std::move(item));
    }
    return static_cast<int>(Items.size());
}

bool clsFileSystem::EjectMedia(const std::string& path) {
    const std::string drive = path.substr(0, 2);
    if (drive.size() < 2 || drive[1] != ':' ||
        std::toupper(static_cast<unsigned char>(drive[0])) < 'C') {
        return Fail("EjectMedia", ERROR_NOT_SUPPORTED); // no drive letter, or a floppy's
    }
    const std::string type = GetDriveType(drive + "\\");
    DWORD access = GENERIC_READ;
    if (type == "REMOVABLE") {
        access |= GENERIC_WRITE;
    } else if (type.empty()) {
        return false;
    } else if (type != "CDROM") {
        return Fail("EjectMedia", ERROR_NOT_SUPPORTED);
    }
    const std::wstring volume = L"\\\\.\\" + win32::Widen(drive);
    win32::Handle handle(::CreateFileW(volume.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, 0, nullptr));
    if (!handle.Valid()) {
        return Fail("EjectMedia", ::GetLastError());
    }
    DWORD bytes = 0;
    bool locked = false;
    for (int attempt = 0; attempt < kLockAttempts && !locked; ++attempt) {
        locked = ::DeviceIoControl(handle.Get(), FSCTL_LOCK_VOLUME, nullptr, 0, nullptr, 0, &bytes,
                                   nullptr) != 0;
        if (!locked) {
            WaitBeforeRetry();
        }
    }
    PREVENT_MEDIA_REMOVAL allow{};
    allow.PreventMediaRemoval = FALSE;
    // Closing the handle releases the lock: no explicit unlock.
    const bool ejected = locked &&
                         ::DeviceIoControl(handle.Get(), FSCTL_DISMOUNT_VOLUME, nullptr, 0, nullptr,
                                           0, &bytes, nullptr) &&
                         ::DeviceIoControl(handle.Get(), IOCTL_STORAGE_MEDIA_REMOVAL, &allow,
                                           sizeof allow, nullptr, 0, &bytes, nullptr) &&
                         ::DeviceIoControl(handle.Get(), IOCTL_STORAGE_EJECT_MEDIA, nullptr, 0,
                                           nullptr, 0, &bytes, nullptr);
    return ejected || Fail("EjectMedia", ::GetLastError());
}

// Between lock attempts: one yield to the user interface with UseDoEvents, else a
// second's sleep.
void clsFileSystem::WaitBeforeRetry() {
    if (UseDoEvents) {
        Yield();
    } else {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

std::string clsFileSystem::ProgramDir() {
    std::wstring exe(MAX_PATH, L'\0');
    for (;;) {
        const DWORD n = ::GetModuleFileNameW(nullptr, exe.data(), static_cast<DWORD>(exe.size()));
        if (n == 0) {
            return {};
        }
        if (n < exe.size()) {
            exe.resize(n);
            break;
        }
        exe.resize(exe.size() * 2);
    }
    const std::size_t slash = exe.find_last_of(L'\\');
    return slash == std::wstring::npos ? std::string() : win32::Narrow(exe.substr(0, slash));
}

std::string clsFileSystem::ProgramLogDir() {
    const std::string program = ProgramDir();
    if (!program.empty()) {
        const std::string beside = program + "\\Log";
        const std::string saved = LastError;
        const SysError savedInfo = LastErrorInfo;
        if (CreateDirectories(beside) && IsWritableFolder(beside)) {
            return beside;
        }
        LastError = saved; // falling back is not a failure
        LastErrorInfo = savedInfo;
    }
    const std::string local = win32::EnvironmentText(L"LOCALAPPDATA");
    if (local.empty()) {
        Fail("ProgramLogDir", ERROR_ENVVAR_NOT_FOUND);
        return {};
    }
    const std::string dir = local + "\\VELQO\\Tessaron\\Log";
    if (!CreateDirectories(dir)) {
        return {};
    }
    if (!IsWritableFolder(dir)) {
        Fail("ProgramLogDir", ERROR_ACCESS_DENIED);
        return {};
    }
    return dir;
}

} // namespace tessaron
