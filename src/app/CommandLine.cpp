#include "CommandLine.h"

#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace tessaron {

namespace {

bool NeedsQuotes(const std::string& arg) {
    return arg.empty() || arg.find_first_of(" \t\r\n\"()") != std::string::npos;
}

std::string Quoted(const std::string& arg) {
    std::string out = "\"";
    for (char c : arg) {
        out += c;
        if (c == '"') {
            out += '"';
        }
    }
    return out + "\"";
}

std::string Upper(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Rounds the decimal number intDigits.fracDigits to the nearest whole number, halves to
// even, saturating far beyond the 32-bit range.
int64_t RoundDecimal(std::string_view intDigits, std::string_view fracDigits) {
    constexpr int64_t kCap = int64_t{1} << 40;
    int64_t whole = 0;
    for (char c : intDigits) {
        whole = std::min(kCap, whole * 10 + (c - '0'));
    }
    if (fracDigits.empty() || fracDigits[0] < '5') {
        return whole;
    }
    bool aboveHalf = fracDigits[0] > '5' ||
                     fracDigits.substr(1).find_first_not_of('0') != std::string_view::npos;
    if (aboveHalf || whole % 2 == 1) {
        return whole + 1;
    }
    return whole;
}

} // namespace

std::string JoinArguments(const std::vector<std::string>& args) {
    std::string text;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        // An empty argument after the first is the empty token between two blanks. The
        // first must be written "" (blanks before the first token are dropped), and
        // since the scan stops right behind its closing quote, a blank there would
        // give one more empty token: the next piece follows it directly unless it
        // begins with a quote itself.
        const std::string piece = arg.empty()        ? (i == 0 ? "\"\"" : "")
                                  : NeedsQuotes(arg) ? Quoted(arg)
                                                     : arg;
        const bool afterEmptyFirst = i == 1 && args[0].empty();
        if (i > 0 && !(afterEmptyFirst && (piece.empty() || piece[0] != '"'))) {
            text += ' ';
        }
        text += piece;
    }
    // A blank at the end gives no token of its own; a second one gives the empty token.
    if (args.size() > 1 && args.back().empty()) {
        text += ' ';
    }
    return text;
}

std::string_view AfterProgramName(std::string_view commandLine) {
    std::size_t end = 0;
    if (!commandLine.empty() && commandLine[0] == '"') {
        end = commandLine.find('"', 1);
        end = end == std::string_view::npos ? commandLine.size() : end + 1;
    } else {
        end = std::min(commandLine.find_first_of(" \t"), commandLine.size());
    }
    const std::size_t rest = commandLine.find_first_not_of(" \t", end);
    return rest == std::string_view::npos ? std::string_view() : commandLine.substr(rest);
}

int32_t BlockSizeValue(std::string_view text) {
    std::size_t i = text.find_first_not_of(" \t\r\n");
    if (i == std::string_view::npos) {
        return 0;
    }
    bool negative = false;
    if (text[i] == '+' || text[i] == '-') {
        negative = text[i] == '-';
        ++i;
    }
    std::size_t intStart = i;
    while (i < text.size() && IsDigit(text[i])) {
        ++i;
    }
    std::string_view intDigits = text.substr(intStart, i - intStart);
    std::string_view fracDigits;
    if (i < text.size() && text[i] == '.') {
        std::size_t fracStart = ++i;
        while (i < text.size() && IsDigit(text[i])) {
            ++i;
        }
        fracDigits = text.substr(fracStart, i - fracStart);
    }
    int64_t value = RoundDecimal(intDigits, fracDigits);
    value = negative ? -value : value;
    value = std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                std::numeric_limits<int32_t>::max());
    return static_cast<int32_t>(value);
}

bool WantsHelp(const std::string& text) {
    clsParser parser;
    parser.text(text);
    for (int32_t i = 1; !text.empty() && i <= parser.TokenCount(); ++i) {
        std::string t = Upper(parser.token(i));
        if (t == "/?" || t == "-H" || t == "--HELP") {
            return true;
        }
    }
    return false;
}

CommandLine ReadCommandLine(const std::string& text, clsSetup& setup, const SetupLoader& load) {
    CommandLine cl;
    clsParser parser;
    parser.text(text);
    if (parser.text().empty()) {
        return cl;
    }
    while (!parser.EOT()) {
        std::string keyword = Upper(parser.NextToken());
        if (keyword == "/LOAD" || keyword == "/RUN") {
            cl.Action = keyword;
            ++cl.Loads;
            cl.LastFile = parser.NextToken();
            if (!load(cl.LastFile)) {
                ++cl.FailedLoads;
                cl.Action.clear();
            }
        } else if (keyword == "/QUIET") {
            setup.Quiet = true;
        } else if (keyword == "/LOGPATH") {
            setup.LogPath = parser.NextToken();
        } else if (keyword == "/BLOCKSIZE") {
            setup.BlockSize = BlockSizeValue(parser.NextToken());
        } else if (keyword == "/CONSOLE") {
            cl.Console = true;
        }
    }
    return cl;
}

} // namespace tessaron
