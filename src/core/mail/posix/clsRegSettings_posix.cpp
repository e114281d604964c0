// clsRegSettings on POSIX: every root is an INI-style text file.
#include "mail/clsRegSettings.h"

#include "mail/SettingsFile.h"

namespace tessaron {

namespace {

constexpr const char* kClassName = "clsRegSettings";

// "*" stands for the key's unnamed default value, kept under the name "".
std::string ValueName(const std::string& key) {
    return key == "*" ? "" : key;
}

std::string ErrorText(const char* member, int code, const std::string& description) {
    return std::string(kClassName) + "." + member + "() - Error (" + std::to_string(code) + ") " +
           description;
}

} // namespace

std::string clsRegSettings::SettingsFile() const {
    const std::string& chosen = hKey_ == HKeyLocalMachine ? machineFile_ : userFile_;
    return chosen.empty() ? settingsfile::DefaultPath(hKey_) : chosen;
}

bool clsRegSettings::Load(SettingsDocument& doc, const char* member) const {
    lastError_.clear();
    std::string text;
    int code = 0;
    const std::string file = SettingsFile();
    if (!settingsfile::Read(file, text, code)) {
        lastError_ = ErrorText(member, code, settingsfile::ErrorText(code) + ": " + file);
        return false;
    }
    doc.Parse(text);
    return true;
}

bool clsRegSettings::Store(const SettingsDocument& doc, const char* member) {
    int code = 0;
    if (!settingsfile::WriteAtomic(SettingsFile(), doc.Serialize(), code)) {
        lastError_ = ErrorText(member, code, settingsfile::ErrorText(code));
        return false;
    }
    return true;
}

std::string clsRegSettings::GetSetting(const std::string& section, const std::string& key,
                                       const std::string& defaultValue) const {
    SettingsDocument doc;
    if (!Load(doc, "GetSetting"))
        return defaultValue;
    const SettingsSection* found = doc.Find(KeyPath(section));
    if (found == nullptr)
        return defaultValue;
    const std::string name = ValueName(key);
    for (const auto& [valueName, value] : found->Values) {
        if (SameName(valueName, name))
            return value;
    }
    return defaultValue;
}

std::vector<std::pair<std::string, std::string>>
clsRegSettings::GetAllSettings(const std::string& section) const {
    SettingsDocument doc;
    if (!Load(doc, "GetAllSettings"))
        return {};
    const SettingsSection* found = doc.Find(KeyPath(section));
    return found == nullptr ? std::vector<std::pair<std::string, std::string>>{} : found->Values;
}

bool clsRegSettings::SaveSetting(const std::string& section, const std::string& key,
                                 const std::string& value) {
    SettingsDocument doc;
    if (!Load(doc, "SaveSetting"))
        return false;
    SettingsSection& target = doc.FindOrAdd(KeyPath(section));
    const std::string name = ValueName(key);
    bool replaced = false;
    for (auto& [valueName, stored] : target.Values) {
        if (SameName(valueName, name)) {
            stored = value;
            replaced = true;
            break;
        }
    }
    if (!replaced)
        target.Values.emplace_back(name, value);
    return Store(doc, "SaveSetting");
}

bool clsRegSettings::DeleteSetting(const std::string& section, const std::string& key) {
    SettingsDocument doc;
    if (!Load(doc, "DeleteSetting"))
        return false;
    const std::string path = KeyPath(section);
    if (key.empty())
        return DeleteKey(doc, section, path);
    SettingsSection* found = doc.Find(path);
    const std::string name = ValueName(key);
    const auto before = found == nullptr ? 0 : found->Values.size();
    if (found != nullptr)
        std::erase_if(found->Values, [&](const auto& v) { return SameName(v.first, name); });
    if (found == nullptr || found->Values.size() == before) {
        lastError_ = ErrorText("DeleteSetting", 2, "The value does not exist: " + key);
        return false;
    }
    return Store(doc, "DeleteSetting");
}

bool clsRegSettings::DeleteKey(SettingsDocument& doc, const std::string& section,
                               const std::string& path) {
    // Like a registry key, a section goes only when nothing lies below it.
    if (section.empty() || doc.HasChildren(path)) {
        lastError_ = ErrorText("DeleteSetting", 5, "The key has subkeys or is the base: " + path);
        return false;
    }
    if (!doc.Remove(path)) {
        lastError_ = ErrorText("DeleteSetting", 2, "The key does not exist: " + path);
        return false;
    }
    return Store(doc, "DeleteSetting");
}

} // namespace tessaron
