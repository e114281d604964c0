#include "ListText.h"

#include "engine/NumberText.h"
#include "platform/DateTime.h"
#include "platform/clsPath.h"

#include <cmath>
#include <cstdio>

namespace tessaron::gui {

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

} // namespace tessaron::gui
