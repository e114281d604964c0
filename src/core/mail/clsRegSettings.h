#pragma once
// clsRegSettings: a small string-only settings store addressed by section and key, laid
// out like the registry (a root, key paths below "Software\Company\AppName").
// On Windows the store is the registry. On POSIX every root is an INI-style text file: sections are
// full key paths below the root ("[Software\VELQO\Tessaron\Settings]"), lines are "name=value", the
// unnamed default value is written "@". Every write rewrites the file atomically (temporary file,
// then rename), so a value saved by one process is read by the next. A damaged file is read as far
// as it makes sense: lines outside a well-formed section, lines without "=", and lines longer than
// 64 KiB are skipped; a rewrite drops them. Only a regular file of at most 1 MiB is read; anything
// else in its place (a folder, a FIFO, a device) is left alone and never waited on. No member
// throws; reads fall back to the default, writes return false. Every member sets LastError() to the
// reason of its failure, or empties it.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessaron {

class SettingsDocument;

// The two roots the store accepts (their registry handle values).
inline constexpr std::uint32_t HKeyCurrentUser = 0x80000001u;
inline constexpr std::uint32_t HKeyLocalMachine = 0x80000002u;

class clsRegSettings {
public:
    clsRegSettings();

    // Root of every key path; default HKeyCurrentUser. Any value other than the two
    // roots above is ignored.
    std::uint32_t HKey() const { return hKey_; }
    void HKey(std::uint32_t root);

    // First and second key below "Software\", stored trimmed of blanks. When either is
    // empty, sections sit directly below the root.
    const std::string& Company() const { return company_; }
    void Company(const std::string& name);
    const std::string& AppName() const { return appName_; }
    void AppName(const std::string& name);

    // Deletes a value ("*": the key's default value). With an empty key, deletes the
    // section's key itself, which must have no keys below it. True when something was
    // deleted.
    bool DeleteSetting(const std::string& section, const std::string& key);
    // Every value of a section as (name, value) pairs in file order, the default value
    // named ""; empty when the section is missing or has no values.
    std::vector<std::pair<std::string, std::string>>
    GetAllSettings(const std::string& section) const;
    // The value, or defaultValue when the section or the value is missing. A value
    // saved as "" reads as "". Key "*" is the key's default value.
    std::string GetSetting(const std::string& section, const std::string& key,
                           const std::string& defaultValue) const;
    // Creates the section's key when missing and stores the value. True on success.
    bool SaveSetting(const std::string& section, const std::string& key, const std::string& value);

    // The key path of a section below the root: "Software\" + Company + "\" + AppName,
    // then "\" + section (no "\" when the base is empty); an empty section is the base.
    std::string KeyPath(const std::string& section) const;

    // The file that holds the current root: for HKeyCurrentUser
    // ${XDG_CONFIG_HOME:-~/.config}/tessaron/settings.ini (XDG_CONFIG_HOME read at each
    // access), for HKeyLocalMachine /etc/tessaron/settings.ini; or the file given to
    // SettingsFile(root, path).
    // On Windows the store is the registry itself (REG_SZ values, "*" the key's default
    // value): this names the root ("HKEY_CURRENT_USER"), or the stand-in key below.
    std::string SettingsFile() const;
    // Points a root at another file (tests, portable installs); "" restores the default.
    // On Windows a non-empty path is a key path below HKEY_CURRENT_USER that stands in
    // for the root.
    void SettingsFile(std::uint32_t root, const std::string& path);

    // Why the last member failed: "clsRegSettings.GetSetting() - Error (code) text",
    // with the file's path for a file that could not be read; empty after a success.
    const std::string& LastError() const { return lastError_; }

private:
    bool Load(SettingsDocument& doc, const char* member) const;
    bool Store(const SettingsDocument& doc, const char* member);
    bool DeleteKey(SettingsDocument& doc, const std::string& section, const std::string& path);

    std::uint32_t hKey_ = HKeyCurrentUser;
    std::string company_ = "VELQO";
    std::string appName_ = "Tessaron";
    std::string userFile_;
    std::string machineFile_;
    mutable std::string lastError_;
};

} // namespace tessaron
