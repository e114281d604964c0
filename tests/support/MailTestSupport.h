#pragma once
// Helpers shared by the mail tests: a temporary folder, an environment override, a UTC
// moment, a host that records the mailer's log lines, and patterns to check them with.

#include "EnvOverride.h"
#include "TempTree.h"
#include "mail/IMailHost.h"

#include <chrono>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron::test {

inline std::time_t Utc(int year, int month, int day, int hour, int minute, int second) {
    using namespace std::chrono;
    const sys_days date =
        year_month_day{std::chrono::year{year}, std::chrono::month(month), std::chrono::day(day)};
    return system_clock::to_time_t(date + hours{hour} + minutes{minute} + seconds{second});
}

// Whether text matches pattern, in which "*" stands for any run of characters.
inline bool Matches(std::string_view text, std::string_view pattern) {
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos)
        return text == pattern;
    if (text.substr(0, star) != pattern.substr(0, star))
        return false;
    for (std::size_t at = star; at <= text.size(); ++at) {
        if (Matches(text.substr(at), pattern.substr(star + 1)))
            return true;
    }
    return false;
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
