#pragma once
// Helpers shared by the mail tests: a temporary folder, an environment override, a UTC
// moment and a host that records the mailer's log lines.

#include "EnvOverride.h"
#include "TempTree.h"
#include "mail/IMailHost.h"

#include <chrono>
#include <ctime>
#include <string>
#include <vector>

namespace tessaron::test {

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
