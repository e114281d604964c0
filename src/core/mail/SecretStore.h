#pragma once
// Where the SMTP password is kept: the system's credential store (SecretStore), or a file
// only its owner can read (ReadPasswordFile) for machines without one. The password never
// goes into the settings, a backup set, a log line or a command line.

#include <memory>
#include <string>

namespace tessaron {

// The outcome of asking for a password: Found with its Value, or not found (Why empty:
// nothing kept; Why set: the reason, to follow "Unable to send email - ").
struct SecretLookup {
    bool Found = false;
    std::string Value;
    std::string Why;
};

// The system's credential store, keyed by SMTP server and user. Linux: the Secret Service
// of the desktop session (libsecret, loaded when first needed, so that the program runs on
// a machine without it). Windows: the Credential Manager.
class SecretStore {
public:
    // The store of this system.
    static std::unique_ptr<SecretStore> Create();
    virtual ~SecretStore() = default;

    // Its name for messages: "the Secret Service", "the Windows Credential Manager".
    virtual std::string Name() const = 0;
    // The password kept for user at server. A store that cannot be reached (no session,
    // no library) is a lookup with Why set.
    virtual SecretLookup Lookup(const std::string& server, const std::string& user) = 0;
    // Keeps password for user at server, replacing one kept before. Empty on success,
    // else why not.
    virtual std::string Store(const std::string& server, const std::string& user,
                              const std::string& password) = 0;
};

// The password on the first line of the file at path (without its line end). It is read
// only when the file is a regular file that belongs to the user running the program and
// that nobody else may read; otherwise Why names the file and says what is wrong with it.
SecretLookup ReadPasswordFile(const std::string& path);

namespace passwordfile {
// The system's part of ReadPasswordFile: the file's first 4 KiB into text, or what is
// wrong with the file, to follow its name ("is not a regular file").
std::string Read(const std::string& path, std::string& text);
} // namespace passwordfile

} // namespace tessaron
