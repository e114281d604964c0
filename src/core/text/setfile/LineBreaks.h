#pragma once
// Line breaks of the text files people write: a set file saved by a Windows program ends
// its lines with CR LF, one saved by a Linux editor with LF, an old Mac one with CR. All
// three end a line when reading; the program itself always writes CR LF.

#include <cstddef>
#include <string_view>

namespace tessaron {

// The next line break at or after pos: its position (text.size() when there is none) and
// its length in length (2 for CR LF, 1 for LF or CR, 0 at the end of the text).
inline std::size_t FindLineBreak(std::string_view text, std::size_t pos, std::size_t& length) {
    const std::size_t at = text.find_first_of("\r\n", pos);
    if (at == std::string_view::npos) {
        length = 0;
        return text.size();
    }
    length = (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n') ? 2 : 1;
    return at;
}

// text without a UTF-8 byte order mark at its start.
inline std::string_view WithoutByteOrderMark(std::string_view text) {
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    return text.starts_with(kBom) ? text.substr(kBom.size()) : text;
}

} // namespace tessaron
