#pragma once
// Helpers shared by the mail tests: a temporary folder, an environment override, a UTC
// moment and a host that records the mailer's log lines.

#include "TempTree.h"
#include "mail/IMailHost.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessaron::test {

// Sets an environment variable (and reloads the zone) for the object's life.
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

private:
    const char* name_;
    std::optional<std::string> old_;
};

inline std::time_t Utc(int year, int month, int day, int hour, int minute, int second) {
    using namespace std::chrono;
    const sys_days date =
        year_month_day{std::chrono::year{year}, std::chrono::month(month), std::chrono::day(day)};
    return system_clock::to_time_t(date + hours{hour} + minutes{minute} + seconds{second});
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
