#pragma once
// The settings store's text file: parsing and writing the INI form, and the
// operating-system side (where each root's file lives, reading, atomic rewrite).

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessaron {

// One "[key path]" with its values in file order. Names compare without regard to
// ASCII case, as registry key and value names do.
struct SettingsSection {
    std::string Path;
    std::vector<std::pair<std::string, std::string>> Values; // "" names the default value
};

class SettingsDocument {
public:
    // Reads what makes sense of text: sections "[path]", lines "name=value" (blanks
    // around name and value dropped), "@" for the default value, ";" or "#" comments.
    // Lines outside a well-formed section, without "=", or longer than kMaxLine are
    // skipped; repeated sections are merged and the first of repeated names wins.
    void Parse(const std::string& text);
    std::string Serialize() const;

    SettingsSection* Find(const std::string& path);
    const SettingsSection* Find(const std::string& path) const;
    SettingsSection& FindOrAdd(const std::string& path);
    // True when some section lies below path.
    bool HasChildren(const std::string& path) const;
    bool Remove(const std::string& path);

    static constexpr std::size_t kMaxLine = 64 * 1024;

private:
    std::vector<SettingsSection> sections_;
};

bool SameName(const std::string& a, const std::string& b);

namespace settingsfile {

// The file of a root: HKEY_CURRENT_USER in ${XDG_CONFIG_HOME:-~/.config}/tessaron/,
// HKEY_LOCAL_MACHINE in the system configuration folder.
std::string DefaultPath(std::uint32_t root);
// Reads the whole file. A missing file is an empty text, not a failure. Only a regular
// file (or a link to one) of at most kMaxFile bytes is read: anything else there (a
// folder, a FIFO, a device) fails at once with kNotRegularFile or EISDIR, a larger file
// with EFBIG, and nothing in the way can make the read wait.
bool Read(const std::string& path, std::string& text, int& errorCode);
// Writes a temporary file beside path, flushes it and renames it over path, creating
// the missing folders (owner-only permissions for new ones).
bool WriteAtomic(const std::string& path, const std::string& text, int& errorCode);
std::string ErrorText(int errorCode);

inline constexpr std::size_t kMaxFile = 1024 * 1024;
// The error code of a path that names neither a regular file nor a folder.
inline constexpr int kNotRegularFile = -1;

} // namespace settingsfile
} // namespace tessaron
