#include "mail/SettingsFile.h"

#include "platform/Trim.h"

#include <algorithm>
#include <string_view>

namespace tessaron {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

// ASCII only, whatever the locale: names are UTF-8, and no byte of a character beyond
// ASCII may change.
char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = Lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Escapes with %XX what would break the line form: '%', line breaks, NUL, the
// characters in `special`, and blanks at either end (which the reader drops).
std::string Escape(const std::string& s, const char* special) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char c = s[i];
        const bool edgeBlank = (c == ' ' || c == '\t') && (i == 0 || i + 1 == s.size());
        if (c == '%' || c == '\r' || c == '\n' || c == '\0' || edgeBlank ||
            std::string_view(special).find(c) != std::string_view::npos) {
            const auto u = static_cast<unsigned char>(c);
            out += '%';
            out += kHex[u >> 4];
            out += kHex[u & 15];
        } else {
            out += c;
        }
    }
    return out;
}

// Undoes Escape; a '%' not followed by two hex digits stays as it is.
std::string Unescape(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '%' && i + 2 < s.size() && HexValue(s[i + 1]) >= 0 && HexValue(s[i + 2]) >= 0) {
            out += static_cast<char>(HexValue(s[i + 1]) * 16 + HexValue(s[i + 2]));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

std::string EscapeName(const std::string& name) {
    if (name.empty())
        return "@";
    std::string out = Escape(name, "=");
    // A name that would read as the default value, a section or a comment.
    if (out == "@" || out[0] == '[' || out[0] == ';' || out[0] == '#') {
        const auto first = static_cast<unsigned char>(out[0]);
        const char code[3] = {'%', kHex[first >> 4], kHex[first & 15]};
        out.replace(0, 1, code, 3);
    }
    return out;
}

} // namespace

bool SameName(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return Lower(x) == Lower(y); });
}

void SettingsDocument::Parse(const std::string& text) {
    SettingsSection* current = nullptr;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        const std::size_t length = end - start;
        std::string line = length > kMaxLine ? std::string() : text.substr(start, length);
        start = end + 1;
        if (length > kMaxLine) {
            continue;
        }
        line = TrimWhiteSpace(line);
        if (line.empty() || line[0] == ';' || line[0] == '#')
            continue;
        if (line[0] == '[') {
            // A header without its "]" opens no section: its lines are skipped rather
            // than filed under the section before.
            current = line.back() == ']' ? &FindOrAdd(Unescape(line.substr(1, line.size() - 2)))
                                         : nullptr;
            continue;
        }
        const std::size_t eq = line.find('=');
        if (current == nullptr || eq == std::string::npos)
            continue;
        const std::string rawName = TrimWhiteSpace(line.substr(0, eq));
        const std::string name = rawName == "@" ? "" : Unescape(rawName);
        const std::string value = Unescape(TrimWhiteSpace(line.substr(eq + 1)));
        const bool known = std::any_of(current->Values.begin(), current->Values.end(),
                                       [&](const auto& v) { return SameName(v.first, name); });
        if (!known)
            current->Values.emplace_back(name, value);
    }
}

std::string SettingsDocument::Serialize() const {
    std::string out;
    for (const SettingsSection& section : sections_) {
        if (!out.empty())
            out += '\n';
        out += '[' + Escape(section.Path, "]") + "]\n";
        for (const auto& [name, value] : section.Values)
            out += EscapeName(name) + '=' + Escape(value, "") + '\n';
    }
    return out;
}

SettingsSection* SettingsDocument::Find(const std::string& path) {
    auto it = std::find_if(sections_.begin(), sections_.end(),
                           [&](const SettingsSection& s) { return SameName(s.Path, path); });
    return it == sections_.end() ? nullptr : &*it;
}

const SettingsSection* SettingsDocument::Find(const std::string& path) const {
    return const_cast<SettingsDocument*>(this)->Find(path);
}

SettingsSection& SettingsDocument::FindOrAdd(const std::string& path) {
    if (SettingsSection* found = Find(path))
        return *found;
    sections_.push_back({path, {}});
    return sections_.back();
}

bool SettingsDocument::HasChildren(const std::string& path) const {
    const std::string prefix = path + "\\";
    return std::any_of(sections_.begin(), sections_.end(), [&](const SettingsSection& s) {
        return s.Path.size() > prefix.size() && SameName(s.Path.substr(0, prefix.size()), prefix);
    });
}

bool SettingsDocument::Remove(const std::string& path) {
    const auto before = sections_.size();
    std::erase_if(sections_, [&](const SettingsSection& s) { return SameName(s.Path, path); });
    return sections_.size() != before;
}

} // namespace tessaron
