#include "platform/clsSysTime.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

SystemTime LocalSystemTime() {
    SYSTEMTIME st{};
    ::GetLocalTime(&st);
    return {st.wYear, st.wMonth,  st.wDayOfWeek, st.wDay,
            st.wHour, st.wMinute, st.wSecond,    st.wMilliseconds};
}

} // namespace tessaron
