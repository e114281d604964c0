// The parts of clsRegSettings that do not depend on where the settings are kept.
#include "mail/clsRegSettings.h"

#include "platform/Trim.h"

namespace tessaron {

clsRegSettings::clsRegSettings() = default;

void clsRegSettings::HKey(std::uint32_t root) {
    if (root == HKeyCurrentUser || root == HKeyLocalMachine)
        hKey_ = root;
}

void clsRegSettings::Company(const std::string& name) {
    company_ = TrimSpaces(name);
}

void clsRegSettings::AppName(const std::string& name) {
    appName_ = TrimSpaces(name);
}

std::string clsRegSettings::KeyPath(const std::string& section) const {
    std::string path;
    if (!company_.empty() && !appName_.empty())
        path = "Software\\" + company_ + "\\" + appName_;
    if (!section.empty())
        path += (path.empty() ? "" : "\\") + section;
    return path;
}

void clsRegSettings::SettingsFile(std::uint32_t root, const std::string& path) {
    if (root == HKeyCurrentUser)
        userFile_ = path;
    else if (root == HKeyLocalMachine)
        machineFile_ = path;
}

} // namespace tessaron
