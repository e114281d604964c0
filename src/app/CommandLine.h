#pragma once
// Reading the program's command line: the switches /LOAD, /RUN, /QUIET, /LOGPATH and
// /BLOCKSIZE (plus /CONSOLE and the help switches of this front end), tokenized with
// clsParser from the one command-line string.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

class clsSetup;

// The single command-line string for an argument vector (without the program name):
// the arguments joined with one blank. An argument that holds a character the tokenizer
// would treat specially (white space, a double quote, a parenthesis) is put in double
// quotes with every double quote inside doubled; an empty argument is the empty token
// between two blanks ("" when it comes first), so that the tokens of the string are the
// arguments again. The one pair the tokenizer cannot give back is an empty first
// argument followed by one that needs quotes: it reads with one more empty token.
std::string JoinArguments(const std::vector<std::string>& args);

// The single command-line string of this process: everything after the program name.
// POSIX: the arguments joined (JoinArguments). Windows: the command line as the system
// keeps it (GetCommandLineW, in UTF-8), so that it is read as the user wrote it, in any
// code page, quotes and all.
std::string ProcessCommandLine(int argc, char** argv);

// A Windows command line without its program name and the blanks after it: a name that
// starts with a double quote runs to the next one, any other to the first blank or tab
// (as the system's C runtime takes it).
std::string_view AfterProgramName(std::string_view commandLine);

// A /BLOCKSIZE argument as a number: leading blanks, an optional sign, digits with an
// optional fraction; whatever follows is ignored and text that starts with no number
// gives 0. Rounded to a whole number with halves to even (2.5 gives 2, 3.5 gives 4) and
// kept within the 32-bit range.
int32_t BlockSizeValue(std::string_view text);

struct CommandLine {
    // "/LOAD" or "/RUN" when the last of these switches loaded its file; empty when there
    // was none or its load failed.
    std::string Action;
    int Loads = 0;        // /LOAD and /RUN switches seen (each loads its file)
    int FailedLoads = 0;  // of these, the loads that failed
    std::string LastFile; // file name of the last /LOAD or /RUN
    bool Console = false; // /CONSOLE: run in the console even when a window could show
};

// True when the command-line text holds /?, -h or --help (any case).
bool WantsHelp(const std::string& text);

// Loads a backup set file into the record (Clear, then Parse); false when it could not
// be loaded, after the loader has told the user why.
using SetupLoader = std::function<bool(const std::string& fileName)>;

// Reads the command-line text. Keywords are matched in any letter case and arguments keep
// theirs; switches may come in any order and any number of times, a later one overriding
// an earlier one. Every /LOAD and /RUN loads its own file through load; only the last of
// them decides the action. /QUIET, /LOGPATH and /BLOCKSIZE are written into setup
// wherever they stand (a load leaves these three fields alone). Unknown tokens are
// skipped. A switch that needs an argument and stands last gets the empty string.
CommandLine ReadCommandLine(const std::string& text, clsSetup& setup, const SetupLoader& load);

} // namespace tessaron
