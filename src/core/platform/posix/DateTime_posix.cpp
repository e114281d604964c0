// DateTime on POSIX: local time from the C library's zone data.
#include "platform/DateTime.h"

#include <clocale>
#include <cstring>

namespace tessaron {

namespace {

// The C locale's own "%x" is "11/05/26", with a two-digit year; its UTF-8 variants
// ("C.UTF-8", "C.utf8") have the same date format.
bool CLocaleTime() {
    const char* name = std::setlocale(LC_TIME, nullptr);
    return name == nullptr || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0 ||
           std::strncmp(name, "C.", 2) == 0;
}

} // namespace

DateTime DateTime::Now() {
    return FromTimeT(std::time(nullptr));
}

DateTime DateTime::FromTimeT(std::time_t t) {
    if (t == 0) {
        return {};
    }
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr) {
        return {};
    }
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

DateTime DateTime::FromTimeTUtc(std::time_t t) {
    if (t == 0) {
        return {};
    }
    std::tm tm{};
    if (gmtime_r(&t, &tm) == nullptr) {
        return {};
    }
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

std::time_t DateTime::ToTimeT() const {
    if (IsEmpty()) {
        return 0;
    }
    std::tm tm = ToTm();
    return std::mktime(&tm);
}

std::string DateTime::Format() const {
    if (IsEmpty()) {
        return {};
    }
    if (CLocaleTime()) {
        return FormatIso();
    }
    std::tm tm = ToTm();
    char buf[128];
    size_t n = std::strftime(buf, sizeof buf, "%x %X", &tm);
    return n == 0 ? FormatIso() : std::string(buf, n);
}

} // namespace tessaron
