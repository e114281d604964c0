#pragma once
// The user's locale: dates in log lines and grouped numbers follow it. The program takes
// it from the environment once at start (LC_ALL, LC_TIME, LC_NUMERIC, LANG, ...);
// until then, and in the C or POSIX locale, dates read "YYYY-MM-DD HH:MM:SS" and numbers
// are grouped with ",".

#include <string>

namespace tessaron {

// Takes every category of the locale from the environment for the whole process (a
// category the system does not know keeps the C conventions). Number parsing and
// printing inside the program stay in the C conventions ("2.5" is two and a half in
// every locale): LC_NUMERIC is set back to "C" and the user's choice is only kept for
// digit grouping. Call it once at start, before any other thread runs; a front end
// whose toolkit sets the locale itself calls it after the toolkit has done so.
void UseUserLocale();

// The locale whose digit grouping numbers follow: the environment's LC_NUMERIC as
// UseUserLocale found it, "C" before.
std::string UserNumericLocale();

} // namespace tessaron
