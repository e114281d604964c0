#pragma once
// /TESTMAIL address: the console's "Send Test Mail" of Email Setup, with the stored mail
// settings and password.

#include <iosfwd>
#include <optional>
#include <string>

namespace tessaron {

// The address after the last /TESTMAIL of the command-line text (any letter case; "" when
// it stands last), or nothing when there is none.
std::optional<std::string> TestMailAddress(const std::string& commandLine);

// Sends the test mail and prints what happened: on out when the server accepted it (exit
// status 0), on err otherwise (exit status 1).
int RunTestMail(const std::string& address, std::ostream& out, std::ostream& err);

} // namespace tessaron
