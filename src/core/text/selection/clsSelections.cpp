#include "selection/clsSelections.h"

#include "setfile/LineBreaks.h"
#include "setfile/clsParser.h"

#include <algorithm>
#include <functional>

namespace tessaron {

namespace {

bool EqualsNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
        return lower(x) == lower(y);
    });
}

// Joins the physical lines of a selections text: a line that starts with a tab or a
// space continues the one before (its first character becomes one space). Text after
// the first line that does not continue is not part of the selections.
std::string JoinContinuationLines(std::string_view text) {
    std::string joined;
    size_t pos = 0;
    for (;;) {
        size_t length = 0;
        const size_t brk = FindLineBreak(text, pos, length);
        joined.append(text.substr(pos, brk - pos));
        const size_t next = brk + length;
        if (next >= text.size() || (text[next] != '\t' && text[next] != ' ')) {
            return joined;
        }
        joined += ' ';
        pos = next + 1;
    }
}

// A path in double quotes. A POSIX name may hold a double quote: it is doubled, as the
// tokenizer reads a doubled quote inside a quoted section as one.
std::string Quoted(const std::string& path) {
    std::string out = "\"";
    for (const char c : path) {
        out += c;
        if (c == '"') {
            out += '"';
        }
    }
    return out + '"';
}

// The key of the first count components: joined by NUL, which no path holds.
std::string KeyOf(const std::vector<std::string_view>& parts, size_t count) {
    std::string key;
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) {
            key += '\0';
        }
        key += parts[i];
    }
    return key;
}

} // namespace

clsSelItem::clsSelItem(std::string path, PathStyle style)
    : m_style(style), m_path(std::move(path)) {
    m_pathParts = clsPath::SplitParts(m_path, m_style);
}

void clsSelItem::IndexExcepts() {
    m_exceptSorted = m_except;
    std::sort(m_exceptSorted.begin(), m_exceptSorted.end());
    m_exceptKeys.clear();
    std::vector<std::string_view> parts;
    for (const std::string& e : m_except) {
        clsPath::SplitParts(e, m_style, parts);
        if (!parts.empty() && !parts[0].empty()) {
            m_exceptKeys.push_back(KeyOf(parts, parts.size()));
        }
    }
    std::sort(m_exceptKeys.begin(), m_exceptKeys.end());
}

void clsSelItem::AddExcept(std::string p) {
    m_except.push_back(std::move(p));
    IndexExcepts();
}

bool clsSelItem::RemoveExcept(std::string_view p) {
    const auto removed = std::erase(m_except, p);
    if (removed > 0) {
        IndexExcepts();
    }
    return removed > 0;
}

// An exception contains p when its components are the first ones of p's: one look-up per
// component of p, whatever the number of exceptions.
bool clsSelItem::ExceptCovers(std::string_view p,
                              const std::vector<std::string_view>& parts) const {
    if (std::binary_search(m_exceptSorted.begin(), m_exceptSorted.end(), p, std::less<>())) {
        return true;
    }
    if (parts.empty() || parts[0].empty() || m_exceptKeys.empty()) {
        return false;
    }
    std::string key;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            key += '\0';
        }
        key += parts[i];
        if (std::binary_search(m_exceptKeys.begin(), m_exceptKeys.end(), key)) {
            return true;
        }
    }
    return false;
}

bool clsSelItem::ExceptBelow(const std::vector<std::string_view>& parts, bool orAt) const {
    if (parts.empty() || parts[0].empty()) {
        return false;
    }
    const std::string key = KeyOf(parts, parts.size());
    auto it = std::lower_bound(m_exceptKeys.begin(), m_exceptKeys.end(), key);
    if (it != m_exceptKeys.end() && *it == key) {
        if (orAt) {
            return true;
        }
        ++it;
    }
    return it != m_exceptKeys.end() && it->size() > key.size() && it->starts_with(key) &&
           (*it)[key.size()] == '\0';
}

clsSelections::clsSelections(const clsSelections& other) : m_style(other.m_style) {
    for (const clsSelItem& item : other) {
        AppendItem(item.path(), item.Except());
    }
}

clsSelections& clsSelections::operator=(const clsSelections& other) {
    if (this != &other) {
        clsSelections copy(other);
        *this = std::move(copy);
    }
    return *this;
}

void clsSelections::AppendItem(std::string path, std::vector<std::string> excepts) {
    std::unique_ptr<clsSelItem> item(new clsSelItem(std::move(path), m_style));
    item->m_except = std::move(excepts);
    item->IndexExcepts();
    m_items.push_back(std::move(item));
}

const clsSelItem* clsSelections::Item(int32_t Index) const {
    if (Index < 1 || Index > Count()) {
        return nullptr;
    }
    return m_items[static_cast<size_t>(Index) - 1].get();
}

void clsSelections::RemoveContainedIn(const Parts& parts) {
    std::erase_if(m_items, [&parts](const std::unique_ptr<clsSelItem>& item) {
        return PartsContain(parts, item->m_pathParts);
    });
}

