#include "setfile/clsParser.h"

#include <limits>

namespace tessaron {

namespace {

bool IsWhite(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

void clsParser::text(std::string value) {
    m_text = std::move(value);
    m_parsed = false;
}

void clsParser::EnsureParsed() {
    if (!m_parsed) {
        Parse();
    }
}

void clsParser::BuildClassTable() {
    for (auto& c : m_classes) {
        c = 0;
    }
    auto mark = [this](const std::string& set, CharClass cls) {
        for (char c : set) {
            m_classes[static_cast<unsigned char>(c)] |= cls;
        }
    };
    mark(m_delim, kDelim);
    mark(m_quote, kQuote);
    mark(m_listDelims, kList);
    mark(m_operators, kOperator);
}

void clsParser::Parse() {
    m_cursor = 0;
    m_tokens.clear();
    // Token counts and the cursor are 32-bit; a text too long for them is a parse
    // failure, which leaves an empty table and the text unparsed.
    if (m_text.size() >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        return;
    }
    try {
        BuildClassTable();
        size_t pos = 1;
        do {
            std::string tok = ScanToken(pos);
            m_tokens.push_back(Token{std::move(tok), pos});
        } while (pos <= m_text.size());
        m_parsed = true;
    } catch (...) {
        m_tokens.clear();
    }
}

// Inside a quoted section: consumes one character at pos. Returns true when the token is
// complete (an empty quoted section is a token of its own).
bool clsParser::ScanQuoted(size_t& pos, ScanState& st) const {
    const char c = m_text[pos - 1];
    ++pos;
    if (c != st.openQuote) {
        st.tok += c;
        return false;
    }
    if (pos <= m_text.size() && m_text[pos - 1] == st.openQuote) {
        st.tok += c; // a doubled quote stands for one quote character
        ++pos;
        return false;
    }
    st.quoted = false;
    return st.tok.empty();
}

// Outside quotes: consumes what belongs to the token at pos. Returns true when the token
// is complete; a list delimiter or an operator that ends a token is left for the next.
bool clsParser::ScanPlain(size_t& pos, ScanState& st) const {
    const char c = m_text[pos - 1];
    const bool delim = Has(c, kDelim);
    // Trimmed white space is dropped unless it is a delimiter that ends a token; a
    // white-space delimiter is dropped only before the first token of the text.
    if (m_trim && IsWhite(c) && !(delim && (!st.tok.empty() || !st.first))) {
        ++pos;
        return false;
    }
    const bool empty = st.tok.empty();
    if (Has(c, kQuote)) {
        st.quoted = empty; // a quote opens a section only at the start of a token
        st.openQuote = c;
        if (!empty) {
            st.tok += c;
        }
        ++pos;
        return false;
    }
    if (Has(c, kList) || Has(c, kOperator)) {
        if (empty) {
            st.tok = c;
            ++pos;
            // A list delimiter swallows the delimiters after it; an operator does not.
            while (Has(c, kList) && pos <= m_text.size() && Has(m_text[pos - 1], kDelim)) {
                ++pos;
            }
        }
        return true;
    }
    if (!delim) {
        st.tok += c;
    }
    ++pos;
    return delim;
}

// Scans one token from the 1-based position pos and leaves pos at the first character
// the token did not consume. Every call with pos inside the text consumes at least one
// character, so the parse loop always ends.
std::string clsParser::ScanToken(size_t& pos) const {
    ScanState st;
    st.first = pos == 1;
    while (pos <= m_text.size()) {
        if (st.quoted ? ScanQuoted(pos, st) : ScanPlain(pos, st)) {
            break;
        }
    }
    return std::move(st.tok);
}

std::string clsParser::token(int32_t Index) {
    EnsureParsed();
    m_cursor = Index;
    if (Index < 1 || Index > TokenCount()) {
        return {};
    }
    return m_tokens[static_cast<size_t>(Index) - 1].text;
}

int32_t clsParser::TokenCount() {
    EnsureParsed();
    return static_cast<int32_t>(m_tokens.size());
}

bool clsParser::EOT() {
    const int32_t count = TokenCount(); // parses first, which resets the cursor
    return m_cursor >= count;
}

bool clsParser::BOT() {
    EnsureParsed();
    return m_cursor < 2;
}

std::string clsParser::FirstToken() {
    EnsureParsed();
    m_cursor = 1;
    return TokenCount() >= 1 ? m_tokens[0].text : std::string();
}

std::string clsParser::NextToken() {
    const int32_t count = TokenCount();
    if (count == 0) {
        return {};
    }
    if (m_cursor <= count) {
        ++m_cursor;
    }
    return m_cursor <= count ? token(m_cursor) : std::string();
}

std::string clsParser::PrevToken() {
    EnsureParsed();
    if (m_cursor > 0) {
        --m_cursor;
    }
    return m_cursor > 0 ? token(m_cursor) : std::string();
}

std::string clsParser::LastToken() {
    const int32_t count = TokenCount();
    if (count == 0) {
        return {};
    }
    return token(count);
}

std::string clsParser::GetRest() {
    const int32_t count = TokenCount();
    if (m_cursor < 1 || m_cursor > count) {
        return {};
    }
    const size_t resume = m_tokens[static_cast<size_t>(m_cursor) - 1].resume;
    return resume > m_text.size() ? std::string() : m_text.substr(resume - 1);
}

} // namespace tessaron
