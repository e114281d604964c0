#include "platform/clsPath.h"

#include <algorithm>

namespace tessaron {

namespace {

// Components of an already composed path: drop a leading "\\" (Windows) and keep it
// for the first component, split at the separator, drop one empty last component.
void SplitComposed(std::string_view composed, PathStyle style, std::vector<std::string_view>& out) {
    static const std::string_view kRoot = "/";
    out.clear();
    if (composed.empty()) {
        return;
    }
    const char sep = PathSeparator(style);
    bool unc = style == PathStyle::Windows && composed.starts_with("\\\\");
    std::string_view rest = unc ? composed.substr(2) : composed;
    size_t start = 0;
    for (;;) {
        size_t pos = rest.find(sep, start);
        if (pos == std::string_view::npos) {
            out.push_back(rest.substr(start));
            break;
        }
        out.push_back(rest.substr(start, pos - start));
        start = pos + 1;
    }
    if (out.size() > 1 && out.back().empty()) {
        out.pop_back();
    }
    if (unc) {
        // "\\" + first component is a contiguous prefix of the composed path.
        out[0] = composed.substr(0, out[0].size() + 2);
    } else if (style == PathStyle::Posix && out[0].empty()) {
        out[0] = kRoot;
    }
}

} // namespace

void clsPath::path(std::string_view p) {
    Drive.clear();
    Directory.clear();
    FileName.clear();
    Extension.clear();
    if (p.empty()) {
        return;
    }
    std::string_view rest = p;
    if (m_style == PathStyle::Windows && p.size() >= 2 && p[1] == ':') {
        Drive.assign(p.substr(0, 2));
        rest = p.substr(2);
    }
    // A UNC path keeps an empty Drive: its "\\server\share" part stays at the front of
    // Directory. Callers rely on that when they build destinations from Directory.
    size_t last = rest.rfind(PathSeparator(m_style));
    std::string_view file = rest;
    if (last != std::string_view::npos) {
        Directory.assign(rest.substr(0, last + 1));
        file = rest.substr(last + 1);
    }
    size_t dot = file.rfind('.');
    if (dot != std::string_view::npos) {
        Extension.assign(file.substr(dot + 1));
        FileName.assign(file.substr(0, dot));
    } else {
        FileName.assign(file);
    }
}

std::string clsPath::File() const {
    if (Extension.empty()) {
        return FileName;
    }
    return FileName + "." + Extension;
}

std::string clsPath::path() const {
    return Drive + Directory + File();
}

std::vector<std::string> clsPath::Parts() const {
    std::string composed = path();
    std::vector<std::string_view> views;
    SplitComposed(composed, m_style, views);
    return {views.begin(), views.end()};
}

std::vector<std::string_view> clsPath::SplitParts(std::string_view p, PathStyle style) {
    std::vector<std::string_view> out;
    SplitParts(p, style, out);
    return out;
}

void clsPath::SplitParts(std::string_view p, PathStyle style, std::vector<std::string_view>& out) {
    // Composing the split fields gives p back, except that a last component holding a
    // "." and ending in "." loses that final dot (its Extension is empty).
    std::string_view composed = p;
    size_t sep = p.rfind(PathSeparator(style));
    std::string_view file = sep == std::string_view::npos ? p : p.substr(sep + 1);
    if (style == PathStyle::Windows && sep == std::string_view::npos && p.size() >= 2 &&
        p[1] == ':') {
        file = p.substr(2);
    }
    if (!file.empty() && file.back() == '.') {
        composed.remove_suffix(1);
    }
    SplitComposed(composed, style, out);
}

std::string clsPath::Join(std::string_view dir, std::string_view name, PathStyle style) {
    std::string out(dir);
    if (!out.empty() && out.back() != PathSeparator(style)) {
        out += PathSeparator(style);
    }
    out += name;
    return out;
}

std::string_view clsPath::WithoutTrailingSeparators(std::string_view p, PathStyle style) {
    const char sep = PathSeparator(style);
    std::size_t keep = 1; // "/" or "\"
    if (style == PathStyle::Windows && p.size() >= 3 && p[1] == ':') {
        keep = 3; // "C:\"
    }
    while (p.size() > keep && p.back() == sep) {
        p.remove_suffix(1);
    }
    return p;
}

bool clsPath::IsAbsolute(std::string_view p, PathStyle style) {
    if (style == PathStyle::Posix) {
        return !p.empty() && p[0] == '/';
    }
    return (p.size() >= 3 && p[1] == ':' && p[2] == '\\') || p.starts_with("\\\\");
}

std::vector<std::string> clsPath::PlaceParts(std::string_view p, PathStyle style) {
    if (style == PathStyle::Windows && p.size() >= 2 && p[1] == ':') {
        p.remove_prefix(2);
    }
    std::vector<std::string> parts;
    const char sep = PathSeparator(style);
    while (!p.empty()) {
        const std::size_t end = std::min(p.find(sep), p.size());
        const std::string_view name = p.substr(0, end);
        p.remove_prefix(std::min(end + 1, p.size()));
        if (name == "..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
        } else if (!name.empty() && name != ".") {
            parts.emplace_back(name);
        }
    }
    return parts;
}

std::string clsPath::RootOf(std::string_view p, PathStyle style) {
    if (!IsAbsolute(p, style)) {
        return {};
    }
    if (style == PathStyle::Posix) {
        return "/";
    }
    return p[1] == ':' ? std::string(p.substr(0, 3)) : "\\\\";
}

bool PartsContain(const std::vector<std::string_view>& outer,
                  const std::vector<std::string_view>& inner) {
    if (outer.empty() || outer[0].empty() || inner.size() < outer.size()) {
        return false;
    }
    for (size_t i = 0; i < outer.size(); ++i) {
        if (outer[i] != inner[i]) {
            return false;
        }
    }
    return true;
}

} // namespace tessaron
