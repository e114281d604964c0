#pragma once
// Sets an environment variable for the life of the object (and reloads the time zone,
// in case it is TZ); a child process started meanwhile inherits it.

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tessaron::test {

class EnvOverride {
public:
    EnvOverride(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name))
            old_ = old;
        setenv(name, value.c_str(), 1);
        tzset();
    }
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

} // namespace tessaron::test
