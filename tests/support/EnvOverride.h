#pragma once
// Sets (or unsets) an environment variable for the life of the object (and reloads the
// time zone, in case it is TZ); a child process started meanwhile inherits it. And whether
// a locale the environment may name is installed.

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tessaron::test {

#ifdef _WIN32
inline int setenv(const char* name, const char* value, int) {
    return _putenv_s(name, value);
}
inline int unsetenv(const char* name) {
    return _putenv_s(name, "");
}
#endif

class EnvOverride {
public:
    // value nullptr: the variable is unset meanwhile.
    EnvOverride(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name))
            old_ = old;
        value ? setenv(name, value, 1) : unsetenv(name);
        tzset();
    }
    EnvOverride(const char* name, const std::string& value) : EnvOverride(name, value.c_str()) {}
    ~EnvOverride() {
        old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_);
        tzset();
    }
    EnvOverride(const EnvOverride&) = delete;
    EnvOverride& operator=(const EnvOverride&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

#ifndef _WIN32
// Why a case that needs the locale name cannot run here ("" when it is installed).
inline std::string LocaleMissing(const char* name) {
    const locale_t probe = newlocale(LC_ALL_MASK, name, locale_t{});
    if (probe != locale_t{}) {
        freelocale(probe);
        return "";
    }
    return std::string("the locale ") + name +
           " is not installed (scripts/install-deps.sh generates de_DE.UTF-8)";
}
#endif

} // namespace tessaron::test
