#include "engine/NumberText.h"

#include "platform/UserLocale.h"

#include <cmath>
#include <locale>
#include <stdexcept>

namespace tessaron {

namespace {

// UTF-8 bytes of one code point (separators such as U+202F in French locales).
std::string Utf8(char32_t c) {
    std::string s;
    if (c < 0x80) {
        s += static_cast<char>(c);
    } else if (c < 0x800) {
        s += static_cast<char>(0xC0 | (c >> 6));
        s += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        s += static_cast<char>(0xE0 | (c >> 12));
        s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x110000) {
        s += static_cast<char>(0xF0 | (c >> 18));
        s += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (c & 0x3F));
    }
    return s;
}

} // namespace

DigitGrouping DigitGroupingOf(const std::string& localeName) {
    DigitGrouping g;
    try {
        // The wide facet carries a multi-byte separator whole, where the narrow one
        // would give only its first byte.
        const std::locale named(localeName);
        const auto& punct = std::use_facet<std::numpunct<wchar_t>>(named);
        const std::string groups = punct.grouping();
        const auto sep = static_cast<char32_t>(punct.thousands_sep());
        if (!groups.empty() && groups[0] > 0 && sep != 0) {
            g.Separator = Utf8(sep);
            g.Groups = groups;
        }
    } catch (const std::runtime_error&) {
        // A locale the system does not know: keep the default.
    }
    return g;
}

const DigitGrouping& UserDigitGrouping() {
    // Per thread, so that no lock is needed; the locale is set once at start.
    thread_local std::string name;
    thread_local DigitGrouping grouping;
    if (const std::string current = UserNumericLocale(); current != name) {
        name = current;
        grouping = DigitGroupingOf(current);
    }
    return grouping;
}

std::string FormatGrouped(std::int64_t n, const DigitGrouping& g) {
    const bool negative = n < 0;
    // Unsigned arithmetic keeps INT64_MIN representable.
    std::uint64_t u = negative ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
    std::string digits = std::to_string(u);
    std::string out;
    size_t groupIndex = 0;
    int inGroup = 0;
    int groupSize = g.Groups.empty() ? 0 : g.Groups[0];
    for (size_t i = digits.size(); i-- > 0;) {
        if (groupSize > 0 && inGroup == groupSize) {
            out.insert(0, g.Separator);
            inGroup = 0;
            // The last group size repeats; CHAR_MAX or <= 0 ends grouping.
            if (groupIndex + 1 < g.Groups.size()) {
                groupSize = g.Groups[++groupIndex];
            }
        }
        out.insert(out.begin(), digits[i]);
        ++inGroup;
    }
    return negative ? "-" + out : out;
}

std::string FormatGrouped(double n, const DigitGrouping& g) {
    if (!std::isfinite(n)) {
        return "0";
    }
    const double r = std::nearbyint(n);
    if (r >= 9.2e18 || r <= -9.2e18) {
        return FormatGrouped(static_cast<std::int64_t>(r > 0 ? INT64_MAX : INT64_MIN), g);
    }
    return FormatGrouped(static_cast<std::int64_t>(r), g);
}

} // namespace tessaron
