// DateTime on Windows: local time by the zone rules of the system (the rule in force at
// each date, as the C library's localtime gives it on POSIX), dates in the user's
// locale's short date and time form.
#include "platform/DateTime.h"

#include "platform/win32/Win32Support.h"

namespace tessaron {

namespace {

DateTime DateOf(const SYSTEMTIME& st) {
    return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond};
}

// The text of one GetDateFormatEx or GetTimeFormatEx call; "" on failure.
template <class Fn> std::wstring LocaleText(Fn format) {
    wchar_t buf[128];
    const int n = format(buf, static_cast<int>(std::size(buf)));
    return n > 1 ? std::wstring(buf, static_cast<std::size_t>(n - 1)) : std::wstring();
}

} // namespace

DateTime DateTime::Now() {
    SYSTEMTIME st{};
    ::GetLocalTime(&st);
    return DateOf(st);
}

DateTime DateTime::FromTimeT(std::time_t t) {
    if (t == 0) {
        return {};
    }
    const FILETIME ft = win32::ToFileTime({t, 0});
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    if (!::FileTimeToSystemTime(&ft, &utc) ||
        !::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) {
        return {};
    }
    return DateOf(local);
}

DateTime DateTime::FromTimeTUtc(std::time_t t) {
    return t == 0 ? DateTime{} : win32::DateOfFileTime(win32::ToFileTime({t, 0}));
}

std::time_t DateTime::ToTimeT() const {
    if (IsEmpty()) {
        return 0;
    }
    // Carry out-of-range fields first (as mktime does), then apply the zone's rule.
    const DateTime fields = FromTimeTUtc(ToTimeTUtc());
    const SYSTEMTIME local = win32::SystemTimeOf(fields);
    SYSTEMTIME utc{};
    FILETIME ft{};
    if (!::TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) ||
        !::SystemTimeToFileTime(&utc, &ft)) {
        return ToTimeTUtc();
    }
    return win32::ToTimespec(ft).tv_sec;
}

std::string DateTime::Format() const {
    if (IsEmpty()) {
        return {};
    }
    const SYSTEMTIME st = win32::SystemTimeOf(*this);
    const std::wstring date = LocaleText([&](wchar_t* buf, int size) {
        return ::GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, buf, size,
                                 nullptr);
    });
    const std::wstring time = LocaleText([&](wchar_t* buf, int size) {
        return ::GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &st, nullptr, buf, size);
    });
    if (date.empty() || time.empty()) {
        return FormatIso();
    }
    return win32::Narrow(date + L" " + time);
}

} // namespace tessaron
