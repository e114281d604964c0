#pragma once
// IMailHost: what the mailer needs from the backup run that owns it.

#include <string>

namespace tessaron {

class IMailHost {
public:
    virtual ~IMailHost() = default;
    // Appends a line to the run's log; the mailer always passes display = true, so the
    // line also shows in the on-screen log list.
    virtual void AddLogLine(const std::string& text, bool display) = 0;
    // Lets the front end serve its own events (Cancel button, Ctrl+C, progress refresh)
    // while the mailer waits for the server. Called several times a second during a
    // mail; it must not start another mail on the same mailer.
    virtual void Yield() = 0;
};

} // namespace tessaron
