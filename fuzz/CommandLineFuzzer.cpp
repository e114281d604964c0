// The command line: arguments joined into one string tokenize back into the same
// arguments, and reading any command line ends with counts that add up.

#include "CommandLine.h"
#include "FuzzSupport.h"
#include "setfile/clsParser.h"
#include "setfile/clsSetup.h"

#include <cstdint>
#include <string>
#include <vector>

using namespace tessaron;
using fuzz::Require;

namespace {

// The arguments, separated by NUL bytes in the input.
std::vector<std::string> Arguments(const uint8_t* data, size_t size) {
    std::vector<std::string> args(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            args.emplace_back();
        else
            args.back() += static_cast<char>(data[i]);
    }
    return args;
}

std::vector<std::string> Tokens(const std::string& text) {
    std::vector<std::string> tokens;
    clsParser p;
    p.text(text);
    while (!text.empty() && !p.EOT())
        tokens.push_back(p.NextToken());
    return tokens;
}

std::string Show(const std::vector<std::string>& args) {
    std::string out;
    for (const std::string& a : args)
        out += "[" + a + "]";
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string> args = Arguments(data, size);
    const std::string text = JoinArguments(args);
    // An empty first argument followed by one in quotes cannot be written otherwise.
    const bool representable = !(args.size() > 1 && args[0].empty() && !args[1].empty() &&
                                 JoinArguments({args[1]}).starts_with('"'));
    Require(!representable || Tokens(text) == args, "joined arguments tokenize differently",
            Show(args) + " -> " + text + " -> " + Show(Tokens(text)));

    clsSetup setup;
    int loads = 0;
    const CommandLine cl = ReadCommandLine(text, setup, [&loads](const std::string& file) {
        ++loads;
        return file.size() % 2 == 0;
    });
    Require(cl.Loads == loads && cl.FailedLoads <= cl.Loads, "load counts do not add up");
    Require(cl.Action.empty() || cl.Action == "/LOAD" || cl.Action == "/RUN", "odd action");
    WantsHelp(text);
    for (const std::string& a : args)
        BlockSizeValue(a);
    return 0;
}
