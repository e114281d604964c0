#include "ui/ListText.h"

#include "engine/NumberText.h"
#include "platform/DateTime.h"
#include "platform/clsPath.h"

#include <cmath>
#include <cstdio>
#include <cwctype>

namespace tessaron::ui {

namespace {

std::string Scaled(double bytes, double unit, const char* suffix) {
    return FormatGrouped(static_cast<std::int64_t>(std::llround(bytes / unit))) + suffix;
}

} // namespace

std::string FormatSize(double bytes, bool showZero) {
    if (bytes > 100e9) {
        return Scaled(bytes, 1e9, "G");
    }
    if (bytes > 100e6) {
        return Scaled(bytes, 1e6, "M");
    }
    if (bytes > 1000) {
        return Scaled(bytes, 1000, "K");
    }
    if (bytes > 0) {
        return "1K";
    }
    return showZero ? "0K" : "-";
}

std::string ErrorReason(const std::string& lastError) {
    const std::size_t close = lastError.find(") ", lastError.find("Error ("));
    return close == std::string::npos ? lastError : lastError.substr(close + 2);
}

std::string ChildPath(const std::string& folder, const std::string& name) {
    const char sep = PathSeparator(NativePathStyle());
    return !folder.empty() && folder.back() == sep ? folder + name : folder + sep + name;
}

std::string DriveText(const std::string& path, const std::string& label) {
    return label.empty() ? path : path + " (" + label + ")";
}

std::string FormatListDate(std::time_t t) {
    const DateTime d = DateTime::FromTimeT(t);
    if (d.IsEmpty()) {
        return "";
    }
    const int hour12 = d.Hour % 12 == 0 ? 12 : d.Hour % 12;
    char text[48];
    std::snprintf(text, sizeof text, "%d/%d/%d %d:%02d %s", d.Month, d.Day, d.Year, hour12,
                  d.Minute, d.Hour < 12 ? "AM" : "PM");
    return text;
}

std::u32string UpperKey(std::string_view utf8) {
    std::u32string key;
    key.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
        char32_t c = more == 0 ? lead : lead & (0x3F >> more);
        int taken = 1;
        for (; taken <= more && i + static_cast<std::size_t>(taken) < utf8.size(); ++taken) {
            const auto next = static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(taken)]);
            if ((next & 0xC0) != 0x80) {
                break;
            }
            c = (c << 6) | (next & 0x3F);
        }
        if (taken != more + 1) { // not UTF-8: the byte alone
            c = lead;
            taken = 1;
        }
        // wchar_t holds 16 bits on Windows: characters beyond it keep their case.
        if (c <= 0xFFFF) {
            c = static_cast<char32_t>(std::towupper(static_cast<std::wint_t>(c)));
        }
        key.push_back(c);
        i += static_cast<std::size_t>(taken);
    }
    return key;
}

} // namespace tessaron::ui
