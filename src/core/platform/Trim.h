#pragma once
// Trimming text: the one way the program drops blanks around a text. Two blank sets, each
// for its kind of text:
//  - spaces only, for texts whose format says so: keys and values of backup set files
//    (a tab inside a value is part of it), registry names, zone and volume names;
//  - white space (space, tab, CR, LF), for text read from people and from the system:
//    answers typed on a terminal, lines of settings files, mail addresses, values read
//    from the kernel's files and mount tables.

#include <string>
#include <string_view>

namespace tessaron {

// text without the spaces at its start and end.
std::string TrimSpaces(std::string_view text);
// text without the spaces, tabs, CRs and LFs at its start and end.
std::string TrimWhiteSpace(std::string_view text);

} // namespace tessaron
