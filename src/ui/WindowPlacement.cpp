#include "ui/WindowPlacement.h"

#include "mail/clsRegSettings.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace tessaron::ui {

namespace {

constexpr const char* kSection = "Window";

std::optional<int> ReadInt(const clsRegSettings& settings, const char* key) {
    const std::string text = settings.GetSetting(kSection, key, "");
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

void WriteInt(clsRegSettings& settings, const char* key, int value) {
    settings.SaveSetting(kSection, key, std::to_string(value));
}

long long Overlap(const Rect& a, const Rect& b) {
    const long long w = std::min(a.Right(), b.Right()) - std::max(a.Left, b.Left);
    const long long h = std::min(a.Bottom(), b.Bottom()) - std::max(a.Top, b.Top);
    return w > 0 && h > 0 ? w * h : 0;
}

} // namespace

Rect ClampToScreens(const Rect& wanted, const std::vector<Rect>& areas) {
    Rect area = areas.front();
    long long best = 0;
    for (const Rect& a : areas) {
        if (Overlap(wanted, a) > best) {
            best = Overlap(wanted, a);
            area = a;
        }
    }
    Rect r{wanted.Left, wanted.Top, std::min(wanted.Width, area.Width),
           std::min(wanted.Height, area.Height)};
    r.Left = std::clamp(r.Left, area.Left, area.Right() - r.Width);
    r.Top = std::clamp(r.Top, area.Top, area.Bottom() - r.Height);
    return r;
}

Placement ReadPlacement(const clsRegSettings& settings) {
    Placement p;
    const auto left = ReadInt(settings, "Left");
    const auto top = ReadInt(settings, "Top");
    const auto width = ReadInt(settings, "Width");
    const auto height = ReadInt(settings, "Height");
    if (left && top && width && height && *width > 0 && *height > 0) {
        p.Normal = Rect{*left, *top, *width, *height};
    }
    p.Maximized = ReadInt(settings, "Maximized").value_or(0) != 0;
    p.Split = std::max(ReadInt(settings, "Split").value_or(0), 0);
    return p;
}

void SavePlacement(clsRegSettings& settings, const Placement& p) {
    if (p.Normal) {
        WriteInt(settings, "Left", p.Normal->Left);
        WriteInt(settings, "Top", p.Normal->Top);
        WriteInt(settings, "Width", p.Normal->Width);
        WriteInt(settings, "Height", p.Normal->Height);
    }
    WriteInt(settings, "Maximized", p.Maximized ? 1 : 0);
    if (p.Split > 0) {
        WriteInt(settings, "Split", p.Split);
    }
}

} // namespace tessaron::ui
