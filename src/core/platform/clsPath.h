#pragma once
// clsPath: splits a path into drive, directory, file name and extension, composes it
// again, and lists its components. Pure string work: it never touches the file system.
//
// Two styles exist so that the Windows rules run (and are tested) on every system:
//  - Windows: separator "\", a drive is "X:", a UNC path "\\srv\share\..." keeps an empty
//    Drive and its server part at the front of Directory; Parts keeps "\\" on the first
//    component of a UNC path.
//  - Posix: separator "/", Drive always empty; Parts gives "/" as the first component of
//    an absolute path.
// A new object takes the native style of the system it was built for.

#include <string>
#include <string_view>
#include <vector>

namespace tessaron {

enum class PathStyle { Windows, Posix };

// The style of the system this program was built for.
constexpr PathStyle NativePathStyle() {
#ifdef _WIN32
    return PathStyle::Windows;
#else
    return PathStyle::Posix;
#endif
}

// The separator character of a style.
constexpr char PathSeparator(PathStyle style) {
    return style == PathStyle::Windows ? '\\' : '/';
}

class clsPath {
public:
    explicit clsPath(PathStyle style = NativePathStyle()) : m_style(style) {}
    clsPath(std::string_view p, PathStyle style) : m_style(style) { path(p); }

    std::string Drive;     // "X:" (Windows style) or empty
    std::string Directory; // from after the drive up to and including the last separator
    std::string FileName;  // the last component without its extension
    std::string Extension; // text after the last "." of the last component, without the dot

    PathStyle Style() const { return m_style; }

    // Splits p into the four fields; an empty p leaves them all empty.
    void path(std::string_view p);
    // Drive + Directory + File.
    std::string path() const;
    // FileName, then "." and Extension when Extension is not empty.
    std::string File() const;
    // The components of the composed path (see the style notes above). A trailing
    // separator drops one empty last component; the empty path has no components.
    std::vector<std::string> Parts() const;

    // The same components as clsPath(p, style).Parts(), as views into p, without
    // building the object: for hot loops that compare many paths. An empty result for
    // an empty p. The first component of an absolute POSIX path is "/" and of a UNC
    // path "\\server"; those two are the only components that are not plain views of
    // p, so they are returned through the static strings of this function.
    static std::vector<std::string_view> SplitParts(std::string_view p, PathStyle style);
    // The same into out (cleared first), so that a caller that splits many paths can
    // reuse one vector's storage instead of allocating for every path.
    static void SplitParts(std::string_view p, PathStyle style, std::vector<std::string_view>& out);

    // --- Whole-path helpers (pure string work, in a given style) ---------------------------

    // dir and name joined by one separator (none added when dir already ends in one, or
    // is empty).
    static std::string Join(std::string_view dir, std::string_view name, PathStyle style);
    // p without trailing separators; a root ("/", "C:\") keeps its separator.
    static std::string_view WithoutTrailingSeparators(std::string_view p, PathStyle style);
    // True when p names a place independently of the working folder: "/..." (Posix);
    // "X:\..." or "\\server\share..." (Windows).
    static bool IsAbsolute(std::string_view p, PathStyle style);
    // The names that place p below another folder (a backup's target): the drive and the
    // leading separators left out, empty and "." components dropped, and ".." taking back
    // the name before it (never climbing above the start). "/home/./ann//a.txt" gives
    // "home", "ann", "a.txt"; "C:\Data\..\x" gives "x"; "\\srv\share\x" gives "srv",
    // "share", "x".
    static std::vector<std::string> PlaceParts(std::string_view p, PathStyle style);
    // The root that p starts from: "/" (Posix), "C:\ " or "\\" (Windows); "" for a
    // relative p. RootOf(p) joined with PlaceParts(p) names the place p names when p holds
    // no "..".
    static std::string RootOf(std::string_view p, PathStyle style);

    // Error text of the last failure; writing `path` cannot fail on any string, so it
    // stays empty. Kept for the uniform error convention of the platform classes.
    std::string LastError;

private:
    PathStyle m_style;
};

// True when the component list `outer` contains `inner`: outer's first component is not
// empty and every component of outer equals the component of inner at the same position
// (case-sensitive), inner having at least as many components.
bool PartsContain(const std::vector<std::string_view>& outer,
                  const std::vector<std::string_view>& inner);

} // namespace tessaron
