#include "ItemImages.h"

#include <windows.h>
#undef Yield // an old macro of the system headers; the run views have a member of that name

#include <shellapi.h>
#include <uxtheme.h>
#include <vsstyle.h>

#include <array>

namespace tessaron::win {

namespace {

constexpr int kSize = 16;

// Draws one check box state into a bitmap for the image list.
void DrawMark(HDC dc, HTHEME theme, int mark) {
    RECT r{0, 0, kSize, kSize};
    ::FillRect(dc, &r, ::GetSysColorBrush(COLOR_WINDOW));
    RECT box{1, 1, kSize - 1, kSize - 1};
    if (theme != nullptr) {
        const int state = mark == 1   ? CBS_UNCHECKEDNORMAL
                          : mark == 2 ? CBS_CHECKEDNORMAL
                                      : CBS_MIXEDNORMAL;
        ::DrawThemeBackground(theme, dc, BP_CHECKBOX, state, &box, nullptr);
        return;
    }
    ::DrawFrameControl(dc, &box, DFC_BUTTON,
                       DFCS_BUTTONCHECK | DFCS_FLAT | (mark == 1 ? 0 : DFCS_CHECKED));
    if (mark == 3) { // partly: a filled square inside the box
        RECT inner{5, 5, kSize - 5, kSize - 5};
        ::FillRect(dc, &inner, ::GetSysColorBrush(COLOR_WINDOWTEXT));
    }
}

} // namespace

HIMAGELIST MakeStateImages(HWND control, bool blankFirst) {
    HIMAGELIST list = ::ImageList_Create(kSize, kSize, ILC_COLOR32, 4, 0);
    HDC screen = ::GetDC(nullptr);
    HDC dc = ::CreateCompatibleDC(screen);
    HTHEME theme = ::OpenThemeData(control, L"BUTTON");
    for (int mark = blankFirst ? 0 : 1; mark <= 3; ++mark) {
        HBITMAP bitmap = ::CreateCompatibleBitmap(screen, kSize, kSize);
        HGDIOBJ old = ::SelectObject(dc, bitmap);
        if (mark == 0) {
            RECT r{0, 0, kSize, kSize};
            ::FillRect(dc, &r, ::GetSysColorBrush(COLOR_WINDOW));
        } else {
            DrawMark(dc, theme, mark);
        }
        ::SelectObject(dc, old);
        ::ImageList_Add(list, bitmap, nullptr);
        ::DeleteObject(bitmap);
    }
    if (theme != nullptr) {
        ::CloseThemeData(theme);
    }
    ::DeleteDC(dc);
    ::ReleaseDC(nullptr, screen);
    return list;
}

HIMAGELIST MakeItemIcons() {
    static constexpr std::array<SHSTOCKICONID, 8> kIcons{
        SIID_DESKTOPPC, SIID_DRIVEREMOVE, SIID_DRIVEFIXED, SIID_DRIVENET,
        SIID_DRIVECD,   SIID_DRIVERAM,    SIID_FOLDER,     SIID_DOCNOASSOC};
    HIMAGELIST list = ::ImageList_Create(kSize, kSize, ILC_COLOR32 | ILC_MASK, 8, 0);
    for (SHSTOCKICONID id : kIcons) {
        SHSTOCKICONINFO info{};
        info.cbSize = sizeof info;
        HICON icon = nullptr;
        if (SUCCEEDED(::SHGetStockIconInfo(id, SHGSI_ICON | SHGSI_SMALLICON, &info))) {
            icon = info.hIcon;
        }
        ::ImageList_AddIcon(list, icon != nullptr ? icon : ::LoadIconW(nullptr, IDI_APPLICATION));
        if (icon != nullptr) {
            ::DestroyIcon(icon);
        }
    }
    return list;
}

} // namespace tessaron::win
