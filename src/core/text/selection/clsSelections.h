#pragma once
// clsSelections: what the user chose to back up, as an ordered list of entries, each a
// selected path (drive, folder or file) with an ordered list of excepted paths below it.
//
// Paths are kept exactly as given (no case folding, no separator handling) and compared
// by their clsPath components in the set's path style, case-sensitively: A contains B
// when A's first component is not empty and every component of A equals B's component
// at the same position. So "C:\A" contains "C:\A\B" and "C:\A" but not "C:\AB". An
// empty path contains nothing and is contained in nothing.
//
// Entries can only be changed through the members of the set, so that the component
// lists it keeps for every entry and the index of every entry's exceptions stay valid:
// IsSelected runs for every file a backup meets, never splits an entry's path again and
// looks a path's exceptions up by its components, so that it costs about the same with
// 20,000 exceptions as with ten.

#include "platform/clsPath.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

class clsSelections;

// One entry of a selection set. Read-only outside the set.
class clsSelItem {
public:
    clsSelItem(const clsSelItem&) = delete;
    clsSelItem& operator=(const clsSelItem&) = delete;

    // The selected path, exactly as the caller passed it.
    const std::string& path() const { return m_path; }
    // The excepted paths below path(), in the order they were added.
    const std::vector<std::string>& Except() const { return m_except; }

private:
    friend class clsSelections;
    clsSelItem(std::string path, PathStyle style);

    void AddExcept(std::string p);
    // Removes every exception equal to p; true when one was removed.
    bool RemoveExcept(std::string_view p);
    // Rebuilds the index of the exceptions (whenever m_except changes).
    void IndexExcepts();
    // True when an exception equals p or contains it (lies at or above it); parts are p's.
    bool ExceptCovers(std::string_view p, const std::vector<std::string_view>& parts) const;
    // True when an exception lies below the place parts names (at it too, with orAt).
    bool ExceptBelow(const std::vector<std::string_view>& parts, bool orAt) const;

    PathStyle m_style;
    std::string m_path;
    std::vector<std::string> m_except;
    // Components of m_path: views into it, so an item never moves (the set holds it by
    // pointer).
    std::vector<std::string_view> m_pathParts;
    // The exceptions sorted, and the component keys (components joined by NUL) of those
    // whose first component is not empty, sorted: a key's place below another is then a
    // run of keys right after it.
    std::vector<std::string> m_exceptSorted;
    std::vector<std::string> m_exceptKeys;
};

class clsSelections {
public:
    explicit clsSelections(PathStyle style = NativePathStyle()) : m_style(style) {}
    clsSelections(const clsSelections& other);
    clsSelections& operator=(const clsSelections& other);
    clsSelections(clsSelections&&) noexcept = default;
    clsSelections& operator=(clsSelections&&) noexcept = default;
    ~clsSelections() = default;

    PathStyle Style() const { return m_style; }

    // Number of entries.
    int32_t Count() const { return static_cast<int32_t>(m_items.size()); }

    // Selects Path: nothing changes when an entry has exactly this path; entries below
    // Path are dropped (with their exceptions); an exception equal to Path is removed
    // from every entry that contains Path; a new entry is appended unless an entry that
    // contains Path still covers it (no exception of it lies at or above Path).
    void AddSelection(const std::string& Path);
    // Unselects Path: entries equal to or below Path are dropped; then the first entry
    // that contains Path gets Path as a new exception unless one of its exceptions
    // already lies at or above Path. Exceptions below Path are kept.
    void RemoveSelection(const std::string& Path);

    // The entry at a 1-based position, or nullptr when out of range. Valid until the set
    // changes.
    const clsSelItem* Item(int32_t Index) const;

    // Range-for over the entries in order, as `const clsSelItem&`.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = clsSelItem;
        using difference_type = std::ptrdiff_t;
        using pointer = const clsSelItem*;
        using reference = const clsSelItem&;
        const_iterator() = default;
        reference operator*() const { return **m_it; }
        pointer operator->() const { return m_it->get(); }
        const_iterator& operator++() {
            ++m_it;
            return *this;
        }
        const_iterator operator++(int) {
            const_iterator old = *this;
            ++m_it;
            return old;
        }
        bool operator==(const const_iterator& o) const { return m_it == o.m_it; }

    private:
        friend class clsSelections;
        using Base = std::vector<std::unique_ptr<clsSelItem>>::const_iterator;
        explicit const_iterator(Base it) : m_it(it) {}
        Base m_it;
    };
    const_iterator begin() const { return const_iterator(m_items.begin()); }
    const_iterator end() const { return const_iterator(m_items.end()); }

    // Whether Path will be backed up: true when an entry is exactly Path; otherwise the
    // last entry that contains Path decides (true when none of its exceptions is at or
    // above Path); false when no entry contains it.
    bool IsSelected(std::string_view Path) const;
    // Exactly !IsSelected(Path).
    bool IsExcluded(std::string_view Path) const;
    // Whether Path is selected with no exception at, above or below it: for an entry that
    // is exactly Path, whether it has no exceptions; otherwise the last entry containing
    // Path decides; false when no entry contains it.
    bool IsSelectedWithNoExceptions(std::string_view Path) const;
    // True when some entry's path is Path or lies below it.
    bool HasChildSelected(std::string_view Path) const;
    // True when every path below the folder Path is selected: no entry and no exception
    // lies below it, and the last entry that contains it has no exception at or above it.
    // A walk below such a folder need not ask IsSelected again.
    bool SelectsAllBelow(std::string_view Path) const;

    // The selections text: per entry (a tab before every entry but the first) the quoted
    // path, then " Except (" with the quoted exceptions separated by one space and ")"
    // when it has any, then CR LF. A double quote inside a path is doubled. The empty set
    // gives the empty string.
    std::string Format() const;
    // Appends the entries read from a selections text (lines starting with a tab or a
    // space continue the line before), without the checks of AddSelection. Accepts any
    // text: unknown tokens become paths. An exception list not closed by ")" loses its
    // last exception. A blank text (one empty token) adds one entry with an empty path.
    void Parse(std::string_view Text);
    // Removes every entry.
    void Clear() { m_items.clear(); }

private:
    using Parts = std::vector<std::string_view>;
    void RemoveContainedIn(const Parts& parts);
    void AppendItem(std::string path, std::vector<std::string> excepts);
    // The last entry that contains parts (nullptr when none does).
    const clsSelItem* LastContaining(const Parts& parts) const;

    PathStyle m_style;
    // Components of the path asked last; kept to reuse its storage, since the queries run
    // for every file of a backup. The queries are therefore not for concurrent use.
    mutable Parts m_scratch;
    std::vector<std::unique_ptr<clsSelItem>> m_items;
};

} // namespace tessaron
