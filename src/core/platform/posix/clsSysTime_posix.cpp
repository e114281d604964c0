#include "platform/clsSysTime.h"

#include <ctime>

namespace tessaron {

SystemTime LocalSystemTime() {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm tm {};
    SystemTime st;
    if (localtime_r(&now.tv_sec, &tm) == nullptr) {
        return st;
    }
    st.Year = tm.tm_year + 1900;
    st.Month = tm.tm_mon + 1;
    st.DayOfWeek = tm.tm_wday;
    st.Day = tm.tm_mday;
    st.Hour = tm.tm_hour;
    st.Minute = tm.tm_min;
    st.Second = tm.tm_sec;
    st.Milliseconds = static_cast<int>(now.tv_nsec / 1000000);
    return st;
}

} // namespace tessaron
