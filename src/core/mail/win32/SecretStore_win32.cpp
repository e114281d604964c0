// The SMTP password on Windows: the Credential Manager (a generic credential per user and
// server), and the password file, read when its owner is the user and its access list
// lets nobody else read it.
#include "mail/SecretStore.h"

#include "platform/win32/Win32Support.h"

#include <aclapi.h>
#include <sddl.h>
#include <wincred.h>

#include <memory>

namespace tessaron {

namespace {

std::wstring TargetOf(const std::string& server, const std::string& user) {
    return win32::Widen("Tessaron SMTP/" + user + "@" + server);
}

class CredentialManager : public SecretStore {
public:
    std::string Name() const override { return "the Windows Credential Manager"; }

    SecretLookup Lookup(const std::string& server, const std::string& user) override {
        SecretLookup r;
        PCREDENTIALW found = nullptr;
        const std::wstring target = TargetOf(server, user);
        if (::CredReadW(target.c_str(), CRED_TYPE_GENERIC, 0, &found)) {
            r.Found = true;
            r.Value.assign(reinterpret_cast<const char*>(found->CredentialBlob),
                           found->CredentialBlobSize);
            ::SecureZeroMemory(found->CredentialBlob, found->CredentialBlobSize);
            ::CredFree(found);
        } else if (const DWORD error = ::GetLastError(); error != ERROR_NOT_FOUND) {
            r.Why = "the Credential Manager could not be asked: " + win32::ErrorText(error);
        }
        return r;
    }

    std::string Store(const std::string& server, const std::string& user,
                      const std::string& password) override {
        std::wstring target = TargetOf(server, user);
        std::wstring name = win32::Widen(user);
        std::string blob = password;
        CREDENTIALW c{};
        c.Type = CRED_TYPE_GENERIC;
        c.TargetName = target.data();
        c.UserName = name.data();
        c.CredentialBlobSize = static_cast<DWORD>(blob.size());
        c.CredentialBlob = reinterpret_cast<LPBYTE>(blob.data());
        c.Persist = CRED_PERSIST_LOCAL_MACHINE;
        if (::CredWriteW(&c, 0))
            return "";
        return "the Credential Manager did not keep it: " + win32::ErrorText(::GetLastError());
    }
};

struct LocalFreer {
    void operator()(void* p) const { ::LocalFree(p); }
};

// The user this process runs as; null when it cannot be told.
std::unique_ptr<BYTE[]> TokenUser() {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token))
        return nullptr;
    DWORD size = 0;
    ::GetTokenInformation(token, ::TokenUser, nullptr, 0, &size);
    auto buf = std::make_unique<BYTE[]>(size);
    const bool ok = ::GetTokenInformation(token, ::TokenUser, buf.get(), size, &size);
    ::CloseHandle(token);
    return ok ? std::move(buf) : nullptr;
}

bool IsWellKnown(PSID sid, WELL_KNOWN_SID_TYPE type) {
    return ::IsWellKnownSid(sid, type) != FALSE;
}

// Whether an access list lets anyone but the owner (by name or as OWNER RIGHTS), the user,
// the system and the administrators read the file.
bool OthersMayRead(PACL dacl, PSID owner, PSID user) {
    if (dacl == nullptr)
        return true; // no list: everyone may do everything
    for (DWORD i = 0; i < dacl->AceCount; ++i) {
        ACCESS_ALLOWED_ACE* ace = nullptr;
        if (!::GetAce(dacl, i, reinterpret_cast<void**>(&ace)) ||
            ace->Header.AceType != ACCESS_ALLOWED_ACE_TYPE)
            continue;
        PSID sid = &ace->SidStart;
        const bool reads = (ace->Mask & (FILE_READ_DATA | GENERIC_READ | GENERIC_ALL)) != 0;
        if (reads && !::EqualSid(sid, owner) && !::EqualSid(sid, user) &&
            !IsWellKnown(sid, WinLocalSystemSid) &&
            !IsWellKnown(sid, WinBuiltinAdministratorsSid) &&
            !IsWellKnown(sid, WinCreatorOwnerSid) && !IsWellKnown(sid, WinCreatorOwnerRightsSid))
            return true;
    }
    return false;
}

// What is wrong with the open password file, or "".
std::string Unsafe(HANDLE h) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (::GetFileType(h) != FILE_TYPE_DISK || !::GetFileInformationByHandle(h, &info) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return ("is not a regular file");
    PSID owner = nullptr;
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR sd = nullptr;
    const DWORD rc =
        ::GetSecurityInfo(h, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                          &owner, nullptr, &dacl, nullptr, &sd);
    if (rc != ERROR_SUCCESS)
        return ("cannot be checked: " + win32::ErrorText(rc));
    const std::unique_ptr<void, LocalFreer> hold(sd);
    const std::unique_ptr<BYTE[]> user = TokenUser();
    PSID me = user ? reinterpret_cast<TOKEN_USER*>(user.get())->User.Sid : nullptr;
    if (me == nullptr ||
        (!::EqualSid(owner, me) && !IsWellKnown(owner, WinBuiltinAdministratorsSid)))
        return ("belongs to another user");
    if (OthersMayRead(dacl, owner, me))
        return ("can be read by other users; allow only its owner to read it");
    return "";
}

} // namespace

std::unique_ptr<SecretStore> SecretStore::Create() {
    return std::make_unique<CredentialManager>();
}

std::string passwordfile::Read(const std::string& path, std::string& text) {
    const win32::Handle h(::CreateFileW(win32::LongPath(path).c_str(), GENERIC_READ | READ_CONTROL,
                                        FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!h.Valid())
        return "cannot be opened: " + win32::ErrorText(::GetLastError());
    std::string what = Unsafe(h.Get());
    char buf[4096];
    DWORD n = 0;
    if (what.empty() && !::ReadFile(h.Get(), buf, sizeof buf, &n, nullptr))
        what = "cannot be read: " + win32::ErrorText(::GetLastError());
    text.assign(buf, n);
    return what;
}

} // namespace tessaron
