#pragma once
// Helpers shared by the mail tests: a temporary folder, a TZ override, a recording host.

#include "mail/IMailHost.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessaron::test {

// A fresh folder under the system's temporary folder, removed with the object.
class TempDir {
public:
    TempDir() {
        std::string templ = (std::filesystem::temp_directory_path() / "tessaron-mail-XXXXXX");
        path_ = mkdtemp(templ.data()) != nullptr ? templ : "";
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Sets an environment variable for the object's life and restores it after.
class EnvOverride {
public:
    EnvOverride(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name))
            old_ = old;
        setenv(name, value.c_str(), 1);
        tzset();
    }
    ~EnvOverride() {
        if (old_)
            setenv(name_, old_->c_str(), 1);
        else
            unsetenv(name_);
        tzset();
    }

private:
    const char* name_;
    std::optional<std::string> old_;
};

// The moment of a UTC calendar time.
inline std::time_t Utc(int year, int month, int day, int hour, int minute, int second) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    return timegm(&tm);
}

class RecordingHost : public IMailHost {
public:
    void AddLogLine(const std::string& text, bool display) override {
        Lines.push_back(text);
        AllDisplayed = AllDisplayed && display;
    }
    void Yield() override { ++Yields; }

    std::vector<std::string> Lines;
    bool AllDisplayed = true;
    int Yields = 0;
};

} // namespace tessaron::test