const clsSelItem* clsSelections::LastContaining(const Parts& parts) const {
    const clsSelItem* last = nullptr;
    for (const auto& item : m_items) {
        if (PartsContain(item->m_pathParts, parts)) {
            last = item.get();
        }
    }
    return last;
}

void clsSelections::AddSelection(const std::string& Path) {
    for (const auto& item : m_items) {
        if (item->m_path == Path) {
            return;
        }
    }
    const Parts parts = clsPath::SplitParts(Path, m_style);
    RemoveContainedIn(parts);
    for (const auto& item : m_items) {
        if (!PartsContain(item->m_pathParts, parts)) {
            continue;
        }
        // Re-selecting an excepted path just drops that exception; the path is covered
        // by this entry unless a wider exception still excludes it.
        item->RemoveExcept(Path);
        if (!item->ExceptCovers(Path, parts)) {
            return;
        }
    }
    AppendItem(Path, {});
}

void clsSelections::RemoveSelection(const std::string& Path) {
    const Parts parts = clsPath::SplitParts(Path, m_style);
    std::erase_if(
        m_items, [&Path](const std::unique_ptr<clsSelItem>& item) { return item->m_path == Path; });
    RemoveContainedIn(parts);
    for (const auto& item : m_items) {
        if (PartsContain(item->m_pathParts, parts)) {
            // Only the first entry that contains the path receives the exception.
            if (!item->ExceptCovers(Path, parts)) {
                item->AddExcept(Path);
            }
            return;
        }
    }
}

bool clsSelections::IsSelected(std::string_view Path) const {
    for (const auto& item : m_items) {
        if (item->m_path == Path) {
            return true;
        }
    }
    clsPath::SplitParts(Path, m_style, m_scratch);
    // The last entry that contains the path decides.
    const clsSelItem* last = LastContaining(m_scratch);
    return last != nullptr && !last->ExceptCovers(Path, m_scratch);
}

bool clsSelections::IsExcluded(std::string_view Path) const {
    return !IsSelected(Path);
}

bool clsSelections::IsSelectedWithNoExceptions(std::string_view Path) const {
    for (const auto& item : m_items) {
        if (item->m_path == Path) {
            return item->m_except.empty();
        }
    }
    clsPath::SplitParts(Path, m_style, m_scratch);
    const clsSelItem* last = LastContaining(m_scratch);
    return last != nullptr && !last->ExceptCovers(Path, m_scratch) &&
           !last->ExceptBelow(m_scratch, true);
}

bool clsSelections::HasChildSelected(std::string_view Path) const {
    clsPath::SplitParts(Path, m_style, m_scratch);
    const Parts& parts = m_scratch;
    return std::any_of(m_items.begin(), m_items.end(), [&parts](const auto& item) {
        return PartsContain(parts, item->m_pathParts);
    });
}

bool clsSelections::SelectsAllBelow(std::string_view Path) const {
    // Split as a folder: a last name ending in "." keeps its dot, as below it.
    std::string folder(Path);
    if (folder.empty()) {
        return false;
    }
    if (folder.back() != PathSeparator(m_style)) {
        folder += PathSeparator(m_style);
    }
    const Parts parts = clsPath::SplitParts(folder, m_style);
    if (parts.empty() || parts[0].empty()) {
        return false;
    }
    for (const auto& item : m_items) {
        if (item->m_pathParts.size() > parts.size() && PartsContain(parts, item->m_pathParts)) {
            return false;
        }
    }
    const clsSelItem* last = LastContaining(parts);
    return last != nullptr && !last->ExceptCovers(Path, parts) && !last->ExceptBelow(parts, false);
}

std::string clsSelections::Format() const {
    std::string text;
    for (const auto& item : m_items) {
        if (!text.empty()) {
            text += '\t';
        }
        text += Quoted(item->m_path);
        if (!item->m_except.empty()) {
            text += " Except (";
            for (size_t i = 0; i < item->m_except.size(); ++i) {
                text += (i == 0 ? "" : " ") + Quoted(item->m_except[i]);
            }
            text += ')';
        }
        text += "\r\n";
    }
    return text;
}

void clsSelections::Parse(std::string_view Text) {
    clsParser parser;
    parser.text(JoinContinuationLines(Text));
    // A blank text gives one empty token and so one entry with an empty path: a set
    // file whose selections line is empty loads with that one entry, as it always has.
    parser.token(0);
    while (!parser.EOT()) {
        std::string path = parser.NextToken();
        std::vector<std::string> excepts;
        std::string tok = parser.NextToken();
        if (EqualsNoCase(tok, "except")) {
            if (parser.NextToken() == "(") {
                // The loop also ends at the last token, so an exception list without
                // its ")" loses its last exception.
                tok = parser.NextToken();
                while (tok != ")" && !parser.EOT()) {
                    excepts.push_back(std::move(tok));
                    tok = parser.NextToken();
                }
            }
        } else {
            parser.PrevToken();
        }
        AppendItem(std::move(path), std::move(excepts));
    }
}

} // namespace tessaron
