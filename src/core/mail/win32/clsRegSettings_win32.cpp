// clsRegSettings on Windows: the registry, string values (REG_SZ) under
// root\Software\Company\AppName\section.
#include "mail/clsRegSettings.h"

#include "platform/win32/Win32Support.h"

#include <vector>

namespace tessaron {

namespace {

// Every open key is closed when its holder goes.
class Key {
public:
    ~Key() {
        if (m_key != nullptr) {
            ::RegCloseKey(m_key);
        }
    }
    HKEY* Out() { return &m_key; }
    HKEY Get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

std::string ErrorText(const char* member, LONG code) {
    return win32::ErrorLine(std::string("clsRegSettings.") + member + "()",
                            static_cast<DWORD>(code));
}

// "*" stands for the key's unnamed default value.
std::wstring ValueName(const std::string& key) {
    return key == "*" ? std::wstring() : win32::Widen(key);
}

// A REG_SZ value's data as text, cut before its terminating NUL.
std::string DataText(const std::vector<wchar_t>& data, DWORD bytes) {
    std::wstring text(data.data(), bytes / sizeof(wchar_t));
    const std::size_t nul = text.find(L'\0');
    return win32::Narrow(nul == std::wstring::npos ? text : text.substr(0, nul));
}

// The root handle and the full key path of a section, with a stand-in key (tests) in
// front when one is set.
HKEY RootAndPath(std::uint32_t root, const std::string& standIn, std::string& path) {
    if (!standIn.empty()) {
        path = path.empty() ? standIn : standIn + "\\" + path;
        return HKEY_CURRENT_USER;
    }
    return root == HKeyLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

} // namespace

std::string clsRegSettings::SettingsFile() const {
    const std::string& standIn = hKey_ == HKeyLocalMachine ? machineFile_ : userFile_;
    if (!standIn.empty()) {
        return "HKEY_CURRENT_USER\\" + standIn;
    }
    return hKey_ == HKeyLocalMachine ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER";
}

std::string clsRegSettings::GetSetting(const std::string& section, const std::string& key,
                                       const std::string& defaultValue) const {
    std::string path = KeyPath(section);
    const HKEY root =
        RootAndPath(hKey_, hKey_ == HKeyLocalMachine ? machineFile_ : userFile_, path);
    Key k;
    LONG rc = ::RegOpenKeyExW(root, win32::Widen(path).c_str(), 0, KEY_READ, k.Out());
    const std::wstring name = ValueName(key);
    DWORD bytes = 0;
    if (rc == ERROR_SUCCESS) {
        rc = ::RegQueryValueExW(k.Get(), name.c_str(), nullptr, nullptr, nullptr, &bytes);
    }
    if (rc != ERROR_SUCCESS || bytes == 0) {
        lastError_ = rc == ERROR_SUCCESS ? std::string() : ErrorText("GetSetting", rc);
        return defaultValue;
    }
    std::vector<wchar_t> data(bytes / sizeof(wchar_t) + 1, L'\0');
    rc = ::RegQueryValueExW(k.Get(), name.c_str(), nullptr, nullptr,
                            reinterpret_cast<BYTE*>(data.data()), &bytes);
    if (rc != ERROR_SUCCESS) {
        lastError_ = ErrorText("GetSetting", rc);
        return defaultValue;
    }
    lastError_.clear();
    return DataText(data, bytes);
}

bool clsRegSettings::SaveSetting(const std::string& section, const std::string& key,
                                 const std::string& value) {
    std::string path = KeyPath(section);
    const HKEY root =
        RootAndPath(hKey_, hKey_ == HKeyLocalMachine ? machineFile_ : userFile_, path);
    Key k;
    LONG rc = ::RegCreateKeyExW(root, win32::Widen(path).c_str(), 0, nullptr,
                                REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, k.Out(), nullptr);
    if (rc == ERROR_SUCCESS) {
        // The data ends in one NUL, counted in its length.
        const std::wstring data = win32::Widen(value);
        rc = ::RegSetValueExW(k.Get(), ValueName(key).c_str(), 0, REG_SZ,
                              reinterpret_cast<const BYTE*>(data.c_str()),
                              static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t)));
    }
    lastError_ = rc == ERROR_SUCCESS ? std::string() : ErrorText("SaveSetting", rc);
    return rc == ERROR_SUCCESS;
}

bool clsRegSettings::DeleteSetting(const std::string& section, const std::string& key) {
    // With a key, the value goes; without one, the section's key below the base (which
    // must have no keys of its own).
    std::string path = KeyPath(key.empty() ? std::string() : section);
    const HKEY root =
        RootAndPath(hKey_, hKey_ == HKeyLocalMachine ? machineFile_ : userFile_, path);
    Key k;
    LONG rc = ::RegOpenKeyExW(root, win32::Widen(path).c_str(), 0, KEY_ALL_ACCESS, k.Out());
    if (rc == ERROR_SUCCESS) {
        rc = key.empty() ? ::RegDeleteKeyW(k.Get(), win32::Widen(section).c_str())
                         : ::RegDeleteValueW(k.Get(), ValueName(key).c_str());
    }
    if (rc == ERROR_SUCCESS && key.empty() && section.empty()) {
        rc = ERROR_ACCESS_DENIED; // the base itself is never deleted
    }
    lastError_ = rc == ERROR_SUCCESS ? std::string() : ErrorText("DeleteSetting", rc);
    return rc == ERROR_SUCCESS;
}

std::vector<std::pair<std::string, std::string>>
clsRegSettings::GetAllSettings(const std::string& section) const {
    std::vector<std::pair<std::string, std::string>> all;
    std::string path = KeyPath(section);
    const HKEY root =
        RootAndPath(hKey_, hKey_ == HKeyLocalMachine ? machineFile_ : userFile_, path);
    Key k;
    DWORD nameChars = 0;
    DWORD dataBytes = 0;
    LONG rc = ::RegOpenKeyExW(root, win32::Widen(path).c_str(), 0, KEY_READ, k.Out());
    if (rc == ERROR_SUCCESS) {
        rc = ::RegQueryInfoKeyW(k.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, &nameChars, &dataBytes, nullptr, nullptr);
    }
    lastError_ = rc == ERROR_SUCCESS ? std::string() : ErrorText("GetAllSettings", rc);
    for (DWORD index = 0; rc == ERROR_SUCCESS; ++index) {
        std::wstring name(nameChars + 1, L'\0');
        std::vector<wchar_t> data(dataBytes / sizeof(wchar_t) + 1, L'\0');
        DWORD nameLength = nameChars + 1;
        DWORD bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        rc = ::RegEnumValueW(k.Get(), index, name.data(), &nameLength, nullptr, nullptr,
                             reinterpret_cast<BYTE*>(data.data()), &bytes);
        if (rc == ERROR_SUCCESS) {
            name.resize(nameLength);
            all.emplace_back(win32::Narrow(name), DataText(data, bytes));
        }
    }
    return all;
}

} // namespace tessaron
