#include "WindowPlacement.h"

#include "mail/clsRegSettings.h"

#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>
#include <QSplitter>

#include <algorithm>
#include <optional>
#include <string>

namespace tessaron::gui {

namespace {

constexpr const char* kSection = "Window";

std::optional<int> ReadInt(const clsRegSettings& settings, const char* key) {
    const std::string text = settings.GetSetting(kSection, key, "");
    bool ok = false;
    const int value = QString::fromStdString(text).toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

void WriteInt(clsRegSettings& settings, const char* key, int value) {
    settings.SaveSetting(kSection, key, std::to_string(value));
}

long long Overlap(const QRect& a, const QRect& b) {
    const QRect both = a.intersected(b);
    return both.isEmpty() ? 0 : static_cast<long long>(both.width()) * both.height();
}

} // namespace

QRect ClampToScreens(const QRect& wanted, const QList<QRect>& areas) {
    QRect area = areas.front();
    long long best = 0;
    for (const QRect& a : areas) {
        if (Overlap(wanted, a) > best) {
            best = Overlap(wanted, a);
            area = a;
        }
    }
    QRect r(wanted.topLeft(), wanted.size().boundedTo(area.size()));
    r.moveLeft(std::clamp(r.left(), area.left(), area.right() - r.width() + 1));
    r.moveTop(std::clamp(r.top(), area.top(), area.bottom() - r.height() + 1));
    return r;
}

void SavePlacement(clsRegSettings& settings, const QMainWindow& window, const QSplitter& split) {
    const QRect r = window.normalGeometry();
    WriteInt(settings, "Left", r.left());
    WriteInt(settings, "Top", r.top());
    WriteInt(settings, "Width", r.width());
    WriteInt(settings, "Height", r.height());
    WriteInt(settings, "Maximized", window.isMaximized() ? 1 : 0);
    if (!split.sizes().isEmpty()) {
        WriteInt(settings, "Split", split.sizes().front());
    }
}

void RestorePlacement(const clsRegSettings& settings, QMainWindow& window) {
    const auto left = ReadInt(settings, "Left");
    const auto top = ReadInt(settings, "Top");
    const auto width = ReadInt(settings, "Width");
    const auto height = ReadInt(settings, "Height");
    QList<QRect> areas;
    for (const QScreen* screen : QGuiApplication::screens()) {
        areas << screen->availableGeometry();
    }
    if (left && top && width && height && *width > 0 && *height > 0 && !areas.isEmpty()) {
        const QRect wanted(*left, *top, std::max(*width, window.minimumWidth()),
                           std::max(*height, window.minimumHeight()));
        window.setGeometry(ClampToScreens(wanted, areas));
    }
}

int SavedTreeWidth(const clsRegSettings& settings) {
    return std::max(ReadInt(settings, "Split").value_or(0), 0);
}

bool WantsMaximized(const clsRegSettings& settings) {
    return ReadInt(settings, "Maximized").value_or(0) != 0;
}

} // namespace tessaron::gui
