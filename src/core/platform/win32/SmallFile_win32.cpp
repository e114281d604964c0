#include "platform/SmallFile.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text,
                   std::string& reason) {
    // Only a file on a disk is read: a pipe or device name could block or never end.
    win32::Handle file(::CreateFileW(win32::LongPath(path).c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (path.empty() || !file.Valid()) {
        reason = win32::ErrorText(path.empty() ? ERROR_FILE_NOT_FOUND : ::GetLastError());
        return false;
    }
    BY_HANDLE_FILE_INFORMATION info{};
    LARGE_INTEGER size{};
    if (!::GetFileInformationByHandle(file.Get(), &info) || !::GetFileSizeEx(file.Get(), &size)) {
        reason = win32::ErrorText(::GetLastError());
        return false;
    }
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        reason = win32::ErrorText(ERROR_DIRECTORY);
        return false;
    }
    if (::GetFileType(file.Get()) != FILE_TYPE_DISK) {
        reason = "Not a regular file";
        return false;
    }
    if (static_cast<unsigned long long>(size.QuadPart) > maxBytes) {
        reason = "File is larger than " + std::to_string(maxBytes >> 20) + " MiB";
        return false;
    }
    std::string content(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD got = 0;
    if (!content.empty() && !::ReadFile(file.Get(), content.data(),
                                        static_cast<DWORD>(content.size()), &got, nullptr)) {
        reason = win32::ErrorText(::GetLastError());
        return false;
    }
    content.resize(got); // the file may have shrunk since its size was read
    text = std::move(content);
    return true;
}

} // namespace tessaron
