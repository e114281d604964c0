// The parts of clsRegSettings that do not depend on where the settings are kept.
#include "mail/clsRegSettings.h"

namespace tessaron {

namespace {

std::string TrimBlanks(const std::string& s) {
    const auto first = s.find_first_not_of(' ');
    if (first == std::string::npos)
        return "";
    return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

} // namespace

clsRegSettings::clsRegSettings() = default;

void clsRegSettings::HKey(std::uint32_t root) {
    if (root == HKeyCurrentUser || root == HKeyLocalMachine)
        hKey_ = root;
}

void clsRegSettings::Company(const std::string& name) {
    company_ = TrimBlanks(name);
}

void clsRegSettings::AppName(const std::string& name) {
    appName_ = TrimBlanks(name);
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
