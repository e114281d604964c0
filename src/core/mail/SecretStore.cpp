// What the systems share of the password file: its first line.
#include "mail/SecretStore.h"

namespace tessaron {

SecretLookup ReadPasswordFile(const std::string& path) {
    SecretLookup r;
    std::string text;
    std::string what = passwordfile::Read(path, text);
    if (what.empty()) {
        r.Value = text.substr(0, text.find_first_of("\r\n"));
        r.Found = !r.Value.empty();
        what = r.Found ? "" : "holds no password on its first line";
    }
    if (!what.empty())
        r.Why = "The password file " + path + " " + what;
    return r;
}

} // namespace tessaron
