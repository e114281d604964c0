#include "TestMailCommand.h"

#include "mail/clsRegSettings.h"
#include "setfile/clsParser.h"
#include "ui/EmailSetup.h"

#include <cctype>
#include <ostream>

namespace tessaron {

std::optional<std::string> TestMailAddress(const std::string& commandLine) {
    clsParser parser;
    parser.text(commandLine);
    std::optional<std::string> address;
    while (!commandLine.empty() && !parser.EOT()) {
        std::string keyword = parser.NextToken();
        for (char& c : keyword)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        if (keyword == "/TESTMAIL")
            address = parser.NextToken();
    }
    return address;
}

int RunTestMail(const std::string& address, std::ostream& out, std::ostream& err) {
    clsRegSettings settings;
    EmailSetup setup(settings);
    const EmailSetupOutcome sent = setup.SendTestMail(setup.Load(), address, nullptr);
    (sent.Ok ? out : err) << sent.Text << std::endl;
    return sent.Ok ? 0 : 1;
}

} // namespace tessaron
