// clsFileSystem on Windows: what a path names, decided by the identity of files and
// folders (volume serial number and file index), never by how the path is spelled.
#include "platform/clsFileSystem.h"

#include "platform/win32/Win32Support.h"

#include <userenv.h>

namespace tessaron {

using win32::LongPath;

namespace {

// The identity of what the long path names, every link followed; false (code set) when
// it cannot be opened.
bool IdentityOf(const std::wstring& longPath, FileIdentity& id, DWORD& code) {
    win32::Handle h = win32::OpenEntry(longPath, FILE_READ_ATTRIBUTES, true);
    win32::EntryData entry;
    if (!h.Valid() || !win32::EntryOfHandle(h.Get(), entry)) {
        code = ::GetLastError();
        return false;
    }
    id = {entry.Volume, entry.File, true};
    return true;
}

// The place path names as the system resolves it: its deepest existing part ("." and
// ".." taken as Windows takes them, from the text) with every link resolved; a missing
// rest lies below it. "" when nothing of it exists.
std::wstring ResolvedPlace(const std::string& path) {
    for (std::wstring p = LongPath(path); !p.empty(); p = win32::ParentOf(p)) {
        win32::Handle h = win32::OpenEntry(p, FILE_READ_ATTRIBUTES, true);
        if (h.Valid()) {
            const std::wstring real = win32::FinalPath(h.Get());
            return real.empty() ? p : real;
        }
        if (!win32::IsNotFound(::GetLastError())) {
            return p; // there, but not to be looked into: taken as written
        }
    }
    return {};
}

// The folders in the profiles folder (C:\Users): every person's home folder.
void AddProfiles(std::vector<std::string>& places) {
    wchar_t buf[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH;
    if (!::GetProfilesDirectoryW(buf, &size)) {
        return;
    }
    const std::wstring profiles = buf;
    std::vector<std::pair<std::string, win32::EntryData>> entries;
    win32::ReadEntries(LongPath(win32::Narrow(profiles)), entries);
    for (const auto& [name, entry] : entries) {
        if (win32::KindOf(entry.Attributes, entry.ReparseTag) == FileKind::Directory) {
            places.push_back(win32::Narrow(profiles) + "\\" + name);
        }
    }
}

} // namespace

bool clsFileSystem::GetIdentity(const std::string& path, FileIdentity& id) {
    id = FileIdentity{};
    DWORD code = ERROR_FILE_NOT_FOUND;
    return (!path.empty() && IdentityOf(LongPath(path), id, code)) ||
           Fail("GetIdentity", static_cast<int>(code));
}

bool clsFileSystem::IsSameOrInside(const std::string& inner, const std::string& outer) {
    FileIdentity out;
    return GetIdentity(outer, out) && IsSameOrInside(inner, out);
}

bool clsFileSystem::IsSameOrInside(const std::string& inner, const FileIdentity& out) {
    // Each existing folder from inner's place up to its root, compared with outer.
    for (std::wstring place = ResolvedPlace(inner); !place.empty();
         place = win32::ParentOf(place)) {
        FileIdentity id;
        DWORD code = 0;
        if (IdentityOf(place, id, code) && id == out) {
            return true;
        }
    }
    return false;
}

// The root of the system drive first (it holds the system and every profile), then the
// user's profile folder and every folder in the profiles folder.
std::vector<std::string> clsFileSystem::ProtectedFolders() {
    std::vector<std::string> places;
    const std::string systemDrive = win32::EnvironmentText(L"SystemDrive");
    places.push_back((systemDrive.empty() ? std::string("C:") : systemDrive) + "\\");
    if (const std::string profile = win32::EnvironmentText(L"USERPROFILE"); !profile.empty()) {
        places.push_back(profile);
    }
    AddProfiles(places);
    return places;
}

} // namespace tessaron
