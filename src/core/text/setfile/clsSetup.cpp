#include "setfile/clsSetup.h"
#include "setfile/LineBreaks.h"

#include "platform/Trim.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr std::string_view kCrLf = "\r\n";

const char* BoolWord(bool value) {
    return value ? "True" : "False";
}

std::string Upper(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return out;
}

// A decimal number: blanks, an optional sign, digits with an optional fraction (at least
// one digit in all), blanks. Its truth is whether any digit is non-zero, so a digit
// string of any length converts without overflow.
bool ParseDecimalBool(std::string_view s, bool& value) {
    size_t i = 0;
    auto skipBlanks = [&] {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) {
            ++i;
        }
    };
    skipBlanks();
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        ++i;
    }
    bool digits = false;
    bool point = false;
    value = false;
    for (; i < s.size(); ++i) {
        const char c = s[i];
        if (c >= '0' && c <= '9') {
            digits = true;
            value = value || c != '0';
        } else if (c == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    skipBlanks();
    return digits && i == s.size();
}

// "True" or "False" in any letter case, or a decimal number (zero is false).
bool ToBool(std::string_view s, bool& value) {
    const std::string word = Upper(s);
    if (word == "TRUE" || word == "FALSE") {
        value = word == "TRUE";
        return true;
    }
    return ParseDecimalBool(s, value);
}

// One logical line from pos: physical lines end at CR LF, LF or CR; a line that starts
// with a tab or a space continues the one before, that character becoming one space.
std::string NextLogicalLine(std::string_view text, size_t& pos) {
    std::string line;
    for (;;) {
        size_t length = 0;
        const size_t brk = FindLineBreak(text, pos, length);
        line.append(text.substr(pos, brk - pos));
        pos = brk + length;
        if (pos >= text.size() || (text[pos] != '\t' && text[pos] != ' ')) {
            return line;
        }
        line += ' ';
        ++pos;
    }
}

} // namespace

void clsSetup::Clear() {
    Target.clear();
    BackupType.clear();
    SaveLog = false;
    StopOnError = false;
    Verify = false;
    EjectMedia = false;
    Sel.Clear();
}

std::string clsSetup::Format() const {
    std::string text;
    auto line = [&text](std::string_view key, std::string_view value) {
        text.append(key).append(" = ").append(value).append(kCrLf);
    };
    line("Target", '"' + Target + '"');
    line("BackupType", BackupType);
    line("CleanTarget", BoolWord(CleanTarget));
    line("SaveLog", BoolWord(SaveLog));
    line("StopOnError", BoolWord(StopOnError));
    line("Verify", BoolWord(Verify));
    line("EjectMedia", BoolWord(EjectMedia));
    line("EMail", BoolWord(Email));
    line("EMailTo", EmailTo);
    // The selections text ends every entry with its own CR LF and starts every further
    // entry with a tab, which makes it continuation lines of this one.
    text.append("Selections = ").append(Sel.Format());
    return text;
}

bool clsSetup::Parse(std::string_view Text) {
    LastError.clear();
    Text = WithoutByteOrderMark(Text);
    size_t pos = 0;
    while (pos < Text.size()) {
        if (!ApplyLine(NextLogicalLine(Text, pos))) {
            LastError = "Type mismatch";
            return false;
        }
    }
    return true;
}

// Stores one "Key = value" line; false when a boolean value does not convert.
bool clsSetup::ApplyLine(std::string_view line) {
    const size_t eq = line.find('=');
    if (eq == std::string_view::npos) {
        return true;
    }
    const std::string key = Upper(TrimSpaces(line.substr(0, eq)));
    const std::string trimmed = TrimSpaces(line.substr(eq + 1));
    std::string_view value = trimmed;
    bool* flag = key == "CLEANTARGET"   ? &CleanTarget
                 : key == "SAVELOG"     ? &SaveLog
                 : key == "STOPONERROR" ? &StopOnError
                 : key == "VERIFY"      ? &Verify
                 : key == "EJECTMEDIA"  ? &EjectMedia
                 : key == "EMAIL"       ? &Email
                                        : nullptr;
    if (flag != nullptr) {
        // A value that does not convert leaves the field as it was.
        bool converted = false;
        if (!ToBool(value, converted)) {
            return false;
        }
        *flag = converted;
        return true;
    }
    if (key == "TARGET") {
        if (value.starts_with('"')) {
            value.remove_prefix(1);
        }
        if (value.ends_with('"')) {
            value.remove_suffix(1);
        }
        Target.assign(value);
    } else if (key == "BACKUPTYPE") {
        BackupType.assign(value);
    } else if (key == "EMAILTO") {
        EmailTo.assign(value);
    } else if (key == "SELECTIONS") {
        Sel.Parse(value);
    }
    return true;
}

const char* BackupTypeName(BackupKind kind) {
    return kind == BackupKind::Incremental ? "INCREMENTAL" : "FULL";
}

std::optional<BackupKind> BackupKindOf(std::string_view type) {
    for (const BackupKind kind : {BackupKind::Full, BackupKind::Incremental}) {
        if (type == BackupTypeName(kind)) {
            return kind;
        }
    }
    return std::nullopt;
}

} // namespace tessaron
