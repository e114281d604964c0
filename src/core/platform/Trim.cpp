#include "platform/Trim.h"

namespace tessaron {

namespace {

std::string TrimSet(std::string_view text, std::string_view blanks) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

} // namespace

std::string TrimSpaces(std::string_view text) {
    return TrimSet(text, " ");
}

std::string TrimWhiteSpace(std::string_view text) {
    return TrimSet(text, " \t\r\n");
}

} // namespace tessaron
