#pragma once
// clsParser: splits one string into tokens by configurable character classes and lets
// the caller walk them with a 1-based cursor. It knows no grammar: the command line and
// the selections text are both read with it.
//
// Tokenizing is lazy. Writing `text` only marks the text unparsed; the first member that
// reads tokens parses the whole text at once and resets the cursor to 0 ("before the
// first token"). Changing a character class or the trim flag does not mark the text
// unparsed: it takes effect at the next parse.
//
// Scanning rules, per character:
//  - quote set: at the start of a token it opens a quoted section closed by the same
//    character; a doubled quote inside it stands for one quote character. An empty quoted
//    section is a token of its own. Inside a token a quote character is ordinary.
//  - list delimiters: a token of one character; the delimiters right after it are
//    swallowed.
//  - operators: a token of one character; delimiters after it are not swallowed.
//  - delimiters: end a token, which may be empty (two adjacent delimiters give an empty
//    token). A white-space delimiter before the first token of the text is dropped.
//  - with trimming on, unquoted white space (space, tab, CR, LF) that is not a delimiter
//    is dropped, also between the characters of a token.
// Every text gives at least one token: the empty text gives one empty token, so callers
// test for empty text themselves.
//
// No member fails towards its caller: an index out of range yields the empty string.

#include <cstdint>
#include <string>
#include <vector>

namespace tessaron {

class clsParser {
public:
    clsParser() = default;

    // Stores the text and marks it unparsed; the cursor is reset by the next parse.
    void text(std::string value);
    const std::string& text() const { return m_text; }

    // Character classes; each test asks whether a character occurs in the class string.
    void Delim(std::string value) { m_delim = std::move(value); }
    const std::string& Delim() const { return m_delim; }
    void quote(std::string value) { m_quote = std::move(value); }
    const std::string& quote() const { return m_quote; }
    void ListDelims(std::string value) { m_listDelims = std::move(value); }
    const std::string& ListDelims() const { return m_listDelims; }
    void Operators(std::string value) { m_operators = std::move(value); }
    const std::string& Operators() const { return m_operators; }
    void TrimWhiteSpace(bool value) { m_trim = value; }

    // The text of token Index (1-based), or empty when out of range. The cursor is set to
    // Index in either case.
    std::string token(int32_t Index);
    int32_t TokenCount();
    // True when the cursor is at or past the last token.
    bool EOT();
    // True when the cursor is before the second token.
    bool BOT();
    // Cursor to 1; token 1.
    std::string FirstToken();
    // Cursor one on (it stops at TokenCount + 1); the token there, or empty past the end.
    std::string NextToken();
    // Cursor one back (it stops at 0); the token there, or empty at 0.
    std::string PrevToken();
    // Cursor to the last token; that token.
    std::string LastToken();
    // The text after the current token, from where its scan stopped (delimiters it did
    // not consume included); empty when the cursor is not on a token.
    std::string GetRest();

private:
    struct Token {
        std::string text;
        size_t resume; // 1-based position of the first character the token did not consume
    };
    enum CharClass : uint8_t { kDelim = 1, kQuote = 2, kList = 4, kOperator = 8 };

    void EnsureParsed();
    void Parse();
    void BuildClassTable();
    struct ScanState {
        std::string tok;
        bool first = false;  // the scan started at the first character of the text
        bool quoted = false; // inside a quoted section opened by openQuote
        char openQuote = 0;
    };
    std::string ScanToken(size_t& pos) const;
    bool ScanQuoted(size_t& pos, ScanState& st) const;
    bool ScanPlain(size_t& pos, ScanState& st) const;
    bool Has(char c, CharClass cls) const {
        return (m_classes[static_cast<unsigned char>(c)] & cls) != 0;
    }

    std::string m_text;
    std::string m_delim = " ";
    std::string m_quote = "\"";
    std::string m_listDelims = "()";
    std::string m_operators;
    bool m_trim = true;

    bool m_parsed = false;
    int32_t m_cursor = 0;
    std::vector<Token> m_tokens;
    uint8_t m_classes[256] = {};
};

} // namespace tessaron
