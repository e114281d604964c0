// The tokenizer with character classes taken from the input: whatever the classes and
// the text, every member ends, the cursor stays in its range and a token never holds a
// character that should have ended it.

#include "FuzzSupport.h"
#include "setfile/clsParser.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <limits>

using namespace tessaron;
using fuzz::Require;

namespace {

bool In(const std::string& set, char c) {
    return set.find(c) != std::string::npos;
}

bool IsWhite(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Without quotes, a token longer than one character holds no delimiter, list delimiter
// or operator, and with trimming no white space.
void CheckToken(const std::string& token, const std::string& breakers, bool trim) {
    if (token.size() < 2)
        return;
    for (const char c : token) {
        Require(!In(breakers, c), "a token holds a character that ends tokens", token);
        Require(!(trim && IsWhite(c)), "a trimmed token holds white space", token);
    }
}

void Walk(clsParser& p, const std::string& text, const std::string& breakers, bool checkChars,
          bool trim) {
    const int32_t count = p.TokenCount();
    Require(count >= 0 && static_cast<std::size_t>(count) <= text.size() + 1,
            "token count out of range");
    std::size_t restBefore = text.size() + 1;
    for (int32_t i = 1; i <= count; ++i) {
        const std::string token = p.token(i);
        const std::string rest = p.GetRest();
        Require(rest.size() <= text.size() && text.ends_with(rest), "GetRest is no suffix", rest);
        Require(rest.size() <= restBefore, "GetRest grew as the cursor moved on");
        restBefore = rest.size();
        if (checkChars)
            CheckToken(token, breakers, trim);
    }
    p.FirstToken();
    int32_t steps = 0;
    while (!p.EOT() && steps <= count + 1) {
        p.NextToken();
        ++steps;
    }
    Require(p.EOT() && steps <= count, "NextToken does not reach the end");
    Require(p.NextToken().empty() && p.NextToken().empty(), "a token past the end");
    for (steps = 0; !p.PrevToken().empty() || !p.BOT(); ++steps)
        Require(steps <= count + 1, "PrevToken does not reach the start");
    for (const int32_t outside :
         {0, count + 1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()})
        Require(p.token(outside).empty(), "a token outside the range");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    clsParser p;
    const std::string delim = in.ConsumeRandomLengthString(4);
    const std::string quote = in.ConsumeRandomLengthString(3);
    const std::string lists = in.ConsumeRandomLengthString(4);
    const std::string operators = in.ConsumeRandomLengthString(4);
    const bool trim = in.ConsumeBool();
    p.Delim(delim);
    p.quote(quote);
    p.ListDelims(lists);
    p.Operators(operators);
    p.TrimWhiteSpace(trim);
    const std::string text = in.ConsumeRemainingBytesAsString();
    p.text(text);
    Walk(p, text, delim + lists + operators, quote.empty(), trim);
    // A second text on the same parser is tokenized afresh.
    p.text(text + text);
    Walk(p, text + text, delim + lists + operators, quote.empty(), trim);
    return 0;
}
